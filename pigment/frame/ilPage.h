// Page records handed out by page locks: a position, a validity tag and a data pointer, taken from
// one process-wide record pool so that locking many pages does no general heap traffic.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pigment/frame/ilCoord.h"
#include "pigment/frame/ilTypes.h"

class ilImage;

class ilPage : public ilXYZCstruct<int> {
  public:
    static constexpr uint32_t kValidTag = 0xface1234u;
    static constexpr uint32_t kDeadTag = 0xdeadbeefu;

    ilPage() : ilXYZCstruct<int>{-1, -1, -1, -1}, signature(kValidTag), data(nullptr) {}
    ilPage(int x_, int y_, int z_, int c_, void* data_)
        : ilXYZCstruct<int>{x_, y_, z_, c_}, signature(kValidTag), data(data_) {}
    // Overwrites the record so that a stale pointer fails Valid.
    virtual ~ilPage();

    bool Valid() const { return signature == kValidTag; }
    void* getData() const { return Valid() ? data : nullptr; }
    operator void*() const { return getData(); }
    bool matches(int x_, int y_, int z_, int c_) const {
        return Valid() && x == x_ && y == y_ && z == z_ && c == c_;
    }
    ilXYZCstruct<int> getPos() const { return {x, y, z, c}; }

    // Records come from the process-wide pool behind a mutex.
    static void* operator new(size_t bytes);
    static void operator delete(void* p, size_t bytes);

    uint32_t signature;
    void* data;
};

// A page that owns its bytes, used by the generic page path of images without pages of their own.
class ilImagePage : public ilPage {
  public:
    ilImagePage(int x_, int y_, int z_, int c_, long bytes);
    ~ilImagePage() override;
};

// The geometry of one page at a position of an image, clipped to the image and its border.
struct ilPgCB {
    int x, y, z, c;
    int nx, ny, nz, nc;
    ilPgCB(ilImage* image, int x_, int y_, int z_, int c_);
};

// One entry of a batch of page locks.
struct ilLockRequest {
    int x = 0, y = 0, z = 0, c = 0;
    ilStatus status = ilOK;
    ilPage* page = nullptr;

    void init(int x_, int y_, int z_, int c_) {
        x = x_, y = y_, z = z_, c = c_;
        status = ilOK;
        page = nullptr;
    }
};
