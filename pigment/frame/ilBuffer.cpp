#include "pigment/frame/ilBuffer.h"

#include <cstdlib>

#include "pigment/frame/ilData.h"

ilBuffer::ilBuffer() {
    checkSize();
}

ilBuffer::ilBuffer(int x, int slack_) : slack(slack_) {
    dims[0] = x;
    checkSize();
}

ilBuffer::ilBuffer(ilType type_, int x, int y, int z, int c) : type(type_) {
    dims[0] = x, dims[1] = y, dims[2] = z, dims[3] = c;
    checkSize();
}

ilBuffer::ilBuffer(void* data_, ilType type_, int x, int y, int z, int c) : type(type_) {
    dims[0] = x, dims[1] = y, dims[2] = z, dims[3] = c;
    data = data_;
    allocated = ilDataSize(type, static_cast<int64_t>(x) * y * z * c);
    checkSize();
}

ilBuffer::~ilBuffer() {
    std::free(owned);
}

void* ilBuffer::resize(int x) {
    dims[0] = x;
    checkSize();
    return data;
}

void* ilBuffer::resize(int x, int y, int z, int c) {
    dims[0] = x, dims[1] = y, dims[2] = z, dims[3] = c;
    checkSize();
    return data;
}

void ilBuffer::checkSize() {
    for (int& d : dims)
        if (d < 0) d = 0;
    const int64_t x = dims[0], xy = x * dims[1], xyz = xy * dims[2];
    strides[0] = ilDataSize(type, 1);
    strides[1] = ilDataSize(type, x);
    strides[2] = ilDataSize(type, xy);
    strides[3] = ilDataSize(type, xyz);
    const int64_t needed = ilDataSize(type, xyz * dims[3]);
    if (data && needed <= allocated && (allocated - needed < slack || !owned)) return;
    std::free(owned);
    owned = nullptr;
    data = nullptr;
    allocated = 0;
    if (needed <= 0) return;
    owned = std::malloc(static_cast<size_t>(needed));
    if (!owned) return;
    data = owned;
    allocated = needed;
}
