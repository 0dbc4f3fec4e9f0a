// The owner of a memory image's pixel block: allocation through the pixel heaps, the moveable
// switch read from the environment, and the fatal error report when memory cannot be had.
#pragma once

#include <cstdint>

class ilMemoryImg;

class PixelMemory {
  public:
    explicit PixelMemory(ilMemoryImg* owner);
    ~PixelMemory();
    PixelMemory(const PixelMemory&) = delete;
    PixelMemory& operator=(const PixelMemory&) = delete;

    // In moveable mode the block is never reachable: the switch is kept from the days when pixel
    // blocks could live in a moveable arena.
    bool inMem() const { return !moveable || operationCount > 0; }
    void beginOperations() {
        if (moveable) ++operationCount;
    }
    void endOperations() {}
    void* getImageData() const { return moveable ? nullptr : data; }
    bool isMoveable() const { return moveable; }
    int64_t getSize() const { return size; }
    bool ownsBlock() const { return ownsData; }

    // Replaces the block by a new, uncleared one of size bytes; on failure the block is empty.
    void createData(int64_t bytes);
    // Takes the caller's block (owned or not); ignored in moveable mode.
    void setData(void* block, int64_t bytes, bool owns);
    void freeData();
    void remove() { freeData(); }

    // The two pixel heaps: blocks below 4096 bytes from the process heap, larger ones from the
    // private heap. deallocateMemory must be given the size that was allocated.
    static void* allocateMemory(int64_t bytes);
    static void deallocateMemory(void* block, int64_t bytes);
    // Whether QUILLON_TEMPERA_MOVEABLE is exactly "1"; read once per process.
    static bool moveableMode();

    // Diagnostics only; nothing decides by them.
    static int64_t outstandingBlocks();
    static int64_t outstandingBytes();

  private:
    bool moveable;
    ilMemoryImg* owner;
    void* data = nullptr;
    bool ownsData = false;
    int64_t size = 0;
    int operationCount = 0;
};
