// vlOS environment access: the configuration variables the library reads. The library never
// writes the environment, which other threads may be reading.
#pragma once

#include <string>

namespace vlOS {

// True when the variable is set (possibly to an empty text); value receives it.
bool getEnvironment(const char* name, std::string& value);
// True when the variable is set.
bool hasEnvironment(const char* name);

}  // namespace vlOS
