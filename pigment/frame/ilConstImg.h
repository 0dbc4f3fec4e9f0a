// An image of unbounded constant colour: its whole content is the fill pixel, read anywhere.
// Writing is refused; pushing it into another image fills there.
#pragma once

#include "pigment/frame/ilImage.h"

class ilConstImg : public ilImage {
  public:
    IL_IMAGE_CLASS_IDENTITY()

    // One unsigned byte channel of value 0.
    ilConstImg();
    explicit ilConstImg(const ilPixel& pixel);
    ~ilConstImg() override = default;

    void reset() override;
    const char* getDefaultDescription() const override { return "Constant"; }
    ilStatus getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& buffer,
                            ilConfig* cfg = nullptr) override;
    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                         int oy, int oz, ilConfig* cfg, int direction) override;

    void purgeFillPixels() {}

  private:
    void init(const ilPixel& pixel);
    // The one- and four-channel byte buffers that most readers ask for, without the engine.
    bool fastFill(const ilTile& tile, void* data, const ilTile& box, const ilPixel& pixel);
};
