// The sparse page table of one canvas: maps page origins anywhere within +-102400 pixels to page
// handles, held in 2048-pixel clusters, with the default page every untouched page shares.
#pragma once

#include <cstdint>

#include "pigment/frame/ilTile.h"
#include "pigment/smart/PageCluster.h"
#include "pigment/smart/SmartImgPage.h"

class ilImage;
class ilSmartImage;

// The largest distance from zero, in pixels, at which a page origin may lie.
constexpr int kSmartMaxCoord = 102400;

struct Coordinate {
    int x = 0;
    int y = 0;
};

struct Rectangle_ {
    int x = 0;
    int y = 0;
    int w = 0;
    int h = 0;
};

// One entry of a page list: origin, the address of the handle in the table, and whether the
// entry is still waiting to be visited.
struct PageListItem {
    int x;
    int y;
    SmartImgPage* page;
    int inUse;
};

class SmartImage {
  public:
    // All three build an empty four-channel table without a parent; the arguments do not copy.
    SmartImage();
    SmartImage(SmartImage& other);
    SmartImage(SmartImage& other, Coordinate& offset);
    ~SmartImage();
    SmartImage& operator=(const SmartImage&) = delete;

    void CommonInit(int pixelSize, ilSmartImage* parent);

    // ---- Validity ----
    void MakeValid() { signature1 = signature2 = kSmartLiveSignature; }
    void MakeInvalid() { signature1 = signature2 = kSmartDeadSignature; }
    int IsValid() const {
        return signature1 == kSmartLiveSignature && signature2 == kSmartLiveSignature;
    }

    // ---- Lookup ----
    // The handle of the page with origin (x, y). Outside the bounds without create: the default
    // page, with the table untouched. Past the coordinate limit: a scratch page.
    SmartImgPage* FindPageFromOrigin(int x, int y, int create);
    SmartImgPage* FindPage(int x, int y, int create) {
        int ox, oy;
        SmartImgPage::FindOrigin(x, y, ox, oy);
        return FindPageFromOrigin(ox, oy, create);
    }
    static void FindPageOrigin(int x, int y, int& ox, int& oy) {
        SmartImgPage::FindOrigin(x, y, ox, oy);
    }
    static int IsPageOrigin(int x, int y) {
        return (x & (kPageEdge - 1)) == 0 && (y & (kPageEdge - 1)) == 0;
    }
    int InLastPage(int x, int y) const {
        return lastPage && x >= lastPageX && y >= lastPageY && x < lastPageX + kPageEdge &&
               y < lastPageY + kPageEdge;
    }

    // ---- Pixels ----
    unsigned GetPixel(int x, int y);
    void SetPixel(int x, int y, unsigned value);
    unsigned GetAdjacentPixel(int dx, int dy, int advance);
    int PixelScan(int x, int y, int step, unsigned value, unsigned mask);
    // Whether every page the tile touches is solid of one value; value receives it.
    bool IsFilled(const ilTile& tile, unsigned& value);

    // ---- Bounds ----
    void SetBounds(int x, int y, int w, int h, int noPrune);
    void ExpandBounds(int x, int y, int w, int h);
    void AddToBounds_(const ilTile& tile);
    const Rectangle_& GetBounds() const { return bounds; }
    // Clamps a rectangle to the coordinate limit, printing a warning when it had to; negative
    // sizes become 0 silently. Answers whether anything was clipped.
    static int ClipToLimit(int& x, int& y, int& w, int& h);

    // ---- Fill, seed, parent ----
    void SetFill(unsigned value);
    unsigned GetFill() const { return fill; }
    unsigned* GetFillPtr() { return &fill; }
    SmartImgPage* GetDefaultPage() { return defaultPage; }
    SmartImgPage* GetOverflowPage() { return overflowPage; }
    ilImage* GetSeed();
    void SetSeed(ilImage* seed, const Coordinate& offset);
    void SetSeed(ilImage* seed) {
        Coordinate origin;
        SetSeed(seed, origin);
    }
    void SetParent(ilSmartImage* image) { parent = image; }
    ilSmartImage* GetParent() const { return parent; }
    // Sets the pixel size (1 or 4) of the table and of its default page.
    void SetPixelSize(int size);
    int GetPixelSize() const { return pixelSize; }
    int GetPixelShift() const { return pixelShift; }
    void ApplyOffset(int x, int y) {
        offset.x += x;
        offset.y += y;
    }
    const Coordinate& GetOffset() const { return offset; }
    int GetSeedPagesTaken() const { return seedPagesTaken; }

    // ---- Page lists ----
    static int GetPageListSize(const Rectangle_& rect) {
        return ((rect.h + 256) >> 7) * ((rect.w + 256) >> 7) + 1;
    }
    void GetPageList(const Rectangle_& rect, PageListItem* items, int& count, int create, int sort);

    // ---- Clusters, for the tests and for pruning ----
    PageCluster* GetRootCluster() { return &rootCluster; }
    int CountClusters() const;
    // Non-null handles in all clusters.
    int CountPages() const;
    // Takes a cluster out of the list, forgetting the caches that point into it.
    void RemoveFromClusterList(PageCluster* cluster);
    // Releases every page of the table, leaving it empty; the owner calls this before it tells
    // the cache that an image is gone, so that the last image leaves no swap block behind.
    void ReleaseAllPages();
    // Forgets the last page found; called whenever handles may have been cleared.
    void ForgetLastPage() { lastPage = nullptr; }

    // Thread lock hooks: a table is used by one thread at a time.
    void Lock() {}
    void UnLock() {}

  private:
    PageCluster* FindCluster_(int x, int y);
    void DestroyClusters_();
    static void SortPageList_(PageListItem* items, int count);

    std::uint32_t signature1;
    std::uint32_t signature2;
    Coordinate offset;
    Rectangle_ bounds;
    std::uint32_t fill;
    SmartImgPage* defaultPage;
    SmartImgPage* overflowPage;
    PageCluster* lastCluster;
    std::int32_t lastPageX;
    std::int32_t lastPageY;
    SmartImgPage* lastPage;
    PageCluster rootCluster;
    std::int32_t lastPixelX;
    std::int32_t lastPixelY;
    std::uint8_t pixelSize;
    std::uint8_t pixelShift;
    ilSmartImage* parent;
    std::int32_t seedPagesTaken;
};

// The pages over a rectangle, in page order or (with sort) resident pages first and swapped
// pages by file position. The handles stay valid only while the table is unchanged.
class PageIterator {
  public:
    PageIterator(SmartImage* image, int x, int y, int w, int h, int create, int sort);
    ~PageIterator();
    PageIterator(const PageIterator&) = delete;
    PageIterator& operator=(const PageIterator&) = delete;

    // The next handle and its origin; null and (0, 0) at the end.
    SmartImgPage* GetNext(int& x, int& y);
    SmartImgPage* GetNext();
    int More() const { return current < count; }
    void Reset() { current = 0; }
    int Count() const { return count; }

  private:
    PageListItem* items;
    std::int32_t count;
    std::int32_t current;
    // Whether the walk created missing pages; kept for a debugger.
    [[maybe_unused]] std::int32_t created;
};
