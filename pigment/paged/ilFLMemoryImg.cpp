#include "pigment/paged/ilFLMemoryImg.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "pigment/filter/CornerWarpSolver.h"
#include "pigment/filter/PerspectiveWarpSolver.h"
#include "pigment/frame/ilConstFill_p.h"
#include "pigment/paged/ilFLKernels_p.h"

const ilClassList ilFLMemoryImg::classList = {"a", &ilMemoryImg::classList};

int ilFLMemoryImg::m_memoryImgCount = 0;

namespace {

// The zero pixel every new image takes as its fill, of any type and up to 64 channels of 8 bytes.
const unsigned char zeroBlock[512] = {};

int roundAway(double v) {
    return int(v < 0 ? std::ceil(v - 0.5) : std::floor(v + 0.5));
}

bool usableScale(float s) {
    return std::isfinite(s) && s > 0;
}

}  // namespace

void ilFLMemoryImg::initFL() {
    ++m_memoryImgCount;
    setCoordSpace(ilLowerLeft);
    // The packed words of the paint engine; an image of another channel count keeps the model
    // its count implies, since a chosen model would also choose the count.
    if (size.c == 4) setColorModel(ilABGR);
    if (dataType != ilAnyType && size.c > 0 && size.c <= 64) fill.set(dataType, size.c, zeroBlock);
}

ilFLMemoryImg::ilFLMemoryImg(bool moveable) : ilMemoryImg(moveable) {
    initFL();
}

ilFLMemoryImg::ilFLMemoryImg(const ilSize& s, ilType type, ilOrder o, bool moveable)
    : ilMemoryImg(s, type, o, moveable) {
    initFL();
}

ilFLMemoryImg::ilFLMemoryImg(void* data, const ilSize& s, ilType type, ilOrder o, bool moveable)
    : ilMemoryImg(data, ilDataSize(type, int64_t(s.x) * s.y * s.z * s.c), s, type, o, moveable) {
    initFL();
}

ilFLMemoryImg::ilFLMemoryImg(ilImage* image, bool moveable) : ilMemoryImg(image, 0, moveable) {
    ++m_memoryImgCount;
}

ilFLMemoryImg::ilFLMemoryImg(const ilFLMemoryImg& other)
    : ilMemoryImg(other),
      invalid(other.invalid),
      xTable(other.xTable),
      yTable(other.yTable),
      offsetX(other.offsetX),
      offsetY(other.offsetY),
      pivotX(other.pivotX),
      pivotY(other.pivotY),
      rotationDegrees(other.rotationDegrees),
      rotationCos(other.rotationCos),
      rotationSin(other.rotationSin),
      minifyMode(other.minifyMode),
      magnifyMode(other.magnifyMode),
      rgbaScale(other.rgbaScale),
      rgbaOffset(other.rgbaOffset),
      rotated(other.rotated) {
    ++m_memoryImgCount;
}

ilFLMemoryImg& ilFLMemoryImg::operator=(const ilFLMemoryImg& other) {
    if (this == &other) return *this;
    ilMemoryImg::operator=(other);
    invalid = other.invalid;
    xTable = other.xTable, yTable = other.yTable;
    offsetX = other.offsetX, offsetY = other.offsetY;
    pivotX = other.pivotX, pivotY = other.pivotY;
    rotationDegrees = other.rotationDegrees;
    rotationCos = other.rotationCos, rotationSin = other.rotationSin;
    minifyMode = other.minifyMode, magnifyMode = other.magnifyMode;
    rgbaScale = other.rgbaScale, rgbaOffset = other.rgbaOffset;
    rotated = other.rotated;
    return *this;
}

ilFLMemoryImg::~ilFLMemoryImg() {
    --m_memoryImgCount;
}

// ---- Transform state ----

void ilFLMemoryImg::SetScaleFactors(float sx, float sy) {
    for (auto [table, s] : {std::pair{&xTable, sx}, std::pair{&yTable, sy}}) {
        if (table->scale != s) {
            table->clear();
            table->scale = s;
        }
    }
    rotated = 0;
}

