// The result of locking the pages under a tile: the requests with their pages, and the status of
// the lock, so that the pages are released again exactly when they were taken.
#pragma once

#include "pigment/frame/ilCoord.h"
#include "pigment/frame/ilPage.h"
#include "pigment/frame/ilTypes.h"

class ilImage;
class ilTileIter;

class ilLockedTile {
  public:
    // Copies the page positions into a new request array and locks them in one batch; the
    // no-wait bits of mode are not passed on.
    ilLockedTile(ilImage* image, const ilXYZCstruct<int>* positions, int count, int mode);
    // Locks the pages that iter walks, in its order.
    ilLockedTile(ilImage* image, ilTileIter& iter, int mode);
    // Unlocks the pages only when the lock succeeded.
    ~ilLockedTile();
    ilLockedTile(const ilLockedTile&) = delete;
    ilLockedTile& operator=(const ilLockedTile&) = delete;

    ilImage* image;
    ilLockRequest* requests;
    int count;
    ilStatus status;
};
