#include "pigment/paged/ScaleAxisTable.h"

#include <cmath>

void ScaleAxisTable::clear() {
    positions.clear();
    positions.shrink_to_fit();
    destFirst = destLast = sourceFirst = sourceLast = 0;
}

namespace {
double roundAway(double v) {
    return v < 0 ? std::ceil(v - 0.5) : std::floor(v + 0.5);
}
}  // namespace

void ScaleAxisTable::build(int first, int last, int size) {
    clear();
    if (last <= first) return;
    sourceFirst = first;
    sourceLast = last;
    const double inverse = 1.0 / double(scale);
    destFirst = int(roundAway(double(first) * scale));
    destLast = int(roundAway(double(last) * scale));
    // Filters that read the next pixel stop one short of the edge; point sampling (and a
    // magnified point copy) may reach the last pixel itself.
    int top;
    if (scale > 1 && minifyCopy == 0)
        top = size - 1;
    else if (scale >= 1 || magnifyCopy != 0)
        top = size - 2;
    else
        top = size - 1;
    const double limit = top < 0 ? 0.0 : double(top);
    positions.resize(size_t(destLast - destFirst + 1));
    double p = double(destFirst) * inverse - 0.5;
    for (uint32_t& entry : positions) {
        const double c = p < 0 ? 0.0 : p > limit ? limit : p;
        entry = uint32_t(c * 256.0 + 0.5);
        p += inverse;
    }
}
