#include "pigment/frame/ilMemoryImg.h"

#include <atomic>
#include <cstdio>

#include "pigment/frame/ilBoxBytes_p.h"
#include "pigment/frame/ilData.h"
#include "pigment/frame/ilPage.h"
#include "pigment/frame/ilTileTransfer_p.h"

const ilClassList ilMemoryImg::classList = {"a", &ilImage::classList};

namespace {

std::atomic<int> liveMemoryImages{0};

// A config's type or order left unset means the image's own.
ilType bufferType(const ilConfig* cfg, ilType own) {
    return cfg && cfg->type != ilAnyType && cfg->type != 0 ? cfg->type : own;
}
ilOrder bufferOrder(const ilConfig* cfg, ilOrder own) {
    return cfg && (cfg->order == ilInterleaved || cfg->order == ilSequential ||
                   cfg->order == ilSeparate)
               ? cfg->order
               : own;
}

}  // namespace

int ilMemoryImg::liveCount() {
    return liveMemoryImages;
}

void ilMemoryImg::init(const ilSize& s, ilType type, ilOrder o) {
    ++liveMemoryImages;
    maxInputs = 1;
    autoSync = 0;
    source = nullptr;
    wholePage = nullptr;
    if (!pixels) pixels = new PixelMemory(this);
    pixels->freeData();
    imageType = ilMemoryType;
    size = s;
    dataType = type;
    order = o;
    coordSpace = ilLowerLeft;
    colorModel = ilRGBA;
    initColorModel(0);
    initMinMax(0);
    initPageSize(size.x, size.y, size.z, 0);
    setAllowed(ilAttrDataType | ilAttrOrder | ilAttrXsize | ilAttrYsize | ilAttrCsize |
               ilAttrZsize | ilAttrCoordSpace | ilAttrColorModel);
}

ilMemoryImg::ilMemoryImg(bool) {
    init(ilSize(0, 0, 1, 0), ilAnyType, ilAnyOrder);
}

ilMemoryImg::ilMemoryImg(ilType type, ilOrder o) {
    init(ilSize(0, 0, 1, 0), type, o);
}

ilMemoryImg::ilMemoryImg(const ilSize& s, ilType type, ilOrder o, bool) {
    init(s, type, o);
}

ilMemoryImg::ilMemoryImg(void* data, int64_t dataSize, const ilSize& s, ilType type, ilOrder o,
                         bool) {
    init(s, type, o);
    pixels->setData(data, dataSize, false);
}

ilMemoryImg::ilMemoryImg(ilImage* image, int autoSync_, bool) {
    if (!image) {
        // Otherwise a valid image: an input given later is followed as asked.
        init(ilSize(0, 0, 1, 0), ilAnyType, ilAnyOrder);
        autoSync = autoSync_;
        missingInput = true;
        status = ilBadInput;
        return;
    }
    init(image->getSize(), image->getDataType(), image->getOrder());
    setInput(image, 0);
    SetSeedImage(image);
    autoSync = autoSync_;
    if (!autoSync) syncData();
}

ilMemoryImg::ilMemoryImg(const ilMemoryImg& other)
    : ilSIDImage(other),
      pixels(other.pixels),
      wholePage(nullptr),
      autoSync(other.autoSync),
      source(other.source),
      ownsPixels(false),
      missingInput(other.missingInput) {
    ++liveMemoryImages;
}

ilMemoryImg& ilMemoryImg::operator=(const ilMemoryImg& other) {
    if (this == &other) return *this;
    ilSIDImage::operator=(other);
    // The page stands over the old block and is never shared, so each image deletes only its own.
    delete wholePage;
    wholePage = nullptr;
    if (pixels != other.pixels) {
        if (ownsPixels) delete pixels;
        pixels = other.pixels;
        ownsPixels = false;
    }
    autoSync = other.autoSync;
    source = other.source;
    missingInput = other.missingInput;
    return *this;
}

ilMemoryImg::~ilMemoryImg() {
    --liveMemoryImages;
    deleteRelated(1);
    delete wholePage;
    if (ownsPixels) delete pixels;
}

