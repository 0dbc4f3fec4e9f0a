// The page table: the lookup every pixel and tile access goes through, bounds with pruning,
// single pixels, page lists and their disk-friendly order, and the page iterator.
#include "pigment/smart/SmartImage.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/ilSmartImage.h"

namespace {

// The handle of a smart seed's page, for SmartImgPage::SetSmartSeed.
SmartImgPage* seedLookup(ilImage* seed, int x, int y) {
    auto* smart = dynamic_cast<ilSmartImage*>(seed);
    if (!smart || !smart->IsValid()) return nullptr;
    return smart->GetSmartImage().FindPageFromOrigin(x, y, 0);
}

bool overlaps(int x, int y, int w, int h, int bx, int by, int bw, int bh) {
    return w > 0 && h > 0 && bw > 0 && bh > 0 && x < bx + bw && bx < x + w && y < by + bh &&
           by < y + h;
}

}  // namespace

SmartImage::SmartImage() {
    CommonInit(4, nullptr);
}

SmartImage::SmartImage(SmartImage&) {
    CommonInit(4, nullptr);
}

SmartImage::SmartImage(SmartImage&, Coordinate&) {
    CommonInit(4, nullptr);
}

void SmartImage::CommonInit(int size, ilSmartImage* owner) {
    SmartImgPage::SmartSeedLookup = &seedLookup;
    MakeValid();
    offset = Coordinate();
    bounds = Rectangle_();
    fill = 0xffffffffu;
    lastCluster = nullptr;
    lastPage = nullptr;
    lastPageX = lastPageY = 0;
    lastPixelX = lastPixelY = 0;
    parent = owner;
    seedPagesTaken = 0;
    SmartFault(size == 1 || size == 4);
    pixelSize = static_cast<std::uint8_t>(size == 1 ? 1 : 4);
    pixelShift = size == 1 ? 0 : 2;
    defaultPage = new SmartImgPage(fill, pixelSize);
    // The spare count keeps the default page shared for good, so it is never written in place.
    defaultPage->Ref();
    overflowPage = nullptr;
}

SmartImage::~SmartImage() {
    DestroyClusters_();
    defaultPage->UnRef(1234008);
    defaultPage->UnRef(1234009);
    delete defaultPage;
    if (overflowPage) {
        overflowPage->UnRef(1234010);
        delete overflowPage;
    }
    MakeInvalid();
}

void SmartImage::DestroyClusters_() {
    while (PageCluster* cluster = rootCluster.GetNext()) {
        RemoveFromClusterList(cluster);
        delete cluster;
    }
}

void SmartImage::ReleaseAllPages() {
    DestroyClusters_();
    for (int col = 0; col < kClusterPages; ++col)
        for (int row = 0; row < kClusterPages; ++row) {
            SmartImgPage* page = rootCluster.FindPage(col * kPageEdge, row * kPageEdge);
            page->UnRef(1234007);
            page->MakeNull();
        }
    lastPage = nullptr;
    lastCluster = nullptr;
}

void SmartImage::RemoveFromClusterList(PageCluster* cluster) {
    if (cluster == &rootCluster) return;
    if (PageCluster* prev = cluster->GetPrev()) prev->SetNext(cluster->GetNext());
    if (PageCluster* next = cluster->GetNext()) next->SetPrev(cluster->GetPrev());
    cluster->SetNext(nullptr);
    cluster->SetPrev(nullptr);
    if (lastCluster == cluster) lastCluster = nullptr;
    if (lastPage && cluster->IsIn(lastPageX, lastPageY)) lastPage = nullptr;
}

int SmartImage::CountClusters() const {
    int n = 1;
    for (const PageCluster* c = rootCluster.GetNext(); c; c = c->GetNext())
        ++n;
    return n;
}

int SmartImage::CountPages() const {
    int n = 0;
    auto count = [&n](PageCluster* c) {
        for (int col = 0; col < kClusterPages; ++col)
            for (int row = 0; row < kClusterPages; ++row)
                if (!c->FindPage(c->GetX() + col * kPageEdge, c->GetY() + row * kPageEdge)
                         ->IsNull())
                    ++n;
    };
    auto* self = const_cast<SmartImage*>(this);
    count(&self->rootCluster);
    for (PageCluster* c = self->rootCluster.GetNext(); c; c = c->GetNext())
        count(c);
    return n;
}

// ---------------------------------------------------------------------------------------------
// Lookup

