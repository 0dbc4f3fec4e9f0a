#include "pigment/frame/ilImage.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "pigment/frame/ilBoxBytes_p.h"
#include "pigment/frame/ilData.h"
#include "pigment/frame/ilPage.h"
#include "pigment/frame/ilSpace.h"

const ilClassList ilImage::classList = {"a", &ilLink::classList};

namespace {

// Colour conversion does not exist in this library, so a copy between images of different models
// is done directly; this depth keeps the conversion path from calling itself without end.
thread_local int conversionDepth = 0;

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};

}  // namespace

ilConfig::ilConfig(ilImage* image) {
    if (!image) return;
    type = image->getDataType();
    order = image->getOrder();
    coordSpace = image->getCoordSpace();
    nChans = image->getNumChans();
    colorModel = image->getColorModel();
    chanOffset = 0;
    chanList = nullptr;
}

void ilImage::initAttributes() {
    allowedMask |= ilAttrMinValue | ilAttrMaxValue | ilAttrScale | ilAttrFill;
    minValue.set(ilDouble, 1, nullptr);
    minValue.setElem(0.0, 0);
    maxValue.set(ilDouble, 1, nullptr);
    maxValue.setElem(0.0, 0);
}

ilImage::ilImage() : size(1, 1, 1, 1), pageSize(1, 1, 1, 1) {
    initAttributes();
}

ilImage::ilImage(const ilSize& s) : size(s), pageSize(1, 1, 1, 1) {
    initAttributes();
}

ilImage::ilImage(const ilImage& other)
    : ilLink(other),
      vl::TempReferenceCount(other),
      size(other.size),
      dataType(other.dataType),
      order(other.order),
      colorModel(other.colorModel),
      imageType(other.imageType),
      coordSpace(other.coordSpace),
      compression(other.compression),
      fill(other.fill),
      minValue(other.minValue),
      maxValue(other.maxValue),
      scaleMin(other.scaleMin),
      scaleMax(other.scaleMax),
      pageBytes(other.pageBytes),
      pageSize(other.pageSize),
      pageBorder(other.pageBorder),
      priority(other.priority),
      maxInputs(other.maxInputs) {}

ilImage& ilImage::operator=(const ilImage& other) {
    if (this == &other) return *this;
    ilLink::operator=(other);
    size = other.size;
    dataType = other.dataType;
    order = other.order;
    colorModel = other.colorModel;
    imageType = other.imageType;
    coordSpace = other.coordSpace;
    compression = other.compression;
    fill = other.fill;
    minValue = other.minValue;
    maxValue = other.maxValue;
    scaleMin = other.scaleMin;
    scaleMax = other.scaleMax;
    pageBytes = other.pageBytes;
    pageSize = other.pageSize;
    pageBorder = other.pageBorder;
    priority = other.priority;
    maxInputs = other.maxInputs;
    return *this;
}

ilImage::~ilImage() {
    deleteRelated(1);
}

void ilImage::reset() {
    if (!isSet(ilAttrFill)) {
        if (fill.type() == dataType) {
            // Channels the fill lacks repeat its last value.
            for (int c = fill.nc(); c < size.c; ++c)
                fill.setElem(fill.getElem(c - 1), c);
        } else if (fill.nc() == 0) {
            fill.set(dataType, size.c, nullptr);
            for (int c = 0; c < size.c; ++c)
                fill.setElem(getMinValue(c), c);
        } else {
            ilPixel old(fill);
            fill.set(dataType, size.c, nullptr);
            for (int c = 0; c < size.c; ++c)
                fill.setElem(old.getElem(c), c);
        }
    }
    initScaleMinMax(0);
    ilLink::reset();
}

// ---- Attribute setters ----

ilStatus ilImage::setIntAttr(int32_t& field, int value, uint32_t bit) {
    if (unalterable(bit)) return ilUnsupported;
    if (field != value) {
        field = value;
        return setAltered(bit);
    }
    markSet(bit);
    return ilOK;
}

