#include "pigment/frame/PixelMemory.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "pigment/base/vlLargeHeap.h"
#include "pigment/frame/ilData.h"
#include "pigment/frame/ilMemoryImg.h"

namespace {

constexpr int64_t kLargeBlock = 4096;

std::atomic<int64_t> blocksOut{0};
std::atomic<int64_t> bytesOut{0};
std::atomic<int64_t> bytesCreated{0};

void* lowLevelAllocate(int64_t bytes) {
    if (bytes < kLargeBlock) return std::malloc(static_cast<size_t>(bytes));
    return vlOS::largeHeapAlloc(static_cast<size_t>(bytes));
}

}  // namespace

bool PixelMemory::moveableMode() {
    static const bool mode = [] {
        const char* v = std::getenv("QUILLON_TEMPERA_MOVEABLE");
        return v && std::strcmp(v, "1") == 0;
    }();
    return mode;
}

int64_t PixelMemory::outstandingBlocks() {
    return blocksOut;
}
int64_t PixelMemory::outstandingBytes() {
    return bytesOut;
}

PixelMemory::PixelMemory(ilMemoryImg* owner_) : moveable(moveableMode()), owner(owner_) {}

PixelMemory::~PixelMemory() {
    freeData();
}

void* PixelMemory::allocateMemory(int64_t bytes) {
    if (bytes <= 0) return nullptr;
    void* block;
    try {
        block = lowLevelAllocate(bytes);
    } catch (...) {
        return nullptr;
    }
    ++blocksOut;
    bytesOut += bytes;
    if (block) return block;
    --blocksOut;
    bytesOut -= bytes;
    if (std::new_handler handler = std::get_new_handler()) {
        handler();
        return allocateMemory(bytes);
    }
    char text[96];
    std::snprintf(text, sizeof text, "ilMemoryImg: Could not allocate memory (%d bytes)",
                  static_cast<int>(bytes));
    std::fprintf(stderr, "%s\n", text);
    std::fflush(stderr);
    ilSetFatalError(text);
    return nullptr;
}

void PixelMemory::deallocateMemory(void* block, int64_t bytes) {
    if (!block) return;
    --blocksOut;
    bytesOut -= bytes;
    if (bytes < kLargeBlock)
        std::free(block);
    else
        vlOS::largeHeapFree(block, static_cast<size_t>(bytes));
}

void PixelMemory::createData(int64_t bytes) {
    freeData();
    data = allocateMemory(bytes);
    if (data) {
        ownsData = true;
        size = bytes;
        bytesCreated += bytes;
    } else {
        ownsData = false;
        size = 0;
    }
    owner->setTimeStamp();
}

void PixelMemory::setData(void* block, int64_t bytes, bool owns) {
    if (!moveable) {
        freeData();
        data = block;
        size = block ? bytes : 0;
        ownsData = owns && block;
    }
    owner->setTimeStamp();
}

void PixelMemory::freeData() {
    if (ownsData) deallocateMemory(data, size);
    data = nullptr;
    ownsData = false;
    size = 0;
    owner->setTimeStamp();
}
