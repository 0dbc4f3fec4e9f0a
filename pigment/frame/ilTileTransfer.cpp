#include "pigment/frame/ilTileTransfer_p.h"

#include <cstring>
#include <memory>
#include <new>

#include "pigment/frame/ilBoxBytes_p.h"
#include "pigment/frame/ilPixel.h"

namespace {

bool knownOrder(const ilTileBlock& b) {
    return b.solid || b.order == ilInterleaved || b.order == ilSequential || b.order == ilSeparate;
}

// log2 of the element width in bytes, or -1 for ilBit and unknown types.
int widthShift(ilType t) {
    switch (t) {
        case ilUChar:
        case ilChar:
            return 0;
        case ilUShort:
        case ilShort:
            return 1;
        case ilULong:
        case ilLong:
        case ilFloat:
            return 2;
        case ilDouble:
            return 3;
        default:
            return -1;
    }
}

// Block copies ignore signedness, but never mix integers with floats of the same width.
bool copyAlike(ilType a, ilType b) {
    if (a == b) return true;
    auto in = [&](ilType p, ilType q) { return (a == p || a == q) && (b == p || b == q); };
    return in(ilUChar, ilChar) || in(ilUShort, ilShort) || in(ilULong, ilLong);
}

// Whether the memory of the two blocks' boxes overlaps.
bool sharesMemory(const ilTileBlock& a, const ilTileBlock& b) {
    const int64_t aBytes = ilBoxBytes(a.type, a.nChans, a.nx, a.ny, a.nz);
    const int64_t bBytes = ilBoxBytes(b.type, b.nChans, b.nx, b.ny, b.nz);
    const auto pa = reinterpret_cast<uintptr_t>(a.data), pb = reinterpret_cast<uintptr_t>(b.data);
    return pa <= pb ? pb - pa < static_cast<uint64_t>(aBytes)
                    : pa - pb < static_cast<uint64_t>(bBytes);
}

}  // namespace

ilTileTransfer::ilTileTransfer(ilTileBlock& d, ilTileBlock& s)
    : dest(&d),
      source(&s),
      rx(0),
      ry(0),
      rz(0),
      rnx(0),
      rny(0),
      rnz(0),
      destBase(0),
      sourceBase(0),
      chan(-1),
      zCount(0),
      yCount(0),
      destPlane(0),
      sourcePlane(0),
      destPos(0),
      sourcePos(0),
      destStep(0),
      sourceStep(0),
      runLength(0),
      merged(0),
      destRowStep(0),
      sourceRowStep(0),
      destPlaneStep(0),
      sourcePlaneStep(0),
      sourceListCount(s.nChans) {}

void ilTileTransfer::run() {
    paths = PathCounts();
    ilTileBlock* const callerSource = source;
    const ilTileBlock& d = *dest;
    const ilTileBlock& s = *callerSource;
    if (!d.data || !s.data || d.solid || d.nChans < 1 || s.nChans < 1) return;
    if (!knownOrder(d) || !knownOrder(s)) return;

    ilTile r = d.box();
    if (d.regionActive) r = ilTile(d.region, r);
    if (r.empty()) return;

    // A solid source with fewer channels than the destination is widened by converting it to the
    // destination's type and count, which repeats its last channel. Only the copy of the block
    // sees the widened pixel; the caller's block is left as it was.
    ilPixel widened;
    ilTileBlock widenedBlock = s;
    sourceListCount = s.nChans;
    if (s.solid) {
        if (s.nChans < d.nChans) {
            ilPixel original(s.type, s.nChans, s.data);
            widened.convert(original, d.type, d.nChans);
            if (!widened.elems()) return;
            widenedBlock.data = widened.elems();
            widenedBlock.type = widened.type();
            widenedBlock.nChans = widened.nc();
            widenedBlock.computeStrides();
            source = &widenedBlock;
        }
        if (s.regionActive) r = ilTile(r, s.region);
    } else {
        ilTile box = s.box();
        if (s.regionActive) box = ilTile(s.region, box);
        r = ilTile(r, box);
    }

    // A source that shares memory with the destination (an image copied onto itself) is read
    // through a copy of the region, so that no pixel is overwritten before it has been read.
    std::unique_ptr<unsigned char[]> scratch;
    ilTileBlock scratchBlock = s;
    if (!s.solid && !r.empty() && sharesMemory(d, s)) {
        const int64_t bytes = ilBoxBytes(s.type, s.nChans, r.nx, r.ny, r.nz);
        if (bytes <= 0 || bytes == INT64_MAX) return;
        scratch.reset(new (std::nothrow) unsigned char[static_cast<size_t>(bytes)]);
        if (!scratch) return;
        scratchBlock =
            ilTileBlock(scratch.get(), r, s.type, s.order, s.nChans, s.chanOffset, s.chanList);
        ilTileBlock whole = s;
        whole.regionActive = 0;
        whole.exclude = ilTile(0, 0, 0, 0, 0, 0);
        ilTransfer(scratchBlock, whole);
        source = &scratchBlock;
    }

    if (!r.empty()) {
        const ilTile& e = s.exclude;
        const ilTile h(r, e);
        if (e.empty() || h.empty()) {
            moveRegion(r);
        } else if (!e.contains(r)) {
            // The slabs around the excluded box, near to far.
            // h lies inside r, so every start and extent below fits an int; only the sums are
            // taken in 64 bits.
            const int hx1 = static_cast<int>(h.endX()), hy1 = static_cast<int>(h.endY()),
                      hz1 = static_cast<int>(h.endZ());
            const ilTile slabs[6] = {
                ilTile(r.x, r.y, r.z, r.nx, r.ny, h.z - r.z),
                ilTile(r.x, r.y, h.z, r.nx, h.y - r.y, h.nz),
                ilTile(r.x, h.y, h.z, h.x - r.x, h.ny, h.nz),
                ilTile(hx1, h.y, h.z, static_cast<int>(r.endX() - hx1), h.ny, h.nz),
                ilTile(r.x, hy1, h.z, r.nx, static_cast<int>(r.endY() - hy1), h.nz),
                ilTile(r.x, r.y, hz1, r.nx, r.ny, static_cast<int>(r.endZ() - hz1)),
            };
            for (const ilTile& slab : slabs)
                if (!slab.empty()) moveRegion(slab);
        }
    }
    source = callerSource;
}