void ilFLMemoryImg::SetScaleAndRotation(float sx, float sy, float degrees, float px, float py) {
    // fmod does in one step what repeated steps of 360 do, and ends for any finite angle.
    if (std::isfinite(degrees)) {
        if (degrees >= 360) degrees = std::fmod(degrees, 360.0f);
        if (degrees < 0) degrees = std::fmod(degrees, 360.0f) + 360.0f;
        if (degrees >= 360) degrees -= 360;
    }
    SetScaleFactors(sx, sy);
    if (std::isfinite(degrees) && degrees < 0.001f) {
        rotationDegrees = 0;
        rotationCos = 1, rotationSin = 0;
    } else {
        // A non-finite angle is kept, and the next read refuses it.
        rotationDegrees = degrees;
        rotated = 1;
        const double radians = double(degrees) / 360.0 * 3.1415926535 * 2.0;
        rotationCos = float(std::cos(radians));
        rotationSin = float(std::sin(radians));
    }
    pivotX = px, pivotY = py;
}

void ilFLMemoryImg::SetRGBAScaleAndOffset(float sr, float sg, float sb, float sa, float orr,
                                          float og, float ob, float oa) {
    auto pack = [](float a, float b, float c, float d) {
        unsigned word = 0;
        const float v[4] = {a, b, c, d};
        for (int i = 0; i < 4; ++i) {
            const float f = std::isnan(v[i]) ? 0.0f : std::clamp(v[i], 0.0f, 1.0f);
            word |= unsigned(f * 255.0f + 0.5f) << (8 * i);
        }
        return word;
    };
    rgbaScale = pack(sr, sg, sb, sa);
    rgbaOffset = pack(orr, og, ob, oa);
}

// ---- Small tests ----

bool ilFLMemoryImg::clipToImage(int& x, int& y, int& nx, int& ny) {
    resetCheck();
    const int64_t x0 = std::max<int64_t>(x, 0), y0 = std::max<int64_t>(y, 0);
    const int64_t x1 = std::min<int64_t>(int64_t(x) + nx, size.x);
    const int64_t y1 = std::min<int64_t>(int64_t(y) + ny, size.y);
    x = int(x0), y = int(y0);
    nx = int(std::max<int64_t>(x1 - x0, 0)), ny = int(std::max<int64_t>(y1 - y0, 0));
    return nx > 0 && ny > 0;
}

bool ilFLMemoryImg::clipToImage(float& x, float& y, float& nx, float& ny) {
    resetCheck();
    const float x0 = std::max(x, 0.0f), y0 = std::max(y, 0.0f);
    const float x1 = std::min(x + nx, float(size.x)), y1 = std::min(y + ny, float(size.y));
    x = x0, y = y0;
    nx = std::max(x1 - x0, 0.0f), ny = std::max(y1 - y0, 0.0f);
    return nx > 0 && ny > 0;
}

// ---- Target geometry ----

void ilFLMemoryImg::getTargetSizeAndOffset(const ilSize& s, float sx, float sy, float degrees,
                                           float px, float py, float& w, float& h, float& ox,
                                           float& oy) {
    const double radians = double(degrees) / 360.0 * 3.1415926535 * 2.0;
    const double c = std::cos(radians), sn = std::sin(radians);
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    for (int k = 0; k < 4; ++k) {
        const double x = (k & 1 ? s.x : 0) * double(sx) - px,
                     y = (k & 2 ? s.y : 0) * double(sy) - py;
        const double rx = px + x * c - y * sn, ry = py + x * sn + y * c;
        minX = std::min(minX, rx), maxX = std::max(maxX, rx);
        minY = std::min(minY, ry), maxY = std::max(maxY, ry);
    }
    w = float(maxX - minX), h = float(maxY - minY);
    ox = float(minX), oy = float(minY);
}

void ilFLMemoryImg::getTargetSizeAndOffset(const ilSize& s, float sx, float sy, float degrees,
                                           float px, float py, int& w, int& h, int& ox, int& oy) {
    float fw, fh, fx, fy;
    getTargetSizeAndOffset(s, sx, sy, degrees, px, py, fw, fh, fx, fy);
    // Whole pixels that cover the float rectangle.
    ox = int(std::floor(fx)), oy = int(std::floor(fy));
    w = int(std::ceil(fx + fw)) - ox, h = int(std::ceil(fy + fh)) - oy;
}

