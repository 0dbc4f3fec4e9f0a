// Sets a tile iterator to the page grid of an image: the tile mapped into the image's space and
// clipped to it, the image's page size and border, and the channels a config selects.
#pragma once

#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilImage.h"
#include "pigment/frame/ilTileIter.h"

// The image must be up to date (its resetCheck has run). Only pages whose inner part meets the
// tile are walked: a neighbour that holds the tile's pixels in its border alone is left out.
inline void ilSetPageGrid(ilTileIter& iter, ilImage* image, ilTile tile, const ilConfig* cfg) {
    if (cfg && cfg->coordSpace) image->mapTile(tile, cfg->coordSpace);
    image->clipTile(tile, 0);
    ilSize page = image->getPageSize();
    int bx, by, bz;
    image->getPageBorder(bx, by, bz);
    iter.setPageSize(page.x, page.y, page.z, page.c);
    iter.setPageBorder(bx, by, bz, 0);
    iter.setTile(tile, image->getNumChans(), cfg, 0);
}
