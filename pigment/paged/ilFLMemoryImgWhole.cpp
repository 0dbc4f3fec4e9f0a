// The whole-image operations of ilFLMemoryImg: flips, quarter turns, alpha repair, box
// reductions and the selection outline.
#include <algorithm>
#include <cstring>
#include <vector>

#include "pigment/paged/ilFLMemoryImg.h"

namespace {

// Interleaved pixels of any type are moved as runs of bytes.
struct Pixels {
    uint8_t* data;
    int width, height, depth;
    size_t bytes;  // per pixel
    uint8_t* at(int x, int y, int z = 0) const {
        return data + ((size_t(z) * height + y) * width + x) * bytes;
    }
};

}  // namespace

#define IL_FL_PIXELS_OR_RETURN(result)                                               \
    if (resetCheck() != ilOK) return result;                                         \
    pixels->beginOperations();                                                       \
    Pixels px{static_cast<uint8_t*>(pixels->getImageData()), size.x, size.y, size.z, \
              size_t(ilDataSize(dataType, size.c))};                                 \
    if (!px.data || px.bytes == 0) return result;

ilStatus ilFLMemoryImg::HorizontalFlip() {
    IL_FL_PIXELS_OR_RETURN(status == ilOK ? ilNotConfigured : status)
    if (order != ilInterleaved && size.c > 1) return ilUnsupported;
    std::vector<uint8_t> swap(px.bytes);
    for (int z = 0; z < px.depth; ++z)
        for (int y = 0; y < px.height; ++y)
            for (int l = 0, r = px.width - 1; l < r; ++l, --r) {
                std::memcpy(swap.data(), px.at(l, y, z), px.bytes);
                std::memcpy(px.at(l, y, z), px.at(r, y, z), px.bytes);
                std::memcpy(px.at(r, y, z), swap.data(), px.bytes);
            }
    setAltered(ilAlterPixelsOnly);
    return ilOK;
}

ilStatus ilFLMemoryImg::VerticalFlip() {
    IL_FL_PIXELS_OR_RETURN(status == ilOK ? ilNotConfigured : status)
    if (order != ilInterleaved && size.c > 1) return ilUnsupported;
    const size_t row = px.bytes * size_t(px.width);
    std::vector<uint8_t> swap(row);
    for (int z = 0; z < px.depth; ++z)
        for (int b = 0, t = px.height - 1; b < t; ++b, --t) {
            std::memcpy(swap.data(), px.at(0, b, z), row);
            std::memcpy(px.at(0, b, z), px.at(0, t, z), row);
            std::memcpy(px.at(0, t, z), swap.data(), row);
        }
    setAltered(ilAlterPixelsOnly);
    return ilOK;
}

void ilFLMemoryImg::RotateDimensions() {
    resetCheck();
    std::swap(size.x, size.y);
    initPageSize(size.x, size.y, size.z, 0);
    setAltered(ilAlterPixelsOnly);
}

namespace {

// A quarter turn of one plane into dest, which is height by width: turning left (counter-clockwise
// with y upward) sends (x, y) to (height - 1 - y, x), turning right to (y, width - 1 - x).
void quarterTurn(const Pixels& from, uint8_t* dest, int z, bool left) {
    const int w = from.width, h = from.height;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const int nx = left ? h - 1 - y : y, ny = left ? x : w - 1 - x;
            std::memcpy(dest + (size_t(ny) * h + nx) * from.bytes, from.at(x, y, z), from.bytes);
        }
}

}  // namespace

#define IL_FL_QUARTER_TURN(left)                                      \
    IL_FL_PIXELS_OR_RETURN(status == ilOK ? ilNotConfigured : status) \
    if (order != ilInterleaved && size.c > 1) return ilUnsupported;   \
    const size_t plane = px.bytes * size_t(px.width) * px.height;     \
    std::vector<uint8_t> turned(plane);                               \
    for (int z = 0; z < px.depth; ++z) {                              \
        quarterTurn(px, turned.data(), z, left);                      \
        std::memcpy(px.data + plane * z, turned.data(), plane);       \
    }                                                                 \
    RotateDimensions();                                               \
    return ilOK;

ilStatus ilFLMemoryImg::SimpleRotateLeft(){IL_FL_QUARTER_TURN(true)}

ilStatus ilFLMemoryImg::SimpleRotateRight(){IL_FL_QUARTER_TURN(false)}
#undef IL_FL_QUARTER_TURN

ilStatus ilFLMemoryImg::ForceAlphaValid() {
    IL_FL_PIXELS_OR_RETURN(status == ilOK ? ilNotConfigured : status)
    if (dataType != ilUChar || size.c != 4 || order != ilInterleaved) return ilUnsupported;
    const size_t count = size_t(px.width) * px.height * px.depth;
    uint8_t* p = px.data;
    for (size_t i = 0; i < count; ++i, p += 4) {
        const uint8_t a = p[3];
        p[0] = std::min(p[0], a), p[1] = std::min(p[1], a), p[2] = std::min(p[2], a);
    }
    setAltered(ilAlterPixelsOnly);
    return ilOK;
}

