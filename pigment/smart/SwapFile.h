// A scratch file of fixed-size blocks that holds evicted pages of one pixel size. It is created at
// the first page out, lives only as long as the process and is never read by anything else.
#pragma once

#include <cstdint>

#include "pigment/smart/SwapBlock.h"

class SwapFile {
  public:
    explicit SwapFile(std::uint32_t blockSize);
    // Closes and deletes the file.
    virtual ~SwapFile();
    SwapFile(const SwapFile&) = delete;
    SwapFile& operator=(const SwapFile&) = delete;

    // Creates the file if it is not open yet; called at the head of every swap operation.
    void Open();
    // A block from the free list (last freed first), or a new one at the end of the file.
    SwapBlock* AllocateBlock();
    void ReleaseBlock(SwapBlock* block);
    // Writes the block's bytes, retrying until the write succeeds.
    void WriteBlock(SwapBlock* block, const void* bytes);
    // Reads the block's bytes with up to 10 attempts; answers the bytes of the last read.
    int ReadBlock(SwapBlock* block, void* bytes);
    // Closes the file, makes it an ordinary file and deletes it. Free blocks are dropped; used
    // blocks stay with their pages.
    void CloseAndDelete();
    // Files never shrink while open: answers 0.
    int Shrink(int limit);

    bool IsOpen() const { return isOpen != 0; }
    const char* GetPath() const { return path; }
    int GetUsedCount() const { return usedCount; }
    int GetFreeCount() const { return freeCount; }
    std::uint32_t GetBlockSize() const { return blockSize; }
    const SwapBlock* GetUsedHead() const { return usedHead; }
    const SwapBlock* GetFreeHead() const { return freeHead; }
    std::uint32_t GetSignature() const { return signature; }

    // Called after each failed write attempt with the attempt's number; null unless a test sets
    // it, so that a test can mend the fault instead of waiting forever.
    static void (*WriteRetryHook)(int attempt);

  private:
    bool TryCreate_(const char* directory, const char* prefix);

    std::uint32_t signature;
    std::int32_t fd;
    SwapBlock* usedHead;
    SwapBlock* freeHead;
    std::uint32_t blockSize;
    std::int32_t usedCount;
    std::int32_t freeCount;
    std::uint8_t isOpen;
    char path[1024];
};
