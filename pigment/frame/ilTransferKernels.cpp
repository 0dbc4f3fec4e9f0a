// The nine destination kernels of the transfer engine, each with a loop nest per source type, so
// that all 81 pairs compile with fixed element types. The type dispatch happens once per region.
//
// Conversion is the plain cast: no scaling, no clamping to the destination's range. Floating
// values become integers by truncation toward zero through a signed integer (32 bits for 8- and
// 16-bit destinations, 64 bits for 32-bit ones) whose low bits are kept: 300.7 -> uchar 44,
// -1.5 -> uchar 255. Out-of-range floating values are first clamped into that signed integer's
// range and NaN becomes 0, since the bare cast would be undefined. An ilBit destination is set
// when the value, converted to an 8-bit integer, is non-zero (uint16 256 -> 0, 257 -> 1).
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "pigment/frame/ilTileTransfer_p.h"

namespace {

// Stands for ilBit in the type lists; bits are addressed by bit index, most significant first.
struct Bit {};

template <typename F>
inline int32_t toInt32(F v) {
    constexpr F lo = static_cast<F>(-2147483648.0);
    // The largest value of F below 2^31, so that the clamped cast is always defined.
    constexpr F hi =
        std::is_same_v<F, float> ? static_cast<F>(2147483520.0) : static_cast<F>(2147483647.0);
    F c = v > lo ? v : lo;
    c = c < hi ? c : hi;
    int32_t r = static_cast<int32_t>(c);
    r = v >= static_cast<F>(2147483648.0) ? std::numeric_limits<int32_t>::max() : r;
    return v == v ? r : 0;
}

template <typename F>
inline int64_t toInt64(F v) {
    constexpr F lo = static_cast<F>(-9223372036854775808.0);
    // The largest value of F below 2^63.
    constexpr F hi = std::is_same_v<F, float> ? static_cast<F>(9223371487098961920.0)
                                              : static_cast<F>(9223372036854774784.0);
    F c = v > lo ? v : lo;
    c = c < hi ? c : hi;
    int64_t r = static_cast<int64_t>(c);
    r = v >= static_cast<F>(9223372036854775808.0) ? std::numeric_limits<int64_t>::max() : r;
    return v == v ? r : 0;
}

// One element of S as D, by the rule above.
template <typename D, typename S>
inline D convert(S v) {
    if constexpr (std::is_floating_point_v<D> || std::is_integral_v<S>) {
        return static_cast<D>(v);
    } else if constexpr (sizeof(D) <= 2) {
        return static_cast<D>(toInt32(v));
    } else {
        return static_cast<D>(toInt64(v));
    }
}

// The bit a value sets in an ilBit destination.
template <typename S>
inline uint8_t bitOf(S v) {
    return convert<uint8_t, S>(v) != 0 ? 1 : 0;
}

// Element access by index for a source type; Bit reads one bit as 0 or 1.
template <typename S>
struct Reader {
    using Value = S;
    const S* p;
    explicit Reader(const void* data) : p(static_cast<const S*>(data)) {}
    Value operator()(int64_t i) const { return p[i]; }
};

template <>
struct Reader<Bit> {
    using Value = uint8_t;
    const uint8_t* p;
    explicit Reader(const void* data) : p(static_cast<const uint8_t*>(data)) {}
    Value operator()(int64_t i) const {
        return static_cast<uint8_t>((p[i >> 3] >> (7 - (i & 7))) & 1);
    }
};

// Unit runs are cut into blocks of a fixed count: at -O2 the compiler vectorises a loop only when
// no scalar remainder is needed, which a constant trip count guarantees.
constexpr int64_t kBlock = 16;

// The unit form: both sides step by one element.
template <typename D, typename S>
void unitRun(D* __restrict d, const S* __restrict s, int64_t n) {
    int64_t i = 0;
    for (; i + kBlock <= n; i += kBlock)
        for (int64_t k = 0; k < kBlock; ++k)
            d[i + k] = convert<D, S>(s[i + k]);
    for (; i < n; ++i)
        d[i] = convert<D, S>(s[i]);
}

// A solid source: one converted value written along the run.
template <typename D>
void fillRun(D* __restrict d, D v, int64_t n, int64_t ds) {
    int64_t i = 0;
    if (ds == 1)
        for (; i + kBlock <= n; i += kBlock)
            for (int64_t k = 0; k < kBlock; ++k)
                d[i + k] = v;
    for (; i < n; ++i)
        d[i * ds] = v;
}

template <size_t N>
struct WordOf {};
template <>
struct WordOf<2> {
    using type = uint16_t;
};
template <>
struct WordOf<4> {
    using type = uint32_t;
};
template <>
struct WordOf<8> {
    using type = uint64_t;
};

// Gathers from, or scatters to, a constant channel step: interleaved pixels of 2 to 4 channels
// meeting planar rows. A constant step lets the compiler vectorise.
template <int Step, typename D, typename S>
void gatherRun(D* __restrict d, const S* __restrict s, int64_t n) {
    int64_t i = 0;
    constexpr size_t kWord = Step * sizeof(S);
    if constexpr (std::endian::native == std::endian::little &&
                  (kWord == 2 || kWord == 4 || kWord == 8)) {
        // Each element is read as the low part of a word that spans one whole step, which the
        // compiler turns into unit loads and narrowing. The word of the last element would reach
        // past it, so the last element is always left to the scalar tail.
        using W = typename WordOf<kWord>::type;
        using U = typename WordOf<sizeof(S) == 1 ? 2 : sizeof(S)>::type;
        const unsigned char* bytes = reinterpret_cast<const unsigned char*>(s);
        for (; i + kBlock < n; i += kBlock)
            for (int64_t k = 0; k < kBlock; ++k) {
                W w;
                std::memcpy(&w, bytes + (i + k) * int64_t(kWord), sizeof(W));
                S v;
                if constexpr (sizeof(S) == 1)
                    v = static_cast<S>(w);
                else
                    v = std::bit_cast<S>(static_cast<U>(w));
                d[i + k] = convert<D, S>(v);
            }
    } else {
        for (; i + kBlock <= n; i += kBlock)
            for (int64_t k = 0; k < kBlock; ++k)
                d[i + k] = convert<D, S>(s[(i + k) * Step]);
    }
    for (; i < n; ++i)
        d[i] = convert<D, S>(s[i * Step]);
}

template <int Step, typename D, typename S>
void scatterRun(D* __restrict d, const S* __restrict s, int64_t n) {
    int64_t i = 0;
    for (; i + kBlock <= n; i += kBlock)
        for (int64_t k = 0; k < kBlock; ++k)
            d[(i + k) * Step] = convert<D, S>(s[i + k]);
    for (; i < n; ++i)
        d[i * Step] = convert<D, S>(s[i]);
}

// The strided form, for mirrored, exchanged and interleaved-to-planar runs.
template <typename D, typename S>
void stridedRun(D* __restrict d, const S* __restrict s, int64_t n, int64_t ds, int64_t ss) {
    if (ds == 1) {
        switch (ss) {
            case 2:
                gatherRun<2>(d, s, n);
                return;
            case 3:
                gatherRun<3>(d, s, n);
                return;
            case 4:
                gatherRun<4>(d, s, n);
                return;
            default:
                for (int64_t i = 0; i < n; ++i)
                    d[i] = convert<D, S>(s[i * ss]);
                return;
        }
    }
    if (ss == 1) {
        switch (ds) {
            case 2:
                scatterRun<2>(d, s, n);
                return;
            case 3:
                scatterRun<3>(d, s, n);
                return;
            case 4:
                scatterRun<4>(d, s, n);
                return;
            default:
                for (int64_t i = 0; i < n; ++i)
                    d[i * ds] = convert<D, S>(s[i]);
                return;
        }
    }
    for (int64_t i = 0; i < n; ++i)
        d[i * ds] = convert<D, S>(s[i * ss]);
}

// Destination of an element type, source of an element type.
template <typename D, typename S>
void typedKernel(ilTileTransfer& t) {
    D* const dBase = static_cast<D*>(t.dest->data);
    const S* const sBase = static_cast<const S*>(t.source->data);
    do {
        D* d = dBase + t.destPos;
        const S* s = sBase + t.sourcePos;
        const int64_t n = t.runLength;
        if (t.destStep == 1 && t.sourceStep == 1)
            unitRun<D, S>(d, s, n);
        else if (t.sourceStep == 0)
            fillRun<D>(d, convert<D, S>(*s), n, t.destStep);
        else
            stridedRun<D, S>(d, s, n, t.destStep, t.sourceStep);
    } while (t.nextRun());
}

// Destination of an element type, ilBit source.
template <typename D>
void fromBitsKernel(ilTileTransfer& t) {
    D* const dBase = static_cast<D*>(t.dest->data);
    const Reader<Bit> src(t.source->data);
    do {
        D* __restrict d = dBase + t.destPos;
        const int64_t sp = t.sourcePos, n = t.runLength, ds = t.destStep, ss = t.sourceStep;
        for (int64_t i = 0; i < n; ++i)
            d[i * ds] = static_cast<D>(src(sp + i * ss));
    } while (t.nextRun());
}

inline void writeBit(uint8_t* p, int64_t i, uint8_t on) {
    uint8_t& b = p[i >> 3];
    const uint8_t m = static_cast<uint8_t>(0x80u >> (i & 7));
    b = on ? static_cast<uint8_t>(b | m) : static_cast<uint8_t>(b & ~m);
}

// ilBit destination: read-modify-write of single bits at the ends of a unit run, whole bytes in
// between, so neighbouring bits outside the run keep their values.
template <typename S>
void toBitsKernel(ilTileTransfer& t) {
    uint8_t* const dBase = static_cast<uint8_t*>(t.dest->data);
    const Reader<S> src(t.source->data);
    using V = typename Reader<S>::Value;
    do {
        const int64_t dp = t.destPos, sp = t.sourcePos, n = t.runLength;
        const int64_t ds = t.destStep, ss = t.sourceStep;
        int64_t i = 0;
        if (ds == 1) {
            for (; i < n && ((dp + i) & 7) != 0; ++i)
                writeBit(dBase, dp + i, bitOf<V>(src(sp + i * ss)));
            for (; i + 8 <= n; i += 8) {
                uint8_t byte = 0;
                for (int k = 0; k < 8; ++k)
                    byte = static_cast<uint8_t>(byte | bitOf<V>(src(sp + (i + k) * ss)) << (7 - k));
                dBase[(dp + i) >> 3] = byte;
            }
        }
        for (; i < n; ++i)
            writeBit(dBase, dp + i * ds, bitOf<V>(src(sp + i * ss)));
    } while (t.nextRun());
}

template <typename D>
void destKernel(ilTileTransfer& t) {
    switch (t.source->type) {
        case ilBit:
            fromBitsKernel<D>(t);
            break;
        case ilUChar:
            typedKernel<D, uint8_t>(t);
            break;
        case ilChar:
            typedKernel<D, int8_t>(t);
            break;
        case ilUShort:
            typedKernel<D, uint16_t>(t);
            break;
        case ilShort:
            typedKernel<D, int16_t>(t);
            break;
        case ilULong:
            typedKernel<D, uint32_t>(t);
            break;
        case ilLong:
            typedKernel<D, int32_t>(t);
            break;
        case ilFloat:
            typedKernel<D, float>(t);
            break;
        case ilDouble:
            typedKernel<D, double>(t);
            break;
        default:
            break;
    }
}

void bitDestKernel(ilTileTransfer& t) {
    switch (t.source->type) {
        case ilBit:
            toBitsKernel<Bit>(t);
            break;
        case ilUChar:
            toBitsKernel<uint8_t>(t);
            break;
        case ilChar:
            toBitsKernel<int8_t>(t);
            break;
        case ilUShort:
            toBitsKernel<uint16_t>(t);
            break;
        case ilShort:
            toBitsKernel<int16_t>(t);
            break;
        case ilULong:
            toBitsKernel<uint32_t>(t);
            break;
        case ilLong:
            toBitsKernel<int32_t>(t);
            break;
        case ilFloat:
            toBitsKernel<float>(t);
            break;
        case ilDouble:
            toBitsKernel<double>(t);
            break;
        default:
            break;
    }
}

}  // namespace

void ilTransferKernel(ilTileTransfer& t) {
    switch (t.dest->type) {
        case ilBit:
            bitDestKernel(t);
            break;
        case ilUChar:
            destKernel<uint8_t>(t);
            break;
        case ilChar:
            destKernel<int8_t>(t);
            break;
        case ilUShort:
            destKernel<uint16_t>(t);
            break;
        case ilShort:
            destKernel<int16_t>(t);
            break;
        case ilULong:
            destKernel<uint32_t>(t);
            break;
        case ilLong:
            destKernel<int32_t>(t);
            break;
        case ilFloat:
            destKernel<float>(t);
            break;
        case ilDouble:
            destKernel<double>(t);
            break;
        default:
            break;
    }
}