ilStatus ilImage::setSize(const ilSize& s) {
    const uint32_t bits = ilAttrXsize | ilAttrYsize | ilAttrZsize | ilAttrCsize;
    if (unalterable(bits)) return ilUnsupported;
    if (size != s) {
        size = s;
        return setAltered(bits);
    }
    markSet(bits);
    return ilOK;
}

ilStatus ilImage::setSize(int x, int y) {
    ilStatus s = setXsize(x);
    if (s != ilOK) return s;
    return setYsize(y);
}

ilStatus ilImage::setPageSize(int x, int y, int z, int c) {
    if (unalterable(ilAttrPageSize)) return ilUnsupported;
    ilSize requested(x, y, z, c);
    if (pageSize == requested) {
        markSet(ilAttrPageSize);
        return ilOK;
    }
    pageSize = requested;
    int chans = c >= 1 ? c : (order == ilSeparate ? 1 : size.c);
    pageBytes = ilBoxBytesInt(dataType, chans, x, y, z);
    return setAltered(ilAlterNoPropagate | ilAttrPageSize);
}

ilStatus ilImage::setPageBorder(int x, int y, int z) {
    if (unalterable(ilAttrPageBorder)) return ilUnsupported;
    if (pageBorder.x == x && pageBorder.y == y && pageBorder.z == z) {
        markSet(ilAttrPageBorder);
        return ilOK;
    }
    pageBorder = {x, y, z};
    return setAltered(ilAlterNoPropagate | ilAttrPageBorder);
}

ilStatus ilImage::setCompression(ilCompress c) {
    if (unalterable(ilAttrCompression)) return ilUnsupported;
    if (compression == c) {
        markSet(ilAttrCompression);
        return ilOK;
    }
    compression = c;
    return setAltered(ilAlterNoPropagate | ilAttrCompression);
}

ilStatus ilImage::setFill(const ilPixel& pixel) {
    if (unalterable(ilAttrFill)) return ilUnsupported;
    if (pixel == fill) {
        markSet(ilAttrFill);
        return ilOK;
    }
    fill = pixel;
    return setAltered(ilAttrFill);
}

ilStatus ilImage::setFillValue(double value, int c) {
    if (unalterable(ilAttrFill)) return ilUnsupported;
    if (c < 0) return ilOK;
    if (c < fill.nc() && fill.getElem(c) == value) return ilOK;
    fill.setElem(value, c);
    return setAltered(ilAttrFill);
}

ilStatus ilImage::setMinPixel(const ilPixel& pixel) {
    if (unalterable(ilAttrMinValue)) return ilUnsupported;
    minValue = pixel;
    return setAltered(ilAttrMinValue);
}

ilStatus ilImage::setMaxPixel(const ilPixel& pixel) {
    if (unalterable(ilAttrMaxValue)) return ilUnsupported;
    maxValue = pixel;
    return setAltered(ilAttrMaxValue);
}

ilStatus ilImage::setRangeValue(ilPixel& pixel, double value, int c, uint32_t bit) {
    if (unalterable(bit)) return ilUnsupported;
    if (c < 0) {
        ilStatus result = ilOK;
        for (int k = 0; k < std::max(size.c, 1); ++k) {
            ilStatus s = setRangeValue(pixel, value, k, bit);
            if (s != ilOK) result = s;
        }
        return result;
    }
    if (c < pixel.nc() && pixel.getElem(c) == value) return ilOK;
    pixel.setElem(value, c);
    return setAltered(bit);
}

ilStatus ilImage::setMinValue(double value, int c) {
    return setRangeValue(minValue, value, c, ilAttrMinValue);
}

ilStatus ilImage::setMaxValue(double value, int c) {
    return setRangeValue(maxValue, value, c, ilAttrMaxValue);
}

ilStatus ilImage::setScaleMinMax(double min, double max) {
    scaleMin = min;
    scaleMax = max;
    return setAltered(ilAlterPixelsOnly | ilAttrScale);
}

ilStatus ilImage::setScaleType(ilType type) {
    ilType t = type ? type : dataType;
    scaleMin = ilDataMin(t);
    scaleMax = ilDataMax(t);
    return setAltered(ilAlterPixelsOnly | ilAttrScale);
}

