// Reading and writing one element of any type as a double, with the frame's conversion rule:
// integers take the value truncated toward zero and keep its low bits; bits are MSB first.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>

#include "pigment/frame/ilTypes.h"

namespace ilElem {

template <typename T>
inline T load(const void* base, long i) {
    T v;
    std::memcpy(&v, static_cast<const unsigned char*>(base) + i * static_cast<long>(sizeof(T)),
                sizeof(T));
    return v;
}

template <typename T>
inline void store(void* base, long i, T v) {
    std::memcpy(static_cast<unsigned char*>(base) + i * static_cast<long>(sizeof(T)), &v,
                sizeof(T));
}

inline int bitAt(const void* base, long i) {
    return (static_cast<const unsigned char*>(base)[i >> 3] >> (7 - (i & 7))) & 1;
}

inline void setBitAt(void* base, long i, int on) {
    unsigned char& b = static_cast<unsigned char*>(base)[i >> 3];
    unsigned char m = static_cast<unsigned char>(0x80u >> (i & 7));
    b = on ? static_cast<unsigned char>(b | m) : static_cast<unsigned char>(b & ~m);
}

// The low 32 bits of trunc(value) in two's complement, defined for every double (NaN and the
// infinities give 0).
inline uint32_t lowBits(double value) {
    if (!std::isfinite(value)) return 0;
    double t = std::trunc(value);
    if (t >= -9.2e18 && t <= 9.2e18) return static_cast<uint32_t>(static_cast<int64_t>(t));
    double m = std::fmod(t, 4294967296.0);
    if (m < 0) m += 4294967296.0;
    return static_cast<uint32_t>(m);
}

inline double get(ilType type, const void* base, long i) {
    switch (type) {
        case ilBit:
            return bitAt(base, i);
        case ilUChar:
            return load<uint8_t>(base, i);
        case ilChar:
            return load<int8_t>(base, i);
        case ilUShort:
            return load<uint16_t>(base, i);
        case ilShort:
            return load<int16_t>(base, i);
        case ilULong:
            return load<uint32_t>(base, i);
        case ilLong:
            return load<int32_t>(base, i);
        case ilFloat:
            return load<float>(base, i);
        case ilDouble:
            return load<double>(base, i);
        default:
            return 0.0;
    }
}

inline void set(ilType type, void* base, long i, double value) {
    switch (type) {
        case ilBit:
            setBitAt(base, i, std::trunc(value) != 0.0);
            break;
        case ilUChar:
            store<uint8_t>(base, i, static_cast<uint8_t>(lowBits(value)));
            break;
        case ilChar:
            store<int8_t>(base, i, static_cast<int8_t>(lowBits(value)));
            break;
        case ilUShort:
            store<uint16_t>(base, i, static_cast<uint16_t>(lowBits(value)));
            break;
        case ilShort:
            store<int16_t>(base, i, static_cast<int16_t>(lowBits(value)));
            break;
        case ilULong:
            store<uint32_t>(base, i, lowBits(value));
            break;
        case ilLong:
            store<int32_t>(base, i, static_cast<int32_t>(lowBits(value)));
            break;
        case ilFloat:
            store<float>(base, i, static_cast<float>(value));
            break;
        case ilDouble:
            store<double>(base, i, value);
            break;
        default:
            break;
    }
}

}  // namespace ilElem
