// The memory image the paint engine works with: one-byte and four-byte pixels with fast tile
// paths, read into a caller's buffer through a scale, a scale with rotation, or a quad warp.
#pragma once

#include <cstdint>

#include "pigment/filter/Rect8f.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/paged/ScaleAxisTable.h"

class ilFLMemoryImg : public ilMemoryImg {
  public:
    IL_IMAGE_CLASS_IDENTITY()

    explicit ilFLMemoryImg(bool moveable = true);
    ilFLMemoryImg(const ilSize& size, ilType type, ilOrder order, bool moveable = true);
    // Wraps the caller's block of size's pixels, which stays the caller's.
    ilFLMemoryImg(void* data, const ilSize& size, ilType type, ilOrder order, bool moveable = true);
    // A copy of image's pixels, read at once.
    explicit ilFLMemoryImg(ilImage* image, bool moveable = true);
    // Shares other's pixel block, as ilMemoryImg's copy does; the transform state is copied.
    ilFLMemoryImg(const ilFLMemoryImg& other);
    ilFLMemoryImg& operator=(const ilFLMemoryImg& other);
    ~ilFLMemoryImg() override;

    const char* getDefaultDescription() const override { return "FL Memory"; }

    // Live images of this kind; every constructor counts one.
    static int GetMemImgCount() { return m_memoryImgCount; }
    void SetInvalid() { invalid = 1; }

    // ---- Transform state ----
    void SetScaleFactors(float sx, float sy);
    void GetScaleFactors(float& sx, float& sy) const { sx = xTable.scale, sy = yTable.scale; }
    // degrees is brought into 0..360; below 0.001 it counts as no rotation.
    void SetScaleAndRotation(float sx, float sy, float degrees, float pivotX, float pivotY);
    void SetOffset(float x, float y) { offsetX = x, offsetY = y; }
    void GetOffset(float& x, float& y) const { x = offsetX, y = offsetY; }
    // 0 point, 1 bilinear, 2 bicubic.
    void SetMinifyScaleMode(unsigned mode) { minifyMode = mode; }
    unsigned GetMinifyScaleMode() const { return minifyMode; }
    void SetMagnifyScaleMode(unsigned mode) { magnifyMode = mode; }
    unsigned GetMagnifyScaleMode() const { return magnifyMode; }
    // Per-byte factor and offset applied to every transformed read; byte i of a packed word
    // serves byte i of a four-byte pixel, byte 3 the one-byte pixel.
    void SetRGBAScaleAndOffset(unsigned scale, unsigned offset) {
        rgbaScale = scale, rgbaOffset = offset;
    }
    // The same from floats, each clamped to 0..1: r, g, b, a factors, then r, g, b, a offsets.
    void SetRGBAScaleAndOffset(float sr, float sg, float sb, float sa, float orr, float og,
                               float ob, float oa);
    void GetRGBAScaleAndOffset(unsigned& scale, unsigned& offset) const {
        scale = rgbaScale, offset = rgbaOffset;
    }
    bool isRotated() const { return rotated != 0; }
    float getRotation() const { return rotationDegrees; }

    // ---- Reading through the transformation ----
    // Reads the source rectangle x, y, nx, ny into dest (destWidth by destHeight pixels of the
    // image's channel count) where the transform puts it; nothing outside dest is written.
    virtual ilStatus getScaleTile(float x, float y, float nx, float ny, void* dest, int destWidth,
                                  int destHeight);
    // Reads the whole image warped onto quad into dest: each destination pixel inside the quad
    // takes the source at its solved (u, v), each raised to its exponent unless it is 1.
    virtual ilStatus getDeformTile(const Rect8f& quad, void* dest, int destWidth, int destHeight,
                                   int forcePerspective, double exponentX, double exponentY);

    // ---- Target geometry ----
    // The size and offset of the destination that a source of size takes under the transform.
    static void getTargetSizeAndOffset(const ilSize& size, float sx, float sy, float degrees,
                                       float pivotX, float pivotY, int& w, int& h, int& ox,
                                       int& oy);
    static void getTargetSizeAndOffset(const ilSize& size, float sx, float sy, float degrees,
                                       float pivotX, float pivotY, float& w, float& h, float& ox,
                                       float& oy);
    void getTargetSizeAndOffset(int& w, int& h, int& ox, int& oy);
    void getTargetSizeAndOffset(float& w, float& h, float& ox, float& oy);

