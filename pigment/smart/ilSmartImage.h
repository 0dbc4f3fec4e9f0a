// The canvas as the image frame sees it: an unbounded image of 8-bit pixels (one or four channels)
// kept in a SmartImage page table, with copy-on-write snapshots through smart seeds. Canvases share
// one page registry and cache without locks: use them all from one thread at a time.
#pragma once

#include <cstdint>
#include <vector>

#include "pigment/frame/ilSIDImage.h"
#include "pigment/smart/SmartImage.h"

struct SmartBuffer;

class ilSmartImage : public ilSIDImage {
  public:
    IL_IMAGE_CLASS_IDENTITY()

    // The two ints after the seed must be 0; the last two are ignored. Without a seed the fill is
    // four channels of zero.
    explicit ilSmartImage(ilImage* seed = nullptr, int = 0, int = 0, int = 0, int = 0);
    // No seed; the fill's channel count (1, else 4) decides the image's.
    explicit ilSmartImage(const ilPixel& fill);
    // Builds the parts only, for a subclass that finishes the construction itself.
    ilSmartImage(int, void**);
    ~ilSmartImage() override;
    ilSmartImage(const ilSmartImage&) = delete;
    ilSmartImage& operator=(const ilSmartImage&) = delete;

    void reset() override;
    const char* getDefaultDescription() const override { return "ilSmartImage"; }

