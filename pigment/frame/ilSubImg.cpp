#include "pigment/frame/ilSubImg.h"

#include <algorithm>
#include <memory>

#include "pigment/frame/ilSpace.h"
#include "pigment/frame/ilTileTransfer_p.h"

const ilClassList ilSubImg::classList = {"a", &ilImage::classList};

namespace {

// Type, order, sizes, coordinate space, colour model, fill and the window's configuration.
constexpr uint32_t kSubImgAllowed = ilAttrDataType | ilAttrOrder | ilAttrXsize | ilAttrYsize |
                                    ilAttrCsize | ilAttrZsize | ilAttrCoordSpace |
                                    ilAttrColorModel | ilAttrFill | ilAttrSubImgConfig;
static_assert(kSubImgAllowed == 280556);

// Clamps tile to the box from the origin to size; true when anything changed.
bool clipToSize(ilTile& t, const ilSize& s) {
    bool changed = false;
    auto axis = [&changed](int& start, int& extent, int limit) {
        int lo = std::max(start, 0);
        int hi = static_cast<int>(std::min<int64_t>(static_cast<int64_t>(start) + extent, limit));
        int n = std::max(hi - lo, 0);
        if (lo != start || n != extent) changed = true;
        start = lo;
        extent = n;
    };
    axis(t.x, t.nx, s.x);
    axis(t.y, t.ny, s.y);
    axis(t.z, t.nz, s.z);
    return changed;
}

// A coordinate moved by d, held to the int range.
int shifted(int v, int64_t d) {
    return static_cast<int>(std::clamp<int64_t>(v + d, INT32_MIN, INT32_MAX));
}

int startChannel(const ilConfig* cfg) {
    return cfg ? cfg->chanOffset : 0;
}

}  // namespace

ilSubImg::ilSubImg(ilImage* image, ilConfig* cfg) {
    init(image, 0, 0, 0, startChannel(cfg), cfg);
}

ilSubImg::ilSubImg(ilImage* image, int x, int y, int nx, int ny, ilConfig* cfg) {
    size.x = nx;
    size.y = ny;
    markSet(ilAttrXsize | ilAttrYsize);
    init(image, x, y, 0, startChannel(cfg), cfg);
}

ilSubImg::ilSubImg(ilImage* image, int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg) {
    size.x = nx;
    size.y = ny;
    size.z = nz;
    markSet(ilAttrXsize | ilAttrYsize | ilAttrZsize);
    init(image, x, y, z, startChannel(cfg), cfg);
}

ilSubImg::ilSubImg(ilImage* image, int x, int y, int z, int c, int nx, int ny, int nz, int nc,
                   ilConfig* cfg) {
    size = ilSize(nx, ny, nz, nc);
    markSet(ilAttrXsize | ilAttrYsize | ilAttrZsize | ilAttrCsize);
    init(image, x, y, z, c, cfg);
}

ilSubImg::~ilSubImg() {
    delete[] config.chanList;
}

void ilSubImg::init(ilImage* image, int x, int y, int z, int c, ilConfig* cfg) {
    setAllowed(kSubImgAllowed);
    setNumInputs(1);
    setInput(image, 0);
    startX = x;
    startY = y;
    startZ = z;
    // A channel list selects the channels itself, so the window starts at channel 0.
    startC = cfg && cfg->chanList ? 0 : c;
    setConfig(cfg);
}

ilStatus ilSubImg::setStart(int x, int y, int z) {
    return setStart(x, y, z, 0);
}

ilStatus ilSubImg::setStart(int x, int y, int z, int c) {
    startX = x;
    startY = y;
    startZ = z;
    startC = c;
    return setAltered(ilAttrContents);
}

ilStatus ilSubImg::setConfig(const ilConfig* cfg) {
    delete[] config.chanList;
    config.chanList = nullptr;
    if (!cfg) {
        clearSet(ilAttrSubImgConfig);
        return ilOK;
    }
    config = *cfg;
    config.chanList = nullptr;
    if (cfg->chanList) {
        int n = std::max(cfg->nChans, 0);
        config.chanList = new int[std::max(n, 1)];
        std::copy(cfg->chanList, cfg->chanList + n, config.chanList);
        // A list is read from its first entry by the transfer, so the copy keeps no offset and
        // inverting it (copyTileCfg) agrees with what a read does.
        config.chanOffset = 0;
    }
    return setAltered(ilAttrSubImgConfig);
}

