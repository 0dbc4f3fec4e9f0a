#include "pigment/frame/ilReport.h"

const char* ilTypeText(int type) {
    switch (type) {
        case ilBit:
            return "bit";
        case ilUChar:
            return "unsigned char";
        case ilChar:
            return "char";
        case ilUShort:
            return "unsigned short";
        case ilShort:
            return "short";
        case ilULong:
            return "unsigned long";
        case ilLong:
            return "long";
        case ilFloat:
            return "float";
        case ilDouble:
            return "double";
        default:
            return "unknown";
    }
}

const char* ilOrderText(int order) {
    switch (order) {
        case ilInterleaved:
            return "interleaved";
        case ilSequential:
            return "sequential";
        case ilSeparate:
            return "separate";
        default:
            return "unknown";
    }
}

const char* ilColorModelText(int model) {
    static const char* const texts[] = {"unknown",     "greyscale, minimum value white",
                                        "greyscale",   "RGB",
                                        "color index", "RGBA",
                                        "HSV",         "CMY",
                                        "CMYK",        "BGR",
                                        "ABGR",        "multi-spectral",
                                        "YCC"};
    return model >= 0 && model <= 12 ? texts[model] : "unknown";
}

// Reports know the models 1 to 11; everything else reads as unspecified.
const char* ilColorModelReportText(int model) {
    static const char* const texts[] = {"unspecified",
                                        "grey: minimum value white",
                                        "grey: minimum value black",
                                        "RGB",
                                        "color index",
                                        "RGBA",
                                        "HSV",
                                        "CMY",
                                        "CMYK",
                                        "BGR",
                                        "ABGR",
                                        "multi-spectral"};
    return model >= 1 && model <= 11 ? texts[model] : "unspecified";
}

const char* ilCoordSpaceText(int space) {
    static const char* const texts[] = {"unknown",     "upper-left",  "upper-right",
                                        "lower-right", "lower-left",  "left-upper",
                                        "right-upper", "right-lower", "left-lower"};
    return space >= 0 && space <= 8 ? texts[space] : "unknown";
}

const char* ilCoordSpaceReportText(int space) {
    static const char* const texts[] = {"unspecified",
                                        "upper-left (X varies fastest)",
                                        "upper-right (X varies fastest)",
                                        "lower-right (X varies fastest)",
                                        "lower-left (X varies fastest)",
                                        "left-upper (Y varies fastest)",
                                        "right-upper (Y varies fastest)",
                                        "right-lower (Y varies fastest)",
                                        "left-lower (Y varies fastest)"};
    return space >= 0 && space <= 8 ? texts[space] : "unspecified";
}

const char* ilCompressText(int compression) {
    switch (compression) {
        case ilNoCompression:
            return "none";
        case ilCCITT3:
            return "CCITT Group 3";
        case ilCCITT4:
            return "CCITT Group 4";
        case ilLZW:
            return "Lempel-Ziv & Welch";
        case ilMacRLE:
            return "Mac-RLE";
        case ilSGIRLE:
            return "SGI-RLE";
        default:
            return "unknown";
    }
}
