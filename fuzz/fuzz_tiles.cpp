// Tile reads, writes and fills with random boxes, buffer layouts, channel lists, types and
// coordinate spaces on a memory image, a window over it and a canvas, each against a plain
// reference kept beside it; now and then a tile out at the integer or canvas limits.
#include <algorithm>
#include <climits>
#include <memory>

#include "FuzzSupport.h"
#include "pigment/smart/ilSmartImage.h"
#include "support/TileCases.h"

namespace {

// A tile of up to 16 x 4 near INT_MIN, INT_MAX or the canvas limit, ending by INT_MAX.
ilTile farTile(ref::Rng& rng) {
    static const int64_t anchors[] = {INT_MIN, INT_MAX, -102400, 102400};
    const int nx = rng.range(1, 16), ny = rng.range(1, 4);
    auto place = [&](int extent) {
        const int64_t v = anchors[rng.range(0, 3)] + rng.range(-20, 20);
        return static_cast<int>(std::clamp<int64_t>(v, INT_MIN, int64_t(INT_MAX) - extent));
    };
    const int x = place(nx), y = rng.oneIn(2) ? rng.range(-4, 4) : place(ny);
    return ilTile(x, y, 0, nx, ny, 1);
}

// Far out on the canvas: a read gives its fill, unless a far write may have landed near the limit;
// writes and fills leave the modelled area alone.
std::string farCanvasCase(ref::Rng& rng, ref::Canvas& c, bool& farWritten) {
    const ilTile t = farTile(rng);
    ref::Layout l;
    l.nc = c.r.size.c;
    l.box = t;
    const bool nearLimit = t.x > INT_MIN / 2 && t.x < INT_MAX / 2;
    switch (rng.range(0, 2)) {
        case 0: {
            if (farWritten && nearLimit) return "";
            ref::Image none = c.r;
            none.size = ilSize(0, 0, 0, c.r.size.c);
            ref::Bytes got(size_t(l.bytes()), 0x5a), want = got;
            ref::read(none, l, t, want.data());
            c.image->getTile(t.x, t.y, t.nx, t.ny, got.data());
            const std::string wrong = ref::difference(got, want);
            return wrong.empty() ? "" : "far canvas read " + ref::show(t) + "\n" + wrong;
        }
        case 1: {
            const ref::Bytes data = rng.data(l);
            c.image->setTile(t.x, t.y, t.nx, t.ny, const_cast<unsigned char*>(data.data()));
            break;
        }
        default: {
            const unsigned char value[4] = {rng.byte(), rng.byte(), rng.byte(), rng.byte()};
            c.image->fillTile(t.x, t.y, t.nx, t.ny, value);
            break;
        }
    }
    farWritten = farWritten || nearLimit;
    const int n = c.r.size.x;
    ref::Bytes all(c.r.bytes.size());
    c.image->getTile(c.shift, c.shift, n, n, all.data());
    const std::string wrong = ref::difference(all, c.r.bytes);
    return wrong.empty() ? "" : "far canvas write " + ref::show(t) + " reached the area\n" + wrong;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzHost();
    ref::Rng rng(data, size);
    ref::Image r;
    std::unique_ptr<ilMemoryImg> img = ref::randomImage(rng, r);
    ref::Window w;
    ref::randomWindow(rng, r, *img, w);
    ref::Canvas canvas;
    bool farWritten = false;
    for (int op = 0; op < 24 && (op == 0 || !rng.exhausted()); ++op) {
        const int kind = rng.range(0, 5);
        const bool far = kind >= 3;
        const ilTile at = far ? farTile(rng) : ilTile();
        std::string wrong;
        if (kind == 0 || kind == 3) {
            wrong = ref::memoryTileCase(rng, r, *img, far ? &at : nullptr);
        } else if (kind == 1 || kind == 4) {
            wrong = ref::windowTileCase(rng, r, w, far ? &at : nullptr);
        } else {
            if (!canvas.image) ref::randomCanvas(rng, canvas);
            wrong = kind == 2 ? ref::canvasTileCase(rng, canvas)
                              : farCanvasCase(rng, canvas, farWritten);
        }
        if (!wrong.empty()) fuzzFail("tiles", "op " + std::to_string(op) + ": " + wrong);
    }
    return 0;
}
