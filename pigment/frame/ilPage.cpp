#include "pigment/frame/ilPage.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

#include "pigment/frame/ilImage.h"

namespace {

// Fixed-size records, a hundred to a block, shared by every thread that locks pages.
class PagePool {
  public:
    static constexpr size_t kRecord = sizeof(ilImagePage) > sizeof(ilPage) ? sizeof(ilImagePage)
                                                                           : sizeof(ilPage);
    static constexpr size_t kPerBlock = 100;

    void* alloc() {
        std::lock_guard<std::mutex> lock(mutex);
        if (!freeList) grow();
        FreeRecord* r = freeList;
        freeList = r->next;
        return r;
    }
    void free(void* p) {
        std::lock_guard<std::mutex> lock(mutex);
        FreeRecord* r = static_cast<FreeRecord*>(p);
        r->next = freeList;
        freeList = r;
    }
    ~PagePool() {
        for (unsigned char* b : blocks)
            ::operator delete(b, std::align_val_t(alignof(ilImagePage)));
    }

  private:
    struct FreeRecord {
        FreeRecord* next;
    };
    static constexpr size_t kStride =
        (std::max(kRecord, sizeof(FreeRecord)) + alignof(ilImagePage) - 1) / alignof(ilImagePage) *
        alignof(ilImagePage);

    void grow() {
        auto* block = static_cast<unsigned char*>(
            ::operator new(kStride* kPerBlock, std::align_val_t(alignof(ilImagePage))));
        blocks.push_back(block);
        for (size_t i = 0; i < kPerBlock; ++i) {
            FreeRecord* r = reinterpret_cast<FreeRecord*>(block + i * kStride);
            r->next = freeList;
            freeList = r;
        }
    }

    std::mutex mutex;
    FreeRecord* freeList = nullptr;
    std::vector<unsigned char*> blocks;
};

PagePool& pool() {
    static PagePool* p = new PagePool;  // lives for the process: pages may outlive static teardown
    return *p;
}

}  // namespace

ilPage::~ilPage() {
    x = y = z = c = static_cast<int>(kDeadTag);
    signature = kDeadTag;
    data = reinterpret_cast<void*>(static_cast<uintptr_t>(kDeadTag));
}

void* ilPage::operator new(size_t bytes) {
    // Kinds that grow the record beyond the pool's size take the general heap.
    if (bytes > PagePool::kRecord) return ::operator new(bytes);
    return pool().alloc();
}

void ilPage::operator delete(void* p, size_t bytes) {
    if (!p) return;
    if (bytes > PagePool::kRecord) {
        ::operator delete(p);
        return;
    }
    pool().free(p);
}

ilImagePage::ilImagePage(int x_, int y_, int z_, int c_, long bytes)
    : ilPage(x_, y_, z_, c_, new unsigned char[bytes > 0 ? bytes : 1]) {}

ilImagePage::~ilImagePage() {
    delete[] static_cast<unsigned char*>(data);
}

ilPgCB::ilPgCB(ilImage* image, int x_, int y_, int z_, int c_) : x(x_), y(y_), z(z_), c(c_) {
    ilSize s = image->getSize();
    ilSize p = image->getPageSize();
    int bx, by, bz;
    image->getPageBorder(bx, by, bz);
    nx = std::min(p.x, s.x - x + bx);
    ny = std::min(p.y, s.y - y + by);
    nz = std::min(p.z, s.z - z + bz);
    nc = std::min(p.c, s.c - c);
}
