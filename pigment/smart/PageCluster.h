// A 16 x 16 grid of page handles covering 2048 x 2048 pixels: the unit the page table allocates,
// kept in a doubly linked list of clusters.
#pragma once

#include <cstdint>

#include "pigment/smart/SmartImgPage.h"

class SmartImage;

constexpr int kClusterEdge = 2048;
constexpr int kClusterPages = 16;

class PageCluster {
  public:
    PageCluster();
    PageCluster(int x, int y);
    // Releases every page of the grid.
    virtual ~PageCluster();
    PageCluster(const PageCluster&) = delete;
    PageCluster& operator=(const PageCluster&) = delete;

    // Floors x and y to a multiple of 2048, negative values toward minus infinity.
    static void FindOrigin(int x, int y, int& ox, int& oy);
    // The handle of the page holding (px, py), which must lie in this cluster; it may be null.
    SmartImgPage* FindPage(int px, int py) { return &pages[(px - x) >> 7][(py - y) >> 7]; }

    // Keeps what lies in the rectangle (x, y, w, h): pages wholly outside are released, unless
    // the image has a seed, in which case they, like pages partly inside, become fill outside it.
    void PrunePages(int x, int y, int w, int h, SmartImage* image);

    int GetX() const { return x; }
    int GetY() const { return y; }
    int w() const { return kClusterEdge; }
    int h() const { return kClusterEdge; }
    int ux() const { return x + kClusterEdge; }
    int uy() const { return y + kClusterEdge; }
    int IsIn(int px, int py) const { return px >= x && py >= y && px < ux() && py < uy(); }

    PageCluster* GetNext() const { return next; }
    PageCluster* GetPrev() const { return prev; }
    void SetNext(PageCluster* cluster) { next = cluster; }
    void SetPrev(PageCluster* cluster) { prev = cluster; }

  protected:
    std::int32_t x;
    std::int32_t y;
    PageCluster* next;
    PageCluster* prev;
    // Indexed [column][row].
    SmartImgPage pages[kClusterPages][kClusterPages];
};