ilStatus ilImage::setInput(ilImage* image, int i) {
    if (i < 0 || i >= maxInputs) return ilBadInputIndex;
    return setParent(image, i);
}

// ---- Getters ----

double ilImage::getMinValue(int c) {
    resetCheck();
    return c < 0 ? minValue.minElem() : minValue.getElem(c);
}

double ilImage::getMaxValue(int c) {
    resetCheck();
    return c < 0 ? maxValue.maxElem() : maxValue.getElem(c);
}

ilConfig ilImage::getConfig() {
    resetCheck();
    return ilConfig(dataType, order, size.c, nullptr, 0, coordSpace, colorModel);
}

ilSize ilImage::getSize(ilCoordSpace space) {
    ilSize s = getSize();
    mapSize(s, ilSpaceDefault, space);
    return s;
}

ilSize ilImage::getPageSize(ilCoordSpace space) {
    ilSize s = getPageSize();
    mapSize(s, ilSpaceDefault, space);
    return s;
}

ilSize ilImage::getPageDelta() {
    resetCheck();
    return ilSize(pageSize.x - 2 * pageBorder.x, pageSize.y - 2 * pageBorder.y,
                  pageSize.z - 2 * pageBorder.z, pageSize.c);
}

int ilImage::getWidth() {
    resetCheck();
    return ilSpaceExchanged(coordSpace) ? size.y : size.x;
}

int ilImage::getHeight() {
    resetCheck();
    return ilSpaceExchanged(coordSpace) ? size.x : size.y;
}

// ---- Coordinate spaces ----

void ilImage::mapSize(ilSize& s, ilCoordSpace from, ilCoordSpace to) {
    ilSpaceMapSize(from ? from : coordSpace, to ? to : coordSpace, s);
}

namespace {
// The image's size in the axes of the target space, which is what mirrors are taken within.
ilSize sizeIn(const ilSize& size, int imageSpace, int target) {
    ilSize s = size;
    ilSpaceMapSize(imageSpace, target, s);
    return s;
}
}  // namespace

void ilImage::mapXY(float& x, float& y, ilCoordSpace from, ilCoordSpace to) {
    int a = from ? from : coordSpace, b = to ? to : coordSpace;
    ilSpaceMapXY(a, b, sizeIn(size, coordSpace, b), x, y);
}

void ilImage::mapXY(int& x, int& y, ilCoordSpace from, ilCoordSpace to) {
    int a = from ? from : coordSpace, b = to ? to : coordSpace;
    ilSpaceMapXY(a, b, sizeIn(size, coordSpace, b), x, y);
}

void ilImage::mapTile(ilTile& tile, ilCoordSpace from, ilCoordSpace to) {
    int a = from ? from : coordSpace, b = to ? to : coordSpace;
    ilSpaceMapTile(a, b, sizeIn(size, coordSpace, b), tile);
}

void ilImage::mapTile(ilTileFloat& tile, ilCoordSpace from, ilCoordSpace to) {
    int a = from ? from : coordSpace, b = to ? to : coordSpace;
    ilSpaceMapTile(a, b, sizeIn(size, coordSpace, b), tile);
}

void ilImage::mapXYSign(float& x, float& y, ilCoordSpace from, ilCoordSpace to) {
    ilSpaceMapXYSign(from ? from : coordSpace, to ? to : coordSpace, x, y);
}

void ilImage::mapXYSign(int& x, int& y, ilCoordSpace from, ilCoordSpace to) {
    ilSpaceMapXYSign(from ? from : coordSpace, to ? to : coordSpace, x, y);
}

void ilImage::mapFlipTrans(ilCoordSpace from, int& flip, int& transpose, ilCoordSpace to) {
    ilSpaceFlipTrans(from ? from : coordSpace, to ? to : coordSpace, flip, transpose);
}

int ilImage::isMirrorSpace(ilCoordSpace from, ilCoordSpace to) {
    return ilSpaceIsMirror(from ? from : coordSpace, to ? to : coordSpace);
}

