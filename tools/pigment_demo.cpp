// The canvas at work: a large smart image painted through tile writes under a small page budget,
// a snapshot taken through a seed, the canvas changed, and both written as PNG previews.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "PngWriter.h"
#include "pigment/pigment.h"

namespace {

struct Options {
    int size = 16384;
    int budgetMiB = 64;
    int preview = 1024;
    std::string snapshot = "pigment_snapshot.png";
    std::string canvas = "pigment_canvas.png";
};

void usage() {
    std::printf(
        "usage: pigment_demo [--size N] [--budget MiB] [--preview W] [--snapshot FILE] "
        "[--canvas FILE]\n"
        "  --size      edge of the square canvas in pixels (default 16384)\n"
        "  --budget    page cache budget in MiB, at least 16 (default 64)\n"
        "  --preview   edge of the PNG previews (default 1024)\n"
        "  --snapshot  the picture as it was at the snapshot (default pigment_snapshot.png)\n"
        "  --canvas    the picture after the changes (default pigment_canvas.png)\n");
}

bool parse(int argc, char** argv, Options& o) {
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--help" || a == "-h") return false;
        if (i + 1 >= argc) return false;
        const char* v = argv[++i];
        if (a == "--size")
            o.size = std::atoi(v);
        else if (a == "--budget")
            o.budgetMiB = std::atoi(v);
        else if (a == "--preview")
            o.preview = std::atoi(v);
        else if (a == "--snapshot")
            o.snapshot = v;
        else if (a == "--canvas")
            o.canvas = v;
        else
            return false;
    }
    o.preview = std::clamp(o.preview, 16, 8192);
    // The preview averages whole boxes, so the canvas is a multiple of the preview.
    o.size = std::clamp(o.size, o.preview, 100000) / o.preview * o.preview;
    return o.budgetMiB > 0;
}

// The host's memory probes, in kilobytes. The demo plays a small machine under pressure: four
// times the budget in all and little to spare, so the cache keeps to its budget instead of growing
// into free memory.
int budgetKB = 0;
int totalMemoryKB() {
    return 4 * budgetKB;
}
int availMemoryKB() {
    return 32 * 1024;
}

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

void printCache(const char* when) {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    std::printf(
        "  [%s] budget %lld MiB, in memory %lld MiB (%d big pages), swapped %d, hits %d, "
        "misses %d\n",
        when, static_cast<long long>(cache->GetBudget() >> 20),
        static_cast<long long>(cache->GetBytesInMemory() >> 20), cache->GetBigCount(),
        cache->GetSwappedCount(), cache->GetHits(), cache->GetMisses());
    std::fflush(stdout);
}

uint32_t pack(float r, float g, float b) {
    auto c = [](float v) { return static_cast<uint32_t>(std::clamp(v, 0.0f, 255.0f)); };
    return c(r) | c(g) << 8 | c(b) << 16 | 0xffu << 24;
}

// A lake below mountains under an evening sky. Rows count upwards (the canvas's origin is at the
// lower left); everything is a function of the pixel position.
class Landscape {
  public:
    explicit Landscape(int size) : n(size), ridges(3, std::vector<float>(size)) {
        for (int layer = 0; layer < 3; ++layer)
            for (int x = 0; x < n; ++x) {
                float u = static_cast<float>(x) / n;
                float h = 0.50f + 0.07f * layer;
                h += 0.05f * std::sin(u * (7.0f + 3 * layer) + layer * 1.7f);
                h += 0.025f * std::sin(u * (23.0f + 5 * layer) + layer);
                h += 0.008f * std::sin(u * 97.0f + layer * 4.0f);
                ridges[2 - layer][x] = h;  // nearest layer last
            }
    }

    void row(int y, int x0, int count, uint32_t* out) const {
        const float v = static_cast<float>(y) / n;
        if (v >= kHorizon) {
            for (int i = 0; i < count; ++i)
                out[i] = land(x0 + i, v);
        } else {
            // The lake mirrors the land with ripples that shift the mirrored column.
            const float mirrored = 2 * kHorizon - v;
            const float depth = (kHorizon - v) / kHorizon;
            const int shift = static_cast<int>(n * 0.004f * std::sin(v * 900.0f) * (0.3f + depth));
            for (int i = 0; i < count; ++i) {
                int x = std::clamp(x0 + i + shift, 0, n - 1);
                uint32_t c = land(x, mirrored);
                float k = 0.55f - 0.25f * depth;
                out[i] = pack((c & 0xff) * k, (c >> 8 & 0xff) * k + 8, (c >> 16 & 0xff) * k + 22);
            }
        }
    }

