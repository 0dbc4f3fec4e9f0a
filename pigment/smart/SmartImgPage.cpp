// Page handle operations: counting, copy on write, residency requests to the cache, seeds, solid
// scans and transparency.
#include "pigment/smart/SmartImgPage.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <unordered_set>

#include "pigment/frame/ilAlphaCheck.h"
#include "pigment/frame/ilImage.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/SmartImageCache.h"

std::uint32_t SmartImgPage::AccessTimer_ = 0;
SmartImgPage* (*SmartImgPage::SmartSeedLookup)(ilImage* seed, int x, int y) = nullptr;
bool (*SmartImgPage::PaintInOperation)() = nullptr;

namespace {

// Bodies alive now, so that a clone's link to its source is never followed into freed memory.
// Left to the end of the process on purpose: pages may be released by other exit-time code.
std::unordered_set<const PageData*>& liveBodies() {
    static auto* bodies = new std::unordered_set<const PageData*>;
    return *bodies;
}

PageData* newBody(std::uint32_t stamp, int pixelSize) {
    auto* page = new PageData(stamp);
    SmartFault(pixelSize == 1 || pixelSize == 4);
    page->pixelSize = static_cast<std::uint8_t>(pixelSize);
    page->pixelShift = pixelSize == 4 ? 2 : 0;
    liveBodies().insert(page);
    return page;
}

void destroyBody(PageData* page) {
    liveBodies().erase(page);
    delete page;
}

int wholePage(const ilTile* tile) {
    return !tile ||
           (tile->x == 0 && tile->y == 0 && tile->nx == kPageEdge && tile->ny == kPageEdge);
}

std::uint32_t* words(PageData* page) {
    return reinterpret_cast<std::uint32_t*>(page->data);
}

// Every pixel of a resident page set to value.
void fillMemory(PageData* page, std::uint32_t value) {
    if (!page->data) return;
    if (page->pixelSize == 4)
        std::fill_n(words(page), kPagePixels, value);
    else
        std::memset(page->data, static_cast<int>(value & 0xff), kPagePixels);
}

// The retain that ClonePage takes on its source, and its release, which puts the page back at
// the head of its list without listing it for a scan.
void retainBody(PageData* page, SmartImageCache* cache) {
    if (page->priority >= kRetainedPriority) return;
    if (page->readerCount == 0) {
        SmartFault(page->state == ValidInMem);
        cache->RemoveFromInMemList(page);
        cache->AddToLockedList(page);
        cache->RemoveFromScanList(page);
    }
    page->priority = kRetainedPriority;
    ++page->readerCount;
}

void countDown(PageData* page, SmartImageCache* cache) {
    if (page->readerCount == 0) {
        std::printf("SID: SmartImage:Negative Reader Count hit\n");
        return;
    }
    if (--page->readerCount == 0) {
        page->priority = 0;
        cache->RemoveFromLockedList(page);
        cache->AddToInMemList(page);
    }
}

// Transparency of a page on the scan list whose cached value is unknown; otherwise the cached
// value. Big pages test the first byte of each pixel in memory.
int computeTransparency(PageData* page, const ilTile* tile) {
    if (page->scanState != 0 || page->transparency != 0) return page->transparency;
    int result = 0;
    if (page->state == ValidInMem) {
        if (page->pixelSize != 4) {
            result = 0;
        } else {
            if (!wholePage(tile)) return 0;
            const unsigned char* bytes = page->data;
            const unsigned first = bytes[0];
            if (first != 0 && first != 255) {
                result = 0;
            } else {
                static const int samples[] = {0, 508, 65024, 65532, 16124, 48892, 32380, 32636};
                bool same = true;
                for (int s : samples)
                    same = same && bytes[s] == first;
                if (same) {
                    const std::uint32_t* w = words(page);
                    std::uint32_t diff = 0;
                    for (int i = 0; i < kPagePixels; ++i)
                        diff |= (w[i] ^ first) & 0xffu;
                    same = diff == 0;
                }
                result = same ? (first == 0 ? SmartImgTransClear : SmartImgTransOpaque) : 0;
            }
        }
    } else if (page->state == SolidFill) {
        const std::uint32_t alpha =
            page->pixelSize == 4 ? page->fillValue >> 24 : page->fillValue & 0xff;
        result = alpha == 0 ? SmartImgTransClear : alpha == 255 ? SmartImgTransOpaque : 0;
    }
    page->transparency = result;
    return result;
}

}  // namespace

