// vlString::CString, a narrow string value, and vlString::IString, a string that can be handed
// out in an encoding. Both encodings the library knows are UTF-8 bytes on this platform.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vlString {

enum Encoding {
    UTF8 = 0,       // UTF-8 bytes
    Multibyte = 1,  // the narrow locale encoding, taken to be UTF-8
};

class CString {
  public:
    CString() {}
    CString(const char* text) : value(text ? text : "") {}  // NOLINT: text converts implicitly
    CString(const std::string& text) : value(text) {}       // NOLINT
    CString(const CString&) = default;
    CString& operator=(const CString&) = default;
    virtual ~CString() {}

    const char* asChar() const { return value.c_str(); }
    const std::string& str() const { return value; }
    std::size_t length() const { return value.size(); }
    bool isEmpty() const { return value.empty(); }

    // Appends text (null appends nothing) and answers this string.
    CString& plusEqual(const char* text) {
        if (text) value += text;
        return *this;
    }
    CString& plusEqual(const CString& text) {
        value += text.value;
        return *this;
    }
    CString& operator+=(const char* text) { return plusEqual(text); }

    bool operator==(const CString& other) const { return value == other.value; }

  private:
    std::string value;
};

class IString {
  public:
    IString() {}
    // Takes text in the given encoding. ok, when given, tells whether the text was valid in it;
    // invalid bytes are kept as they are.
    IString(const char* text, Encoding encoding = UTF8, bool* ok = nullptr);
    IString(const IString&) = default;
    IString& operator=(const IString&) = default;
    virtual ~IString() {}

    // The text in the given encoding; ok tells whether it was representable without loss.
    CString asMultibyte(Encoding encoding = Multibyte, bool* ok = nullptr) const;
    const char* asUTF8() const { return value.c_str(); }
    const std::string& str() const { return value; }
    bool isEmpty() const { return value.empty(); }
    bool operator==(const IString& other) const { return value == other.value; }

  private:
    std::string value;  // UTF-8
};

// True when the bytes are well-formed UTF-8.
bool isValidUTF8(const char* text, std::size_t length);

}  // namespace vlString

// Writes the decimal text of value, with a leading '-' when negative, into buffer (size bytes,
// 21 are always enough) and answers buffer; a buffer too small gets "" and null is answered.
char* int64ToAscii(std::int64_t value, char* buffer, std::size_t size);
// The decimal text of value as a string value.
vlString::CString int64ToAscii(std::int64_t value);
