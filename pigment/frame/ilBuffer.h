// A small typed scratch array of up to four dimensions, used around tile transfers. It keeps its
// block while it shrinks by less than its slack, so repeated resizes cost no allocation.
#pragma once

#include <cstdint>

#include "pigment/frame/ilTypes.h"

class ilBuffer {
  public:
    ilBuffer();
    ilBuffer(int x, int slack);
    ilBuffer(ilType type, int x, int y, int z, int c);
    // Wraps the caller's block, which is replaced by an owned one if it turns out too small.
    ilBuffer(void* data, ilType type, int x, int y, int z, int c);
    ~ilBuffer();
    ilBuffer(const ilBuffer&) = delete;
    ilBuffer& operator=(const ilBuffer&) = delete;

    void* resize(int x);
    void* resize(int x, int y, int z, int c);

    // Byte addresses of an element.
    void* operator()(int i) const { return at(static_cast<int64_t>(i) * strides[0]); }
    void* operator()(int i, int j) const {
        return at(static_cast<int64_t>(i) * strides[0] + static_cast<int64_t>(j) * strides[1]);
    }
    void* operator()(int i, int j, int k) const {
        return at(static_cast<int64_t>(i) * strides[0] + static_cast<int64_t>(j) * strides[1] +
                  static_cast<int64_t>(k) * strides[2]);
    }
    void* operator()(int i, int j, int k, int l) const {
        return at(static_cast<int64_t>(i) * strides[0] + static_cast<int64_t>(j) * strides[1] +
                  static_cast<int64_t>(k) * strides[2] + static_cast<int64_t>(l) * strides[3]);
    }

    ilType getDataType() const { return type; }
    int getDimension(int i) const { return i >= 0 && i < 4 ? dims[i] : 0; }
    void* getData() const { return data; }

  private:
    void* at(int64_t offset) const { return static_cast<unsigned char*>(data) + offset; }
    void checkSize();

    ilType type = ilUChar;
    int dims[4] = {16384, 1, 1, 1};
    int64_t strides[4] = {0, 0, 0, 0};
    void* owned = nullptr;
    int slack = 4096;
    int64_t allocated = 0;
    void* data = nullptr;
};