PageCluster* SmartImage::FindCluster_(int x, int y) {
    if (rootCluster.IsIn(x, y)) return &rootCluster;
    if (lastCluster && lastCluster->IsIn(x, y)) return lastCluster;
    for (PageCluster* c = rootCluster.GetNext(); c; c = c->GetNext())
        if (c->IsIn(x, y)) {
            lastCluster = c;
            return c;
        }
    return nullptr;
}

SmartImgPage* SmartImage::FindPageFromOrigin(int x, int y, int create) {
    const bool inBounds =
        overlaps(x, y, kPageEdge, kPageEdge, bounds.x, bounds.y, bounds.w, bounds.h);
    if (!inBounds && !create) return defaultPage;

    if (x < -kSmartMaxCoord || x > kSmartMaxCoord || y < -kSmartMaxCoord || y > kSmartMaxCoord) {
        std::printf("SID: Warning: Exceeding Max coord range of %d to %d\n", -kSmartMaxCoord,
                    kSmartMaxCoord);
        if (overflowPage) {
            overflowPage->UnRef(1234011);
            delete overflowPage;
        }
        overflowPage = new SmartImgPage(fill, pixelSize);
        return overflowPage;
    }

    if (lastPage && lastPageX == x && lastPageY == y && lastPage->IsValid()) return lastPage;

    ilImage* seed = nullptr;
    if (inBounds) {
        bool seedWanted = true;
        if (parent) {
            const ilTile& sb = parent->GetSeedBounds();
            seedWanted = overlaps(x, y, kPageEdge, kPageEdge, sb.x, sb.y, sb.nx, sb.ny);
        }
        if (seedWanted) seed = GetSeed();
    }

    PageCluster* cluster = FindCluster_(x, y);
    const bool clusterExisted = cluster != nullptr;
    if (!cluster) {
        int cx, cy;
        PageCluster::FindOrigin(x, y, cx, cy);
        cluster = new PageCluster(cx, cy);
        PageCluster* head = rootCluster.GetNext();
        cluster->SetNext(head);
        cluster->SetPrev(&rootCluster);
        if (head) head->SetPrev(cluster);
        rootCluster.SetNext(cluster);
        lastCluster = cluster;
    }

    SmartImgPage* page = cluster->FindPage(x, y);
    if (page->IsNull()) {
        if (seed) {
            page->SetSeed(seed, x, y);
            if (create && clusterExisted) ++seedPagesTaken;
        }
        // A seed whose page could not be had leaves the cell as untouched space.
        if (page->IsNull()) page->Reference(defaultPage);
    }

    lastPage = page;
    lastPageX = x;
    lastPageY = y;
    SmartFault(page->IsValid() && page->GetState() != Invalid);
    return page;
}

// ---------------------------------------------------------------------------------------------
// Pixels

unsigned SmartImage::GetPixel(int x, int y) {
    lastPixelX = x;
    lastPixelY = y;
    if (!InLastPage(x, y)) {
        int ox, oy;
        SmartImgPage::FindOrigin(x, y, ox, oy);
        SmartImgPage* page = FindPageFromOrigin(ox, oy, 0);
        // Untouched space outside the bounds reads the default page without entering the table.
        if (page != lastPage) return page->GetPixel(x - ox, y - oy);
    }
    SmartImgPage* page = lastPage;
    const int state = page->GetState();
    if (state != ValidInMem && state != SolidFill) page->Realize(0);
    return page->GetPixel(x - lastPageX, y - lastPageY);
}

void SmartImage::SetPixel(int x, int y, unsigned value) {
    SmartImgPage* page;
    int ox = lastPageX, oy = lastPageY;
    if (!InLastPage(x, y)) {
        SmartImgPage::FindOrigin(x, y, ox, oy);
        page = FindPageFromOrigin(ox, oy, 1);
        // A scratch page past the limit takes the write and is discarded at the next such call.
        if (page != lastPage) {
            page->Realize(1);
            page->SetPixel(value, x - ox, y - oy);
            return;
        }
    }
    page = lastPage;
    SmartFault(lastPageX == ox && lastPageY == oy);
    if (page->GetState() != ValidInMem || page->GetRefCnt() >= 2) page->Realize(1);
    page->SetPixel(value, x - lastPageX, y - lastPageY);
}

unsigned SmartImage::GetAdjacentPixel(int dx, int dy, int advance) {
    const int px = lastPixelX, py = lastPixelY;
    const unsigned value = GetPixel(px + dx, py + dy);
    if (!advance) {
        lastPixelX = px;
        lastPixelY = py;
    }
    return value;
}