int ilTileTransfer::sourcePlace(int logical) const {
    const ilTileBlock& s = *source;
    if (!s.chanList) {
        const int64_t p = static_cast<int64_t>(logical) - s.chanOffset;
        return p >= 0 && p < s.nChans ? static_cast<int>(p) : -1;
    }
    for (int p = 0; p < sourceListCount; ++p)
        if (s.chanList[p] == logical) return p;
    return -1;
}

bool ilTileTransfer::sameChannelMap() const {
    const ilTileBlock& d = *dest;
    if (d.nChans != source->nChans) return false;
    // Stricter than comparing lists: a skipped channel or a repeated list entry would make a
    // merged row copy write what the channel-by-channel rule leaves alone.
    for (int i = 0; i < d.nChans; ++i) {
        const int64_t logical = d.chanList ? d.chanList[i] : static_cast<int64_t>(i) + d.chanOffset;
        if (logical < 0 || logical > INT32_MAX) return false;
        if (sourcePlace(static_cast<int>(logical)) != i) return false;
    }
    return true;
}

bool ilTileTransfer::nextChannel() {
    const ilTileBlock& d = *dest;
    for (;;) {
        ++chan;
        if (chan >= d.nChans || (merged && chan > 0)) return false;
        const int64_t logical =
            d.chanList ? d.chanList[chan] : static_cast<int64_t>(chan) + d.chanOffset;
        if (logical < 0 || logical > INT32_MAX) continue;
        const int place = sourcePlace(static_cast<int>(logical));
        if (place < 0) continue;
        destPlane = destPos = d.chanStride * chan + destBase;
        sourcePlane = sourcePos = source->chanStride * place + sourceBase;
        return true;
    }
}

void ilTileTransfer::moveRegion(const ilTile& r) {
    const ilTileBlock& d = *dest;
    const ilTileBlock& s = *source;
    rx = r.x;
    ry = r.y;
    rz = r.z;
    rnx = r.nx;
    rny = r.ny;
    rnz = r.nz;
    auto base = [&](const ilTileBlock& b) {
        return (int64_t(ry) - b.y - (b.flipY ? b.ny - 1 : 0)) * b.yStride +
               (int64_t(rx) - b.x - (b.flipX ? b.nx - 1 : 0)) * b.xStride +
               (int64_t(rz) - b.z) * b.zStride;
    };
    destBase = base(d);
    sourceBase = base(s);

    merged = !s.solid && d.order == ilInterleaved && s.order == ilInterleaved &&
             d.flipX == s.flipX && !d.exchange && !s.exchange && sameChannelMap();
    destRowStep = d.yStride;
    sourceRowStep = s.yStride;
    destPlaneStep = d.zStride;
    sourcePlaneStep = s.zStride;
    if (merged) {
        // A merged row is the contiguous span of all channels of rnx pixels. When both sides are
        // mirrored in x it is walked from its low end, which pairs the same pixels and channels.
        destStep = sourceStep = 1;
        runLength = int64_t(s.nChans) * rnx;
        if (d.flipX) {
            destBase += (rnx - 1) * d.xStride;
            sourceBase += (rnx - 1) * s.xStride;
        }
    } else {
        destStep = d.xStride;
        sourceStep = s.xStride;
        runLength = rnx;
        // Reversing both walks together keeps every pair of elements and lets the destination be
        // written upwards, which is what block copies and vector loops want.
        if (destStep < 0) {
            destBase += (rnx - 1) * destStep;
            sourceBase += (rnx - 1) * sourceStep;
            destStep = -destStep;
            sourceStep = -sourceStep;
        }
    }
    if (destRowStep < 0) {
        destBase += (rny - 1) * destRowStep;
        sourceBase += (rny - 1) * sourceRowStep;
        destRowStep = -destRowStep;
        sourceRowStep = -sourceRowStep;
    }

    yCount = zCount = 0;
    chan = -1;
    if (!nextChannel()) return;
    if (fastPathEnabled && fastPath()) return;
    ++paths.kernelRuns;
    ilTransferKernel(*this);
}

