// A window onto another image: a box of it seen with its own channel selection and coordinate
// space. All tile work is forwarded to the input, which must stay alive as long as the window.
#pragma once

#include "pigment/frame/ilImage.h"

class ilSubImg : public ilImage {
  public:
    IL_IMAGE_CLASS_IDENTITY()

    // The whole input. A cfg names the channels (by offset or list), type, order, space and model
    // the window shows; its list is copied.
    explicit ilSubImg(ilImage* image, ilConfig* cfg = nullptr);
    // A window of nx by ny at x, y; sizes passed here are kept, the others follow the input.
    ilSubImg(ilImage* image, int x, int y, int nx, int ny, ilConfig* cfg = nullptr);
    ilSubImg(ilImage* image, int x, int y, int z, int nx, int ny, int nz, ilConfig* cfg = nullptr);
    ilSubImg(ilImage* image, int x, int y, int z, int c, int nx, int ny, int nz, int nc,
             ilConfig* cfg = nullptr);
    ~ilSubImg() override;
    ilSubImg(const ilSubImg&) = delete;
    ilSubImg& operator=(const ilSubImg&) = delete;

    void reset() override;
    const char* getDefaultDescription() const override { return "Sub Image"; }

    ilStatus getSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus setSubTile3D(int x, int y, int z, int nx, int ny, int nz, void* data, int bx, int by,
                          int bz, int bnx, int bny, int bnz, ilConfig* cfg = nullptr) override;
    ilStatus copyTileCfg(int x, int y, int z, int nx, int ny, int nz, ilImage* other, int ox,
                         int oy, int oz, ilConfig* cfg, int direction) override;
    // The input's answer, or 0 without an input.
    int hasPages() override;

    void getStart(int& x, int& y, int& z) const { x = startX, y = startY, z = startZ; }
    void getStart(int& x, int& y, int& z, int& c) const {
        x = startX, y = startY, z = startZ, c = startC;
    }
    // The window's origin in the input; the first form also starts at channel 0.
    ilStatus setStart(int x, int y, int z);
    ilStatus setStart(int x, int y, int z, int c);
    // Takes a copy of cfg and of its channel list; null gives the configuration back to the
    // input, from which the next reset derives it.
    ilStatus setConfig(const ilConfig* cfg);

  protected:
    // Shared end of the constructors: the attributes a window may take, its one input, its
    // origin and its configuration.
    void init(ilImage* image, int x, int y, int z, int c, ilConfig* cfg);
    // The config for talking to the input: the caller's (or the window's own) with the window's
    // channel map applied. flag tells freeConfig what it owns: 1 the record, -1 record and list.
    ilConfig* composeConfig(ilConfig* cfg, int& flag);
    // The input channel that window channel w shows, or -1 outside the window.
    int inputChannel(int w) const;
    // The shared road of reads and writes: clip to the window, move into the input, forward.
    ilStatus forward(ilTile tile, void* data, ilTile box, ilConfig* cfg, bool write);
    void freeConfig(ilConfig* cfg, int flag);

    int startX = 0, startY = 0, startZ = 0, startC = 0;
    // Its chanList is owned (nChans entries) and always indexed from 0.
    ilConfig config = ilConfig(static_cast<ilType>(0), static_cast<ilOrder>(0), 0, nullptr, 0,
                               ilSpaceDefault, ilUnknownModel);

  private:
    // Writes the fill pixel over the whole of box in the caller's buffer, laid out as cfg says.
    void fillBuffer(void* data, const ilTile& box, const ilConfig* cfg);
    // The tile and buffer box of a request, carried from the caller's space into the input's.
    void toInput(ilImage* input, ilTile& tile, ilTile& box, const ilConfig* cfg,
                 ilCoordSpace inputSpace);
};
