#include "pigment/frame/ilConfig.h"

void ilConfig::invert(int n, int* out) const {
    for (int k = 0; k < n; ++k)
        out[k] = -1;
    for (int i = 0; i < nChans; ++i) {
        int c = mapChan(i);
        if (c >= 0 && c < n) out[c] = i;
    }
}

bool ilConfig::isInvertable() const {
    for (int i = 0; i < nChans; ++i) {
        int c = mapChan(i);
        if (c < 0) continue;
        for (int j = i + 1; j < nChans; ++j)
            if (mapChan(j) == c) return false;
    }
    return true;
}

void ilConfig::compose(int n, const int* in, int* out) const {
    for (int k = 0; k < n; ++k)
        out[k] = mapChan(in[k]);
}
