// Canvases in a life of writes, fills, snapshots, merges, deletions and page-outs, now and then on
// a full disk, with every pixel of every live canvas checked against a plain model after each step.
//
// The model: a canvas is its pixels over an area of up to 3 x 3 pages from the origin, all four
// channels and never the fill (every written alpha is 255, so no page can turn back into fill and
// bounds stay the whole area). A snapshot starts as a copy of its seed. A merge gives the seed the
// child's pages, whole, across the box of everything the child has written since it was made. A
// deleted seed hands its children on to its own seed.
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "pigment/base/vlOSFile.h"
#include "pigment/smart/SmartImageCache.h"
#include "pigment/smart/ilSmartImage.h"
#include "support/RandomCases.h"

namespace {

constexpr int kPage = 128;
const unsigned char kClear[4] = {0, 0, 0, 0};

// The merge is protected in the frame; a canvas of the fuzzer may call it.
class Canvas : public ilSmartImage {
  public:
    using ilSmartImage::ilSmartImage;
    ilStatus merge() { return MergeChangesIntoSeed(); }
};

struct Model {
    std::unique_ptr<Canvas> image;
    std::vector<std::uint32_t> pixels;
    ilTile dirty = ilTile(0, 0, 0, 0, 0, 0);
    int seed = -1;
};

class Life {
  public:
    Life(ref::Rng& rng) : rng_(rng) {
        width_ = rng.range(1, 3 * kPage);
        height_ = rng.range(1, 3 * kPage);
        Model root;
        root.image = std::make_unique<Canvas>(ilPixel(ilUChar, 4, kClear));
        root.pixels.resize(size_t(width_) * height_);
        for (auto& p : root.pixels)
            p = word();
        root.image->setTile(0, 0, width_, height_, root.pixels.data());
        models_.push_back(std::move(root));
    }

    void step() {
        switch (rng_.range(0, 7)) {
            case 0:
            case 1:
                write(pick());
                break;
            case 2:
                fill(pick());
                break;
            case 3:
                snapshot(pick());
                break;
            case 4:
                merge(pick());
                break;
            case 5:
                remove(pick());
                break;
            case 6:
                pageOut();
                break;
            default:
                // The disk fills up or frees again; no pixel may be lost either way. The cache
                // finds out by itself, pausing only at the start of a spell of trouble.
                const bool full = rng_.oneIn(2);
                vlOS::setFileFaultsForTest(0, full ? ENOSPC : 0, 0);
                note("disk full", full);
                break;
        }
    }

    // Every pixel of every live canvas against its model.
    void check(int stepNumber) {
        for (size_t i = 0; i < models_.size(); ++i) {
            Model& m = models_[i];
            if (!m.image) continue;
            std::vector<std::uint32_t> got(m.pixels.size());
            m.image->getTile(0, 0, width_, height_, got.data());
            if (got == m.pixels) continue;
            size_t at = 0;
            while (got[at] == m.pixels[at])
                ++at;
            fuzzFail("canvas", "after step " + std::to_string(stepNumber) + " canvas " +
                                   std::to_string(i) + " of " + std::to_string(width_) + "x" +
                                   std::to_string(height_) + " differs first at pixel " +
                                   std::to_string(at % width_) + ", " +
                                   std::to_string(at / width_) + "; the steps:\n" + log_);
        }
    }

    bool alive() const {
        for (const Model& m : models_)
            if (m.image) return true;
        return false;
    }

  private:
    std::uint32_t word() {
        return 0xff000000u | rng_.byte() | rng_.byte() << 8 | rng_.byte() << 16;
    }

    // A live canvas, or -1.
    int pick() {
        const int start = rng_.range(0, int(models_.size()) - 1);
        for (size_t k = 0; k < models_.size(); ++k) {
            const size_t i = (size_t(start) + k) % models_.size();
            if (models_[i].image) return int(i);
        }
        return -1;
    }

    ilTile tile() {
        const int x = rng_.range(0, width_ - 1), y = rng_.range(0, height_ - 1);
        return ilTile(x, y, 0, rng_.range(1, width_ - x), rng_.range(1, height_ - y), 1);
    }

    void put(Model& m, const ilTile& t, const std::uint32_t* data, bool solid) {
        for (int j = 0; j < t.ny; ++j)
            for (int i = 0; i < t.nx; ++i)
                m.pixels[size_t(t.y + j) * width_ + t.x + i] =
                    solid ? *data : data[size_t(j) * t.nx + i];
        m.dirty = ilTileUnion(m.dirty, t);
    }

