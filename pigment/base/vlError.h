// vlUtil::Error: the result value of base operations such as starting a thread.
// Code 0 is success; any other code carries a text telling what went wrong.
#pragma once

#include <string>

namespace vlUtil {

class Error {
  public:
    Error() : errorCode(0) {}
    Error(int code, const char* text) : errorCode(code), message(text ? text : "") {}
    Error(int code, const std::string& text) : errorCode(code), message(text) {}
    Error(const Error&) = default;
    Error& operator=(const Error&) = default;
    virtual ~Error() {}

    int code() const { return errorCode; }
    const char* text() const { return message.c_str(); }
    bool isOk() const { return errorCode == 0; }
    bool isError() const { return errorCode != 0; }
    // Back to success.
    void clear() {
        errorCode = 0;
        message.clear();
    }
    void set(int code, const char* text) { *this = Error(code, text); }

  private:
    int errorCode;
    std::string message;
};

}  // namespace vlUtil