ilCoordSpace ilImage::mapSpace(int flipX, int flipY, int transpose) {
    ilCoordSpace s = coordSpace;
    if (flipX) s = ilSpaceMirrorX(s);
    if (flipY) s = ilSpaceMirrorY(s);
    if (transpose) s = ilSpaceExchange(s);
    return s;
}

void ilImage::mapToSource(ilXYpoint& out, const ilXYpoint& in) {
    evalUV(out, in);
    if (ilImage* source = getInput(0)) {
        ilXYpoint p = out;
        source->mapToSource(out, p);
    }
}

void ilImage::mapFromSource(ilXYpoint& out, const ilXYpoint& in) {
    ilXYpoint p = in;
    if (ilImage* source = getInput(0)) source->mapFromSource(p, in);
    evalXY(out, p);
}

// ---- Derived attributes ----

int ilImage::isValidPage(int x, int y, int z, int c) {
    return x >= -pageBorder.x && x < size.x && y >= -pageBorder.y && y < size.y &&
           z >= -pageBorder.z && z < size.z && c >= 0 && c < size.c;
}

int ilImage::isPartialPage(int x, int y, int z, int c) {
    return x < 0 || y < 0 || z < 0 || x + pageSize.x > size.x || y + pageSize.y > size.y ||
           z + pageSize.z > size.z || c + pageSize.c > size.c;
}

void ilImage::initColorModel(int forceMulti) {
    if (isSet(ilAttrColorModel)) return;
    switch (size.c) {
        case 1:
            colorModel = ilMinBlack;
            break;
        case 3:
            colorModel = ilRGB;
            break;
        case 4:
            colorModel = forceMulti ? ilMultiSpectral : ilRGBA;
            break;
        default:
            colorModel = ilMultiSpectral;
            break;
    }
}

void ilImage::initMinMax(int force) {
    if (force) clearSet(ilAttrMinValue | ilAttrMaxValue);
    if (size.c <= 0) {
        // Without channels both ends start at the type's minimum.
        if (!isSet(ilAttrMinValue)) minValue.setElem(ilDataMin(dataType), 0);
        if (!isSet(ilAttrMaxValue)) maxValue.setElem(ilDataMin(dataType), 0);
    } else {
        for (int c = size.c - 1; c >= 0; --c) {
            if (!isSet(ilAttrMinValue)) minValue.setElem(ilDataMin(dataType), c);
            if (!isSet(ilAttrMaxValue)) maxValue.setElem(ilDataMax(dataType), c);
        }
    }
    initScaleMinMax(force);
}

void ilImage::initScaleMinMax(int force) {
    if (force) clearSet(ilAttrScale);
    if (isSet(ilAttrScale)) return;
    scaleMin = minValue.minElem();
    scaleMax = maxValue.maxElem();
}

void ilImage::initPageSize(int x, int y, int z, int c) {
    if (isSet(ilAttrPageSize)) return;
    if (c < 1) c = order == ilSeparate ? 1 : size.c;
    pageSize = ilSize(x, y, z, c);
    pageBytes = ilBoxBytesInt(dataType, c, x, y, z);
}

ilStatus ilImage::checkColorModel() {
    bool agrees;
    switch (size.c) {
        case 1:
            agrees =
                colorModel == ilMinBlack || colorModel == ilMinWhite || colorModel == ilColorIndex;
            break;
        case 3:
            agrees = colorModel == ilRGB || colorModel == ilBGR || colorModel == ilHSV ||
                     colorModel == ilCMY || colorModel == ilYCC;
            break;
        case 4:
            agrees = colorModel == ilABGR || colorModel == ilRGBA || colorModel == ilCMYK;
            break;
        default:
            agrees = colorModel == ilMultiSpectral;
            break;
    }
    // An unknown model fits any channel count.
    if (colorModel == ilUnknownModel) agrees = true;
    if (!agrees) {
        if (isSet(ilAttrCsize)) {
            status = ilBadColorModel;
        } else {
            switch (colorModel) {
                case ilMinWhite:
                case ilMinBlack:
                case ilColorIndex:
                    size.c = 1;
                    break;
                case ilRGB:
                case ilHSV:
                case ilCMY:
                case ilBGR:
                case ilYCC:
                    size.c = 3;
                    break;
                case ilRGBA:
                case ilCMYK:
                case ilABGR:
                    size.c = 4;
                    break;
                default:
                    break;
            }
        }
    }
    if (order == ilInterleaved || order == ilSequential)
        pageSize.c = size.c;
    else if (order == ilSeparate)
        pageSize.c = 1;
    return status;
}