int SmartImage::PixelScan(int x, int y, int step, unsigned value, unsigned mask) {
    if (x < bounds.x) return x;
    const int right = bounds.x + bounds.w;
    if (step == 0) return x < right && (GetPixel(x, y) & mask) != value ? right : x;
    while (x < right) {
        if ((GetPixel(x, y) & mask) == value) return x;
        x += step;
        if (x < bounds.x) return x;
    }
    return x;
}

bool SmartImage::IsFilled(const ilTile& tile, unsigned& value) {
    // Rounded toward zero, not floored: a tile ending on a page edge tests the next page too.
    const int x0 = tile.x / kPageEdge * kPageEdge, y0 = tile.y / kPageEdge * kPageEdge;
    const int x1 = (tile.x + tile.nx) / kPageEdge * kPageEdge;
    const int y1 = (tile.y + tile.ny) / kPageEdge * kPageEdge;
    if (x1 < x0 || y1 < y0) return true;
    bool first = true;
    for (int py = y0; py <= y1; py += kPageEdge)
        for (int px = x0; px <= x1; px += kPageEdge) {
            SmartImgPage* page = FindPageFromOrigin(px, py, 0);
            if (first) {
                if (!page || page->IsNull() || page->GetState() != SolidFill) return false;
                value = page->GetFillValue();
                first = false;
            } else if (!page || !page->IsSolidFilled(value)) {
                return false;
            }
        }
    return true;
}

// ---------------------------------------------------------------------------------------------
// Bounds

int SmartImage::ClipToLimit(int& x, int& y, int& w, int& h) {
    bool clipped = false;
    auto clampStart = [&clipped](int& v) {
        const int c = std::clamp(v, -kSmartMaxCoord, kSmartMaxCoord);
        if (c != v) clipped = true;
        v = c;
    };
    clampStart(x);
    clampStart(y);
    if (w < 0) w = 0;
    if (h < 0) h = 0;
    if (static_cast<std::int64_t>(x) + w > kSmartMaxCoord) {
        w = kSmartMaxCoord - x;
        clipped = true;
    }
    if (static_cast<std::int64_t>(y) + h > kSmartMaxCoord) {
        h = kSmartMaxCoord - y;
        clipped = true;
    }
    if (clipped)
        std::printf("SID: SmartImage had to clip an image op to fit +- %d\n", kSmartMaxCoord);
    return clipped;
}

void SmartImage::SetBounds(int x, int y, int w, int h, int noPrune) {
    ClipToLimit(x, y, w, h);
    const bool containsOld = bounds.x >= x && bounds.y >= y && bounds.x + bounds.w <= x + w &&
                             bounds.y + bounds.h <= y + h;
    if (containsOld) noPrune = 1;
    bounds.x = x;
    bounds.y = y;
    bounds.w = w;
    bounds.h = h;
    if (noPrune) return;

    const bool hasSeed = GetSeed() != nullptr;
    PageCluster* cluster = rootCluster.GetNext();
    while (cluster) {
        PageCluster* next = cluster->GetNext();
        const int cx = cluster->GetX(), cy = cluster->GetY();
        const bool inside = cx >= x && cy >= y && cluster->ux() <= x + w && cluster->uy() <= y + h;
        const bool outside = !overlaps(cx, cy, kClusterEdge, kClusterEdge, x, y, w, h);
        if (!inside) {
            if (outside && !hasSeed) {
                RemoveFromClusterList(cluster);
                delete cluster;
                lastCluster = nullptr;
            } else {
                cluster->PrunePages(x, y, w, h, this);
                lastPage = nullptr;
            }
        }
        cluster = next;
    }
    rootCluster.PrunePages(x, y, w, h, this);
    lastPage = nullptr;
}

void SmartImage::ExpandBounds(int x, int y, int w, int h) {
    if (w <= 0 || h <= 0) return;
    if (bounds.w <= 0 || bounds.h <= 0) {
        bounds = Rectangle_{x, y, w, h};
        return;
    }
    const int x0 = std::min(x, bounds.x), y0 = std::min(y, bounds.y);
    const int x1 = std::max(x + w, bounds.x + bounds.w);
    const int y1 = std::max(y + h, bounds.y + bounds.h);
    bounds = Rectangle_{x0, y0, x1 - x0, y1 - y0};
}

void SmartImage::AddToBounds_(const ilTile& tile) {
    if (parent) parent->AddToBounds_(tile);
}

