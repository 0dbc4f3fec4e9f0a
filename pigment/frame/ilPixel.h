// One pixel of any element type and channel count, owning its bytes. Used for fill values, minimum
// and maximum values, and single-pixel reads and writes.
#pragma once

#include "pigment/frame/ilTypes.h"

class ilPixel {
  public:
    ilPixel() = default;
    ilPixel(ilType type, int nc, const void* data = nullptr) { set(type, nc, data); }
    ilPixel(const ilPixel& other) { set(other.type_, other.nc_, other.data_); }
    ilPixel& operator=(const ilPixel& other);
    ~ilPixel();

    // ilAnyType or nc 0 empties the pixel; otherwise the bytes are kept when the block is large
    // enough, and copied from data when data is given.
    void set(ilType type, int nc, const void* data);

    // Element i as a double; the index is clamped, so reading past the end repeats the last
    // channel.
    double getElem(int i) const;
    // Integer types take the value truncated toward zero, keeping the low bits; an index past the
    // end grows the pixel (an ilAnyType pixel becomes ilDouble first), but never past 65536
    // channels, so a stray index cannot ask for gigabytes. A negative index does nothing.
    void setElem(double value, int i);
    double minElem() const;
    double maxElem() const;

    // This pixel becomes source converted to type; nc 0 keeps the source's count, chanList picks
    // source channels.
    void convert(const ilPixel& source, ilType type, int nc = 0, const int* chanList = nullptr);

    bool operator==(const ilPixel& other) const;
    bool operator!=(const ilPixel& other) const { return !(*this == other); }

    int nc() const { return nc_; }
    ilType type() const { return type_; }
    void* elems() { return data_; }
    const void* elems() const { return data_; }
    double operator[](int i) const { return getElem(i); }
    operator void*() const { return data_; }

  private:
    void reserveBytes(long bytes, bool keep);

    ilType type_ = ilAnyType;
    int nc_ = 0;
    unsigned char* data_ = nullptr;
    long capacity_ = 0;
};