    // ---- Whole-image transforms ----
    ilStatus HorizontalFlip();
    ilStatus VerticalFlip();
    // Exchanges width and height, as a quarter turn needs; the pixels are not moved.
    void RotateDimensions();
    ilStatus SimpleRotateLeft();
    ilStatus SimpleRotateRight();
    // Raises every colour byte of a four-byte image to at most its alpha.
    ilStatus ForceAlphaValid();

    // ---- Reduction ----
    // A new four-channel image reduced by factor, snapped to 1/2, 1/4, 1/8 or 1/16; null for a
    // factor outside (1e-5, 0.5], and for images other than four one-byte channels.
    ilFLMemoryImg* BoxFilter(float factor);
    // The mean of each 4 by 4 block of a one-byte image into dest, (width / 4) by (height / 4).
    void BoxFilter1_4(unsigned char* dest);

    // ---- Selection outline ----
    // Marks with 255 the second of every pair of neighbours on either side of threshold, after
    // capping all bytes at 254, within tile (null: the whole image); bounds gets the marked box.
    void MarchingAntsPreProcess(unsigned char threshold, ilTile* tile, ilTile* bounds);
    // Writes this four-byte image from mask (this image's size, one byte a pixel): black and white
    // dashes where the mask is set, 0 elsewhere, shifted by phase.
    void MarchingAntsApply(const unsigned char* mask, unsigned int phase, ilTile* tile);

    // ---- Small tests ----
    bool Inside(int x, int y) { return x >= 0 && y >= 0 && x < size.x && y < size.y; }
    // On 16.16 fixed-point coordinates.
    bool Inside1616(int x, int y) {
        return x >= 0 && y >= 0 && (x >> 16) < size.x && (y >> 16) < size.y;
    }
    int returnSize() { return size.x * size.y * size.c; }
    int64_t GetDataSize() {
        return ilDataSize(dataType, int64_t(size.x) * size.y * size.z * size.c);
    }
    // Clips a rectangle to the image; false when nothing is left.
    bool clipToImage(int& x, int& y, int& nx, int& ny);
    bool clipToImage(float& x, float& y, float& nx, float& ny);

    // ---- Overrides ----
    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& buffer,
                            ilConfig* cfg = nullptr) override;
    ilStatus fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                        ilConfig* cfg = nullptr, const ilTile* exclude = nullptr) override;

  private:
    void initFL();
    // Drops a configuration that only restates the image itself.
    ilConfig* plainConfig(ilConfig* cfg);
    // The row-by-row copy of one- and four-byte pixels, when the read allows it.
    bool fastRead(const ilTile& tile, void* data, const ilTile& box, ilConfig* cfg);
    // The destination rectangle, in the buffer, of source rectangle x, y, nx, ny under the
    // transform (rotated: its bounding box), not yet clipped to the buffer.
    void calculateDestRect(float x, float y, float nx, float ny, int& dx, int& dy, int& dnx,
                           int& dny);
    // Where destination pixel (0, 0) samples the source, and the source steps of one column and
    // one row, in source pixels, for the rotating kernels.
    void calculateDestRect(float& startX, float& startY, float& colX, float& colY, float& rowX,
                           float& rowY);
    void applyRGBAScaleAndOffset(uint8_t* row, int n);

    // The kernels' drivers, by channel count (1 or 4): destination rectangle x0, y0, nx, ny of
    // a buffer destWidth pixels wide.
    template <int C>
    void scaleTile(unsigned mode, uint8_t* dest, int destWidth, int x0, int y0, int nx, int ny);
    template <int C>
    void rotateTile(unsigned mode, uint8_t* dest, int destWidth, int x0, int y0, int nx, int ny);
    template <int C>
    void deformTile(unsigned mode, class QuadSolver& solver, uint8_t* dest, int destWidth,
                    const ilTile& area, double exponentX, double exponentY);

    static int m_memoryImgCount;

    int invalid = 0;
    ScaleAxisTable xTable, yTable;
    float offsetX = 0, offsetY = 0;
    float pivotX = 0, pivotY = 0;
    float rotationDegrees = 0, rotationCos = 1, rotationSin = 0;
    unsigned minifyMode = 1, magnifyMode = 1;
    unsigned rgbaScale = 0xffffffffu, rgbaOffset = 0;
    int rotated = 0;
};
