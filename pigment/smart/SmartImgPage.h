// The handle of one 128 x 128 smart page: a single pointer to a shared PageData body. Every read
// or write of page pixels goes through Realize, which unshares (copy on write) and brings the
// page into memory as the access needs. Pages, their counts and the cache lists are not guarded:
// the page system runs on one thread at a time.
#pragma once

#include <cstdint>

#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTypes.h"
#include "pigment/smart/PageData.h"
#include "pigment/smart/SmartImageCache.h"

class ilConfig;
class ilImage;
class ilSmartImage;

// Whether image is a smart image, by type code 100, or by the description "ilSmartImage" when
// QUILLON_FL_USE_OLD_IMAGEID was set at the creation of the page cache. Null is not.
int IsSmartImage(ilImage* image);

class SmartImgPage {
  public:
    SmartImgPage() : body(nullptr) {}
    // A new solid body of the given value; pixelSize 1 or 4.
    SmartImgPage(unsigned fill, int pixelSize);
    // A counted reference to other's body; a null source leaves this handle null.
    SmartImgPage(SmartImgPage& other);
    // The handle owns no count by itself: whoever holds it calls UnRef.
    ~SmartImgPage() {}
    // Copies the pointer only; counts are untouched.
    SmartImgPage& operator=(const SmartImgPage& other) {
        body = other.body;
        return *this;
    }

    void MakeNull() { body = nullptr; }
    int IsNull() const { return body == nullptr; }
    PageData* GetPageData() const { return body; }
    // The pixel memory, null unless the page is ValidInMem.
    unsigned char* GetData() const { return body ? body->data : nullptr; }
    int GetState() const { return body ? body->state : Invalid; }
    int GetPixelSize() const { return body ? body->pixelSize : 0; }

    // ---- Counting and sharing ----
    void Ref() {
        if (body) ++body->refCount;
    }
    int GetRefCnt() const { return body ? body->refCount : 0; }
    // Drops one count; the last one (of a page that is not retained) destroys the body and clears
    // the handle. tag says who released it, for diagnosis.
    void UnRef(int tag);
    void Reference(SmartImgPage* other);
    void Reference(PageData* other);
    void MakeFilled(unsigned value, int pixelSize);
    void FillPage(unsigned value);
    void MakeInMemFromSolid();

    // Prepares the page for access. 0 read; 1 modify (old content needed); 2 overwrite all (memory
    // needed, content not); 3 set all to one value (neither needed).
    void Realize(int mode) {
        PageData* p = body;
        // The common case, a resident unshared page read or modified, stays inline.
        if (p && p->state == ValidInMem && p->refCount == 1 && static_cast<unsigned>(mode) <= 1u) {
            SmartImageCache::GetInstance()->CountHit();
            Touch();
            if (mode) {
                p->transparency = 0;
                p->seedClean = 0;
                p->swapClean = 0;
                if (p->scanState == 1) MarkForScan();
            }
            return;
        }
        RealizeSlow_(mode);
    }

    // ---- Pixels ----
    unsigned GetPixel(int x, int y) {
        PageData* p = body;
        if (p && p->state == ValidInMem) {
            const int offset = x + (y << 7);
            if (p->pixelSize == 4) return reinterpret_cast<const std::uint32_t*>(p->data)[offset];
            if (p->pixelSize == 1) return p->data[offset];
            return 0;
        }
        return SlowGetPixel_(x, y);
    }
    // Writes in place when the page is resident: the caller must have unshared it by Realize(1).
    void SetPixel(unsigned value, int x, int y) {
        PageData* p = body;
        if (p && p->state == ValidInMem) {
            const int offset = x + (y << 7);
            if (p->pixelSize == 4)
                reinterpret_cast<std::uint32_t*>(p->data)[offset] = value;
            else if (p->pixelSize == 1)
                p->data[offset] = static_cast<unsigned char>(value);
            p->transparency = 0;
            p->seedClean = 0;
            p->swapClean = 0;
            if (p->scanState == 1) MarkForScan();
            return;
        }
        SlowSetPixel_(value, x, y);
    }
    unsigned SlowGetPixel_(int x, int y);
    void SlowSetPixel_(unsigned value, int x, int y);
    // Sets the pixels x1..x2 of row y. Columns and rows up to 128 are accepted; page buffers carry
    // a row of slack so that the last one lands harmlessly.
    void DrawHorizLine(int x1, int x2, int y, unsigned value);
    // Clips a rectangle to the page; answers whether anything is left.
    static int ClipToPage(int& x, int& y, int& w, int& h);

    // ---- Seeds ----
    void SetSeed(ilImage* seed, int x, int y);
    // Shares the smart seed's page at the origin (x, y). A template so that the conversion to
    // ilImage happens where ilSmartImage is a complete type.
    template <class SmartImageType = ilSmartImage>
    void SetSmartSeed(SmartImageType* seed, int x, int y) {
        SetSmartSeedImage_(seed, x, y);
    }
    void CopyFromSeed();
    ilStatus CopyToSeed(ilImage* image, int x, int y, ilConfig* config);
    // The smart seed's handle at a page origin; set by the page table, null until then.
    static SmartImgPage* (*SmartSeedLookup)(ilImage* seed, int x, int y);

