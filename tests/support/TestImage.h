// A small image kind for tests of the frame: pixels kept as doubles in a vector, read and written
// element by element, with counters of the calls that reach it.
#pragma once

#include <string>
#include <vector>

#include "pigment/frame/ilElem_p.h"
#include "pigment/frame/ilImage.h"

class TestImage : public ilImage {
  public:
    IL_IMAGE_CLASS_IDENTITY()

    TestImage(int x, int y, int c, ilType type = ilFloat, std::vector<std::string>* log = nullptr,
              const char* name = "")
        : log_(log), name_(name) {
        size = ilSize(x, y, 1, c);
        dataType = type;
        order = ilInterleaved;
        maxInputs = 4;
        setAllowed(ilAttrDataType | ilAttrOrder | ilAttrXsize | ilAttrYsize | ilAttrZsize |
                   ilAttrCsize | ilAttrCoordSpace | ilAttrColorModel | ilAttrPageSize |
                   ilAttrPageBorder | ilAttrCompression);
        pixels_.assign(static_cast<size_t>(x) * y * c, 0.0);
    }

    void reset() override {
        ++resets;
        if (log_) log_->push_back(name_);
        if (failReset) status = ilBadInput;
        if (reenter) resetCheckDuringReset = resetCheck();
        pixels_.resize(static_cast<size_t>(size.x) * size.y * size.c, 0.0);
        initColorModel(0);
        initMinMax(0);
        initPageSize(size.x, size.y, 1, 0);
        checkColorModel();
        ilImage::reset();
    }
    void alterAction() override { ++alterActions; }

    double& at(int x, int y, int c) {
        return pixels_[(static_cast<size_t>(y) * size.x + x) * size.c + c];
    }

    // Interleaved buffers of the config's type and channels; a channel list or offset picks image
    // channels. Pixels outside the image read as the fill.
    ilStatus getSubTile3D(int x, int y, int, int nx, int ny, int, void* data, int bx, int by, int,
                          int bnx, int bny, int, ilConfig* cfg) override {
        ilStatus s = resetCheck();
        ++tileReads;
        if (s != ilOK) return s;
        walk(x, y, nx, ny, bx, by, bnx, bny, cfg, [&](int ix, int iy, int c, long bi, ilType t) {
            double v =
                ix < 0 || iy < 0 || ix >= size.x || iy >= size.y ? fill.getElem(c) : at(ix, iy, c);
            ilElem::set(t, data, bi, v);
        });
        return ilOK;
    }
    ilStatus setSubTile3D(int x, int y, int, int nx, int ny, int, void* data, int bx, int by, int,
                          int bnx, int bny, int, ilConfig* cfg) override {
        ilStatus s = resetCheck();
        ++tileWrites;
        if (s != ilOK) return s;
        walk(x, y, nx, ny, bx, by, bnx, bny, cfg, [&](int ix, int iy, int c, long bi, ilType t) {
            if (ix >= 0 && iy >= 0 && ix < size.x && iy < size.y)
                at(ix, iy, c) = ilElem::get(t, data, bi);
        });
        return ilOK;
    }

    uint32_t alteredMask() const { return altered; }
    uint32_t chosenMask() const { return setMask; }
    void clearAllowedForTest(uint32_t mask) { clearAllowed(mask); }
    void setFillForTest(const ilPixel& p) { fill = p; }

    int resets = 0, alterActions = 0, tileReads = 0, tileWrites = 0;
    bool failReset = false, reenter = false;
    ilStatus resetCheckDuringReset = ilOK;

  private:
    template <typename F>
    void walk(int x, int y, int nx, int ny, int bx, int by, int bnx, int bny, ilConfig* cfg, F f) {
        ilType t = cfg ? cfg->type : dataType;
        int nc = cfg && cfg->nChans ? cfg->nChans : size.c;
        for (int j = y; j < y + ny; ++j)
            for (int i = x; i < x + nx; ++i) {
                if (i < bx || j < by || i >= bx + bnx || j >= by + bny) continue;
                for (int k = 0; k < nc; ++k) {
                    int c = cfg ? cfg->mapChan(k) : k;
                    if (c < 0 || c >= size.c) continue;
                    f(i, j, c, (static_cast<long>(j - by) * bnx + (i - bx)) * nc + k, t);
                }
            }
    }

    std::vector<double> pixels_;
    std::vector<std::string>* log_;
    std::string name_;
};