int IsSmartImage(ilImage* image) {
    if (!image) return 0;
    if (SmartImageCache::GetInstance()->UsesOldImageId())
        return std::strcmp(image->getDefaultDescription(), "ilSmartImage") == 0;
    return image->getImageType() == 100;
}

SmartImgPage::SmartImgPage(unsigned fill, int pixelSize) : body(newBody(0, pixelSize)) {
    body->state = SolidFill;
    body->fillValue = fill;
}

SmartImgPage::SmartImgPage(SmartImgPage& other) : body(nullptr) {
    if (other.body) {
        body = other.body;
        ++body->refCount;
    }
}

int SmartImgPage::IsLiveBody(const PageData* page) {
    return page && liveBodies().count(page) && page->signature == kSmartLiveSignature;
}

// ---------------------------------------------------------------------------------------------
// Counting and sharing

void SmartImgPage::UnRef(int tag) {
    PageData* p = body;
    if (!p) return;
    --p->refCount;
    if (p->refCount < 1 && p->priority < kRetainedPriority) Finish_(tag);
}

void SmartImgPage::Finish_(int tag) {
    PageData* p = body;
    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->RemoveFromScanList(p);
    if (p->readerCount >= 1) return;
    if (p->state == FromSeed) {
        delete p->seed;
        p->seed = nullptr;
    }
    cache->ReleaseStorage(p);
    p->state = ZeroRef;
    p->lastAccess = static_cast<std::uint32_t>(tag);
    p->signature = kSmartDeadSignature;
    p->data = nullptr;
    destroyBody(p);
    body = nullptr;
}

void SmartImgPage::Reference(SmartImgPage* other) {
    if (!other || !other->body) return;
    Reference(other->body);
}

void SmartImgPage::Reference(PageData* other) {
    SmartFault(!(body && body->scanState == 255));
    SmartFault(other != nullptr);
    if (body && other) SmartFault(body->pixelSize == other->pixelSize);
    // The new count goes up first so that referencing the body already held cannot free it.
    if (other) ++other->refCount;
    UnRef(1234001);
    body = other;
}

void SmartImgPage::MakeFilled(unsigned value, int pixelSize) {
    if (body) UnRef(1234002);
    body = newBody(0, pixelSize);
    body->state = SolidFill;
    body->fillValue = value;
}

void SmartImgPage::FillPage(unsigned value) {
    PageData* p = body;
    if (!p) return;
    if (p->readerCount == 0) {
        if (p->state != SolidFill) UnRealize();
        p->fillValue = value;
        p->state = SolidFill;
    } else if (p->state == ValidInMem) {
        // A retained page's memory is pinned by its lock: fill it and stay resident.
        fillMemory(p, value);
    }
}

void SmartImgPage::MakeInMemFromSolid() {
    PageData* p = body;
    if (!p) return;
    const std::uint32_t value = p->fillValue;
    SmartImageCache::GetInstance()->MakeResident(p);
    fillMemory(p, value);
}

void SmartImgPage::UnRealize() {
    PageData* p = body;
    SmartFault(p->readerCount == 0);
    if (p->state == ValidInMem || p->state == Swapped) {
        SmartImageCache::GetInstance()->ReleaseStorage(p);
    } else if (p->state == FromSeed) {
        delete p->seed;
        p->seed = nullptr;
    }
    p->state = Unrealized;
}

// ---------------------------------------------------------------------------------------------
// Realize

