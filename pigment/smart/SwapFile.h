// A scratch file of fixed-size blocks that holds evicted pages of one pixel size. It is created at
// the first page out and unlinked at once, so it lives exactly as long as its descriptor and a
// killed process leaves nothing behind. Used from one thread at a time, as the whole page system.
#pragma once

#include <cstdint>
#include <string>

#include "pigment/smart/SwapBlock.h"

class SwapFile {
  public:
    explicit SwapFile(std::uint32_t blockSize);
    // Closes the file.
    virtual ~SwapFile();
    SwapFile(const SwapFile&) = delete;
    SwapFile& operator=(const SwapFile&) = delete;

    // Creates the file if it is not open yet, in the first usable directory of SID_TEMP_DIR,
    // TMP, TMPDIR and /tmp; a named directory that cannot be used is reported once. Answers
    // whether the file is open; when not, GetLastError says why.
    bool Open();
    // A block from the free list (last freed first), or a new one at the end of the file; null
    // when the file cannot be created.
    SwapBlock* AllocateBlock();
    void ReleaseBlock(SwapBlock* block);
    // Writes the block's bytes in at most attempts tries, pausing a little longer after each
    // failure (10, 40, 160 ms...). Answers success; on failure GetLastError says why.
    bool WriteBlock(SwapBlock* block, const void* bytes, int attempts);
    // Reads the block's bytes in at most three tries, with the same pauses. Answers success.
    bool ReadBlock(SwapBlock* block, void* bytes);
    // Closes the file; its name went at creation. Free blocks are dropped; used blocks stay with
    // their pages.
    void CloseAndDelete();
    // Files never shrink while open: answers 0.
    int Shrink(int limit);

    bool IsOpen() const { return isOpen != 0; }
    // The name the file had (it is unlinked once open), and the directory it was made in.
    const char* GetPath() const { return path; }
    const char* GetDirectory() const { return directory.c_str(); }
    const char* GetLastError() const { return lastError.c_str(); }
    int GetUsedCount() const { return usedCount; }
    int GetFreeCount() const { return freeCount; }
    std::uint32_t GetBlockSize() const { return blockSize; }
    const SwapBlock* GetUsedHead() const { return usedHead; }
    const SwapBlock* GetFreeHead() const { return freeHead; }
    std::uint32_t GetSignature() const { return signature; }

  private:
    // Creates and unlinks a fresh file in dir; false with lastError set when it cannot.
    bool TryCreate_(const std::string& dir);
    void Failed_(const char* what);

    std::uint32_t signature;
    std::int32_t fd;
    SwapBlock* usedHead;
    SwapBlock* freeHead;
    std::uint32_t blockSize;
    std::int32_t usedCount;
    std::int32_t freeCount;
    std::uint8_t isOpen;
    char path[1024];
    std::string directory;
    std::string lastError;
};

// Tells the host of trouble with the swap files through PigmentCB()->swapError, or, when the host
// set none, with one line on standard error.
void SwapReport(const char* directory, const char* error);
