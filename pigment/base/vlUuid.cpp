// Random identifiers from std::random_device, marked as version 4, variant 1.
// A mutex guards the device, which is not safe to share between threads.
#include "pigment/base/vlUuid.h"

#include <cstdio>
#include <mutex>
#include <random>

namespace vlOS {

void Uuid::generate() {
    static std::mutex guard;
    static std::random_device device;
    std::lock_guard<std::mutex> lock(guard);
    for (int i = 0; i < 16; i += 4) {
        const std::uint32_t r = device();
        bytes[i] = static_cast<std::uint8_t>(r);
        bytes[i + 1] = static_cast<std::uint8_t>(r >> 8);
        bytes[i + 2] = static_cast<std::uint8_t>(r >> 16);
        bytes[i + 3] = static_cast<std::uint8_t>(r >> 24);
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
}

std::string Uuid::toString() const {
    char text[37];
    int at = 0;
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text[at++] = '-';
        std::snprintf(text + at, 3, "%02x", bytes[i]);
        at += 2;
    }
    text[at] = '\0';
    return std::string(text);
}

}  // namespace vlOS