    // ---- Marks and lists ----
    void MarkDirty();
    void MarkForScan();
    // Stamps the access and moves a resident page to the head of its list.
    void Touch() {
        PageData* p = body;
        if (!p) return;
        SmartImageCache* cache = SmartImageCache::GetInstance();
        // The timer moves on before it is stored, so a page touched twice in a row does not
        // advance it.
        if (p->lastAccess != AccessTimer_) p->lastAccess = ++AccessTimer_;
        if (p->state == ValidInMem && p->priority < kRetainedPriority &&
            !cache->IsHeadOfInMemList(p))
            cache->MoveToHeadOfInMemList(p);
    }
    void ForceRetain();
    void DontRetain();
    void SetPriority(int priority);
    int GetPriority() const { return body ? body->priority : 0; }
    void IncrementPriority();
    void DecrementPriority();
    void RemoveFromInMemList();
    void AddToInMemList();

    // ---- Solids, scans and transparency ----
    int CheckForSolid(ilTile* tile);
    int WalkPage(ilTile* tile);
    int IsSolidFilled(ilTile& tile);
    int IsSolidFilled(unsigned value) const;
    int IsSolidFilled() const { return body && body->state == SolidFill; }
    int IsTransparent(ilTile* tile, int force);
    int TestTransparency(ilTile* tile);
    int GetTransparency() const { return body ? body->transparency : SmartImgTransClear; }
    void SetTransparency(SmartImgTrans value) {
        if (body) body->transparency = value;
    }
    // Alpha classification of a big page (0 clean ... 3 alpha missing), and its repair in place:
    // mode 1 opaque, 2 bump, 3 premultiply.
    int CheckAlpha() const;
    void ForceAlphaValid(int mode);
    int SolidFillDuplicate() const;
    int InMemDuplicate() const;
    void MergeWithPotentialDuplicate() {
        if (body) body->potentialDuplicate = nullptr;
    }

    // ---- Thread lock hooks: pages are used by one thread at a time, so these do nothing ----
    void ReadLock(int, int) {}
    void WriteLock(int, int) {}
    void UnLock() {}
    void UnReadLock() {}

    // ---- Origins ----
    static void FindOrigin(int x, int y, int& ox, int& oy) {
        ox = x & ~(kPageEdge - 1);
        oy = y & ~(kPageEdge - 1);
    }
    static void FindOrigin(int x, int y, int& ox, int& oy, int& ux, int& uy) {
        FindOrigin(x, y, ox, oy);
        ux = ox + kPageEdge;
        uy = oy + kPageEdge;
    }

    // ---- Work on bodies, shared with the cache ----
    // A private copy of source, solid if the source is not in memory.
    static PageData* ClonePage(PageData* source, std::uint32_t stamp);
    // Tests the tile (null: the whole page) for one value; a whole page on the scan list that is
    // solid gives up its memory. Answers 1 when solid.
    static int ScanPage(PageData* page, ilTile* tile);
    // Whole-page solid tests; value receives the first pixel.
    static int IsSolid32(const std::uint32_t* pixels, std::uint32_t& value);
    static int IsSolid8(const std::uint8_t* pixels, std::uint32_t& value);
    // Solid tests over a tile in page coordinates, already clipped to the page.
    static int IsTileSolid32(const std::uint32_t* pixels, int x, int y, int w, int h);
    static int IsTileSolid8(const std::uint8_t* pixels, int x, int y, int w, int h);
    static int IsBodySolid(const PageData* page, std::uint32_t& value);
    // Whether the body is still alive (it is one this process made and has not destroyed).
    static int IsLiveBody(const PageData* page);
    // Asked by ClonePage whether a paint operation is running; answers false until set.
    static bool (*PaintInOperation)();

    // ---- State ----
    int IsInMemory() const { return body && body->state == ValidInMem; }
    int IsSwapped() const { return body && body->state == Swapped; }
    std::int64_t GetFileOffset() const;
    unsigned GetFillValue() const { return body && body->state == SolidFill ? body->fillValue : 0; }
    void SetFillValue(unsigned value) {
        if (body && body->state == SolidFill) body->fillValue = value;
    }
    int IsValid() const { return body && body->signature == kSmartLiveSignature; }
    // Prints the "Invalid page" line when the signature is wrong; answers validity.
    int CheckValid() const;
    int SeedDirty() const { return body ? !body->seedClean : 0; }
    void MarkClean() {
        if (body) body->seedClean = 1;
    }
    void MarkTempSolid() {
        if (body) body->scanState = 255;
    }
    int IsTempSolid() const { return body && body->scanState == 255; }

    // ---- Geometry ----
    int GetWidth() const { return kPageEdge; }
    int GetHeight() const { return kPageEdge; }
    int GetNumPixels() const { return kPagePixels; }
    int GetDataSize() const { return body ? kPagePixels << body->pixelShift : 0; }
    static int GetPixelOffset(int x, int y) { return x + kPageEdge * y; }

    // ---- Page locks (residency, not threads) ----
    int GetLockCount() const { return body ? body->lockCount : 0; }
    void IncrementLockCount() {
        if (body) ++body->lockCount;
    }
    void DecrementLockCount() {
        if (body && body->lockCount > 0) --body->lockCount;
    }
    int IsReadLocked() const { return body && body->readLocks > 0; }
    int IsWriteLocked() const { return body && body->writeLocks > 0; }

    static std::uint32_t GetAccessTimer() { return AccessTimer_; }

  private:
    void RealizeSlow_(int mode);
    void SetSmartSeedImage_(ilImage* seed, int x, int y);
    void UnRealize();
    // Destroys a body whose last count is gone, as UnRef does, and clears the handle.
    void Finish_(int tag);

    PageData* body;

    static std::uint32_t AccessTimer_;
};
