#include "pigment/frame/ilData.h"

#include <cfloat>
#include <cstdlib>
#include <cstring>

int64_t ilDataSize(ilType type, int64_t count) {
    switch (type) {
        case ilBit:
            return (count + 7) / 8;
        case ilUChar:
        case ilChar:
            return count;
        case ilUShort:
        case ilShort:
            return 2 * count;
        case ilULong:
        case ilLong:
        case ilFloat:
            return 4 * count;
        case ilDouble:
            return 8 * count;
        default:
            return 0;
    }
}

double ilDataMin(ilType type) {
    switch (type) {
        case ilBit:
            return 0.0;
        // The unsigned byte minimum of -128 is a long-standing quirk that callers derive scales
        // from.
        case ilUChar:
            return -128.0;
        case ilChar:
            return -128.0;
        case ilUShort:
            return 0.0;
        case ilShort:
            return -32768.0;
        case ilULong:
            return 0.0;
        case ilLong:
            return -2147483648.0;
        case ilFloat:
            return -static_cast<double>(FLT_MAX);
        case ilDouble:
            return -DBL_MAX;
        default:
            return 0.0;
    }
}

double ilDataMax(ilType type) {
    switch (type) {
        case ilBit:
            return 1.0;
        case ilUChar:
            return 255.0;
        case ilChar:
            return 127.0;
        case ilUShort:
            return 65535.0;
        case ilShort:
            return 32767.0;
        case ilULong:
            return 4294967295.0;
        case ilLong:
            return 2147483647.0;
        case ilFloat:
            return static_cast<double>(FLT_MAX);
        case ilDouble:
            return DBL_MAX;
        default:
            return 0.0;
    }
}

int ilDataIsSigned(ilType type) {
    return static_cast<int>(type) & 468;
}

namespace {
char* fatalErrorText = nullptr;
}

void ilSetFatalError(const char* text) {
    // Copy before freeing: the caller may hand back the text it got from ilGetFatalError.
    char* copy = nullptr;
    if (text) {
        size_t n = std::strlen(text) + 1;
        copy = static_cast<char*>(std::malloc(n));
        if (copy) std::memcpy(copy, text, n);
    }
    std::free(fatalErrorText);
    fatalErrorText = copy;
}

const char* ilGetFatalError() {
    return fatalErrorText;
}
