#include "pigment/frame/ilPixel.h"

#include <algorithm>
#include <cstring>

#include "pigment/frame/ilData.h"
#include "pigment/frame/ilElem_p.h"

namespace {
// setElem refuses to grow a pixel past this many channels rather than allocate for a stray index.
constexpr int kMaxChannels = 1 << 16;
}  // namespace

ilPixel& ilPixel::operator=(const ilPixel& other) {
    if (this != &other) set(other.type_, other.nc_, other.data_);
    return *this;
}

ilPixel::~ilPixel() {
    delete[] data_;
}

void ilPixel::reserveBytes(long bytes, bool keep) {
    if (bytes <= capacity_) return;
    unsigned char* block = new unsigned char[bytes]();
    if (keep && data_) std::memcpy(block, data_, capacity_);
    delete[] data_;
    data_ = block;
    capacity_ = bytes;
}

void ilPixel::set(ilType type, int nc, const void* data) {
    type_ = type;
    if (type == ilAnyType || nc <= 0) {
        delete[] data_;
        data_ = nullptr;
        capacity_ = 0;
        nc_ = 0;
        return;
    }
    long bytes = static_cast<long>(ilDataSize(type, nc));
    const unsigned char* src = static_cast<const unsigned char*>(data);
    if (src && data_ && src >= data_ && src < data_ + capacity_) {
        // Data inside the pixel's own block: move it to the front before the block may be replaced.
        std::memmove(data_, src, static_cast<size_t>(std::min(bytes, capacity_ - (src - data_))));
        reserveBytes(bytes, true);
    } else {
        reserveBytes(bytes, false);
        if (src && bytes > 0) std::memcpy(data_, src, bytes);
    }
    nc_ = nc;
}

double ilPixel::getElem(int i) const {
    if (nc_ <= 0 || !data_) return 0.0;
    if (i < 0) i = 0;
    if (i >= nc_) i = nc_ - 1;
    return ilElem::get(type_, data_, i);
}

void ilPixel::setElem(double value, int i) {
    if (i < 0) return;
    if (i >= nc_) {
        if (i >= kMaxChannels) return;
        if (type_ == ilAnyType) type_ = ilDouble;
        reserveBytes(static_cast<long>(ilDataSize(type_, i + 1)), true);
        nc_ = i + 1;
    }
    ilElem::set(type_, data_, i, value);
}

double ilPixel::minElem() const {
    double m = getElem(0);
    for (int i = 1; i < nc_; ++i) {
        double v = getElem(i);
        if (v < m) m = v;
    }
    return m;
}

double ilPixel::maxElem() const {
    double m = getElem(0);
    for (int i = 1; i < nc_; ++i) {
        double v = getElem(i);
        if (v > m) m = v;
    }
    return m;
}

void ilPixel::convert(const ilPixel& source, ilType type, int nc, const int* chanList) {
    if (&source == this) {
        ilPixel copy(source);
        convert(copy, type, nc, chanList);
        return;
    }
    if (nc == 0) nc = source.nc_;
    // Every element goes through setElem, so a conversion to ilAnyType grows a double pixel, as
    // setElem does for any untyped pixel.
    set(type, nc, nullptr);
    for (int i = 0; i < nc; ++i)
        setElem(source.getElem(chanList ? chanList[i] : i), i);
}

bool ilPixel::operator==(const ilPixel& other) const {
    if (type_ != other.type_ || nc_ != other.nc_) return false;
    long bytes = static_cast<long>(ilDataSize(type_, nc_));
    if (bytes == 0) return true;
    return std::memcmp(data_, other.data_, bytes) == 0;
}
