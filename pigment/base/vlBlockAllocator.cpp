// Block allocation of fixed-size records, with freed records poisoned under AddressSanitizer
// so that a use after free of a pooled record is still caught.
#include "pigment/base/vlBlockAllocator.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define VL_POISON(p, n) ASAN_POISON_MEMORY_REGION(p, n)
#define VL_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION(p, n)
#else
#define VL_POISON(p, n) ((void)(p), (void)(n))
#define VL_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace vl {

namespace {
constexpr std::size_t kUnit = sizeof(std::max_align_t);
}

BlockAllocator::BlockAllocator(std::size_t recordSize, std::size_t recordsPerBlock)
    : size(recordSize == 0 ? kUnit : (recordSize + kUnit - 1) / kUnit * kUnit),
      perBlock(recordsPerBlock == 0 ? 1 : recordsPerBlock) {
    addBlock();
}

BlockAllocator::~BlockAllocator() {
    // Blocks go back to the heap whole; unpoison them so the heap may reuse the memory.
    for (auto& block : blocks)
        VL_UNPOISON(block.get(), size * perBlock);
}

void BlockAllocator::addBlock() {
    const std::size_t units = size / kUnit * perBlock;
    blocks.emplace_back(new std::max_align_t[units]);
    char* base = reinterpret_cast<char*>(blocks.back().get());
    VL_POISON(base, size * perBlock);
    freeRecords.reserve(freeRecords.size() + perBlock);
    // Pushed in reverse so records are handed out in address order.
    for (std::size_t i = perBlock; i-- > 0;)
        freeRecords.push_back(base + i * size);
}

void* BlockAllocator::alloc() {
    if (freeRecords.empty()) addBlock();
    void* record = freeRecords.back();
    freeRecords.pop_back();
    VL_UNPOISON(record, size);
    ++inUse;
    return record;
}

void BlockAllocator::free(void* record) {
    if (!record) return;
    VL_POISON(record, size);
    freeRecords.push_back(record);
    --inUse;
}

void BlockAllocator::setLazy(bool value) {
    lazy = value;
    if (lazy && inUse == 0) {
        for (auto& block : blocks)
            VL_UNPOISON(block.get(), size * perBlock);
        blocks.clear();
        freeRecords.clear();
    }
}

}  // namespace vl