// ---------------------------------------------------------------------------------------------
// Fill, seed, pixel size

void SmartImage::SetFill(unsigned value) {
    fill = value;
    // Recolours every page that still shares the default page.
    defaultPage->SetFillValue(value);
}

ilImage* SmartImage::GetSeed() {
    return parent ? parent->GetSeed() : nullptr;
}

void SmartImage::SetSeed(ilImage* seed, const Coordinate&) {
    if (!seed) return;
    const int channels = seed->getNumChans();
    SetPixelSize(channels == 1 ? 1 : 4);
    const ilPixel& f = seed->getFill();
    std::uint32_t value = 0;
    if (f.type() == ilUChar && f.nc() > 0)
        std::memcpy(&value, f.elems(), static_cast<std::size_t>(std::min(f.nc(), 4)));
    if (pixelSize == 1) value &= 0xffu;
    if (PageData* body = defaultPage->GetPageData()) body->fillValue = value;
}

void SmartImage::SetPixelSize(int size) {
    SmartFault(size == 1 || size == 4);
    pixelSize = static_cast<std::uint8_t>(size == 1 ? 1 : 4);
    pixelShift = size == 1 ? 0 : 2;
    if (PageData* body = defaultPage->GetPageData()) {
        body->pixelSize = pixelSize;
        body->pixelShift = pixelShift;
    }
}

// ---------------------------------------------------------------------------------------------
// Page lists

void SmartImage::GetPageList(const Rectangle_& rect, PageListItem* items, int& count, int create,
                             int sort) {
    count = 0;
    const std::int64_t endX = static_cast<std::int64_t>(rect.x) + rect.w;
    const std::int64_t endY = static_cast<std::int64_t>(rect.y) + rect.h;
    int x0, y0;
    SmartImgPage::FindOrigin(std::max(rect.x, -kSmartMaxCoord), std::max(rect.y, -kSmartMaxCoord),
                             x0, y0);
    bool allResident = true;
    for (int py = y0; endY - py > 0 && py < kSmartMaxCoord; py += kPageEdge)
        for (int px = x0; endX - px > 0 && px < kSmartMaxCoord; px += kPageEdge) {
            SmartImgPage* page = FindPageFromOrigin(px, py, create);
            items[count++] = PageListItem{px, py, page, 1};
            const int state = page->GetState();
            if (!(state == ValidInMem || (!create && state == SolidFill))) allResident = false;
        }
    items[count] = PageListItem{0, 0, nullptr, 0};
    if (sort && count >= 5 && !allResident) SortPageList_(items, count);
}

void SmartImage::SortPageList_(PageListItem* items, int count) {
    // Resident pages first, the most recently used leading; swapped pages last, by file position
    // so that the swap file is read in order; everything else keeps its page order between them.
    auto rank = [](const PageListItem& item) {
        const SmartImgPage* p = item.page;
        if (!p || p->IsNull()) return 1;
        if (p->GetState() == ValidInMem) return 0;
        if (p->GetState() == Swapped) return 2;
        return 1;
    };
    std::stable_sort(items, items + count, [&rank](const PageListItem& a, const PageListItem& b) {
        const int ra = rank(a), rb = rank(b);
        if (ra != rb) return ra < rb;
        if (ra == 0) return a.page->GetPageData()->lastAccess > b.page->GetPageData()->lastAccess;
        if (ra == 2) return a.page->GetFileOffset() < b.page->GetFileOffset();
        return false;
    });
}

// ---------------------------------------------------------------------------------------------
// PageIterator

PageIterator::PageIterator(SmartImage* image, int x, int y, int w, int h, int create, int sort)
    : items(nullptr), count(0), current(0), created(create) {
    if (!image || w <= 0 || h <= 0) return;
    const Rectangle_ rect{x, y, w, h};
    const int size = SmartImage::GetPageListSize(rect) + 1;
    items = new PageListItem[static_cast<std::size_t>(size)]();
    image->GetPageList(rect, items, count, create, sort);
}

PageIterator::~PageIterator() {
    for (int i = 0; i < count; ++i)
        items[i].inUse = 0;
    delete[] items;
}

SmartImgPage* PageIterator::GetNext(int& x, int& y) {
    if (current >= count) {
        x = y = 0;
        return nullptr;
    }
    PageListItem& item = items[current++];
    item.inUse = 0;
    x = item.x;
    y = item.y;
    return item.page;
}

SmartImgPage* PageIterator::GetNext() {
    int x, y;
    return GetNext(x, y);
}
