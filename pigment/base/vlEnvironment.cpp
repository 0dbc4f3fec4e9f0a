// The process environment through getenv, setenv and unsetenv.
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

bool setEnvironment(const char* name, const char* value) {
    return name && *name && ::setenv(name, value ? value : "", 1) == 0;
}

bool unsetEnvironment(const char* name) {
    return name && *name && ::unsetenv(name) == 0;
}

}  // namespace vlOS