ilFLMemoryImg* ilFLMemoryImg::BoxFilter(float factor) {
    if (!(factor > 1e-5f && factor < 1.0f)) return nullptr;
    // Snapped to the power of two at or above the factor. (0.3 therefore halves: the snapping
    // rule, not the nearer quarter.)
    int shift;
    if (factor <= 0.0625f)
        shift = 4;
    else if (factor <= 0.125f)
        shift = 3;
    else if (factor <= 0.25f)
        shift = 2;
    else if (factor <= 0.5f)
        shift = 1;
    else
        return nullptr;
    IL_FL_PIXELS_OR_RETURN(nullptr)
    if (dataType != ilUChar || size.c != 4 || order != ilInterleaved) return nullptr;
    const int w = std::max(size.x >> shift, 1), h = std::max(size.y >> shift, 1);
    if (w == size.x && h == size.y) return nullptr;
    auto* result = new ilFLMemoryImg(ilSize(w, h, 1, 4), ilUChar, ilInterleaved);
    result->pixels->beginOperations();
    auto* out = static_cast<uint8_t*>(result->getDataPtr());
    if (!out) {
        delete result;
        return nullptr;
    }
    const int block = 1 << shift;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            // A block at the edge of an image whose size is no multiple of it is averaged over
            // the pixels it has.
            const int x0 = x * block, y0 = y * block;
            const int x1 = std::min(x0 + block, size.x), y1 = std::min(y0 + block, size.y);
            unsigned sum[4] = {};
            for (int j = y0; j < y1; ++j)
                for (int i = x0; i < x1; ++i)
                    for (int c = 0; c < 4; ++c)
                        sum[c] += px.at(i, j)[c];
            const unsigned n = unsigned((x1 - x0) * (y1 - y0));
            for (int c = 0; c < 4; ++c)
                out[(size_t(y) * w + x) * 4 + c] = uint8_t((sum[c] + n / 2) / n);
        }
    return result;
}

void ilFLMemoryImg::BoxFilter1_4(unsigned char* dest) {
    IL_FL_PIXELS_OR_RETURN()
    if (!dest || dataType != ilUChar || size.c != 1) return;
    const int w = size.x / 4, h = size.y / 4;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            unsigned sum = 0;
            for (int j = 0; j < 4; ++j)
                for (int i = 0; i < 4; ++i)
                    sum += *px.at(x * 4 + i, y * 4 + j);
            dest[size_t(y) * w + x] = uint8_t((sum + 8) / 16);
        }
}

void ilFLMemoryImg::MarchingAntsPreProcess(unsigned char threshold, ilTile* tile, ilTile* bounds) {
    IL_FL_PIXELS_OR_RETURN()
    if (dataType != ilUChar || size.c != 1) return;
    ilTile t = tile ? *tile : ilTile(0, 0, 0, size.x, size.y, 1);
    t.cropTo(ilTile(0, 0, 0, size.x, size.y, 1));
    int minX = t.x + t.nx, minY = t.y + t.ny, maxX = -1, maxY = -1;
    if (!t.empty()) {
        // The sides are judged before any mark is written, so a mark does not read as a crossing.
        std::vector<uint8_t> above(size_t(t.nx) * t.ny);
        for (int y = 0; y < t.ny; ++y)
            for (int x = 0; x < t.nx; ++x) {
                uint8_t* p = px.at(t.x + x, t.y + y);
                *p = std::min<uint8_t>(*p, 254);
                above[size_t(y) * t.nx + x] = *p >= threshold;
            }
        auto mark = [&](int x, int y) {
            *px.at(t.x + x, t.y + y) = 255;
            minX = std::min(minX, t.x + x), maxX = std::max(maxX, t.x + x);
            minY = std::min(minY, t.y + y), maxY = std::max(maxY, t.y + y);
        };
        for (int y = 0; y < t.ny; ++y)
            for (int x = 1; x < t.nx; ++x)
                if (above[size_t(y) * t.nx + x] != above[size_t(y) * t.nx + x - 1]) mark(x, y);
        for (int x = 0; x < t.nx; ++x)
            for (int y = 1; y < t.ny; ++y)
                if (above[size_t(y) * t.nx + x] != above[size_t(y - 1) * t.nx + x]) mark(x, y);
    }
    if (bounds)
        *bounds = maxX < 0 ? ilTile(0, 0, 0, 0, 0, 1)
                           : ilTile(minX, minY, 0, maxX - minX + 1, maxY - minY + 1, 1);
    setAltered(ilAlterPixelsOnly);
}

void ilFLMemoryImg::MarchingAntsApply(const unsigned char* mask, unsigned int phase, ilTile* tile) {
    IL_FL_PIXELS_OR_RETURN()
    if (!mask || dataType != ilUChar || size.c != 4) return;
    ilTile t = tile ? *tile : ilTile(0, 0, 0, size.x, size.y, 1);
    t.cropTo(ilTile(0, 0, 0, size.x, size.y, 1));
    if (t.empty()) return;
    unsigned counter = phase + 1;
    for (int y = t.y; y < t.y + t.ny; ++y, ++counter)
        for (int x = t.x; x < t.x + t.nx; ++x) {
            const uint32_t word = !mask[size_t(y) * size.x + x]       ? 0u
                                  : ((unsigned(x) + counter) & 7) < 4 ? 0xFF000000u
                                                                      : 0xFFFFFFFFu;
            std::memcpy(px.at(x, y), &word, 4);
        }
    setAltered(ilAlterPixelsOnly);
}

#undef IL_FL_PIXELS_OR_RETURN