void ilMemoryImg::reset() {
    // Each evaluation judges the configuration afresh; only a missing input stays an error.
    status = missingInput && !getDirectParent(0) ? ilBadInput : ilOK;
    source = getInput(0);
    if (source) {
        if (!isSet(ilAttrColorModel)) {
            colorModel = source->getColorModel();
        } else if (colorModel != source->getColorModel()) {
            setInput(source->getColorImg(colorModel), 0);
            source = getInput(0);
        }
        if (!isSet(ilAttrDataType)) dataType = source->getDataType();
        if (!isSet(ilAttrOrder)) order = source->getOrder();
        if (!isSet(ilAttrCoordSpace)) coordSpace = source->getCoordSpace();
        if (!isSet(ilAttrMinValue)) minValue = source->getMinPixel();
        if (!isSet(ilAttrMaxValue)) maxValue = source->getMaxPixel();
        if (!isSet(ilAttrFill)) fill = source->getFill();
        ilSize s = source->getSize(coordSpace);
        if (!isSet(ilAttrXsize)) size.x = s.x;
        if (!isSet(ilAttrYsize)) size.y = s.y;
        if (!isSet(ilAttrZsize)) size.z = s.z;
        if (!isSet(ilAttrCsize)) size.c = s.c;
        initPageSize(size.x, size.y, size.z, 0);
        if (source->getStatus() != ilOK) status = ilBadInput;
    } else {
        initColorModel(0);
        initMinMax(0);
        initPageSize(size.x, size.y, size.z, 0);
    }
    checkColorModel();

    delete wholePage;
    wholePage = nullptr;

    pixels->beginOperations();
    bool configured = dataType != ilAnyType && order != ilAnyOrder && size.x > 0 && size.y > 0 &&
                      size.z > 0 && size.c > 0;
    // A size too large to count asks for more than any allocator gives, and so fails as one.
    const int64_t needed = configured ? ilBoxBytes(dataType, size.c, size.z, size.y, size.x) : 0;
    // A wrapped block given without its size is the caller's affair and is left alone.
    bool unknownWrap = pixels->getImageData() && !pixels->ownsBlock() && pixels->getSize() == 0;
    if (!unknownWrap && needed != pixels->getSize()) {
        if (needed > 0)
            pixels->createData(needed);
        else
            pixels->freeData();
    }
    // The first failure found is the one kept: a missing or failing input comes before the
    // configuration, and an unconfigured image before a missing block.
    if (status == ilOK && !configured) status = ilNotConfigured;
    if (status == ilOK && !pixels->getImageData()) status = ilOutOfMemory;
    if (status == ilOK) {
        ilImage::reset();
        if (autoSync) syncData();
    }
}

void ilMemoryImg::syncData() {
    if (resetCheck() == ilOK && source) {
        pixels->beginOperations();
        if (void* block = pixels->getImageData()) {
            ilConfig cfg(dataType, order, size.c, nullptr, 0, coordSpace);
            ilTile whole(0, 0, 0, size.x, size.y, size.z);
            source->getSubTile3Dv2(whole, block, whole, &cfg);
        }
    }
    setTimeStamp();
}

void ilMemoryImg::sync() {
    setAltered(ilAttrContents);
    if (!autoSync && getNumChildren() > 0) syncData();
}

void ilMemoryImg::setAutoSync(int flag) {
    if (!autoSync && flag) setAltered(ilAttrContents);
    autoSync = flag;
}

int64_t ilMemoryImg::mem_used() {
    int64_t used = pixels->getSize();
    if (source) {
        ilSize s = source->getSize();
        used += ilBoxBytes(source->getDataType(), s.x, s.y, s.c);
    }
    return used;
}

void* ilMemoryImg::getDataPtr() {
    resetCheck();
    if (!pixels->inMem()) std::fprintf(stderr, "ilMemoryImg's imageData isn't in memory\n");
    return pixels->getImageData();
}

void ilMemoryImg::setDataPtr(void* data, int64_t dataSize) {
    pixels->setData(data, dataSize, false);
    setAltered(ilAttrContents);
}

void ilMemoryImg::setData(void* data, int64_t dataSize, const ilSize& s) {
    size = s;
    setDataPtr(data, dataSize);
}

ilStatus ilMemoryImg::MergeChangesIntoSeed() {
    if (!seedImage) return ilOK;
    ilSize s = getSize();
    return seedImage->copyTileCfg(0, 0, 0, s.x, s.y, s.z, this, 0, 0, 0, nullptr, 1);
}

