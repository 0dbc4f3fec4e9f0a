// vl::BlockAllocator: fixed-size records carved from blocks of many records, for small objects
// made and dropped often. Not thread-safe by itself: callers that share one put a mutex around it.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace vl {

class BlockAllocator {
  public:
    // Records are recordSize bytes, aligned for any scalar type, recordsPerBlock to a block.
    // The first block is made at once unless setLazy(true) follows before the first alloc.
    BlockAllocator(std::size_t recordSize, std::size_t recordsPerBlock);
    virtual ~BlockAllocator();

    BlockAllocator(const BlockAllocator&) = delete;
    BlockAllocator& operator=(const BlockAllocator&) = delete;

    // An uninitialised record; a new block is made when none is free.
    void* alloc();
    // Gives a record from alloc back; null is ignored.
    void free(void* record);
    // Lazy: no block is made before the first alloc. Switching it on while no record is in use
    // gives back the blocks already made.
    void setLazy(bool lazy);

    std::size_t recordSize() const { return size; }
    std::size_t recordsPerBlock() const { return perBlock; }
    std::size_t numBlocks() const { return blocks.size(); }
    // Records handed out and not given back.
    std::size_t numInUse() const { return inUse; }

  private:
    void addBlock();

    std::size_t size;
    std::size_t perBlock;
    std::size_t inUse = 0;
    bool lazy = false;
    std::vector<std::unique_ptr<std::max_align_t[]>> blocks;
    std::vector<void*> freeRecords;
};

}  // namespace vl
