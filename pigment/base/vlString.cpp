// String encodings and integer formatting. Every encoding the library meets is UTF-8, so the
// conversions check well-formedness and copy bytes.
#include "pigment/base/vlString.h"

namespace vlString {

bool isValidUTF8(const char* text, std::size_t length) {
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    std::size_t i = 0;
    while (i < length) {
        const unsigned c = s[i];
        std::size_t extra;
        std::uint32_t code;
        if (c < 0x80) {
            ++i;
            continue;
        } else if ((c & 0xE0) == 0xC0) {
            extra = 1;
            code = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            extra = 2;
            code = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            extra = 3;
            code = c & 0x07;
        } else {
            return false;
        }
        if (length - i <= extra) return false;
        for (std::size_t k = 1; k <= extra; ++k) {
            if ((s[i + k] & 0xC0) != 0x80) return false;
            code = (code << 6) | (s[i + k] & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF are not UTF-8.
        static const std::uint32_t smallest[4] = {0, 0x80, 0x800, 0x10000};
        if (code < smallest[extra] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            return false;
        }
        i += extra + 1;
    }
    return true;
}

IString::IString(const char* text, Encoding, bool* ok) : value(text ? text : "") {
    if (ok) *ok = isValidUTF8(value.data(), value.size());
}

CString IString::asMultibyte(Encoding, bool* ok) const {
    if (ok) *ok = isValidUTF8(value.data(), value.size());
    return CString(value);
}

}  // namespace vlString

char* int64ToAscii(std::int64_t value, char* buffer, std::size_t size) {
    if (!buffer || size == 0) return nullptr;
    char digits[20];
    int n = 0;
    // Work on the unsigned magnitude so the most negative value needs no special case.
    std::uint64_t magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    do {
        digits[n++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude);
    const std::size_t needed = static_cast<std::size_t>(n) + (value < 0 ? 1 : 0) + 1;
    if (needed > size) {
        buffer[0] = '\0';
        return nullptr;
    }
    char* out = buffer;
    if (value < 0) *out++ = '-';
    while (n > 0)
        *out++ = digits[--n];
    *out = '\0';
    return buffer;
}

vlString::CString int64ToAscii(std::int64_t value) {
    char buffer[24];
    int64ToAscii(value, buffer, sizeof(buffer));
    return vlString::CString(buffer);
}
