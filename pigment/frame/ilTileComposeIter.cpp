#include "pigment/frame/ilTileComposeIter.h"

#include <algorithm>

ilTileComposeIter::ilTileComposeIter(const ilTile& a, const ilTile& b, ilCompose compose)
    : ilTile(a) {
    aEmpty = a.empty();
    xMin = a.x, xMax = a.x + a.nx - 1;
    yMin = a.y, yMax = a.y + a.ny - 1;
    zMin = a.z, zMax = a.z + a.nz - 1;
    bEmpty = b.empty();
    bxMin = b.x, bxMax = b.x + b.nx - 1;
    byMin = b.y, byMax = b.y + b.ny - 1;
    bzMin = b.z, bzMax = b.z + b.nz - 1;
    if (compose == ilAOutB) moreFn = &ilTileComposeIter::moreAOutB;
}

void ilTileComposeIter::deliver(int x0, int x1, int y0, int y1, int z0, int z1) {
    set(x0, y0, z0, x1 - x0 + 1, y1 - y0 + 1, z1 - z0 + 1);
}

bool ilTileComposeIter::moreAOutB() {
    while (state >= 0) {
        bool produced = false;
        switch (state) {
            case 0:
                if (aEmpty) {
                    state = -1;
                    return false;
                }
                if (bEmpty) {
                    deliver(xMin, xMax, yMin, yMax, zMin, zMax);
                    state = -1;
                    return true;
                }
                break;
            case 1:
                if (zMin < bzMin) {
                    int top = std::min(zMax, bzMin - 1);
                    deliver(xMin, xMax, yMin, yMax, zMin, top);
                    zMin = top + 1;
                    produced = true;
                }
                break;
            case 2:
                if (zMax > bzMax) {
                    int bottom = std::max(zMin, bzMax + 1);
                    deliver(xMin, xMax, yMin, yMax, bottom, zMax);
                    zMax = bottom - 1;
                    produced = true;
                }
                break;
            case 3:
                if (yMin < byMin) {
                    int top = std::min(yMax, byMin - 1);
                    deliver(xMin, xMax, yMin, top, zMin, zMax);
                    yMin = top + 1;
                    produced = true;
                }
                break;
            case 4:
                if (yMax > byMax) {
                    int bottom = std::max(yMin, byMax + 1);
                    deliver(xMin, xMax, bottom, yMax, zMin, zMax);
                    yMax = bottom - 1;
                    produced = true;
                }
                break;
            case 5:
                if (xMin < bxMin) {
                    int top = std::min(xMax, bxMin - 1);
                    deliver(xMin, top, yMin, yMax, zMin, zMax);
                    xMin = top + 1;
                    produced = true;
                }
                break;
            case 6:
                if (xMax > bxMax) {
                    int bottom = std::max(xMin, bxMax + 1);
                    deliver(bottom, xMax, yMin, yMax, zMin, zMax);
                    xMax = bottom - 1;
                    produced = true;
                }
                break;
            default:
                // The remainder is A within B, which is not part of the answer.
                state = -1;
                return false;
        }
        if (xMin > xMax || yMin > yMax || zMin > zMax)
            state = -1;
        else
            ++state;
        if (produced) return true;
    }
    return false;
}
