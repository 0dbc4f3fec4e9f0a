// Cluster construction, release of its pages, and the cluster origin rule.
#include "pigment/smart/PageCluster.h"

PageCluster::PageCluster() : x(0), y(0), next(nullptr), prev(nullptr) {}

PageCluster::PageCluster(int ox, int oy) : x(ox), y(oy), next(nullptr), prev(nullptr) {}

PageCluster::~PageCluster() {
    for (auto& column : pages)
        for (SmartImgPage& page : column) {
            page.UnRef(1234007);
            page.MakeNull();
        }
}

void PageCluster::FindOrigin(int px, int py, int& ox, int& oy) {
    // Masking the low bits of a two's complement value floors toward minus infinity.
    ox = px & ~(kClusterEdge - 1);
    oy = py & ~(kClusterEdge - 1);
}
