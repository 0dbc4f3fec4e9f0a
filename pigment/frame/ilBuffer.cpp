#include "pigment/frame/ilBuffer.h"

#include <cstdlib>

#include "pigment/frame/ilBoxBytes_p.h"

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
    allocated = ilBoxBytes(type, x, y, z, c);
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
    strides[0] = ilBoxBytes(type, 1);
    strides[1] = ilBoxBytes(type, dims[0]);
    strides[2] = ilBoxBytes(type, dims[0], dims[1]);
    strides[3] = ilBoxBytes(type, dims[0], dims[1], dims[2]);
    // A count too large to hold is asked of malloc as is, and fails there.
    const int64_t needed = ilBoxBytes(type, dims[0], dims[1], dims[2], dims[3]);
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
