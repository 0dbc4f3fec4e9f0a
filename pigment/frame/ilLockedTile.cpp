#include "pigment/frame/ilLockedTile.h"

#include <algorithm>

#include "pigment/frame/ilImage.h"
#include "pigment/frame/ilPageGrid_p.h"
#include "pigment/frame/ilTileIter.h"

namespace {
// The no-wait bits belong to page walkers; a locked tile always waits for its pages.
constexpr int kWalkerBits = 1024 | ilLockNoWait;
}  // namespace

ilLockedTile::ilLockedTile(ilImage* image_, const ilXYZCstruct<int>* positions, int count_,
                           int mode)
    : image(image_),
      requests(new ilLockRequest[count_ > 0 ? count_ : 1]),
      count(count_),
      status(ilOK) {
    for (int i = 0; i < count; ++i)
        requests[i].init(positions[i].x, positions[i].y, positions[i].z, positions[i].c);
    status = image->lockPageSet(requests, mode & ~kWalkerBits, count);
}

ilLockedTile::ilLockedTile(ilImage* image_, ilTileIter& iter, int mode)
    : image(image_), requests(nullptr), count(0), status(ilOK) {
    // The iterator's count may include channel pages that a channel list skips, so it bounds the
    // walk rather than giving its length.
    int bound = iter.getCount();
    requests = new ilLockRequest[std::max(bound, 1)];
    while (count < bound && iter.more())
        requests[count++].init(iter.x, iter.y, iter.z, iter.c);
    status = image->lockPageSet(requests, mode & ~kWalkerBits, count);
}

ilLockedTile::~ilLockedTile() {
    if (status == ilOK) image->unlockPageSet(requests, count);
    delete[] requests;
}

ilLockedTile* ilImage::lockTile3D(int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg,
                                  int mode) {
    if (resetCheck() != ilOK) return nullptr;
    ilTileIter iter(ilTile(x, y, z, nx, ny, nz), size.c, cfg, 0);
    ilSetPageGrid(iter, this, ilTile(x, y, z, nx, ny, nz), cfg);
    return new ilLockedTile(this, iter, mode);
}
