// Mapping between coordinate spaces: which of the eight origins and axis orders a space has, and
// how tiles, points, directions and sizes move from one space to another.
#pragma once

#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTypes.h"

// The space that results from one mirror in X or Y, or from exchanging the axes; index 0 behaves
// like ilLowerLeft. Unknown numbers answer ilSpaceDefault.
ilCoordSpace ilSpaceMirrorX(int space);
ilCoordSpace ilSpaceMirrorY(int space);
ilCoordSpace ilSpaceExchange(int space);

// The three facts of a space: origin low in Y, origin at the left, axes exchanged.
bool ilSpaceOriginLow(int space);
bool ilSpaceOriginLeft(int space);
bool ilSpaceExchanged(int space);

// How a map from one space to another mirrors (ilFlip mask) and whether it exchanges the axes.
void ilSpaceFlipTrans(int from, int to, int& flip, int& transpose);
// True when going from one space to the other reverses handedness.
bool ilSpaceIsMirror(int from, int to);

// Each map exchanges first, then mirrors within size, given in the target space's axes.
void ilSpaceMapTile(int from, int to, const ilSize& size, ilTile& tile);
void ilSpaceMapTile(int from, int to, const ilSize& size, ilTileFloat& tile);
void ilSpaceMapXY(int from, int to, const ilSize& size, float& x, float& y);
void ilSpaceMapXY(int from, int to, const ilSize& size, int& x, int& y);
void ilSpaceMapXYSign(int from, int to, float& x, float& y);
void ilSpaceMapXYSign(int from, int to, int& x, int& y);
void ilSpaceMapSize(int from, int to, ilSize& size);
