// Log lines go through stdio with a flush per line, so a report survives a crash that follows.
#include "pigment/base/vlAppOutput.h"

#include <cstdarg>
#include <cstring>

namespace vlOS {

AppOutputStream::AppOutputStream() : file(nullptr) {}

AppOutputStream::~AppOutputStream() {
    close();
}

bool AppOutputStream::open(const char* name, bool append) {
    std::lock_guard<std::mutex> lock(guard);
    if (file) std::fclose(file);
    file = name ? std::fopen(name, append ? "a" : "w") : nullptr;
    return file != nullptr;
}

void AppOutputStream::close() {
    std::lock_guard<std::mutex> lock(guard);
    if (file) std::fclose(file);
    file = nullptr;
}

void AppOutputStream::operator()(const char* format, ...) {
    if (!format) return;
    std::lock_guard<std::mutex> lock(guard);
    if (!file) return;
    va_list args;
    va_start(args, format);
    std::vfprintf(file, format, args);
    va_end(args);
    const std::size_t n = std::strlen(format);
    if (n == 0 || format[n - 1] != '\n') std::fputc('\n', file);
    std::fflush(file);
}

AppOutput& AppOutput::getInstance() {
    static AppOutput instance;
    return instance;
}

}  // namespace vlOS