void ilFLMemoryImg::getTargetSizeAndOffset(int& w, int& h, int& ox, int& oy) {
    getTargetSizeAndOffset(getSize(), xTable.scale, yTable.scale, rotationDegrees, pivotX, pivotY,
                           w, h, ox, oy);
}

void ilFLMemoryImg::getTargetSizeAndOffset(float& w, float& h, float& ox, float& oy) {
    getTargetSizeAndOffset(getSize(), xTable.scale, yTable.scale, rotationDegrees, pivotX, pivotY,
                           w, h, ox, oy);
}

// The transform: a source point (x, y) goes to (sx x, sy y), turns by the angle about the pivot,
// and loses the offset, giving its place in the destination buffer.
void ilFLMemoryImg::calculateDestRect(float x, float y, float nx, float ny, int& dx, int& dy,
                                      int& dnx, int& dny) {
    const double sx = xTable.scale, sy = yTable.scale;
    if (!rotated) {
        dx = roundAway(x * sx - offsetX), dy = roundAway(y * sy - offsetY);
        dnx = roundAway((x + nx) * sx - offsetX) - dx;
        dny = roundAway((y + ny) * sy - offsetY) - dy;
        return;
    }
    double minX = HUGE_VAL, minY = HUGE_VAL, maxX = -HUGE_VAL, maxY = -HUGE_VAL;
    for (int k = 0; k < 4; ++k) {
        const double qx = (x + (k & 1 ? nx : 0)) * sx - pivotX;
        const double qy = (y + (k & 2 ? ny : 0)) * sy - pivotY;
        const double rx = pivotX + qx * rotationCos - qy * rotationSin - offsetX;
        const double ry = pivotY + qx * rotationSin + qy * rotationCos - offsetY;
        minX = std::min(minX, rx), maxX = std::max(maxX, rx);
        minY = std::min(minY, ry), maxY = std::max(maxY, ry);
    }
    dx = int(std::floor(minX)), dy = int(std::floor(minY));
    dnx = int(std::ceil(maxX)) - dx, dny = int(std::ceil(maxY)) - dy;
}

// The inverse for the rotating kernels: the centre of destination pixel (i, j) turns back about
// the pivot and unscales to a source point, and the kernels sample there, so that quarter turns
// land exactly on pixels: start is where pixel (0, 0) samples, in source pixel coordinates.
void ilFLMemoryImg::calculateDestRect(float& startX, float& startY, float& colX, float& colY,
                                      float& rowX, float& rowY) {
    const double sx = xTable.scale, sy = yTable.scale;
    const double c = rotationCos, s = rotationSin;
    const double qx = offsetX + 0.5 - pivotX, qy = offsetY + 0.5 - pivotY;
    startX = float((pivotX + qx * c + qy * s) / sx - 0.5);
    startY = float((pivotY - qx * s + qy * c) / sy - 0.5);
    colX = float(c / sx), colY = float(-s / sy);
    rowX = float(s / sx), rowY = float(c / sy);
}

// ---- Reading through the transformation ----

void ilFLMemoryImg::applyRGBAScaleAndOffset(uint8_t* row, int n) {
    uint8_t scale[4], offset[4];
    const int bytes = size.c == 4 ? 4 : 1;
    for (int i = 0; i < 4; ++i) {
        const int from = bytes == 4 ? i : 3;
        scale[i] = uint8_t(rgbaScale >> (8 * from)), offset[i] = uint8_t(rgbaOffset >> (8 * from));
    }
    for (int i = 0; i < n * bytes; ++i) {
        const int b = i % bytes;
        const unsigned v = (row[i] * unsigned(scale[b]) + 127) / 255 + offset[b];
        row[i] = uint8_t(std::min(v, 255u));
    }
}