void SmartImgPage::RealizeSlow_(int mode) {
    SmartFault(body != nullptr);
    if (!body) return;
    SmartFault(body->refCount >= 1);
    SmartImageCache* cache = SmartImageCache::GetInstance();

    // A page still waiting for its seed is read first, whatever the mode.
    while (body->state == FromSeed)
        CopyFromSeed();

    PageData* p = body;
    if (mode > 1 && p->priority < kRetainedPriority) {
        if (p->refCount == 1 && p->state == ValidInMem) {
            cache->CountHit();
            Touch();
        } else {
            if (p->refCount == 1) {
                if (p->state == Swapped) cache->ReleaseStorage(p);
            } else {
                PageData* fresh = newBody(91, p->pixelSize);
                fresh->state = SolidFill;
                fresh->fillValue = 0;
                UnRef(1234005);
                body = p = fresh;
            }
            p->fillValue = 0;
            p->state = SolidFill;
            if (mode == 2) cache->MakeResident(p);
            cache->CountHit();
        }
    } else {
        const int access = mode > 1 ? 1 : mode;
        bool copyOnWrite = access != 0;
        switch (p->state) {
            case ValidInMem:
                cache->CountHit();
                Touch();
                break;
            case Swapped:
                cache->PageIn(p);
                cache->CountMiss();
                break;
            case SolidFill:
                if (access == 1 && p->refCount == 1) MakeInMemFromSolid();
                break;
            case Invalid:
                std::printf("\nSID: Error: Invalid page\n");
                SmartFault(0);
                break;
            case Freed:
                std::printf("\nSID: Error: Freed page\n");
                SmartFault(0);
                break;
            case Unrealized:
                std::printf("\nSID: Error: Unrealized page\n");
                SmartFault(0);
                break;
            case ZeroRef:
                std::printf("\nSID: Error: Attempting to realize a zero refcount page!\n");
                SmartFault(0);
                break;
            default:
                SmartFault(0);
                break;
        }
        if (copyOnWrite && p->refCount > 1) {
            Touch();
            PageData* clone = ClonePage(p, 0);
            UnRef(1234006);
            body = p = clone;
            if (p->state == SolidFill) MakeInMemFromSolid();
        }
    }

    p = body;
    if (mode != 0 && p->state == ValidInMem) {
        p->transparency = 0;
        p->seedClean = 0;
        p->swapClean = 0;
        MarkForScan();
    }
    SmartFault(p->state == ValidInMem || p->state == SolidFill);
}

PageData* SmartImgPage::ClonePage(PageData* source, std::uint32_t stamp) {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    PageData* clone = newBody(stamp, source->pixelSize);
    clone->potentialDuplicate = source;
    clone->seedClean = 1;
    clone->scanState = 1;
    if (source->scanState == 0 && !(PaintInOperation && PaintInOperation()))
        ScanPage(source, nullptr);
    if (source->state != ValidInMem) {
        clone->state = SolidFill;
        clone->fillValue = source->state == SolidFill ? source->fillValue : 0;
        return clone;
    }
    // The retain keeps the allocation for the clone from evicting the source.
    if (source->priority < kRetainedPriority) {
        retainBody(source, cache);
        cache->MakeResident(clone);
        countDown(source, cache);
    } else {
        cache->MakeResident(clone);
    }
    if (clone->data && source->data)
        std::memcpy(clone->data, source->data,
                    static_cast<std::size_t>(kPagePixels) << source->pixelShift);
    return clone;
}

// ---------------------------------------------------------------------------------------------
// Pixels

unsigned SmartImgPage::SlowGetPixel_(int x, int y) {
    if (!body) return 0;
    Realize(0);
    PageData* p = body;
    const int offset = GetPixelOffset(x, y);
    if (p->state == ValidInMem && p->data) {
        if (p->pixelSize == 4) return words(p)[offset];
        if (p->pixelSize == 1) return p->data[offset];
        return 0;
    }
    if (p->state == SolidFill) {
        if (p->pixelSize == 4) return p->fillValue;
        if (p->pixelSize == 1) return p->fillValue & 0xff;
    }
    return 0;
}

void SmartImgPage::SlowSetPixel_(unsigned value, int x, int y) {
    Realize(1);
    PageData* p = body;
    SmartFault(p && p->state == ValidInMem);
    if (!p || p->state != ValidInMem || !p->data) return;
    const int offset = GetPixelOffset(x, y);
    if (p->pixelSize == 4)
        words(p)[offset] = value;
    else if (p->pixelSize == 1)
        p->data[offset] = static_cast<unsigned char>(value);
}

void SmartImgPage::DrawHorizLine(int x1, int x2, int y, unsigned value) {
    if (!body && value == 0) return;
    if (body && body->state == SolidFill && IsSolidFilled(value)) return;
    if (x1 > x2) std::swap(x1, x2);
    if (static_cast<unsigned>(y) >= 129 || x1 < 0 || x2 >= 129) return;
    Realize(1);
    PageData* p = body;
    if (!p || p->state != ValidInMem || !p->data) return;
    const int offset = GetPixelOffset(x1, y);
    const int count = x2 - x1 + 1;
    if (p->pixelSize == 4)
        std::fill_n(words(p) + offset, count, value);
    else if (p->pixelSize == 1)
        std::memset(p->data + offset, static_cast<int>(value & 0xff), static_cast<size_t>(count));
}