    // ---- Tile interface ----
    ilStatus setFill(const ilPixel& pixel) override;
    ilStatus getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& buffer,
                            ilConfig* cfg = nullptr) override;
    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus setSubTile3Dv2(const ilTile& tile, void* data, const ilTile& buffer,
                            ilConfig* cfg = nullptr) override;
    ilStatus setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus copyTileCfgV2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                           ilConfig* cfg, int direction) override;
    ilStatus copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                         int oy, int oz, ilConfig* cfg, int direction) override;
    ilStatus fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                        ilConfig* cfg = nullptr, const ilTile* exclude = nullptr) override;
    ilStatus seekTile3D(int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg,
                        ilSemaphore* semaphore, ilImage* image) override {
        return ilSIDImage::seekTile3D(x, y, z, nx, ny, nz, cfg, semaphore, image);
    }
    int hasPages() override { return ilSIDImage::hasPages(); }
    // Raw pointers to pages; locking always grows the bounds to the page.
    ilStatus lockPageSet(ilLockRequest* requests, int mode, int count) override;
    ilStatus unlockPageSet(ilLockRequest* requests, int count) override;

    // ---- Seeds ----
    ilImage* GetSeedImage() override { return GetSeed(); }
    int HaveSeed() { return getNumInputs() == 1; }
    int HasSeed() { return HaveSeed(); }
    ilImage* GetSeed() { return getNumInputs() == 1 ? getInput(0) : nullptr; }
    // Looks up every page of the real bounds, so that each holds the seed's page by reference.
    void GetSeedImagePages();
    // Makes every page over tile (null: the bounds) this table's own, by reference or copy, so
    // that later writes to the seed cannot reach it; outside the bounds the tile becomes fill.
    void ReferenceSeedPages(ilTile* tile);
    static void AddDependency(ilSmartImage* parent, ilSmartImage* child);
    static void RemoveDependency(ilSmartImage* parent, ilSmartImage* child);
    static void BreakDependency(ilSmartImage* parent, ilSmartImage* child);
    const ilTile& GetSeedBounds() const { return seedBounds; }
    int GetDependentCount() const { return dependentCount; }

    // ---- Bounds ----
    ilTile getBounds() override;
    const ilTile& getRealBounds();
    ilTile RealBounds() { return getRealBounds(); }
    void UpdateBounds();
    void SetBounds_(const ilTile& tile, int noPrune);
    void AddToBounds_(const ilTile& tile);
    void ExpandBounds(int margin);
    void ForceFastShrink() { ShrinkBounds_(); }
    void ForceShrinkAttempt(bool force);
    // Clips tile to the real bounds; answers whether anything is left.
    bool ClipToBounds(ilTile& tile);
    void SetForcedBounds(const ilTile& tile);
    void EnableForcedBounds(int on) { forcedEnabled = on; }
    int IsForcedBounds() const { return forcedEnabled; }
    const ilTile& GetForcedBounds() const { return forcedBounds; }
    // After a write and before a read: with forced bounds on, a tile reaching past them prunes
    // whatever lies outside.
    void ApplyForcedBounds(const ilTile& tile);
    const ilTile& GetPublishedBounds() const { return publishedBounds; }
    const ilTile& GetDirtyTile() const { return dirtyTile; }

    // ---- Pixels through the table ----
    unsigned GetPixel(int x, int y) { return table.GetPixel(x, y); }
    void SetPixel(int x, int y, unsigned value) { table.SetPixel(x, y, value); }
    void SetPixelExp(int x, int y, unsigned value);
    void SetSpan(int x, int y1, int y2, const void* value);
    unsigned GetAdjacentPixel(int dx, int dy, int advance) {
        return table.GetAdjacentPixel(dx, dy, advance);
    }
    int PixelScan(int x, int y, int step, unsigned value, unsigned mask) {
        return table.PixelScan(x, y, step, value, mask);
    }
    SmartImgPage* FindPageFromOrigin(int x, int y, int create) {
        return table.FindPageFromOrigin(x, y, create);
    }
    SmartImage& GetSmartImage() { return table; }

    // ---- Content tests ----
    bool is_filled(const ilTile& tile, ilPixel& pixel, int scan);
    bool is_filled(ilPixel& pixel, int scan);
    int TestTransparency(const ilTile& tile, int force);
    int TestTransparency(int force);
    int TestPageTransparency(int x, int y, int force);
    int TestFillTransparency();
    // Pages over the real bounds; solid receives how many are SolidFill.
    int GetNumPages(int& solid);

    // ---- Alpha ----
    void ForceAlphaValid();
    void ForceAlphaValid(int mode);
    void SetCheckAlphaOnCopy(int on);
    int GetCheckAlphaOnCopy() const { return checkAlphaOnCopy; }
    int GetAlphaValid() const { return alphaValid; }

    // ---- Files and watermark ----
    int GetImageFileSize();
    int GetImageFileSize(int& pages);
    int SaveImageToFile();
    void ApplyWatermark();
    static int ReadImageData(void* data, int bytes) { return data != nullptr && bytes >= 0; }
    static int SaveImageBegin(void*, int) { return 0; }
    static int SaveImageData(void*, int) { return 0; }
    static int SaveImageEnd(int) { return 0; }

    static ilSmartImage* As_ilSmartImage(ilImage* image) {
        return image && image->getImageType() == ilSmartType ? static_cast<ilSmartImage*>(image)
                                                             : nullptr;
    }
    int IsValid() const { return signature == kSmartLiveSignature && table.IsValid(); }
    int CheckValid() const;

  protected:
    void CommonInit(ilImage* seed);
    void SetSeedImage(ilImage* seed) override;
    ilStatus MergeChangesIntoSeed() override { return merge_into_seed(); }
    ilStatus merge_into_seed();
    void Lock_() {}
    void UnLock_() {}

    // ---- Shrinking ----
    void ShrinkBounds_();
    void TryToShrinkBounds_();
    int PixelShrinkLeft_();
    int PixelShrinkRight_();
    int PixelShrinkTop_();
    int PixelShrinkBottom_();
    bool IsPixelRowSolid_(int y);
    bool IsPixelColumnSolid_(int x);

    // Clips to the forced bounds when they are on and not empty, with z 0 and nz 1.
    void force_in_img_(ilTile& tile);
    void force_in_img_(int& x, int& y, int& w, int& h);
    void force_in_img_(int& x, int& y, int& z, int& nx, int& ny, int& nz);

  private:
    void SetFrameFields_(int channels);
    void UpdateSizeFields_();
    void Collapse_();
    // The fill pixel as a page word (first byte for one channel).
    std::uint32_t FillWord_() const;
    // Maps tile and box from the caller's space into the image's and records the mirrors and
    // exchange in buffer; false when nothing of the tile is left.
    bool MapCallerSpace_(ilTile& tile, ilTile& box, const ilConfig* cfg, SmartBuffer& buffer);
    // The page-by-page bodies of the tile operations.
    ilStatus ReadTile_(const ilTile& tile, void* data, const ilTile& box, ilConfig* cfg);
    ilStatus WriteTile_(ilTile tile, void* data, ilTile box, ilConfig* cfg);
    ilStatus CopyTile_(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                       ilConfig* cfg, int direction);
    ilStatus CopyInto_(ilTile tile, ilImage* other, int dx, int dy, int dz, ilConfig* work,
                       bool pageFast);
    ilStatus CopyOut_(ilTile tile, ilImage* other, int dx, int dy, int dz, ilConfig* work);
    void CheckAlphaOf_(SmartImgPage* page);
    int ChannelCount_() const { return table.GetPixelSize() == 1 ? 1 : 4; }

    std::uint32_t signature;
    SmartImage table;
    ilTile realBounds;
    ilTile publishedBounds;
    ilTile seedBounds;
    std::int32_t shrinkPending;
    ilTile forcedBounds;
    std::int32_t forcedEnabled;
    std::int32_t checkAlphaOnCopy;
    std::int32_t alphaValid;
    std::int32_t dependentCount;
    std::vector<ilSmartImage*> dependents;
    ilTile dirtyTile;
    // A seed that cannot serve (one bit per element, or a layout pages cannot hold) is refused and
    // every evaluation reports ilBadInput.
    bool badSeed = false;
    bool counted = false;
};

// Floors x and y to multiples of 128 and rounds the far edges up to the next multiple of 128.
void SnapOutTile(ilTile& tile);
