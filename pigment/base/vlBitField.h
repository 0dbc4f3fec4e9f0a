// vlUtil::BitField: a fixed-size array of bits, zeroed at construction.
// Indices outside the field are ignored by setBit and read as false.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vlUtil {

class BitField {
  public:
    explicit BitField(int bits = 0)
        : count(bits < 0 ? 0 : bits), words((static_cast<std::size_t>(count) + 63) / 64, 0) {}
    virtual ~BitField() {}

    int size() const { return count; }

    BitField& setBit(int i, bool value) {
        if (i < 0 || i >= count) return *this;
        const std::uint64_t mask = std::uint64_t(1) << (i & 63);
        if (value) {
            words[static_cast<std::size_t>(i) >> 6] |= mask;
        } else {
            words[static_cast<std::size_t>(i) >> 6] &= ~mask;
        }
        return *this;
    }
    bool testBit(int i) const {
        if (i < 0 || i >= count) return false;
        return (words[static_cast<std::size_t>(i) >> 6] >> (i & 63)) & 1;
    }
    BitField& setAll(bool value = true) {
        for (auto& w : words)
            w = value ? ~std::uint64_t(0) : 0;
        trim();
        return *this;
    }
    // Ors in the bits of other that fall inside this field.
    BitField& operator|=(const BitField& other) {
        const std::size_t n = words.size() < other.words.size() ? words.size() : other.words.size();
        for (std::size_t k = 0; k < n; ++k)
            words[k] |= other.words[k];
        trim();
        return *this;
    }
    bool any() const {
        for (auto w : words) {
            if (w) return true;
        }
        return false;
    }
    int countSet() const {
        int n = 0;
        for (auto w : words)
            n += __builtin_popcountll(w);
        return n;
    }
    bool operator==(const BitField& other) const {
        return count == other.count && words == other.words;
    }

  private:
    // Keeps the bits past the end zero so counts and comparisons see only real bits.
    void trim() {
        if (count % 64 != 0 && !words.empty())
            words.back() &= (std::uint64_t(1) << (count % 64)) - 1;
    }

    int count;
    std::vector<std::uint64_t> words;
};

}  // namespace vlUtil
