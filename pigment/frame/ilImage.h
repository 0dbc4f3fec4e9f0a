// The image base class: attributes (size, type, order, colour model, space, fill, range, page
// geometry) and the tile and page interface that every image kind implements.
#pragma once

#include <cstdint>

#include "pigment/base/vlReferenceCount.h"
#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilCoord.h"
#include "pigment/frame/ilData.h"
#include "pigment/frame/ilLink.h"
#include "pigment/frame/ilPixel.h"
#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTypes.h"

class ilPage;
struct ilLockRequest;
class ilLockedTile;

using ilXYpoint = ilXYobj<ilXYstruct<float>, float>;

// Declares the class identity operations of an image kind; each kind defines its own classList.
#define IL_IMAGE_CLASS_IDENTITY()                           \
    static const ilClassList classList;                     \
    int derivesFrom(const ilClassList* id) const override { \
        return classList.find(id);                          \
    }                                                       \
    const char* getClassName(int n = 0) const override {    \
        return classList.find(n);                           \
    }                                                       \
    const ilClassList* getClassId() const override {        \
        return &classList;                                  \
    }

class ilImage : public ilLink, public vl::TempReferenceCount {
  public:
    static const ilClassList classList;

    ilImage();
    explicit ilImage(const ilSize& size);
    // Link fields and attributes are copied; fill, minimum and maximum are deep copies.
    ilImage(const ilImage& other);
    ilImage& operator=(const ilImage& other);
    ~ilImage() override;

    int derivesFrom(const ilClassList* id) const override { return classList.find(id); }
    const char* getClassName(int n = 0) const override { return classList.find(n); }
    void reset() override;
    const char* getDefaultDescription() const override { return "Image"; }

