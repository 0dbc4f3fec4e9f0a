// The numeric vocabulary of the image frame: status codes, element types, channel orders, colour
// models, coordinate spaces and compression tags. The numbers are interface and never change.
#pragma once

#include <cstdint>

enum ilStatus : int32_t {
    ilOK = 0,
    ilOutOfMemory = 3,
    ilNotConfigured = 7,
    ilConfigNotInvertible = 10,
    ilBadInputCount = 14,
    ilBadInput = 18,
    ilBadColorModel = 19,
    ilNotImplemented = 20,
    ilTileClipped = 24,
    ilBadInputIndex = 25,
    ilUnsupported = 29,
    ilPageNotReady = 33,
};

// Single-bit flags, so that sets of types can be tested by mask.
enum ilType : int32_t {
    ilBit = 1,
    ilUChar = 2,
    ilChar = 4,
    ilUShort = 8,
    ilShort = 16,
    ilULong = 32,
    ilLong = 64,
    ilFloat = 128,
    ilDouble = 256,
    ilAnyType = 511,
};

enum ilOrder : int32_t {
    ilInterleaved = 1,
    ilSequential = 2,
    ilSeparate = 4,
    ilAnyOrder = 7,
};

enum ilColorModel : int32_t {
    ilUnknownModel = 0,
    ilMinWhite = 1,
    ilMinBlack = 2,
    ilRGB = 3,
    ilColorIndex = 4,
    ilRGBA = 5,
    ilHSV = 6,
    ilCMY = 7,
    ilCMYK = 8,
    ilBGR = 9,
    ilABGR = 10,
    ilMultiSpectral = 11,
    ilYCC = 12,
};

enum ilCoordSpace : int32_t {
    ilSpaceDefault = 0,
    ilUpperLeft = 1,
    ilUpperRight = 2,
    ilLowerRight = 3,
    ilLowerLeft = 4,
    ilLeftUpper = 5,
    ilRightUpper = 6,
    ilRightLower = 7,
    ilLeftLower = 8,
};

enum ilFlip : int32_t {
    ilFlipX = 1,
    ilFlipY = 2,
};

enum ilCompress : int32_t {
    ilNoCompression = 1,
    ilCCITT3 = 3,
    ilCCITT4 = 4,
    ilLZW = 5,
    ilMacRLE = 32773,
    ilSGIRLE = 32901,
};

enum ilImageType : int32_t {
    ilMemoryType = 1,
    ilGenericType = 6,
    ilSmartType = 100,
};

// Lock mode bits understood by the frame's page locks.
enum ilLockMode : int32_t {
    ilLockRead = 256,
    ilLockWrite = 512,
    ilLockNoWait = 2048,
};

// Opaque handles that the frame passes along and never dereferences.
class ilSemaphore;
class ilHwPass;
