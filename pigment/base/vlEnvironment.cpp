// The process environment, read through getenv.
#include "pigment/base/vlEnvironment.h"

#include <cstdlib>

namespace vlOS {

bool getEnvironment(const char* name, std::string& value) {
    const char* text = name ? std::getenv(name) : nullptr;
    if (!text) return false;
    value = text;
    return true;
}

bool hasEnvironment(const char* name) {
    return name && std::getenv(name) != nullptr;
}

}  // namespace vlOS