// ---- Tile interface ----

ilStatus ilImage::checkTileBuffer(const void* data, const ilTile& tile) {
    return data || tile.empty() ? ilOK : ilBadInput;
}

ilStatus ilImage::checkWriteChannels(const ilConfig* cfg, int imageChans) {
    if (!cfg || !cfg->chanList) return ilOK;
    // A transfer reads a list from its first entry, whatever the offset, and gives each image
    // channel the first buffer channel naming it: a second one would be dropped unseen.
    const int n = cfg->nChans > 0 ? cfg->nChans : imageChans;
    for (int i = 0; i < n; ++i) {
        if (cfg->chanList[i] < 0) continue;
        for (int j = i + 1; j < n; ++j)
            if (cfg->chanList[j] == cfg->chanList[i]) return ilConfigNotInvertible;
    }
    return ilOK;
}

ilStatus ilImage::getSubTile3Dv2(const ilTile& t, void* data, const ilTile& b, ilConfig* cfg) {
    return getSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, data, b.x, b.y, b.z, b.nx, b.ny, b.nz,
                        cfg);
}

ilStatus ilImage::setSubTile3Dv2(const ilTile& t, void* data, const ilTile& b, ilConfig* cfg) {
    return setSubTile3D(t.x, t.y, t.z, t.nx, t.ny, t.nz, data, b.x, b.y, b.z, b.nx, b.ny, b.nz,
                        cfg);
}

ilStatus ilImage::fillTile3D(int, int, int, int, int, int, const void*, ilConfig*, const ilTile*) {
    return ilNotImplemented;
}

ilStatus ilImage::seekTile3D(int, int, int, int, int, int, ilConfig*, ilSemaphore*, ilImage*) {
    return ilUnsupported;
}

ilStatus ilImage::getPixel3D(int x, int y, int z, ilPixel& pixel) {
    if (pixel.nc() == 0 || pixel.type() == ilAnyType)
        pixel.set(getDataType(), getNumChans(), nullptr);
    if (pixel.nc() == 0) return resetCheck();
    ilConfig cfg(pixel.type(), ilInterleaved, pixel.nc());
    return getSubTile3D(x, y, z, 1, 1, 1, pixel.elems(), x, y, z, 1, 1, 1, &cfg);
}

ilStatus ilImage::setPixel3D(int x, int y, int z, ilPixel& pixel) {
    if (pixel.nc() == 0 || pixel.type() == ilAnyType)
        pixel.set(getDataType(), getNumChans(), nullptr);
    if (pixel.nc() == 0) return resetCheck();
    ilConfig cfg(pixel.type(), ilInterleaved, pixel.nc());
    return setSubTile3D(x, y, z, 1, 1, 1, pixel.elems(), x, y, z, 1, 1, 1, &cfg);
}

ilStatus ilImage::copyTile3D(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                             int oy, int oz, int* chanList, int direction) {
    ilConfig cfg(getDataType(), getOrder(), getNumChans(), chanList, 0, getCoordSpace());
    return copyTileCfg(x, y, z, nx, ny, nz, other, ox, oy, oz, chanList ? &cfg : nullptr,
                       direction);
}

ilStatus ilImage::copyTile3Dv2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                               int* chanList, int direction) {
    ilConfig cfg(getDataType(), getOrder(), getNumChans(), chanList, 0, getCoordSpace());
    return copyTileCfgV2(tile, other, dest, chanList ? &cfg : nullptr, direction);
}

