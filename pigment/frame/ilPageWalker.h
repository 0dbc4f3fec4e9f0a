// A tile iterator that locks the pages as it walks: first everything that can be had at once,
// then the pages that were busy, in small batches, so a reader never waits while holding a batch.
#pragma once

#include "pigment/frame/ilPage.h"
#include "pigment/frame/ilTileIter.h"

class ilImage;

class ilPageWalker : public ilTileIter {
  public:
    // Walks the pages of image under tile (in cfg's space when it names one), with the lock mode
    // the caller needs; the no-wait bit is the walker's own and is ignored here.
    ilPageWalker(ilImage* image, const ilTile& tile, const ilConfig* cfg = nullptr,
                 int mode = ilLockRead);
    // Releases whatever is still locked.
    ~ilPageWalker();
    ilPageWalker(const ilPageWalker&) = delete;
    ilPageWalker& operator=(const ilPageWalker&) = delete;

    // Hands out the next page: x, y, z, c hold its position, request its lock request and
    // pageData its bytes (null when the page could not be had). False at the end.
    bool nextPage();
    // Group form: the requests of the next group (the pages locked at once, then one batch of
    // deferred pages at a time), valid until the next call. Answers 0 at the end, or when a lock
    // failed, whose status is then kept in status.
    int nextGroup(ilLockRequest*& group);

    void* pageData = nullptr;
    ilImage* image;
    ilStatus status = ilOK;
    int batchSize = 1;
    int mode;
    int phase = 0;
    ilLockRequest* request = nullptr;
    ilLockRequest* requests = nullptr;
    ilLockRequest* locked = nullptr;
    int lockedCount = 0;
    ilLockRequest* deferred = nullptr;
    int deferredCount = 0;
    int position = 0;

  private:
    // The try-only pass over the whole walk, which sorts the requests into locked and deferred.
    void start();
    // Unlocks the group in hand and takes the next one; false when none remains.
    bool advance();

    ilLockRequest* batch = nullptr;  // the group in hand
    int batchCount = 0;              // its size; its pages are locked while it is non-zero
    ilStatus batchStatus = ilOK;     // the result of locking it
};