int SmartImgPage::ClipToPage(int& x, int& y, int& w, int& h) {
    int x2 = x + w, y2 = y + h;
    x = std::max(x, 0);
    y = std::max(y, 0);
    x2 = std::min(x2, kPageEdge);
    y2 = std::min(y2, kPageEdge);
    w = std::max(x2 - x, 0);
    h = std::max(y2 - y, 0);
    return w > 0 && h > 0;
}

// ---------------------------------------------------------------------------------------------
// Seeds

void SmartImgPage::SetSeed(ilImage* seed, int x, int y) {
    if (body) {
        UnRef(1234099);
        body = nullptr;
    }
    if (!seed) return;
    if (IsSmartImage(seed)) {
        SetSmartSeedImage_(seed, x, y);
        return;
    }
    const int channels = seed->getNumChans();
    SmartFault(channels == 1 || channels == 4);
    body = newBody(0, channels == 1 ? 1 : 4);
    body->state = FromSeed;
    body->seed = new SeedRecord;
    body->seed->seedImage = seed;
    body->seed->x = x;
    body->seed->y = y;
}

void SmartImgPage::SetSmartSeedImage_(ilImage* seed, int x, int y) {
    if (body) {
        UnRef(1234097);
        body = nullptr;
    }
    const bool origin = (x & (kPageEdge - 1)) == 0 && (y & (kPageEdge - 1)) == 0;
    SmartImgPage* source =
        seed && origin && SmartSeedLookup ? SmartSeedLookup(seed, x, y) : nullptr;
    if (!source || !source->IsValid()) {
        SmartFault(0);
        return;
    }
    Reference(source);
}

void SmartImgPage::CopyFromSeed() {
    PageData* p = body;
    if (!p) return;
    if (p->state == FromSeed) {
        SeedRecord* record = p->seed;
        SmartImageCache::GetInstance()->MakeResident(p);
        if (p->data && record && record->seedImage)
            record->seedImage->getSubTile3D(record->x, record->y, 0, kPageEdge, kPageEdge, 1,
                                            p->data, record->x, record->y, 0, kPageEdge, kPageEdge,
                                            1, nullptr);
        delete record;
        p->seed = nullptr;
    }
    MarkForScan();
}

ilStatus SmartImgPage::CopyToSeed(ilImage* image, int x, int y, ilConfig* config) {
    if (!image) return ilBadInput;
    std::uint32_t value = 0;
    if (body) {
        Realize(0);
        if (body->state == ValidInMem && body->data)
            return image->setSubTile3D(x, y, 0, kPageEdge, kPageEdge, 1, body->data, x, y, 0,
                                       kPageEdge, kPageEdge, 1, config);
        SmartFault(body->state == SolidFill);
        if (body->state != SolidFill) return ilBadInput;
        value = body->fillValue;
    }
    return image->fillTile3D(x, y, 0, kPageEdge, kPageEdge, 1, &value, config);
}

// ---------------------------------------------------------------------------------------------
// Marks and lists

void SmartImgPage::MarkDirty() {
    if (!body) return;
    body->transparency = 0;
    body->seedClean = 0;
    body->swapClean = 0;
}

void SmartImgPage::MarkForScan() {
    if (!body) return;
    body->transparency = 0;
    SmartImageCache::GetInstance()->AddToScanList(body);
}

void SmartImgPage::ForceRetain() {
    if (!body) return;
    retainBody(body, SmartImageCache::GetInstance());
}

void SmartImgPage::DontRetain() {
    PageData* p = body;
    if (!p || p->priority < kRetainedPriority) return;
    SmartImageCache* cache = SmartImageCache::GetInstance();
    if (p->readerCount == 0)
        std::printf("SID: SmartImage:Negative Reader Count hit\n");
    else
        --p->readerCount;
    if (p->readerCount == 0) {
        p->priority = 0;
        cache->RemoveFromLockedList(p);
        if (p->scanState != 255) {
            cache->AddToInMemList(p);
            MarkForScan();
        } else {
            // A temporary solid drops its memory and reads its old value again.
            cache->ReleaseStorage(p);
            p->state = SolidFill;
            p->scanState = 1;
        }
        if (p->refCount < 1) Finish_(p->lastAccess);
    }
}

void SmartImgPage::SetPriority(int priority) {
    if (!body) return;
    body->priority = static_cast<std::uint8_t>(priority);
    if (body->refCount < 1) UnRef(-1);
}

void SmartImgPage::IncrementPriority() {
    if (body && body->priority < 254) ++body->priority;
}

void SmartImgPage::DecrementPriority() {
    if (body && body->priority > 0) --body->priority;
}