// ---- Tiles ----

ilStatus ilMemoryImg::getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                   int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    return getSubTile3Dv2(ilTile(x, y, z, nx, ny, nz), data, ilTile(bx, by, bz, bnx, bny, bnz),
                          cfg);
}

ilTileBlock ilMemoryImg::callerBlock(void* data, ilTile& tile, const ilTile& box, ilConfig* cfg) {
    ilTile b = box;
    int flip = 0, transpose = 0;
    if (cfg && cfg->coordSpace) {
        mapFlipTrans(cfg->coordSpace, flip, transpose);
        mapTile(tile, cfg->coordSpace);
        mapTile(b, cfg->coordSpace);
    }
    ilTileBlock buffer(data, b, bufferType(cfg, dataType), bufferOrder(cfg, order),
                       cfg && cfg->nChans ? cfg->nChans : size.c, cfg ? cfg->chanOffset : 0,
                       cfg ? cfg->chanList : nullptr);
    buffer.setFlip(flip & ilFlipX, flip & ilFlipY, transpose);
    return buffer;
}

ilStatus ilMemoryImg::getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& box,
                                     ilConfig* cfg) {
    ilStatus s = checkTileBuffer(data, tile);
    if (s == ilOK) s = resetCheck();
    if (s != ilOK) return s;
    pixels->beginOperations();
    void* block = pixels->getImageData();
    if (!block || !data) return ilOK;

    ilTile t = tile;
    ilTileBlock buffer = callerBlock(data, t, box, cfg);
    if (!t.empty()) buffer.setRegion(t);
    ilTileBlock image(block, 0, 0, 0, size.x, size.y, size.z, dataType, order, size.c);
    ilTransfer(buffer, image);

    // What lies outside the image takes the fill. The solid is matched by image channel, so a
    // buffer channel list picks the fill's channels as it picks the image's.
    ilTile bounds(0, 0, 0, size.x, size.y, size.z);
    ilTileBlock solid(fill, nullptr, 0, &bounds);
    ilTransfer(buffer, solid);
    return ilOK;
}

ilStatus ilMemoryImg::setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                   int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    ilTile t(x, y, z, nx, ny, nz);
    ilStatus s = checkTileBuffer(data, t);
    if (s == ilOK) s = resetCheck();
    if (s == ilOK) s = checkWriteChannels(cfg, size.c);
    if (s != ilOK) return s;
    pixels->beginOperations();
    void* block = pixels->getImageData();
    if (block && data) {
        ilTileBlock buffer = callerBlock(data, t, ilTile(bx, by, bz, bnx, bny, bnz), cfg);
        ilTileBlock image(block, 0, 0, 0, size.x, size.y, size.z, dataType, order, size.c);
        if (!t.empty()) image.setRegion(t);
        ilTransfer(image, buffer);
    }
    setTimeStamp();
    setAltered(ilAlterPixelsOnly);
    return ilOK;
}

ilStatus ilMemoryImg::fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                                 ilConfig* cfg, const ilTile* exclude) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    ilType given = bufferType(cfg, dataType);
    int nc = cfg && cfg->nChans ? cfg->nChans : size.c;
    ilPixel pixel;
    if (given != dataType) {
        ilPixel raw(given, nc, data);  // a null data pointer leaves zeros
        pixel.convert(raw, dataType, nc);
    } else {
        pixel.set(dataType, nc, data);
    }
    ilTile t(x, y, z, nx, ny, nz);
    ilTile ex = exclude ? *exclude : ilTile(0, 0, 0, 0, 0, 0);
    if (cfg && cfg->coordSpace) {
        mapTile(t, cfg->coordSpace);
        if (exclude) mapTile(ex, cfg->coordSpace);
    }
    pixels->beginOperations();
    if (void* block = pixels->getImageData()) {
        ilTileBlock image(block, 0, 0, 0, size.x, size.y, size.z, dataType, order, size.c);
        if (!t.empty()) image.setRegion(t);
        ilTileBlock solid(pixel, cfg ? cfg->chanList : nullptr, cfg ? cfg->chanOffset : 0,
                          exclude ? &ex : nullptr);
        ilTransfer(image, solid);
    }
    setTimeStamp();
    setAltered(ilAlterPixelsOnly);
    return ilOK;
}