ilImage& ilImage::operator<<(ilImage* other) {
    ilSize s = getSize();
    status = copyTile3D(0, 0, 0, s.x, s.y, s.z, other, 0, 0, 0, nullptr, 1);
    return *this;
}

bool ilImage::needColorConv(ilImage* other, int, ilConfig* cfg) {
    if (!other || conversionDepth > 0) return false;
    ilColorModel theirs;
    if (cfg) {
        if (cfg->chanOffset || cfg->chanList) return false;
        theirs = cfg->colorModel ? cfg->colorModel : other->getColorModel();
    } else {
        theirs = other->getColorModel();
    }
    ilColorModel ours = getColorModel();
    return ours != ilUnknownModel && theirs != ilUnknownModel && ours != theirs;
}

ilStatus ilImage::copyConverted(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                                int oy, int oz, ilConfig* cfg, int direction) {
    ++conversionDepth;
    ilStatus s = copyTileCfg(x, y, z, nx, ny, nz, other, ox, oy, oz, cfg, direction);
    --conversionDepth;
    return s;
}

ilStatus ilImage::copyConvertedV2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                                  ilConfig* cfg, int direction) {
    ++conversionDepth;
    ilStatus s = copyTileCfgV2(tile, other, dest, cfg, direction);
    --conversionDepth;
    return s;
}

ilStatus ilImage::copyThroughBuffer(const ilTile& tile, ilImage* other,
                                    const ilXYZstruct<int>& dest, ilConfig* cfg, int direction,
                                    bool v2) {
    resetCheck();
    if (!other) return ilBadInput;
    if (needColorConv(other, direction, cfg))
        return v2 ? copyConvertedV2(tile, other, dest, cfg, direction)
                  : copyConverted(tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, other, dest.x,
                                  dest.y, dest.z, cfg, direction);
    if (tile.nx < 1 || tile.ny < 1 || tile.nz < 1) return ilOK;
    // The intermediate buffer is laid out as this image; the config tells the other image so,
    // keeping the caller's channel selection.
    ilConfig local(dataType, order, size.c, cfg ? cfg->chanList : nullptr,
                   cfg ? cfg->chanOffset : 0, cfg ? cfg->coordSpace : coordSpace,
                   cfg ? cfg->colorModel : ilUnknownModel);
    if (local.coordSpace == ilSpaceDefault) local.coordSpace = coordSpace;
    int64_t bytes = ilBoxBytes(dataType, tile.nx, tile.ny, tile.nz, std::max(size.c, 1));
    if (bytes <= 0) return ilOK;
    if (bytes == INT64_MAX) return ilOutOfMemory;
    std::unique_ptr<void, FreeDeleter> buffer(std::malloc(static_cast<size_t>(bytes)));
    if (!buffer) return ilOutOfMemory;
    ilTile there(dest.x, dest.y, dest.z, tile.nx, tile.ny, tile.nz);
    ilStatus s;
    if (direction) {
        s = v2 ? other->getTile3Dv2(there, buffer.get(), &local)
               : other->getTile3D(there.x, there.y, there.z, there.nx, there.ny, there.nz,
                                  buffer.get(), &local);
        if (s == ilOK)
            s = v2 ? setTile3Dv2(tile, buffer.get(), nullptr)
                   : setTile3D(tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, buffer.get(),
                               nullptr);
    } else {
        s = v2 ? getSubTile3Dv2(tile, buffer.get(), tile, nullptr)
               : getSubTile3D(tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, buffer.get(),
                              tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, nullptr);
        if (s == ilOK)
            s = v2 ? other->setTile3Dv2(there, buffer.get(), &local)
                   : other->setTile3D(there.x, there.y, there.z, there.nx, there.ny, there.nz,
                                      buffer.get(), &local);
    }
    return s;
}

ilStatus ilImage::copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                              int oy, int oz, ilConfig* cfg, int direction) {
    return copyThroughBuffer(ilTile(x, y, z, nx, ny, nz), other, ilXYZstruct<int>{ox, oy, oz}, cfg,
                             direction, false);
}

