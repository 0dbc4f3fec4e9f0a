// One record per class of the image frame, chained to its base class's record, so that class
// identity can be tested along the chain without relying on the compiler's type information.
#pragma once

struct ilClassList {
    const char* name;
    const ilClassList* parent;

    // The 1-based distance from this record to id along the chain; 0 when id is not an ancestor.
    int find(const ilClassList* id) const {
        int distance = 1;
        for (const ilClassList* c = this; c; c = c->parent, ++distance)
            if (c == id) return distance;
        return 0;
    }
    // The record's name for n at or below 0, null for any larger n.
    const char* find(int n) const { return n <= 0 ? name : nullptr; }
};
