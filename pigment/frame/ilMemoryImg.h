// The flat in-memory image: one contiguous block in the image's own type and order, filled by the
// caller or pulled from an input image. All pixel moves go through the transfer engine.
#pragma once

#include <cstdint>

#include "pigment/frame/PixelMemory.h"
#include "pigment/frame/ilSIDImage.h"

class ilMemoryImg : public ilSIDImage {
  public:
    IL_IMAGE_CLASS_IDENTITY()

    // The moveable flag of the constructors is accepted and ignored: only the environment decides.
    explicit ilMemoryImg(bool moveable = true);
    ilMemoryImg(ilType type, ilOrder order);
    ilMemoryImg(const ilSize& size, ilType type, ilOrder order, bool moveable = true);
    // Wraps the caller's block, which stays the caller's.
    ilMemoryImg(void* data, int64_t dataSize, const ilSize& size, ilType type, ilOrder order,
                bool moveable = true);
    // Takes size, type and order from image, which becomes input 0 and seed; with autoSync 0 the
    // pixels are read at once, otherwise at every reset.
    ilMemoryImg(ilImage* image, int autoSync, bool moveable = true);
    // Shares the pixel block with other: for subclass cloning only, never destroyed as an owner.
    ilMemoryImg(const ilMemoryImg& other);
    ~ilMemoryImg() override;

    void reset() override;
    const char* getDefaultDescription() const override { return "Memory"; }
    ilStatus getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& buffer,
                            ilConfig* cfg = nullptr) override;
    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus copyTileCfgV2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                           ilConfig* cfg, int direction) override;
    ilStatus copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                         int oy, int oz, ilConfig* cfg, int direction) override;
    ilStatus fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                        ilConfig* cfg = nullptr, const ilTile* exclude = nullptr) override;
    ilStatus lockPageSet(ilLockRequest* requests, int mode, int count) override;
    ilStatus unlockPageSet(ilLockRequest* requests, int count) override;
    virtual int64_t mem_used();

    static ilMemoryImg* As_ilMemoryImg(ilImage* image) { return dynamic_cast<ilMemoryImg*>(image); }

    void* getDataPtr();
    void setDataPtr(void* data, int64_t dataSize);
    void setData(void* data, int64_t dataSize, const ilSize& size);
    void accessDataPtrBegin() { pixels->beginOperations(); }
    void accessDataPtrEnd() {}
    void markDirty() { setAltered(ilAlterPixelsOnly); }
    void sync();
    void setAutoSync(int flag);
    bool isMoveable() const { return pixels->isMoveable(); }
    void testDataPtr() {}
    void DebugMoveableMem() {}

    // Live memory images, for diagnostics.
    static int liveCount();

  protected:
    ilStatus MergeChangesIntoSeed() override;
    void syncData();

    PixelMemory* pixels = nullptr;
    ilPage* wholePage = nullptr;
    int autoSync = 0;
    ilImage* source = nullptr;

  private:
    void init(const ilSize& size, ilType type, ilOrder order);
    ilStatus copyPages(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                       ilConfig* cfg, int direction, bool v2);
    bool ownsPixels = true;
    bool missingInput = false;
};