template <int C>
void ilFLMemoryImg::scaleTile(unsigned mode, uint8_t* dest, int destWidth, int x0, int y0, int nx,
                              int ny) {
    using namespace ilFLKernels;
    const Source src{static_cast<const uint8_t*>(pixels->getImageData()), size.x, size.y};
    const int ox = roundAway(offsetX), oy = roundAway(offsetY);
    // The tables cover whole source pixels; a rounding step at either end of the destination
    // falls outside them and is left alone.
    const int i0 = std::max(x0, xTable.destFirst - ox),
              i1 = std::min(x0 + nx, xTable.destLast - ox + 1);
    const int j0 = std::max(y0, yTable.destFirst - oy),
              j1 = std::min(y0 + ny, yTable.destLast - oy + 1);
    if (i0 >= i1 || j0 >= j1) return;
    const uint32_t* xpos = xTable.positions.data() + (i0 + ox - xTable.destFirst);
    const bool modulate = rgbaScale != 0xffffffffu || rgbaOffset != 0;
    for (int j = j0; j < j1; ++j) {
        uint8_t* out = dest + (size_t(j) * destWidth + i0) * C;
        const uint32_t ypos = yTable.at(j + oy);
        if (mode == 1)
            scaleRowBilinear<C>(src, xpos, i1 - i0, ypos, out);
        else if (mode == 2)
            scaleRowBicubic<C>(src, xpos, i1 - i0, ypos, out);
        else
            scaleRowPoint<C>(src, xpos, i1 - i0, ypos, out);
        if (modulate) applyRGBAScaleAndOffset(out, i1 - i0);
    }
}

template <int C>
void ilFLMemoryImg::rotateTile(unsigned mode, uint8_t* dest, int destWidth, int x0, int y0, int nx,
                               int ny) {
    using namespace ilFLKernels;
    const Source src{static_cast<const uint8_t*>(pixels->getImageData()), size.x, size.y};
    float sx, sy, cx, cy, rx, ry;
    calculateDestRect(sx, sy, cx, cy, rx, ry);
    // 16.16 fixed point, as the kernels step; 64 bits so that far rows cannot wrap.
    auto fixed = [](double v) { return int64_t(std::floor(v * 65536.0 + 0.5)); };
    const int64_t colX = fixed(cx), colY = fixed(cy), rowX = fixed(rx), rowY = fixed(ry);
    const int64_t limitX = int64_t(size.x) << 16, limitY = int64_t(size.y) << 16;
    const int64_t topX = int64_t(size.x - 1) << 16, topY = int64_t(size.y - 1) << 16;
    std::vector<uint32_t> xpos(static_cast<size_t>(nx)), ypos(static_cast<size_t>(nx));
    std::vector<uint8_t> inside(static_cast<size_t>(nx));
    uint8_t fillPixel[4] = {};
    std::memcpy(fillPixel, fill.elems(), size_t(std::min(fill.nc(), C)));
    const bool modulate = rgbaScale != 0xffffffffu || rgbaOffset != 0;
    for (int j = y0; j < y0 + ny; ++j) {
        int64_t px = fixed(sx) + rowX * j + colX * x0, py = fixed(sy) + rowY * j + colY * x0;
        for (int i = 0; i < nx; ++i, px += colX, py += colY) {
            // The pixel's own point (half a pixel on from the sampling corner) must lie inside.
            const int64_t cxp = px + 32768, cyp = py + 32768;
            inside[size_t(i)] = cxp >= 0 && cyp >= 0 && cxp < limitX && cyp < limitY;
            xpos[size_t(i)] = uint32_t(std::clamp<int64_t>(px, 0, topX) >> 8);
            ypos[size_t(i)] = uint32_t(std::clamp<int64_t>(py, 0, topY) >> 8);
        }
        uint8_t* out = dest + (size_t(j) * destWidth + x0) * C;
        if (mode == 1)
            sampleRowBilinear<C>(src, xpos.data(), ypos.data(), nx, out);
        else if (mode == 2)
            sampleRowBicubic<C>(src, xpos.data(), ypos.data(), nx, out);
        else
            sampleRowPoint<C>(src, xpos.data(), ypos.data(), nx, out);
        for (int i = 0; i < nx; ++i)
            if (!inside[size_t(i)]) std::memcpy(out + i * C, fillPixel, C);
        if (modulate) applyRGBAScaleAndOffset(out, nx);
    }
}

