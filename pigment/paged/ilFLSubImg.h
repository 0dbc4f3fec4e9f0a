// A view on a region of another image, for the paint engine's own images: the region's
// pixels read and written through the input, with the input's attributes unless set here.
#pragma once

#include "pigment/frame/ilSubImg.h"

class ilFLSubImg : public ilImage {
  public:
    IL_IMAGE_CLASS_IDENTITY()

    // The region nx by ny at x, y of image; cfg as for ilSubImg, copied.
    ilFLSubImg(ilImage* image, int x, int y, int nx, int ny, ilConfig* cfg = nullptr);
    ilFLSubImg(ilImage* image, int x, int y, int z, int nx, int ny, int nz,
               ilConfig* cfg = nullptr);
    ~ilFLSubImg() override;
    ilFLSubImg(const ilFLSubImg&) = delete;
    ilFLSubImg& operator=(const ilFLSubImg&) = delete;

    void reset() override;
    const char* getDefaultDescription() const override { return "FL SubImage"; }

    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                         int oy, int oz, ilConfig* cfg, int direction) override;
    ilStatus fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                        ilConfig* cfg = nullptr, const ilTile* exclude = nullptr) override;

  private:
    // The window that clips, composes coordinates and fills outside for this view.
    ilSubImg window;
};
