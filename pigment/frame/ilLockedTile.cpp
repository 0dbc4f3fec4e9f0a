#include "pigment/frame/ilLockedTile.h"

#include <vector>

#include "pigment/frame/ilImage.h"

ilLockedTile::ilLockedTile(ilImage* image_, const ilXYZCstruct<int>* positions, int count_,
                           int mode)
    : image(image_),
      requests(new ilLockRequest[count_ > 0 ? count_ : 1]),
      count(count_),
      status(ilOK) {
    for (int i = 0; i < count; ++i)
        requests[i].init(positions[i].x, positions[i].y, positions[i].z, positions[i].c);
    status = image->lockPageSet(requests, mode & ~(1024 | ilLockNoWait), count);
}

ilLockedTile::~ilLockedTile() {
    if (status == ilOK) image->unlockPageSet(requests, count);
    delete[] requests;
}

ilLockedTile* ilImage::lockTile3D(int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg,
                                  int mode) {
    if (resetCheck() != ilOK) return nullptr;
    ilTile tile(x, y, z, nx, ny, nz);
    if (cfg && cfg->coordSpace) mapTile(tile, cfg->coordSpace);
    clipTile(tile, 0);
    std::vector<ilXYZCstruct<int>> pages;
    if (!tile.empty()) {
        ilSize delta = getPageDelta();
        int firstC = cfg ? cfg->chanOffset : 0;
        int endC = cfg && cfg->nChans ? firstC + cfg->nChans : size.c;
        int pc = pageSize.c > 0 ? pageSize.c : 1;
        firstC -= firstC % pc;
        auto first = [](int start, int d, int border) {
            int off = start % d;
            if (off < 0) off += d;
            return start - border - off;
        };
        int fx = first(tile.x, delta.x, pageBorder.x), fy = first(tile.y, delta.y, pageBorder.y);
        int fz = first(tile.z, delta.z, pageBorder.z);
        for (int c = firstC; c < endC; c += pc)
            for (int pz = fz; pz < tile.z + tile.nz - pageBorder.z; pz += delta.z)
                for (int py = fy; py < tile.y + tile.ny - pageBorder.y; py += delta.y)
                    for (int px = fx; px < tile.x + tile.nx - pageBorder.x; px += delta.x)
                        pages.push_back({px, py, pz, c});
    }
    return new ilLockedTile(this, pages.data(), static_cast<int>(pages.size()), mode);
}
