#include "pigment/frame/ilPage.h"

#include <algorithm>
#include <new>

#include "pigment/base/vlBlockAllocator.h"
#include "pigment/base/vlMutex.h"

#include "pigment/frame/ilImage.h"

namespace {

// The one record size the pool hands out: big enough for either kind of page record.
constexpr size_t kRecord = sizeof(ilImagePage) > sizeof(ilPage) ? sizeof(ilImagePage)
                                                                : sizeof(ilPage);

// Page records for every thread that locks pages: a hundred to a block, made on first use, behind
// one mutex. The pool lives for the process, since pages may outlive static teardown.
struct PagePool {
    vl::BlockAllocator records{kRecord, 100};
    vlThread::Mutex mutex{false};
    PagePool() { records.setLazy(true); }
};

PagePool& pool() {
    static PagePool* p = new PagePool;
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
    if (bytes > kRecord) return ::operator new(bytes);
    vlThread::MutexOp hold(pool().mutex, true);
    hold.lock();
    void* record = pool().records.alloc();
    if (!record) throw std::bad_alloc();
    return record;
}

void ilPage::operator delete(void* p, size_t bytes) {
    if (!p) return;
    if (bytes > kRecord) {
        ::operator delete(p);
        return;
    }
    vlThread::MutexOp hold(pool().mutex, true);
    hold.lock();
    pool().records.free(p);
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
