// The resampling kernels of the transformed memory image: whole rows of one-byte (C = 1) or
// four-byte (C = 4) pixels sampled at 24.8 fixed-point source positions, in integer arithmetic.
#pragma once

#include <cstdint>

namespace ilFLKernels {

// The pixels a kernel reads: width by height pixels of C bytes, rows packed.
struct Source {
    const uint8_t* data;
    int width, height;
};

// The bicubic weights: for each fraction f of a pixel, four weights packed one to a byte (the
// tap one before lowest), summing to 256. Built on first use.
const uint32_t* bicubicTable();

// Destination row out[0..n) from source positions xpos[0..n) on the row at ypos; the positions
// are clamped to the source and a neighbour past the edge repeats the edge.
template <int C>
void scaleRowPoint(const Source& s, const uint32_t* xpos, int n, uint32_t ypos, uint8_t* out);
template <int C>
void scaleRowBilinear(const Source& s, const uint32_t* xpos, int n, uint32_t ypos, uint8_t* out);
template <int C>
void scaleRowBicubic(const Source& s, const uint32_t* xpos, int n, uint32_t ypos, uint8_t* out);

// As above with a position of its own for every pixel, as rotations and warps need.
template <int C>
void sampleRowPoint(const Source& s, const uint32_t* xpos, const uint32_t* ypos, int n,
                    uint8_t* out);
template <int C>
void sampleRowBilinear(const Source& s, const uint32_t* xpos, const uint32_t* ypos, int n,
                       uint8_t* out);
template <int C>
void sampleRowBicubic(const Source& s, const uint32_t* xpos, const uint32_t* ypos, int n,
                      uint8_t* out);

// The scalar twin of the four-byte bilinear row, kept to check the vector form bit for bit.
void scaleRowBilinearScalar4(const Source& s, const uint32_t* xpos, int n, uint32_t ypos,
                             uint8_t* out);

}  // namespace ilFLKernels
