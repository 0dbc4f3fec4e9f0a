// Alpha classification and repair over whole pixel arrays; each loop is branch-free per pixel so
// that it vectorises.
#include "pigment/frame/ilAlphaCheck.h"

#include <algorithm>
#include <cstdio>

int ilCheckAlpha(const std::uint32_t* pixels, std::size_t count) {
    int worst = 0;
    std::uint32_t alphaSeen = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t p = pixels[i];
        const int r = static_cast<int>(p & 0xff);
        const int g = static_cast<int>((p >> 8) & 0xff);
        const int b = static_cast<int>((p >> 16) & 0xff);
        const int a = static_cast<int>(p >> 24);
        worst = std::max(worst, std::max(r, std::max(g, b)) - a);
        alphaSeen |= p >> 24;
    }
    if (worst <= 0) return ilAlphaClean;
    if (worst < 3) return ilAlphaSmallExcess;
    return alphaSeen ? ilAlphaNotPremultiplied : ilAlphaMissing;
}

void ilRepairAlpha(std::uint32_t* pixels, std::size_t count, int repair) {
    switch (repair) {
        case ilAlphaRepairBump:
            for (std::size_t i = 0; i < count; ++i) {
                const std::uint32_t p = pixels[i];
                const std::uint32_t m =
                    std::max(p & 0xff, std::max((p >> 8) & 0xff, (p >> 16) & 0xff));
                const std::uint32_t a = std::max(m, p >> 24);
                pixels[i] = (p & 0x00ffffffu) | (a << 24);
            }
            break;
        case ilAlphaRepairPremultiply: {
            // 1 / 255 as the single-precision constant the stored images were made with.
            const float k = 0.003921569f;
            for (std::size_t i = 0; i < count; ++i) {
                const std::uint32_t p = pixels[i];
                const float a = static_cast<float>(p >> 24) * k;
                const auto scale = [&](std::uint32_t c) {
                    return static_cast<std::uint32_t>(static_cast<float>(c) * k * a * 255.0f);
                };
                pixels[i] = (p & 0xff000000u) | scale(p & 0xff) | (scale((p >> 8) & 0xff) << 8) |
                            (scale((p >> 16) & 0xff) << 16);
            }
            break;
        }
        case ilAlphaRepairOpaque:
            for (std::size_t i = 0; i < count; ++i)
                pixels[i] |= 0xff000000u;
            break;
        default:
            break;
    }
}

int ilForceAlphaValid(std::uint32_t* pixels, std::size_t count) {
    const int code = ilCheckAlpha(pixels, count);
    switch (code) {
        case ilAlphaSmallExcess:
            std::printf("SID: Warning: Bumping Alpha values.\n");
            break;
        case ilAlphaNotPremultiplied:
            std::printf("SID: Warning: Premultiplying RGB values.\n");
            break;
        case ilAlphaMissing:
            std::printf("SID: Warning: Forcing image Alpha to be opaque.\n");
            break;
        default:
            return code;
    }
    std::fflush(stdout);
    ilRepairAlpha(pixels, count, code);
    return code;
}