    // Above the water: three mountain ridges, nearest first, in front of the evening sky and sun.
    uint32_t land(int x, float v) const {
        static const float tint[3][3] = {{96, 70, 120}, {62, 44, 92}, {30, 22, 52}};
        for (int layer = 2; layer >= 0; --layer)
            if (v < ridges[layer][x]) {
                int l = 2 - layer;
                float shade = 1.0f - 0.6f * (ridges[layer][x] - v);
                return pack(tint[l][0] * shade, tint[l][1] * shade, tint[l][2] * shade);
            }
        const float u = static_cast<float>(x) / n;
        const float t = std::clamp((v - kHorizon) / (1 - kHorizon), 0.0f, 1.0f);
        float r = 250 - 225 * t, g = 150 - 115 * t, b = 70 + 30 * t;
        const float du = u - 0.66f, dv = v - 0.62f;
        const float d = std::sqrt(du * du + dv * dv);
        if (d < 0.045f) return pack(255, 236, 170);
        const float glow = std::exp(-(d - 0.045f) * 14.0f);
        return pack(r + 120 * glow, g + 90 * glow, b + 40 * glow);
    }

    static constexpr float kHorizon = 0.38f;

  private:
    int n;
    std::vector<std::vector<float>> ridges;
};

// Paints the whole canvas in 1024 x 1024 tiles, reporting the cache as it goes.
void paint(ilSmartImage& canvas, const Landscape& scene, int size) {
    const int tile = 1024;
    std::vector<uint32_t> buffer(static_cast<size_t>(tile) * tile);
    for (int ty = 0; ty < size; ty += tile) {
        const int th = std::min(tile, size - ty);
        for (int tx = 0; tx < size; tx += tile) {
            const int tw = std::min(tile, size - tx);
            for (int j = 0; j < th; ++j)
                scene.row(ty + j, tx, tw, &buffer[static_cast<size_t>(j) * tw]);
            canvas.setTile(tx, ty, tw, th, buffer.data());
        }
        if ((ty / tile) % 4 == 3 || ty + tile >= size) {
            std::printf("  painted rows %d..%d of %d\n", 0, ty + th - 1, size);
            printCache("painting");
        }
    }
}

// Night falls on the live canvas: stars and a moon over the sky, drawn as small tile writes.
// Only the pages they touch are cloned away from the snapshot.
void changeCanvas(ilSmartImage& canvas, int size) {
    std::mt19937 rng(2026);
    std::uniform_real_distribution<float> unit(0.0f, 1.0f);
    const int skyFrom = static_cast<int>(size * 0.78f);
    ilConfig rgba(ilUChar, ilInterleaved, 4);
    for (int i = 0; i < 1400; ++i) {
        int s = 2 + static_cast<int>(unit(rng) * size / 1500.0f);
        int x = static_cast<int>(unit(rng) * (size - s));
        int y = skyFrom + static_cast<int>(unit(rng) * (size - skyFrom - s));
        uint32_t white = pack(255, 250, 235);
        canvas.fillTile(x, y, s, s, &white, &rgba);
    }
    // The moon: a disc with a darker crescent cut, read, blended and written back.
    const int r = size / 22, cx = size / 5, cy = static_cast<int>(size * 0.86f);
    std::vector<uint32_t> disc(static_cast<size_t>(2 * r) * 2 * r);
    canvas.getTile(cx - r, cy - r, 2 * r, 2 * r, disc.data());
    for (int j = 0; j < 2 * r; ++j)
        for (int i = 0; i < 2 * r; ++i) {
            float dx = i - r + 0.5f, dy = j - r + 0.5f;
            float d = std::sqrt(dx * dx + dy * dy);
            float cut =
                std::sqrt((dx - r * 0.45f) * (dx - r * 0.45f) + (dy - r * 0.2f) * (dy - r * 0.2f));
            if (d < r && cut > r * 0.85f)
                disc[static_cast<size_t>(j) * 2 * r + i] = pack(245, 240, 215);
        }
    canvas.setTile(cx - r, cy - r, 2 * r, 2 * r, disc.data());
    // A dark frame around the picture, filled in one call: whole pages become solid.
    uint32_t frame = pack(18, 16, 24);
    const int m = size / 40;
    ilTile inner(m, m, size - 2 * m, size - 2 * m);
    canvas.fillTile(0, 0, size, size, &frame, &rgba, &inner);
}

