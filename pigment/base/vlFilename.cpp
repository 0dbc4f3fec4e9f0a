// Path splitting on '/', the only separator on this platform.
// The temporary directory comes from the environment, read on every call.
#include "pigment/base/vlFilename.h"

#include <cstdlib>

namespace vlOS {

std::string Filename::name() const {
    const auto slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string Filename::baseTrunk() const {
    const std::string base = name();
    const auto dot = base.find_last_of('.');
    if (dot == std::string::npos || dot == 0 || base == "..") return base;
    return base.substr(0, dot);
}

std::string Filename::extension() const {
    const std::string base = name();
    const auto dot = base.find_last_of('.');
    if (dot == std::string::npos || dot == 0 || base == "..") return std::string();
    return base.substr(dot + 1);
}

std::string Filename::directory() const {
    const auto slash = path.find_last_of('/');
    if (slash == std::string::npos) return std::string();
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

Filename Filename::appended(const char* part) const {
    std::string result = path;
    if (!result.empty() && result.back() != '/') result += '/';
    if (part) result += part;
    return Filename(result);
}

Filename getTempDirectory() {
    const char* env = std::getenv("TMPDIR");
    std::string dir = (env && *env) ? env : "/tmp";
    while (dir.size() > 1 && dir.back() == '/')
        dir.pop_back();
    return Filename(dir);
}

}  // namespace vlOS