bool ilTileTransfer::fastPath() {
    const ilTileBlock& d = *dest;
    const ilTileBlock& s = *source;
    if (s.solid) return false;
    if (rnx < 1 || rny < 1 || rnz < 1) return true;
    if (s.xStride == 0 || d.flipX != s.flipX || d.exchange || s.exchange) return false;
    if (!copyAlike(d.type, s.type)) return false;
    const bool bits = d.type == ilBit;
    if (bits && (d.order != ilInterleaved || s.order != ilInterleaved || d.nChans % 8 != 0 ||
                 s.nChans % 8 != 0))
        return false;
    const int shift = widthShift(d.type);
    if (!bits && shift < 0) return false;

    const bool rowsMatch = d.flipY == s.flipY && rnx == d.nx && rnx == s.nx &&
                           ((rny == d.ny && rny == s.ny) || rnz == 1);
    enum { Whole, Channel, Row } kind;
    if (d.order == s.order) {
        switch (d.order) {
            case ilInterleaved:
                // With flips and exchange settled above, merged means the channel maps agree.
                if (!merged) return false;
                kind = rowsMatch ? Whole : Row;
                break;
            case ilSequential:
                kind = rowsMatch && sameChannelMap() ? Whole : Row;
                break;
            case ilSeparate:
                if (!rowsMatch)
                    kind = Row;
                else if (rny == d.ny && rny == s.ny && rnz == d.nz && rnz == s.nz &&
                         sameChannelMap())
                    kind = Whole;
                else
                    kind = Channel;
                break;
            default:
                return false;
        }
    } else {
        if (d.order == ilInterleaved || s.order == ilInterleaved) return false;
        kind = Row;
    }

    // Element indices and counts become byte offsets. Bit blocks reach this point only with
    // whole bytes of channels per pixel, so their bit indices and counts are divided by 8 rather
    // than passed on as if bits were bytes, which would copy eight times too much.
    auto bytes = [&](int64_t elems) { return bits ? elems >> 3 : elems << shift; };
    unsigned char* const dp = static_cast<unsigned char*>(d.data);
    const unsigned char* const sp = static_cast<const unsigned char*>(s.data);
    // Blocks that share memory were separated in run(), so plain copies are safe here.
    switch (kind) {
        case Whole: {
            ++paths.wholeCopies;
            const int64_t n = static_cast<int64_t>(d.nChans) * rnx * rny * rnz;
            std::memcpy(dp + bytes(destPos), sp + bytes(sourcePos), bytes(n));
            break;
        }
        case Channel: {
            ++paths.channelCopies;
            const int64_t n = static_cast<int64_t>(rnx) * rny * rnz;
            do {
                std::memcpy(dp + bytes(destPlane), sp + bytes(sourcePlane), bytes(n));
            } while (nextChannel());
            break;
        }
        case Row: {
            ++paths.rowCopies;
            const int64_t n = bytes(runLength);
            // The rows of one plane run on local positions: the copy call may touch memory, so
            // positions kept in the object would be stored and reloaded around every row.
            do {
                int64_t dpos = destPos, spos = sourcePos;
                for (int row = yCount; row < rny; ++row) {
                    std::memcpy(dp + bytes(dpos), sp + bytes(spos), n);
                    dpos += destRowStep;
                    spos += sourceRowStep;
                }
                yCount = rny - 1;
                destPos = dpos - destRowStep;
                sourcePos = spos - sourceRowStep;
            } while (nextRun());
            break;
        }
    }
    return true;
}

void ilTransfer(ilTileBlock& dest, ilTileBlock& source) {
    ilTileTransfer t(dest, source);
    t.run();
}