void SmartImgPage::RemoveFromInMemList() {
    if (body) SmartImageCache::GetInstance()->RemoveFromInMemList(body);
}

void SmartImgPage::AddToInMemList() {
    if (body) SmartImageCache::GetInstance()->AddToInMemList(body);
}

// ---------------------------------------------------------------------------------------------
// Solids and scans

int SmartImgPage::IsSolid32(const std::uint32_t* w, std::uint32_t& value) {
    value = w[0];
    static const int samples[] = {0, 127, 16256, 16383, 4031, 12223, 8095, 8159};
    for (int s : samples)
        if (w[s] != value) return 0;
    // Row by row, so most pages that differ leave after a row or two.
    for (int row = 0; row < kPagePixels; row += kPageEdge) {
        std::uint32_t diff = 0;
        for (int i = 0; i < kPageEdge; ++i)
            diff |= w[row + i] ^ value;
        if (diff) return 0;
    }
    return 1;
}

int SmartImgPage::IsSolid8(const std::uint8_t* b, std::uint32_t& value) {
    value = b[0];
    if (b[1] != b[0] || b[2] != b[0] || b[3] != b[0]) return 0;
    std::uint32_t word;
    std::memcpy(&word, b, 4);
    static const int samples[] = {0, 124, 16256, 16380, 4028, 12220, 8092};
    for (int s : samples) {
        std::uint32_t other;
        std::memcpy(&other, b + s, 4);
        if (other != word) return 0;
    }
    for (int row = 0; row < kPagePixels; row += kPageEdge) {
        unsigned diff = 0;
        for (int i = 0; i < kPageEdge; ++i)
            diff |= static_cast<unsigned>(b[row + i] ^ b[0]);
        if (diff) return 0;
    }
    return 1;
}

int SmartImgPage::IsTileSolid32(const std::uint32_t* w, int x, int y, int nx, int ny) {
    if (nx <= 0 || ny <= 0) return 1;
    const std::uint32_t v = w[GetPixelOffset(x, y)];
    if (w[GetPixelOffset(x + nx - 1, y)] != v || w[GetPixelOffset(x, y + ny - 1)] != v ||
        w[GetPixelOffset(x + nx - 1, y + ny - 1)] != v)
        return 0;
    for (int j = y; j < y + ny; ++j) {
        const std::uint32_t* row = w + GetPixelOffset(x, j);
        std::uint32_t diff = 0;
        for (int i = 0; i < nx; ++i)
            diff |= row[i] ^ v;
        if (diff) return 0;
    }
    return 1;
}

int SmartImgPage::IsTileSolid8(const std::uint8_t* b, int x, int y, int nx, int ny) {
    if (nx <= 0 || ny <= 0) return 1;
    const std::uint8_t v = b[GetPixelOffset(x, y)];
    if (b[GetPixelOffset(x + nx - 1, y)] != v || b[GetPixelOffset(x, y + ny - 1)] != v ||
        b[GetPixelOffset(x + nx - 1, y + ny - 1)] != v)
        return 0;
    for (int j = y; j < y + ny; ++j) {
        const std::uint8_t* row = b + GetPixelOffset(x, j);
        unsigned diff = 0;
        for (int i = 0; i < nx; ++i)
            diff |= static_cast<unsigned>(row[i] ^ v);
        if (diff) return 0;
    }
    return 1;
}

int SmartImgPage::IsBodySolid(const PageData* page, std::uint32_t& value) {
    if (!page->data) return 0;
    if (page->pixelSize == 4)
        return IsSolid32(reinterpret_cast<const std::uint32_t*>(page->data), value);
    return IsSolid8(page->data, value);
}

int SmartImgPage::ScanPage(PageData* page, ilTile* tile) {
    if (!page) return 0;
    if (page->state == SolidFill) return 1;
    if (!wholePage(tile)) {
        if (page->state != ValidInMem || !page->data) return 0;
        int x = tile->x, y = tile->y, w = tile->nx, h = tile->ny;
        ClipToPage(x, y, w, h);
        if (page->pixelSize == 4)
            return IsTileSolid32(reinterpret_cast<const std::uint32_t*>(page->data), x, y, w, h);
        return IsTileSolid8(page->data, x, y, w, h);
    }
    if (page->scanState != 0) return 0;
    SmartImageCache* cache = SmartImageCache::GetInstance();
    int result = 0;
    if (page->state == ValidInMem && page->priority < kRetainedPriority) {
        std::uint32_t value = 0;
        if (IsBodySolid(page, value)) {
            cache->ReleaseStorage(page);
            page->state = SolidFill;
            page->fillValue = value;
            result = 1;
        } else {
            computeTransparency(page, nullptr);
        }
    }
    cache->RemoveFromScanList(page);
    return result;
}