ilStatus ilFLMemoryImg::getScaleTile(float x, float y, float nx, float ny, void* dest,
                                     int destWidth, int destHeight) {
    ilFLKernels::bicubicTable();
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    const float sx = xTable.scale, sy = yTable.scale;
    if (!dest || destWidth < 1 || destHeight < 1 || !usableScale(sx) || !usableScale(sy) ||
        !std::isfinite(rotationDegrees) || !std::isfinite(x) || !std::isfinite(y) ||
        !std::isfinite(nx) || !std::isfinite(ny) || !std::isfinite(offsetX) ||
        !std::isfinite(offsetY) || !std::isfinite(pivotX) || !std::isfinite(pivotY))
        return status = ilBadInput;
    if (!clipToImage(x, y, nx, ny)) return status = ilOK;

    // A source start that lands left of or below the destination moves on to where it enters.
    if (!rotated) {
        const float dx = x * sx - offsetX, dy = y * sy - offsetY;
        if (dx < 0) x -= dx / sx, nx += dx / sx;
        if (dy < 0) y -= dy / sy, ny += dy / sy;
        if (!clipToImage(x, y, nx, ny)) return status = ilOK;
    }
    int dx, dy, dnx, dny;
    calculateDestRect(x, y, nx, ny, dx, dy, dnx, dny);
    // Nothing is written outside the buffer.
    const int x0 = std::max(dx, 0), y0 = std::max(dy, 0);
    const int x1 = int(std::min<int64_t>(int64_t(dx) + std::max(dnx, 0), destWidth));
    const int y1 = int(std::min<int64_t>(int64_t(dy) + std::max(dny, 0), destHeight));
    if (x0 >= x1 || y0 >= y1) return status = ilOK;

    pixels->beginOperations();
    if (!pixels->getImageData()) return status = ilOK;
    const int channels = size.c;
    if (size.z < 1 || dataType != ilUChar || (channels != 1 && channels != 4))
        return status = ilUnsupported;

    // Extreme magnification: the whole area shows one source pixel.
    if ((sx > 4096 || sy > 4096) && !rotated) {
        uint8_t pixel[4];
        s = getSubTile3D(int(x), int(y), 0, 1, 1, 1, pixel, int(x), int(y), 0, 1, 1, 1);
        if (s != ilOK) return status = s;
        for (int j = y0; j < y1; ++j) {
            uint8_t* row = static_cast<uint8_t*>(dest) + (size_t(j) * destWidth + x0) * channels;
            if (channels == 4) {
                uint32_t word;
                std::memcpy(&word, pixel, 4);
                ilConstFill::fill32(row, word, x1 - x0);
            } else {
                std::memset(row, pixel[0], size_t(x1 - x0));
            }
        }
        return status = ilOK;
    }

    // Identity: a plain copy, which is what makes unscaled dabs cheap.
    if (sx == 1.0f && sy == 1.0f && !rotated && rgbaScale == 0xffffffffu && rgbaOffset == 0) {
        const int ox = roundAway(offsetX), oy = roundAway(offsetY);
        return status = getSubTile(int(x), int(y), x1 - x0, y1 - y0, dest, ox, oy, destWidth,
                                   destHeight);
    }

    const unsigned mode = (sx > 1 || sy > 1) ? magnifyMode : minifyMode;
    uint8_t* out = static_cast<uint8_t*>(dest);
    if (rotated) {
        if (channels == 4)
            rotateTile<4>(mode, out, destWidth, x0, y0, x1 - x0, y1 - y0);
        else
            rotateTile<1>(mode == 2 ? 1 : mode, out, destWidth, x0, y0, x1 - x0, y1 - y0);
        return status = ilOK;
    }
    for (ScaleAxisTable* t : {&xTable, &yTable}) {
        if (t->minifyCopy != minifyMode || t->magnifyCopy != magnifyMode) {
            t->clear();
            t->minifyCopy = minifyMode, t->magnifyCopy = magnifyMode;
        }
    }
    const int fx = int(std::floor(x)), lx = int(std::ceil(x + nx));
    const int fy = int(std::floor(y)), ly = int(std::ceil(y + ny));
    if (!xTable.covers(fx, lx)) xTable.build(fx, lx, size.x);
    if (!yTable.covers(fy, ly)) yTable.build(fy, ly, size.y);
    // The bicubic byte kernels are never reached from here: a one-byte image reads bilinear.
    if (channels == 4)
        scaleTile<4>(mode, out, destWidth, x0, y0, x1 - x0, y1 - y0);
    else
        scaleTile<1>(mode == 2 ? 1 : mode, out, destWidth, x0, y0, x1 - x0, y1 - y0);
    return status = ilOK;
}