void ilSubImg::reset() {
    status = ilOK;
    ilImage* input = getInput(0);
    if (!input || input->resetCheck() != ilOK) {
        status = ilBadInput;
        return;
    }
    if (!isSet(ilAttrMinValue)) minValue = input->getMinPixel();
    if (!isSet(ilAttrMaxValue)) maxValue = input->getMaxPixel();
    if (!isSet(ilAttrFill)) fill = input->getFill();

    const bool configChosen = isSet(ilAttrSubImgConfig);
    if (configChosen) {
        // What the configuration names becomes the window's own, chosen attribute.
        if (config.coordSpace) setCoordSpace(config.coordSpace);
        if (config.type) setDataType(config.type);
        if (config.order) setOrder(config.order);
        if (config.nChans) setCsize(config.nChans);
        if (config.colorModel) setColorModel(config.colorModel);
    }

    if (!isSet(ilAttrCoordSpace)) coordSpace = input->getCoordSpace();
    if (!isSet(ilAttrDataType)) dataType = input->getDataType();
    if (!isSet(ilAttrOrder)) order = input->getOrder();
    const int inputChans = input->getNumChans();
    if (!isSet(ilAttrCsize)) size.c = inputChans;
    if (!isSet(ilAttrColorModel)) {
        if (size.c == inputChans)
            colorModel = input->getColorModel();
        else
            initColorModel(0);
    }

    ilSize inputSize = input->getSize(coordSpace);
    if (!isSet(ilAttrXsize)) size.x = inputSize.x;
    if (!isSet(ilAttrYsize)) size.y = inputSize.y;
    if (!isSet(ilAttrZsize)) size.z = inputSize.z;
    if (!isSet(ilAttrCsize)) size.c = inputSize.c;

    if (!configChosen) {
        // Refilled once the attributes are known: they are the input's unless the caller chose
        // otherwise, and a read without a config must get a buffer laid out as this window.
        delete[] config.chanList;
        config = ilConfig(dataType, order, size.c, nullptr, startC, coordSpace, colorModel);
    }

    if (isSet(ilAttrPageSize)) {
        // The page size belongs to the image that owns the pages.
        input->setPageSize(pageSize.x, pageSize.y, pageSize.z, pageSize.c);
    } else {
        pageSize = input->getPageSize(coordSpace);
        pageBytes = input->getPageBytes();
    }

    if (checkColorModel() == ilOK) ilImage::reset();
}

int ilSubImg::inputChannel(int w) const {
    if (w < 0 || w >= size.c) return -1;
    if (config.chanList) return w < config.nChans ? config.chanList[w] : -1;
    return w + startC;
}

ilConfig* ilSubImg::composeConfig(ilConfig* cfg, int& flag) {
    auto* out = new ilConfig(cfg ? *cfg : config);
    flag = 1;
    if (!out->coordSpace) out->coordSpace = coordSpace;
    if (!out->nChans) out->nChans = size.c;
    if (!cfg) {
        if (out->chanList)
            out->chanOffset = 0;
        else if (!out->chanOffset)
            out->chanOffset = startC;
        return out;
    }
    // The caller's channels are the window's: an offset or a list counts from the window's first
    // channel and stops at its last, whatever the input holds beyond.
    const int n = out->nChans;
    const bool inside = cfg->chanOffset >= 0 && static_cast<int64_t>(cfg->chanOffset) + n <= size.c;
    if (!cfg->chanList && !config.chanList && inside) {
        out->chanOffset = cfg->chanOffset + startC;
        return out;
    }
    int* list = new int[std::max(n, 1)];
    for (int k = 0; k < n; ++k)
        list[k] = inputChannel(cfg->chanList ? cfg->chanList[k] : cfg->chanOffset + k);
    out->chanList = list;
    out->chanOffset = 0;
    flag = -1;
    return out;
}

void ilSubImg::freeConfig(ilConfig* cfg, int flag) {
    if (!cfg || flag == 0) return;
    if (flag == -1) delete[] cfg->chanList;
    delete cfg;
}

void ilSubImg::toInput(ilImage* input, ilTile& tile, ilTile& box, const ilConfig* cfg,
                       ilCoordSpace inputSpace) {
    if (cfg && cfg->coordSpace) {
        mapTile(tile, cfg->coordSpace);
        mapTile(box, cfg->coordSpace);
    }
    tile.x += startX, tile.y += startY, tile.z += startZ;
    box.x += startX, box.y += startY, box.z += startZ;
    // Mirrors are taken within the input, whose extent the window's origin is measured in.
    ilSize inputSize = input->getSize(inputSpace);
    ilSpaceMapTile(coordSpace, inputSpace, inputSize, tile);
    ilSpaceMapTile(coordSpace, inputSpace, inputSize, box);
}

void ilSubImg::fillBuffer(void* data, const ilTile& box, const ilConfig* cfg) {
    ilType type = cfg ? cfg->type : dataType;
    ilOrder bufferOrder = cfg ? cfg->order : order;
    int nc = cfg && cfg->nChans ? cfg->nChans : size.c;
    ilTileBlock dest(data, box, type, bufferOrder, nc, cfg ? cfg->chanOffset : 0,
                     cfg ? cfg->chanList : nullptr);
    ilTileBlock source(fill, nullptr, 0, nullptr);
    ilTransfer(dest, source);
}