ilStatus ilImage::copyTileCfgV2(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                                ilConfig* cfg, int direction) {
    return copyThroughBuffer(tile, other, dest, cfg, direction, true);
}

ilStatus ilImage::clipTile(int& x, int& y, int& z, int& nx, int& ny, int& nz, int useBorder) {
    resetCheck();
    int bx = useBorder ? pageBorder.x : 0;
    int by = useBorder ? pageBorder.y : 0;
    int bz = useBorder ? pageBorder.z : 0;
    bool changed = false;
    auto clip = [&changed](int& start, int& extent, int lo, int hi) {
        int s = std::max(start, lo);
        int e = static_cast<int>(std::min<int64_t>(static_cast<int64_t>(start) + extent, hi));
        int n = std::max(e - s, 0);
        if (s != start || n != extent) changed = true;
        start = s;
        extent = n;
    };
    clip(x, nx, -bx, size.x + bx);
    clip(y, ny, -by, size.y + by);
    clip(z, nz, -bz, size.z + bz);
    return changed ? ilTileClipped : ilOK;
}

ilStatus ilImage::clipTile(ilTile& t, int useBorder) {
    return clipTile(t.x, t.y, t.z, t.nx, t.ny, t.nz, useBorder);
}

void ilImage::getStrides(int nx, int& xs, int& ys, int& cs, int nc, ilOrder o) {
    int zs;
    getStrides3D(nx, 1, xs, ys, zs, cs, nc, o);
}

void ilImage::getStrides3D(int nx, int ny, int& xs, int& ys, int& zs, int& cs, int nc, ilOrder o) {
    resetCheck();
    if (o == ilAnyOrder) o = order;
    if (nc <= 0) nc = o == ilSeparate ? 1 : size.c;
    switch (o) {
        case ilSequential:
            xs = 1, ys = nc * nx, zs = nc * nx * ny, cs = nx;
            break;
        case ilSeparate:
            xs = 1, ys = nx, zs = nx * ny, cs = 1;
            break;
        default:
            xs = nc, ys = nx * nc, zs = nx * ny * nc, cs = 1;
            break;
    }
}

// ---- Page locks through a private copy, for images without pages of their own ----

ilStatus ilImage::lockPageSet(ilLockRequest* requests, int, int count) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    ilStatus result = ilOK;
    ilConfig cfg(dataType, order, pageSize.c);
    int64_t bytes =
        ilBoxBytes(dataType, pageSize.x, pageSize.y, pageSize.z, std::max(pageSize.c, 1));
    for (int i = 0; i < count; ++i) {
        ilLockRequest& r = requests[i];
        r.status = ilOK;
        r.page = nullptr;
        if (!isValidPage(r.x, r.y, r.z, r.c)) continue;
        auto* page = new ilImagePage(r.x, r.y, r.z, r.c,
                                     static_cast<long>(std::max(bytes, int64_t(pageBytes))));
        cfg.chanOffset = r.c;
        ilStatus rs = getSubTile3D(r.x, r.y, r.z, pageSize.x, pageSize.y, pageSize.z, page->data,
                                   r.x, r.y, r.z, pageSize.x, pageSize.y, pageSize.z, &cfg);
        if (rs != ilOK) {
            delete page;
            r.status = rs;
            result = rs;
            continue;
        }
        r.page = page;
    }
    return result;
}

ilStatus ilImage::unlockPageSet(ilLockRequest* requests, int count) {
    for (int i = 0; i < count; ++i) {
        delete requests[i].page;
        requests[i].page = nullptr;
    }
    return ilOK;
}

ilPage* ilImage::lockPage(int x, int y, int z, int c, ilStatus& s, int mode) {
    ilLockRequest r;
    r.init(x, y, z, c);
    s = lockPageSet(&r, mode, 1);
    if (s == ilOK) s = r.status;
    return r.page;
}

void ilImage::unlockPage(ilPage* page) {
    if (!page) return;
    ilLockRequest r;
    r.init(page->x, page->y, page->z, page->c);
    r.page = page;
    unlockPageSet(&r, 1);
}