ilStatus ilMemoryImg::copyPages(const ilTile& tile, ilImage* other, const ilXYZstruct<int>& dest,
                                ilConfig* cfg, int direction, bool v2) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    if (!other) return ilBadInput;
    if (needColorConv(other, direction, cfg))
        return v2 ? copyConvertedV2(tile, other, dest, cfg, direction)
                  : copyConverted(tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, other, dest.x,
                                  dest.y, dest.z, cfg, direction);
    ilConfig local(dataType, order, size.c, cfg ? cfg->chanList : nullptr,
                   cfg ? cfg->chanOffset : 0, coordSpace, cfg ? cfg->colorModel : ilUnknownModel);
    // The block seen from the other image: where this image's origin lies over there.
    const int dx = dest.x - tile.x, dy = dest.y - tile.y, dz = dest.z - tile.z;
    const ilTile blockBox(dx, dy, dz, size.x, size.y, size.z);
    ilTile clipped = tile;
    clipTile(clipped, 0);
    const ilTile there(clipped.x + dx, clipped.y + dy, clipped.z + dz, clipped.nx, clipped.ny,
                       clipped.nz);

    pixels->beginOperations();
    void* block = pixels->getImageData();
    ilStatus result = ilOK;
    if (!block) {
        result = ilOutOfMemory;
    } else if (direction) {
        if (!clipped.empty())
            result = v2 ? other->getSubTile3Dv2(there, block, blockBox, &local)
                        : other->getSubTile3D(there.x, there.y, there.z, there.nx, there.ny,
                                              there.nz, block, blockBox.x, blockBox.y, blockBox.z,
                                              blockBox.nx, blockBox.ny, blockBox.nz, &local);
    } else {
        if (!clipped.empty())
            result = v2 ? other->setSubTile3Dv2(there, block, blockBox, &local)
                        : other->setSubTile3D(there.x, there.y, there.z, there.nx, there.ny,
                                              there.nz, block, blockBox.x, blockBox.y, blockBox.z,
                                              blockBox.nx, blockBox.ny, blockBox.nz, &local);
        // The part of the tile beyond this image arrives in the other image as fill. An empty
        // tile has no such part, and must not reach fillTile3D, which reads an empty tile as the
        // whole image. The config says the image's type, and a chosen fill may be of another,
        // narrower one: it goes over converted, never read past its own bytes.
        if (result == ilOK && !tile.empty()) {
            ilPixel own;
            if (fill.nc() == size.c) own.convert(fill, dataType);
            other->fillTile3D(dest.x, dest.y, dest.z, tile.nx, tile.ny, tile.nz,
                              own.nc() ? own.elems() : nullptr, &local, &blockBox);
        }
    }
    setTimeStamp();
    if (result == ilOK) setAltered(ilAlterPixelsOnly);
    // Callers never test this copy; local failures stay local.
    return ilOK;
}

ilStatus ilMemoryImg::copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other,
                                  int ox, int oy, int oz, ilConfig* cfg, int direction) {
    return copyPages(ilTile(x, y, z, nx, ny, nz), other, ilXYZstruct<int>{ox, oy, oz}, cfg,
                     direction, false);
}

ilStatus ilMemoryImg::copyTileCfgV2(const ilTile& tile, ilImage* other,
                                    const ilXYZstruct<int>& dest, ilConfig* cfg, int direction) {
    return copyPages(tile, other, dest, cfg, direction, true);
}

ilStatus ilMemoryImg::lockPageSet(ilLockRequest* requests, int, int count) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    for (int i = 0; i < count; ++i) {
        ilLockRequest& r = requests[i];
        r.status = ilOK;
        r.page = nullptr;
        if (!isValidPage(r.x, r.y, r.z, r.c)) continue;
        // One page stands for the whole block until the next reset.
        if (!wholePage) wholePage = new ilPage(0, 0, size.z, size.c, pixels->getImageData());
        r.page = wholePage;
    }
    return ilOK;
}

ilStatus ilMemoryImg::unlockPageSet(ilLockRequest*, int) {
    return ilOK;
}
