// A pixel-by-pixel transfer written straight from the engine's rules, slow and plain, against
// which the engine's planner, fast path and kernels are compared.
#pragma once

#include "pigment/frame/ilTileBlock_p.h"

// Moves source into dest one element at a time: region, source box and exclusion per pixel,
// channels matched by logical number, layouts from first principles, the conversion rule per value.
void referenceTransfer(const ilTileBlock& dest, const ilTileBlock& source);
