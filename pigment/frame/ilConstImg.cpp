#include "pigment/frame/ilConstImg.h"

#include <cstring>

#include "pigment/frame/ilConstFill_p.h"
#include "pigment/frame/ilTileTransfer_p.h"

const ilClassList ilConstImg::classList = {"a", &ilImage::classList};

ilConstImg::ilConstImg() {
    ilPixel zero(ilUChar, 1);
    zero.setElem(0, 0);
    init(zero);
}

ilConstImg::ilConstImg(const ilPixel& pixel) {
    init(pixel);
}

void ilConstImg::init(const ilPixel& pixel) {
    setFill(pixel);
    size = ilSize(1, 1, 1, pixel.nc());
    dataType = pixel.type();
    order = ilInterleaved;
    coordSpace = ilLowerLeft;
    colorModel = ilABGR;
    setAllowed(ilAttrXsize | ilAttrYsize | ilAttrZsize | ilAttrCsize | ilAttrCoordSpace |
               ilAttrColorModel);
}

void ilConstImg::reset() {
    if (isAltered(ilAttrFill)) {
        size.c = fill.nc();
        dataType = fill.type();
    }
    initColorModel(0);
    initMinMax(0);
    initPageSize(128, 128, 1, 0);
    checkColorModel();
    ilImage::reset();
}

bool ilConstImg::fastFill(const ilTile& tile, void* data, const ilTile& box, const ilPixel& pixel) {
    const int nc = pixel.nc();
    // The tile inside the buffer, then relative to it; a tile in another plane than the buffer's
    // one touches nothing, as on the general path.
    ilTile r(tile, ilTile(box.x, box.y, box.z, box.nx, box.ny, 1));
    if (r.empty()) return true;
    r.x -= box.x;
    r.y -= box.y;
    auto* base = static_cast<unsigned char*>(data);
    const long rowBytes = static_cast<long>(box.nx) * nc;
    if (nc == 4) {
        uint32_t value;
        std::memcpy(&value, pixel.elems(), 4);
        if (r.nx == box.nx && r.nx >= 8) {
            ilConstFill::fill32(base + r.y * rowBytes, value, static_cast<long>(r.nx) * r.ny);
        } else {
            for (int j = 0; j < r.ny; ++j)
                ilConstFill::fill32(base + (r.y + j) * rowBytes + 4L * r.x, value, r.nx);
        }
    } else {
        const int v = *static_cast<const unsigned char*>(pixel.elems());
        for (int j = 0; j < r.ny; ++j)
            std::memset(base + (r.y + j) * rowBytes + r.x, v, r.nx);
    }
    return true;
}

ilStatus ilConstImg::getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx,
                                  int by, int bz, int bnx, int bny, int bnz, ilConfig* cfg) {
    return getSubTile3Dv2(ilTile(x, y, z, nx, ny, nz), data, ilTile(bx, by, bz, bnx, bny, bnz),
                          cfg);
}

ilStatus ilConstImg::getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& box,
                                    ilConfig* cfg) {
    ilStatus s = checkTileBuffer(data, tile);
    if (s == ilOK) s = resetCheck();
    if (s != ilOK) return s;
    if (!data) return ilOK;
    const int nc = cfg && cfg->nChans ? cfg->nChans : size.c;
    const ilType type = cfg && cfg->type != ilAnyType && cfg->type ? cfg->type : dataType;
    ilPixel pixel;
    if (type != dataType)
        pixel.convert(fill, type, nc > size.c ? nc : size.c);
    else
        pixel = fill;
    if (pixel.nc() == 0) pixel.set(type, nc, nullptr);  // an unset fill reads as zeros

    const bool ownLayout = !cfg || (cfg->type == dataType && cfg->order == order &&
                                    (cfg->nChans == 0 || cfg->nChans == size.c) && !cfg->chanList &&
                                    cfg->chanOffset == 0);
    if (box.nz == 1 && ownLayout && dataType == ilUChar && (size.c == 1 || size.c == 4) &&
        pixel.nc() == size.c)
        fastFill(tile, data, box, pixel);
    else {
        ilTileBlock buffer(data, box, type, cfg ? cfg->order : order, nc, cfg ? cfg->chanOffset : 0,
                           cfg ? cfg->chanList : nullptr);
        // The region is always set: an empty tile reads nothing here, as on the fast path.
        buffer.setRegion(tile);
        ilTileBlock solid(pixel, nullptr, 0, nullptr);
        ilTransfer(buffer, solid);
    }
    return ilOK;
}

ilStatus ilConstImg::setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int, int,
                                  int, int, int, int, ilConfig*) {
    const ilStatus s = checkTileBuffer(data, ilTile(x, y, z, nx, ny, nz));
    return s != ilOK ? s : ilUnsupported;
}

ilStatus ilConstImg::copyTileCfg(int, int, int, int nx, int ny, int nz, ilImage* other, int ox,
                                 int oy, int oz, ilConfig* cfg, int direction) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    if (direction) return ilUnsupported;
    if (!other) return ilBadInput;
    ilConfig local(dataType, order, size.c, cfg ? cfg->chanList : nullptr,
                   cfg ? cfg->chanOffset : 0, coordSpace, colorModel);
    return other->fillTile3D(ox, oy, oz, nx, ny, nz, fill.elems(), &local, nullptr);
}