template <int C>
void ilFLMemoryImg::deformTile(unsigned mode, QuadSolver& solver, uint8_t* dest, int destWidth,
                               const ilTile& area, double exponentX, double exponentY) {
    using namespace ilFLKernels;
    const Source src{static_cast<const uint8_t*>(pixels->getImageData()), size.x, size.y};
    // The filters stop one pixel short of the edge, as the axis tables of a scaled read do.
    const int top = mode == 0 ? 1 : 2;
    const double topX = std::max(size.x - top, 0) * 256.0, topY = std::max(size.y - top, 0) * 256.0;
    // Point sampling takes the pixel a unit position falls in; the filters sample from the
    // pixel corner, as the scaled read does.
    const double shift = mode == 0 ? 0.0 : 0.5;
    std::vector<uint32_t> xpos(static_cast<size_t>(area.nx)), ypos(static_cast<size_t>(area.nx));
    std::vector<int> at(static_cast<size_t>(area.nx));
    std::vector<uint8_t> samples(static_cast<size_t>(area.nx) * C);
    for (int j = area.y; j < area.y + area.ny; ++j) {
        int n = 0;
        for (int i = area.x; i < area.x + area.nx; ++i) {
            float u = float(i), v = float(j);
            if (!solver.getUnitUVForXY(u, v)) continue;
            double du = u, dv = v;
            if (exponentX != 1.0) du = std::pow(du, exponentX);
            if (exponentY != 1.0) dv = std::pow(dv, exponentY);
            const double px = (du * size.x - shift) * 256.0, py = (dv * size.y - shift) * 256.0;
            // Point positions are rounded by the kernel: half a step back keeps floor().
            const double bias = mode == 0 ? -128.0 : 0.5;
            xpos[size_t(n)] = uint32_t(std::clamp(px + bias, 0.0, topX));
            ypos[size_t(n)] = uint32_t(std::clamp(py + bias, 0.0, topY));
            at[size_t(n++)] = i;
        }
        if (mode == 1)
            sampleRowBilinear<C>(src, xpos.data(), ypos.data(), n, samples.data());
        else if (mode == 2)
            sampleRowBicubic<C>(src, xpos.data(), ypos.data(), n, samples.data());
        else
            sampleRowPoint<C>(src, xpos.data(), ypos.data(), n, samples.data());
        uint8_t* row = dest + size_t(j) * destWidth * C;
        for (int k = 0; k < n; ++k)
            std::memcpy(row + size_t(at[size_t(k)]) * C, &samples[size_t(k) * C], C);
    }
}

ilStatus ilFLMemoryImg::getDeformTile(const Rect8f& quad, void* dest, int destWidth, int destHeight,
                                      int forcePerspective, double exponentX, double exponentY) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    if (!dest || destWidth < 1 || destHeight < 1 || !std::isfinite(exponentX) ||
        !std::isfinite(exponentY) || exponentX <= 0 || exponentY <= 0)
        return status = ilBadInput;
    for (int k = 0; k < 8; ++k)
        if (!std::isfinite(quad[k])) return status = ilBadInput;
    pixels->beginOperations();
    // Other pixel shapes have no kernels and are left alone.
    if (!pixels->getImageData() || size.x < 1 || size.y < 1 || dataType != ilUChar ||
        (size.c != 1 && size.c != 4))
        return status = ilOK;

    ilTile area = quad.GetBoundsTile();
    area.cropTo(ilTile(0, 0, 0, destWidth, destHeight, 1));
    if (area.nx < 1 || area.ny < 1) return status = ilOK;
    std::unique_ptr<QuadSolver> solver;
    if (forcePerspective == 0 && !quad.isAffine())
        solver = std::make_unique<CornerWarpSolver>(float(size.x), float(size.y), exponentX,
                                                    exponentY, quad);
    else
        solver = std::make_unique<PerspectiveWarpSolver>(float(size.x), float(size.y), exponentX,
                                                         exponentY, quad);
    uint8_t* out = static_cast<uint8_t*>(dest);
    if (size.c == 4)
        deformTile<4>(minifyMode, *solver, out, destWidth, area, exponentX, exponentY);
    else
        deformTile<1>(minifyMode, *solver, out, destWidth, area, exponentX, exponentY);
    return status = ilOK;
}