ilStatus ilSubImg::forward(ilTile tile, void* data, ilTile box, ilConfig* cfg, bool write) {
    ilStatus s = checkTileBuffer(data, tile);
    if (s == ilOK) s = resetCheck();
    if (s != ilOK) return s;
    ilImage* input = getInput(0);
    if (!input) return ilBadInput;
    ilSize own = size;
    ilSpaceMapSize(coordSpace, cfg && cfg->coordSpace ? cfg->coordSpace : coordSpace, own);
    // Writes stop at the window's edge; what lies outside it reads as its fill, even where the
    // input has pixels.
    if (clipToSize(tile, own) && !write) fillBuffer(data, box, cfg);
    // Nothing of the window is left: an empty tile must not go on, since an input may take an
    // empty tile for the whole buffer box and reach pixels outside the window.
    if (tile.empty()) return ilOK;
    int flag;
    ilConfig* composed = composeConfig(cfg, flag);
    toInput(input, tile, box, cfg, composed->coordSpace);
    s = write ? input->setSubTile3D(tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, data, box.x,
                                    box.y, box.z, box.nx, box.ny, box.nz, composed)
              : input->getSubTile3D(tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, data, box.x,
                                    box.y, box.z, box.nx, box.ny, box.nz, composed);
    freeConfig(composed, flag);
    return s;
}

ilStatus ilSubImg::getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    return forward(ilTile(x, y, z, nx, ny, nz), data, ilTile(bx, by, bz, bnx, bny, bnz), cfg,
                   false);
}

ilStatus ilSubImg::setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    return forward(ilTile(x, y, z, nx, ny, nz), data, ilTile(bx, by, bz, bnx, bny, bnz), cfg, true);
}

ilStatus ilSubImg::copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                               int oy, int oz, ilConfig* cfg, int direction) {
    resetCheck();
    if (needColorConv(other, direction, cfg))
        return copyConverted(x, y, z, nx, ny, nz, other, ox, oy, oz, cfg, direction);
    ilImage* input = getInput(0);
    if (!input) return ilBadInput;
    const int inputChans = input->getNumChans();

    ilConfig local = cfg ? *cfg : ilConfig(input->getDataType(), input->getOrder());
    local.nChans = inputChans;
    local.chanOffset = 0;
    std::unique_ptr<int[]> inverse, composedList;
    // A window that shows the input's channels from the first, all of them, copies them as they
    // are; any other names the window channel of each input channel.
    if (config.chanList || startC != 0 || size.c < inputChans) {
        if (config.chanList && !config.isInvertable()) return ilConfigNotInvertible;
        const int n = cfg && cfg->chanList ? cfg->nChans + cfg->chanOffset : 0;
        const int offset = cfg && cfg->chanList ? cfg->chanOffset : 0;
        const int length = std::max({n, offset + inputChans, inputChans, 1});
        inverse.reset(new int[length]);
        std::fill(inverse.get(), inverse.get() + length, -1);
        for (int w = size.c - 1; w >= 0; --w) {
            const int c = inputChannel(w);
            if (c >= 0 && c < inputChans) inverse[c] = w;
        }
        local.chanList = inverse.get();
        if (cfg && cfg->chanList) {
            composedList.reset(new int[length]);
            std::fill(composedList.get(), composedList.get() + length, -1);
            cfg->compose(n, inverse.get(), composedList.get());
            local.chanList = composedList.get();
            local.chanOffset = offset;
        }
    }

    ilTile tile(x, y, z, nx, ny, nz);
    if (cfg && cfg->coordSpace) mapTile(tile, cfg->coordSpace);
    // Copies stop at the window's edge as reads and writes do: a push gives the other image the
    // window's fill for what lies beyond, and a pull never reaches the input there.
    const ilTile whole = tile;
    if (clipToSize(tile, size) && direction == 0 && other) {
        const ilTile spared(shifted(ox, tile.x - int64_t(whole.x)),
                            shifted(oy, tile.y - int64_t(whole.y)),
                            shifted(oz, tile.z - int64_t(whole.z)), tile.nx, tile.ny, tile.nz);
        ilConfig fillCfg(dataType, order, size.c, cfg ? cfg->chanList : nullptr,
                         cfg ? cfg->chanOffset : 0, coordSpace);
        ilPixel own;
        if (fill.nc() == size.c) own.convert(fill, dataType);
        other->fillTile3D(ox, oy, oz, whole.nx, whole.ny, whole.nz,
                          own.nc() ? own.elems() : nullptr, &fillCfg,
                          spared.empty() ? nullptr : &spared);
    }
    if (tile.empty()) return ilOK;
    ox = shifted(ox, tile.x - int64_t(whole.x));
    oy = shifted(oy, tile.y - int64_t(whole.y));
    oz = shifted(oz, tile.z - int64_t(whole.z));
    tile.x += startX, tile.y += startY, tile.z += startZ;
    ilCoordSpace inputSpace = input->getCoordSpace();
    ilSpaceMapTile(coordSpace, inputSpace, input->getSize(), tile);
    return input->copyTileCfg(tile.x, tile.y, tile.z, tile.nx, tile.ny, tile.nz, other, ox, oy, oz,
                              &local, direction);
}

int ilSubImg::hasPages() {
    ilImage* input = getInput(0);
    return input ? input->hasPages() : 0;
}
