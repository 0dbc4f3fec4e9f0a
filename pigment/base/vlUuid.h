// vlOS::Uuid: a 16-byte identifier, copied by value. Empty (all zero) until generate makes a
// fresh random one (version 4 layout).
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

namespace vlOS {

class Uuid {
  public:
    Uuid() { std::memset(bytes, 0, sizeof(bytes)); }

    // Fills the identifier with fresh random bits from the system's random source.
    void generate();
    bool isEmpty() const {
        for (auto b : bytes) {
            if (b) return false;
        }
        return true;
    }
    void clear() { std::memset(bytes, 0, sizeof(bytes)); }
    // The usual 8-4-4-4-12 hexadecimal form.
    std::string toString() const;

    bool operator==(const Uuid& other) const {
        return std::memcmp(bytes, other.bytes, sizeof(bytes)) == 0;
    }
    bool operator!=(const Uuid& other) const { return !(*this == other); }
    bool operator<(const Uuid& other) const {
        return std::memcmp(bytes, other.bytes, sizeof(bytes)) < 0;
    }

    std::uint8_t bytes[16];
};

}  // namespace vlOS