// ---- Fast tile paths ----

ilConfig* ilFLMemoryImg::plainConfig(ilConfig* cfg) {
    if (!cfg) return nullptr;
    const bool same = !cfg->chanList && cfg->chanOffset == 0 &&
                      (cfg->nChans == 0 || cfg->nChans == size.c) && cfg->type == dataType &&
                      cfg->order == order &&
                      (cfg->colorModel == 0 || cfg->colorModel == colorModel) &&
                      (cfg->coordSpace == 0 || cfg->coordSpace == coordSpace);
    return same ? nullptr : cfg;
}

bool ilFLMemoryImg::fastRead(const ilTile& tile, void* data, const ilTile& box, ilConfig* cfg) {
    if (cfg || !data || dataType != ilUChar || (size.c != 1 && size.c != 4)) return false;
    if (tile.z != 0 || tile.nz != 1 || box.z != 0 || box.nz != 1 || tile.empty()) return false;
    if (!ilTile(0, 0, 0, size.x, size.y, 1).contains(tile) || !box.contains(tile)) return false;
    pixels->beginOperations();
    const uint8_t* block = static_cast<const uint8_t*>(pixels->getImageData());
    if (!block) return false;
    const size_t pixel = size_t(size.c), rowBytes = size_t(tile.nx) * pixel;
    for (int j = 0; j < tile.ny; ++j) {
        const uint8_t* from = block + (size_t(tile.y + j) * size.x + tile.x) * pixel;
        uint8_t* to = static_cast<uint8_t*>(data) +
                      (size_t(tile.y + j - box.y) * box.nx + (tile.x - box.x)) * pixel;
        std::memcpy(to, from, rowBytes);
    }
    return true;
}

ilStatus ilFLMemoryImg::getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data,
                                     int bx, int by, int bz, int bnx, int bny, int bnz,
                                     ilConfig* cfg) {
    return getSubTile3Dv2(ilTile(x, y, z, nx, ny, nz), data, ilTile(bx, by, bz, bnx, bny, bnz),
                          cfg);
}

ilStatus ilFLMemoryImg::getSubTile3Dv2(const ilTile& tile, void* data, const ilTile& box,
                                       ilConfig* cfg) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    cfg = plainConfig(cfg);
    if (fastRead(tile, data, box, cfg)) return ilOK;
    return ilMemoryImg::getSubTile3Dv2(tile, data, box, cfg);
}

ilStatus ilFLMemoryImg::fillTile3D(int x, int y, int z, int nx, int ny, int nz, const void* data,
                                   ilConfig* cfg, const ilTile* exclude) {
    ilStatus s = resetCheck();
    if (s != ilOK) return s;
    cfg = plainConfig(cfg);
    ilTile t(x, y, z, nx, ny, nz);
    pixels->beginOperations();
    uint8_t* block = static_cast<uint8_t*>(pixels->getImageData());
    const bool plain = !cfg && !exclude && data && block && dataType == ilUChar &&
                       (size.c == 1 || size.c == 4) && z == 0 && nz == 1;
    if (!plain) return ilMemoryImg::fillTile3D(x, y, z, nx, ny, nz, data, cfg, exclude);
    t.cropTo(ilTile(0, 0, 0, size.x, size.y, 1));
    if (t.empty()) return ilOK;
    for (int j = t.y; j < t.y + t.ny; ++j) {
        uint8_t* row = block + (size_t(j) * size.x + t.x) * size.c;
        if (size.c == 4) {
            uint32_t word;
            std::memcpy(&word, data, 4);
            ilConstFill::fill32(row, word, t.nx);
        } else {
            std::memset(row, *static_cast<const uint8_t*>(data), size_t(t.nx));
        }
    }
    setTimeStamp();
    setAltered(ilAlterPixelsOnly);
    return ilOK;
}
