#include "pigment/frame/ilTileBlock_p.h"

#include <cstdint>

ilTileBlock::ilTileBlock(void* data_, int x_, int y_, int z_, int nx_, int ny_, int nz_,
                         ilType type_, ilOrder order_, int nChans_, int chanOffset_,
                         const int* chanList_) {
    init(data_, x_, y_, z_, nx_, ny_, nz_, type_, order_, nChans_, chanOffset_, chanList_);
}

ilTileBlock::ilTileBlock(void* data_, const ilTile& b, ilType type_, ilOrder order_, int nChans_,
                         int chanOffset_, const int* chanList_) {
    init(data_, b.x, b.y, b.z, b.nx, b.ny, b.nz, type_, order_, nChans_, chanOffset_, chanList_);
}

ilTileBlock::ilTileBlock(const ilPixel& pixel, const int* chanList_, int chanOffset_,
                         const ilTile* exclude_) {
    // The pixel is only ever read through a solid block.
    init(const_cast<void*>(pixel.elems()), 0, 0, 0, 0, 0, 0, pixel.type(), ilSeparate, pixel.nc(),
         chanOffset_, chanList_);
    solid = 1;
    if (exclude_) exclude = *exclude_;
    computeStrides();
}

void ilTileBlock::init(void* data_, int x_, int y_, int z_, int nx_, int ny_, int nz_, ilType type_,
                       ilOrder order_, int nChans_, int chanOffset_, const int* chanList_) {
    data = data_;
    x = x_;
    y = y_;
    z = z_;
    nx = nx_;
    ny = ny_;
    nz = nz_;
    xStride = yStride = zStride = 0;
    chanOffset = chanOffset_;
    chanStride = 0;
    nChans = nChans_;
    region = ilTile(x_, y_, z_, nx_, ny_, nz_);
    type = type_;
    // A single channel has no layout of its own, so it is always described as separate.
    order = nChans_ > 1 ? order_ : ilSeparate;
    chanList = chanList_;
    regionActive = flipX = flipY = exchange = 0;
    exclude = ilTile(0, 0, 0, 0, 0, 0);
    solid = 0;
    computeStrides();
}

void ilTileBlock::setFlip(int flipX_, int flipY_, int exchange_) {
    flipX = flipX_;
    flipY = flipY_;
    exchange = exchange_;
    computeStrides();
}

void ilTileBlock::computeStrides() {
    if (solid) {
        xStride = yStride = zStride = 0;
        chanStride = 1;
        return;
    }
    const int64_t bx = nx, by = ny, bz = nz, nc = nChans;
    int64_t xs = 0, ys = 0, zs = 0, cs = 0;
    switch (order) {
        case ilInterleaved:
            xs = exchange ? by * nc : nc;
            ys = exchange ? nc : bx * nc;
            zs = bx * by * nc;
            cs = 1;
            break;
        case ilSequential:
            xs = exchange ? nc * by : 1;
            ys = exchange ? 1 : nc * bx;
            zs = nc * bx * by;
            cs = exchange ? by : bx;
            break;
        case ilSeparate:
            xs = exchange ? by : 1;
            ys = exchange ? 1 : bx;
            zs = bx * by;
            cs = bx * by * bz;
            break;
        default:
            // An unknown layout keeps all strides 0; the transfer moves nothing through it.
            break;
    }
    xStride = flipX ? -xs : xs;
    yStride = flipY ? -ys : ys;
    zStride = zs;
    chanStride = cs;
}