    // ---- Virtual interface of image kinds ----
    virtual const ilClassList* getClassId() const { return &classList; }
    virtual ilStatus setFill(const ilPixel& pixel);
    virtual ilStatus getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& buffer,
                                    ilConfig* cfg = nullptr);
    virtual ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                  int by, int bz, int bnx, int bny, int bnz,
                                  ilConfig* cfg = nullptr) = 0;
    virtual ilStatus setSubTile3Dv2(const ilTile& tile, void* data, const ilTile& buffer,
                                    ilConfig* cfg = nullptr);
    virtual ilStatus setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                  int by, int bz, int bnx, int bny, int bnz,
                                  ilConfig* cfg = nullptr) = 0;
    virtual ilStatus copyTileCfgV2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                                   ilConfig* cfg, int direction);
    virtual ilStatus copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other,
                                 int ox, int oy, int oz, ilConfig* cfg, int direction);
    virtual ilStatus fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                                ilConfig* cfg = nullptr, const ilTile* exclude = nullptr);
    virtual ilStatus seekTile3D(int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg,
                                ilSemaphore* semaphore, ilImage* image);
    virtual ilLockedTile* lockTile3D(int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg,
                                     int mode);
    virtual void evalXY(ilXYpoint& out, const ilXYpoint& in) { out = in; }
    virtual void evalUV(ilXYpoint& out, const ilXYpoint& in) { out = in; }
    virtual int hasPages() { return 0; }
    virtual ilStatus lockPageSet(ilLockRequest* requests, int mode, int count);
    virtual ilStatus unlockPageSet(ilLockRequest* requests, int count);
    virtual ilHwPass* hwEval() { return nullptr; }

    // ---- Exported forwarders of the tile interface ----
    ilStatus getTile3D(int x, int y, int z, int nx, int ny, int nz, void* data,
                       ilConfig* cfg = nullptr) {
        return getSubTile3D(x, y, z, nx, ny, nz, data, x, y, z, nx, ny, nz, cfg);
    }
    ilStatus setTile3D(int x, int y, int z, int nx, int ny, int nz, void* data,
                       ilConfig* cfg = nullptr) {
        return setSubTile3D(x, y, z, nx, ny, nz, data, x, y, z, nx, ny, nz, cfg);
    }
    ilStatus getTile3Dv2(const ilTile& tile, void* data, ilConfig* cfg = nullptr) {
        return getSubTile3Dv2(tile, data, tile, cfg);
    }
    ilStatus setTile3Dv2(const ilTile& tile, void* data, ilConfig* cfg = nullptr) {
        return setSubTile3Dv2(tile, data, tile, cfg);
    }
    ilStatus getTile(int x, int y, int nx, int ny, void* data, ilConfig* cfg = nullptr) {
        return getTile3D(x, y, 0, nx, ny, 1, data, cfg);
    }
    ilStatus setTile(int x, int y, int nx, int ny, void* data, ilConfig* cfg = nullptr) {
        return setTile3D(x, y, 0, nx, ny, 1, data, cfg);
    }
    ilStatus getSubTile(int x, int y, int nx, int ny, void* data, int bx, int by, int bnx, int bny,
                        ilConfig* cfg = nullptr) {
        return getSubTile3D(x, y, 0, nx, ny, 1, data, bx, by, 0, bnx, bny, 1, cfg);
    }
    ilStatus setSubTile(int x, int y, int nx, int ny, void* data, int bx, int by, int bnx, int bny,
                        ilConfig* cfg = nullptr) {
        return setSubTile3D(x, y, 0, nx, ny, 1, data, bx, by, 0, bnx, bny, 1, cfg);
    }
    ilStatus fillTile(int x, int y, int nx, int ny, const void* data, ilConfig* cfg = nullptr,
                      const ilTile* exclude = nullptr) {
        return fillTile3D(x, y, 0, nx, ny, 1, data, cfg, exclude);
    }
    ilStatus seekTile(int x, int y, int nx, int ny, ilConfig* cfg = nullptr,
                      ilSemaphore* semaphore = nullptr) {
        return seekTile3D(x, y, 0, nx, ny, 1, cfg, semaphore, nullptr);
    }
    ilLockedTile* lockTile(int x, int y, int nx, int ny, ilConfig* cfg = nullptr, int mode = 0) {
        return lockTile3D(x, y, 0, nx, ny, 1, cfg, mode);
    }
    ilStatus getPixel3D(int x, int y, int z, ilPixel& pixel);
    ilStatus setPixel3D(int x, int y, int z, ilPixel& pixel);
    ilStatus getPixel(int x, int y, ilPixel& pixel) { return getPixel3D(x, y, 0, pixel); }
    ilStatus setPixel(int x, int y, ilPixel& pixel) { return setPixel3D(x, y, 0, pixel); }
    ilStatus copyTile3D(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox, int oy,
                        int oz, int* chanList = nullptr, int direction = 1);
    ilStatus copyTile3Dv2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                          int* chanList = nullptr, int direction = 1);
    ilStatus copyTile(int x, int y, int nx, int ny, ilImage* other, int ox, int oy,
                      int* chanList = nullptr, int direction = 1) {
        return copyTile3D(x, y, 0, nx, ny, 1, other, ox, oy, 0, chanList, direction);
    }
    ilStatus copyTile(const ilTile& tile, ilImage* other) {
        return copyTile3Dv2(tile, other, ilXYZstruct<int>{tile.x, tile.y, tile.z}, nullptr, 1);
    }
    // Pulls the whole image from other; the result is kept in the status.
    ilImage& operator<<(ilImage* other);
    ilImage& operator<<(ilImage& other) { return *this << &other; }

    // One page through lockPageSet; status receives the call's or the request's failure.
    ilPage* lockPage(int x, int y, int z, int c, ilStatus& status, int mode = ilLockRead);
    void unlockPage(ilPage* page);

    // Clamps a tile to the image, extended by the page border when useBorder is set; answers
    // ilTileClipped when anything changed.
    ilStatus clipTile(ilTile& tile, int useBorder = 0);
    ilStatus clipTile(int& x, int& y, int& z, int& nx, int& ny, int& nz, int useBorder = 0);
    void getStrides(int nx, int& xs, int& ys, int& cs, int nc = 0, ilOrder order = ilAnyOrder);
    void getStrides3D(int nx, int ny, int& xs, int& ys, int& zs, int& cs, int nc = 0,
                      ilOrder order = ilAnyOrder);

    // ---- Inputs ----
    ilImage* getInput(int i) { return dynamic_cast<ilImage*>(getParent(i)); }
    ilStatus removeInput(int i) { return removeParent(i); }
    ilStatus setInput(ilImage* image, int i);
    ilStatus addInput(ilImage* image) { return setInput(image, getNumInputs()); }
    int getNumInputs() { return getMaxIndex() + 1; }

    // ---- Attribute setters ----
    ilStatus setXsize(int v) { return setIntAttr(size.x, v, ilAttrXsize); }
    ilStatus setYsize(int v) { return setIntAttr(size.y, v, ilAttrYsize); }
    ilStatus setZsize(int v) { return setIntAttr(size.z, v, ilAttrZsize); }
    ilStatus setCsize(int v) { return setIntAttr(size.c, v, ilAttrCsize); }
    ilStatus setNumChans(int v) { return setIntAttr(size.c, v, ilAttrCsize); }
    ilStatus setDataType(ilType v) { return setEnumAttr(dataType, v, ilAttrDataType); }
    ilStatus setOrder(ilOrder v) { return setEnumAttr(order, v, ilAttrOrder); }
    ilStatus setCoordSpace(ilCoordSpace v) { return setEnumAttr(coordSpace, v, ilAttrCoordSpace); }
    ilStatus setColorModel(ilColorModel v) { return setEnumAttr(colorModel, v, ilAttrColorModel); }
    ilStatus setSize(const ilSize& s);
    ilStatus setSize(int x, int y);
    ilStatus setPageSize(int x, int y, int z = 1, int c = 0);
    ilStatus setPageBorder(int x, int y, int z = 0);
    ilStatus setCompression(ilCompress c);
    ilStatus setFillValue(double value, int c = 0);
    ilStatus setMinPixel(const ilPixel& pixel);
    ilStatus setMaxPixel(const ilPixel& pixel);
    ilStatus setMinValue(double value, int c = -1);
    ilStatus setMaxValue(double value, int c = -1);
    ilStatus setScaleMinMax(double min, double max);
    ilStatus setScaleType(ilType type = static_cast<ilType>(0));

    // ---- Getters, each after a pending reset ----
    int getXsize() { return resetCheck(), size.x; }
    int getYsize() { return resetCheck(), size.y; }
    int getZsize() { return resetCheck(), size.z; }
    int getCsize() { return resetCheck(), size.c; }
    int getNumChans() { return resetCheck(), size.c; }
    ilSize getSize() { return resetCheck(), size; }
    ilSize getSize(ilCoordSpace space);
    ilType getDataType() { return resetCheck(), dataType; }
    ilOrder getOrder() { return resetCheck(), order; }
    ilCoordSpace getCoordSpace() { return resetCheck(), coordSpace; }
    ilColorModel getColorModel() { return resetCheck(), colorModel; }
    const ilPixel& getFill() { return resetCheck(), fill; }
    double getFillValue(int c = 0) { return resetCheck(), fill.getElem(c); }
    int isSigned() { return resetCheck(), ilDataIsSigned(dataType); }
    const ilPixel& getMinPixel() { return resetCheck(), minValue; }
    const ilPixel& getMaxPixel() { return resetCheck(), maxValue; }
    double getMinValue(int c = -1);
    double getMaxValue(int c = -1);
    double getScaleMin() { return resetCheck(), scaleMin; }
    double getScaleMax() { return resetCheck(), scaleMax; }
    ilConfig getConfig();
    ilSize getPageSize() { return resetCheck(), pageSize; }
    void getPageSize(int& x, int& y) { resetCheck(), x = pageSize.x, y = pageSize.y; }
    void getPageSize(int& x, int& y, int& z) {
        resetCheck(), x = pageSize.x, y = pageSize.y, z = pageSize.z;
    }
    void getPageSize(int& x, int& y, int& z, int& c) {
        resetCheck(), x = pageSize.x, y = pageSize.y, z = pageSize.z, c = pageSize.c;
    }
    ilSize getPageSize(ilCoordSpace space);
    ilSize getPageDelta();
    int getPageSizePix() { return resetCheck(), pageSize.x * pageSize.y * pageSize.z; }
    int getPageSizeVal() { return getPageSizePix() * pageSize.c; }
    int getPageBytes() { return resetCheck(), pageBytes; }
    int getWidth();
    int getHeight();
    ilCompress getCompression() const { return compression; }
    ilImageType getImageType() const { return imageType; }
    void getPageBorder(int& x, int& y, int& z) const {
        x = pageBorder.x, y = pageBorder.y, z = pageBorder.z;
    }
    int hasPageBorder() const { return pageBorder.x || pageBorder.y || pageBorder.z; }
    int getPriority() const { return priority; }
    void setPriority(int p) { priority = p; }

    // ---- Coordinate spaces: from space to the image's own when the second space is 0 ----
    void mapSize(ilSize& s, ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    void mapXY(float& x, float& y, ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    void mapXY(int& x, int& y, ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    void mapTile(ilTile& tile, ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    void mapTile(ilTileFloat& tile, ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    void mapXYSign(float& x, float& y, ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    void mapXYSign(int& x, int& y, ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    void mapFlipTrans(ilCoordSpace from, int& flip, int& transpose,
                      ilCoordSpace to = ilSpaceDefault);
    int isMirrorSpace(ilCoordSpace from, ilCoordSpace to = ilSpaceDefault);
    ilCoordSpace mapSpace(int flipX, int flipY, int transpose);
    void mapToSource(ilXYpoint& out, const ilXYpoint& in);
    void mapFromSource(ilXYpoint& out, const ilXYpoint& in);

    // ---- Stubs kept for callers ----
    int getCacheSize() { return 0; }
    ilStatus setCacheSize(int) { return ilUnsupported; }
    ilStatus setCacheWindow(int, int) { return ilUnsupported; }
    ilStatus setCacheWindowCopy(ilImage*) { return ilUnsupported; }
    ilImage* getColorImg(ilColorModel, int = 0) { return this; }
    int isColorImg() { return 0; }
    int isDisplayImg() { return 0; }
    void debugHighlightTile(const ilTile&) {}

  protected:
    // The argument checks of every kind's tile calls, made before a pixel moves: a missing buffer
    // for a tile that has pixels is ilBadInput, and a write whose channel list names one image
    // channel for two buffer channels (nChans 0 meaning imageChans) is ilConfigNotInvertible.
    static ilStatus checkTileBuffer(const void* data, const ilTile& tile);
    static ilStatus checkWriteChannels(const ilConfig* cfg, int imageChans);

    int outOfBound(int x, int y) { return x < 0 || y < 0 || x >= size.x || y >= size.y; }
    int outOfBound(int x, int y, int z) { return outOfBound(x, y) || z < 0 || z >= size.z; }
    int isValidPage(int x, int y, int z, int c);
    int isPartialPage(int x, int y, int z, int c);
    void initColorModel(int forceMulti);
    void initMinMax(int force);
    void initScaleMinMax(int force);
    void initPageSize(int x, int y, int z, int c);
    ilStatus checkColorModel();
    bool needColorConv(ilImage* other, int direction, ilConfig* cfg);
    ilStatus copyConverted(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                           int oy, int oz, ilConfig* cfg, int direction);
    ilStatus copyConvertedV2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                             ilConfig* cfg, int direction);
    void setNumInputs(int n) { maxInputs = n; }

    ilSize size;
    ilType dataType = ilAnyType;
    ilOrder order = ilAnyOrder;
    ilColorModel colorModel = ilUnknownModel;
    ilImageType imageType = ilGenericType;
    ilCoordSpace coordSpace = ilLowerLeft;
    ilCompress compression = ilNoCompression;
    ilPixel fill;
    ilPixel minValue;
    ilPixel maxValue;
    double scaleMin = 0.0;
    double scaleMax = 0.0;
    int pageBytes = 0;
    ilSize pageSize;
    ilXYZstruct<int> pageBorder = {0, 0, 0};
    int priority = 0;
    int maxInputs = 0;

  private:
    ilStatus setIntAttr(int32_t& field, int value, uint32_t bit);
    template <typename E>
    ilStatus setEnumAttr(E& field, E value, uint32_t bit) {
        int32_t v = field;
        ilStatus s = setIntAttr(v, value, bit);
        field = static_cast<E>(v);
        return s;
    }
    ilStatus setRangeValue(ilPixel& pixel, double value, int c, uint32_t bit);
    ilStatus copyThroughBuffer(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                               ilConfig* cfg, int direction, bool v2);
    void initAttributes();
    // Guards the copy between images of different colour models against endless re-entry.
    int convertingDepth = 0;
};
