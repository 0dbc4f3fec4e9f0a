// Pixel moves between a caller's buffer and one smart page (resident memory or a solid value),
// done by the frame's transfer engine directly on the page so that no view image is bound.
#pragma once

#include <cstdint>

#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilPixel.h"
#include "pigment/frame/ilTile.h"

// A caller's buffer as a tile operation sees it, with its box already in the image's space.
struct SmartBuffer {
    void* data = nullptr;
    ilTile box;
    ilType type = ilUChar;
    ilOrder order = ilInterleaved;
    int nChans = 0;
    int chanOffset = 0;
    const int* chanList = nullptr;
    int flipX = 0, flipY = 0, exchange = 0;

    // Type, order and channels from the config where it sets them, else the image's.
    void describe(void* data, const ilTile& box, const ilConfig* cfg, int imageChans);
};

// Buffer <- page memory (128 x 128 bytes or words with origin px, py, standing in plane pz, the
// plane the tile asks for: pages have no depth), over region only.
void SmartPageRead(SmartBuffer& buffer, const ilTile& region, const unsigned char* page, int px,
                   int py, int pz, int nc);
// Buffer <- one value everywhere in region.
void SmartSolidRead(SmartBuffer& buffer, const ilTile& region, const ilPixel& value);
// Page memory <- buffer, over region only.
void SmartPageWrite(unsigned char* page, int px, int py, int pz, int nc, const ilTile& region,
                    SmartBuffer& buffer);
// Page memory <- pixel (of the image's type, one entry per buffer channel) over region, sparing
// exclude when it is given.
void SmartPageFill(unsigned char* page, int px, int py, int pz, int nc, const ilTile& region,
                   const ilPixel& pixel, const int* chanList, int chanOffset,
                   const ilTile* exclude);

// Whether a write through cfg sets every one of the image's nc channels.
bool SmartConfigCoversChannels(const ilConfig* cfg, int nc);
// Whether cfg leaves the image's channels as they are: none given, or all of them in order.
bool SmartConfigIsIdentity(const ilConfig* cfg, int nc);