int SmartImgPage::CheckForSolid(ilTile* tile) {
    if (!body || body->priority >= kRetainedPriority) return 0;
    return ScanPage(body, tile);
}

int SmartImgPage::WalkPage(ilTile* tile) {
    if (!body || body->priority >= kRetainedPriority) return 1;
    MergeWithPotentialDuplicate();
    return ScanPage(body, tile);
}

int SmartImgPage::IsSolidFilled(ilTile& tile) {
    if (!body || body->state == SolidFill) return 1;
    return CheckForSolid(&tile);
}

int SmartImgPage::IsSolidFilled(unsigned value) const {
    if (!body) return value == 0;
    if (body->state != SolidFill) return 0;
    if (body->pixelSize == 4) return body->fillValue == value;
    return (body->fillValue & 0xff) == (value & 0xff);
}

int SmartImgPage::IsTransparent(ilTile* tile, int force) {
    PageData* p = body;
    if (!p) return SmartImgTransClear;
    if (p->scanState != 0 || p->transparency != 0) return p->transparency;
    if (!force && p->state != SolidFill) return 0;
    return computeTransparency(p, tile);
}

int SmartImgPage::TestTransparency(ilTile* tile) {
    if (!body) return SmartImgTransClear;
    return computeTransparency(body, tile);
}

int SmartImgPage::CheckAlpha() const {
    const PageData* p = body;
    if (!p || p->pixelSize != 4) return 0;
    if (p->state == ValidInMem && p->data)
        return ilCheckAlpha(reinterpret_cast<const std::uint32_t*>(p->data), kPagePixels);
    if (p->state == SolidFill) return ilCheckAlpha(&p->fillValue, 1);
    return 0;
}

void SmartImgPage::ForceAlphaValid(int mode) {
    PageData* p = body;
    if (!p || p->pixelSize != 4) return;
    // The page numbers its repairs differently from the buffer form.
    int repair = 0;
    switch (mode) {
        case 1:
            repair = ilAlphaRepairOpaque;
            break;
        case 2:
            repair = ilAlphaRepairBump;
            break;
        case 3:
            repair = ilAlphaRepairPremultiply;
            break;
        default:
            return;
    }
    if (p->state == ValidInMem && p->data)
        ilRepairAlpha(words(p), kPagePixels, repair);
    else if (p->state == SolidFill)
        ilRepairAlpha(&p->fillValue, 1, repair);
}

int SmartImgPage::SolidFillDuplicate() const {
    const PageData* p = body;
    if (!p || !IsLiveBody(p->potentialDuplicate)) return 0;
    const PageData* d = p->potentialDuplicate;
    if (p->state != SolidFill || d->state != SolidFill || p->pixelSize != d->pixelSize) return 0;
    const std::uint32_t mask = p->pixelSize == 4 ? 0xffffffffu : 0xffu;
    return (p->fillValue & mask) == (d->fillValue & mask);
}

int SmartImgPage::InMemDuplicate() const {
    const PageData* p = body;
    if (!p || !IsLiveBody(p->potentialDuplicate)) return 0;
    const PageData* d = p->potentialDuplicate;
    if (p->state != ValidInMem || d->state != ValidInMem || p->pixelSize != d->pixelSize ||
        !p->data || !d->data)
        return 0;
    const std::size_t bytes = static_cast<std::size_t>(kPagePixels) << p->pixelShift;
    static const std::size_t samples[] = {0, 508, 16124, 32380, 48892, 65532};
    for (std::size_t s : samples) {
        const std::size_t at = s % bytes;
        if (p->data[at] != d->data[at]) return 0;
    }
    return std::memcmp(p->data, d->data, bytes) == 0;
}

// ---------------------------------------------------------------------------------------------
// State

std::int64_t SmartImgPage::GetFileOffset() const {
    if (body && body->state == Swapped && body->swapBlock) return body->swapBlock->offset;
    return 0;
}

int SmartImgPage::CheckValid() const {
    if (!body) return 0;
    if (body->signature == kSmartLiveSignature) return 1;
    std::printf("Frescoline: Invalid page -- Unrefed at %d (Sig - %8x)\n",
                static_cast<int>(body->lastAccess), body->signature);
    return 0;
}
