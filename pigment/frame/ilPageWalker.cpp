#include "pigment/frame/ilPageWalker.h"

#include <algorithm>

#include "pigment/frame/ilImage.h"
#include "pigment/frame/ilPageGrid_p.h"

ilPageWalker::ilPageWalker(ilImage* image_, const ilTile& tile, const ilConfig* cfg, int mode_)
    : ilTileIter(tile, 0, cfg, 0), image(image_), mode(mode_ & ~ilLockNoWait) {
    status = image ? image->resetCheck() : ilBadInput;
    if (status == ilOK)
        ilSetPageGrid(*this, image, tile, cfg);
    else
        setTile(ilTile(0, 0, 0, 0, 0, 0), 0, nullptr, 0);
}

ilPageWalker::~ilPageWalker() {
    if (batchCount > 0) image->unlockPageSet(batch, batchCount);
    delete[] requests;
}

void ilPageWalker::start() {
    int n = getCount();
    requests = new ilLockRequest[2 * std::max(n, 1)];
    locked = requests;
    deferred = requests + std::max(n, 1);
    int walked = 0;
    while (walked < n && more())
        requests[walked++].init(x, y, z, c);
    if (walked == 0) return;

    image->lockPageSet(requests, mode | ilLockNoWait, walked);
    // Busy pages go to the second half to be retried; the rest close up in the first half. The
    // requests are sorted by their own status, so an image that reports a busy page but answers
    // the call as a whole with ilOK is still served.
    for (int i = 0; i < walked; ++i) {
        ilLockRequest& r = requests[i];
        if (r.status == ilPageNotReady) {
            deferred[deferredCount++] = r;
            continue;
        }
        if (r.status != ilOK && status == ilOK) status = r.status;
        locked[lockedCount++] = r;
    }
}

bool ilPageWalker::advance() {
    ilLockRequest* next;
    if (phase == 0) {
        start();
        phase = 1;
        batch = locked;
        batchCount = lockedCount;
        batchStatus = status;
        position = 0;
        if (batchCount > 0) return true;
        next = deferred;
    } else {
        if (batchCount > 0) image->unlockPageSet(batch, batchCount);
        next = phase == 1 ? deferred : batch + batchCount;
        batchCount = 0;
    }
    phase = 2;
    batch = next;
    position = 0;
    int remaining = static_cast<int>(deferred + deferredCount - next);
    if (remaining <= 0) return false;
    int n = std::min(std::max(batchSize, 1), remaining);
    for (int i = 0; i < n; ++i)
        next[i].init(next[i].x, next[i].y, next[i].z, next[i].c);
    batchStatus = image->lockPageSet(next, mode, n);
    batchCount = n;
    if (batchStatus != ilOK) status = batchStatus;
    return true;
}

bool ilPageWalker::nextPage() {
    while (position >= batchCount) {
        if (!advance()) {
            request = nullptr;
            pageData = nullptr;
            return false;
        }
    }
    request = &batch[position++];
    x = request->x;
    y = request->y;
    z = request->z;
    c = request->c;
    pageData = request->page ? request->page->getData() : nullptr;
    return true;
}

int ilPageWalker::nextGroup(ilLockRequest*& group) {
    group = nullptr;
    if (!advance() || batchStatus != ilOK) return 0;
    group = batch;
    position = batchCount;
    return batchCount;
}