    void write(int i) {
        if (i < 0) return;
        const ilTile t = tile();
        std::vector<std::uint32_t> data(size_t(t.nx) * t.ny);
        const std::uint32_t base = word();
        for (size_t k = 0; k < data.size(); ++k)
            data[k] = base ^ (std::uint32_t(k) * 2654435761u & 0xffffffu);
        models_[size_t(i)].image->setTile(t.x, t.y, t.nx, t.ny, data.data());
        put(models_[size_t(i)], t, data.data(), false);
        note("write", i, &t);
    }

    void fill(int i) {
        if (i < 0) return;
        const ilTile t = tile();
        const std::uint32_t value = word();
        models_[size_t(i)].image->fillTile(t.x, t.y, t.nx, t.ny, &value);
        put(models_[size_t(i)], t, &value, true);
        note("fill", i, &t);
    }

    void snapshot(int i) {
        if (i < 0 || models_.size() >= 6) return;
        Model child;
        child.image = std::make_unique<Canvas>(models_[size_t(i)].image.get());
        child.image->ReferenceSeedPages(nullptr);
        child.pixels = models_[size_t(i)].pixels;
        child.seed = i;
        models_.push_back(std::move(child));
        note("snapshot of", i);
    }

    void merge(int i) {
        if (i < 0) return;
        Model& child = models_[size_t(i)];
        note("merge", i, &child.dirty);
        const ilStatus s = child.image->merge();
        if (child.seed < 0) {
            if (s != ilBadInputCount)
                fuzzFail("canvas", "a merge without a seed answered " + std::to_string(s));
            return;
        }
        if (s != ilOK) fuzzFail("canvas", "a merge answered " + std::to_string(s));
        Model& seed = models_[size_t(child.seed)];
        // The seed takes the child's fill through setFill, which fills the seed's edge pages
        // beyond its bounds unless they end on a page row: a fill, so part of what the seed has
        // written since it was made.
        if (height_ % kPage) {
            const ilTile edges(0, 0, 0, ((width_ + 126) & ~(kPage - 1)) + 1,
                               ((height_ + 126) & ~(kPage - 1)) + 1, 1);
            if (!ilTile(0, 0, 0, width_, height_, 1).contains(edges))
                seed.dirty = ilTileUnion(seed.dirty, edges);
        }
        const ilTile& d = child.dirty;
        if (d.empty()) return;
        // Whole pages across the box of the child's writes.
        const int x0 = d.x / kPage * kPage, y0 = d.y / kPage * kPage;
        const ilTile pages(x0, y0, 0, (d.x + d.nx + kPage - 1) / kPage * kPage - x0,
                           (d.y + d.ny + kPage - 1) / kPage * kPage - y0, 1);
        const ilTile t(pages, ilTile(0, 0, 0, width_, height_, 1));
        for (int y = t.y; y < t.y + t.ny; ++y)
            for (int x = t.x; x < t.x + t.nx; ++x)
                seed.pixels[size_t(y) * width_ + x] = child.pixels[size_t(y) * width_ + x];
    }

    void remove(int i) {
        if (i < 0) return;
        for (Model& m : models_)
            if (m.seed == i) m.seed = models_[size_t(i)].seed;
        models_[size_t(i)].image.reset();
        models_[size_t(i)].pixels.clear();
        note("delete", i);
    }

    void pageOut() {
        SmartImageCache* cache = SmartImageCache::GetInstance();
        int out = 0;
        for (int n = rng_.range(1, 40); n > 0; --n)
            if (PageData* victim = cache->FindBigVictim()) out += cache->EvictPage(victim);
        note("paged out", out);
    }

    void note(const char* what, int i, const ilTile* t = nullptr) {
        log_ += std::string(what) + " " + std::to_string(i);
        if (t)
            log_ += " " + std::to_string(t->x) + "," + std::to_string(t->y) + " " +
                    std::to_string(t->nx) + "x" + std::to_string(t->ny);
        log_ += "\n";
    }

    ref::Rng& rng_;
    std::string log_;
    int width_ = 1, height_ = 1;
    std::vector<Model> models_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzzHost();
    ref::Rng rng(data, size);
    {
        Life life(rng);
        for (int step = 0; step < 40 && (step == 0 || !rng.exhausted()) && life.alive(); ++step) {
            life.step();
            life.check(step);
        }
    }
    vlOS::setFileFaultsForTest(0, 0, 0);
    return 0;
}