// Box-averages the image down to preview x preview pixels, top row first, for the PNG.
std::vector<unsigned char> preview(ilImage& image, int size, int edge) {
    const int box = size / edge;
    std::vector<unsigned char> out(static_cast<size_t>(edge) * edge * 4);
    std::vector<uint32_t> strip(static_cast<size_t>(size) * box);
    std::vector<uint64_t> sums(static_cast<size_t>(edge) * 4);
    for (int py = 0; py < edge; ++py) {
        image.getTile(0, py * box, size, box, strip.data());
        std::fill(sums.begin(), sums.end(), 0);
        for (int j = 0; j < box; ++j)
            for (int x = 0; x < size; ++x) {
                uint32_t c = strip[static_cast<size_t>(j) * size + x];
                uint64_t* s = &sums[static_cast<size_t>(x / box) * 4];
                s[0] += c & 0xff, s[1] += c >> 8 & 0xff, s[2] += c >> 16 & 0xff, s[3] += c >> 24;
            }
        unsigned char* row = &out[static_cast<size_t>(edge - 1 - py) * edge * 4];
        const uint64_t area = static_cast<uint64_t>(box) * box;
        for (int i = 0; i < edge * 4; ++i)
            row[i] = static_cast<unsigned char>(sums[i] / area);
    }
    return out;
}

}  // namespace

int main(int argc, char** argv) {
    Options o;
    if (!parse(argc, argv, o)) {
        usage();
        return 2;
    }
    budgetKB = o.budgetMiB * 1024;
    PigmentCB()->totalPhysicalMemory = totalMemoryKB;
    PigmentCB()->availPhysicalMemory = availMemoryKB;
    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->SetBudget(static_cast<int64_t>(o.budgetMiB) << 20);
    const char* swapDir = std::getenv("SID_TEMP_DIR") ? std::getenv("SID_TEMP_DIR")
                          : std::getenv("TMP")        ? std::getenv("TMP")
                                                      : "the system's temporary directory";
    std::printf(
        "libPigment demo: a %d x %d canvas (%lld MiB of pixels) under a %lld MiB page "
        "budget; swap files go to %s\n",
        o.size, o.size, static_cast<long long>(o.size) * o.size * 4 >> 20,
        static_cast<long long>(cache->GetBudget() >> 20), swapDir);

    auto start = std::chrono::steady_clock::now();
    ilPixel transparent(ilUChar, 4);
    for (int c = 0; c < 4; ++c)
        transparent.setElem(0, c);
    auto* canvas = new ilSmartImage(transparent);
    vl::TempReference<ilImage> canvasRef(canvas);
    Landscape scene(o.size);
    std::printf("Painting the landscape through tile writes...\n");
    paint(*canvas, scene, o.size);
    std::printf("  painted in %.2f s\n", seconds(start));

    start = std::chrono::steady_clock::now();
    auto* snapshot = new ilSmartImage(canvas, 0, 0, 0, 0);
    vl::TempReference<ilImage> snapshotRef(snapshot);
    snapshot->ReferenceSeedPages(nullptr);
    int solid = 0;
    int pages = snapshot->GetNumPages(solid);
    std::printf("Snapshot through a seed: %d pages shared (%d of them solid) in %.3f s\n", pages,
                solid, seconds(start));

    start = std::chrono::steady_clock::now();
    changeCanvas(*canvas, o.size);
    std::printf("Night falls on the canvas (stars, moon, a frame) in %.2f s\n", seconds(start));
    printCache("changed");

    start = std::chrono::steady_clock::now();
    std::printf("Writing %s and %s (%d x %d)...\n", o.snapshot.c_str(), o.canvas.c_str(), o.preview,
                o.preview);
    bool ok =
        writePng(o.snapshot.c_str(), o.preview, o.preview, preview(*snapshot, o.size, o.preview)) &&
        writePng(o.canvas.c_str(), o.preview, o.preview, preview(*canvas, o.size, o.preview));
    std::printf("  previews %s in %.2f s\n", ok ? "written" : "FAILED", seconds(start));
    printCache("done");
    DumpSwapInfo();
    return ok ? 0 : 1;
}
