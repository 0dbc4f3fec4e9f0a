// vlOS environment access: the configuration variables the library reads, and the temporary
// redirection of TMP that the swap files need while they pick a directory.
#pragma once

#include <string>

namespace vlOS {

// True when the variable is set (possibly to an empty text); value receives it.
bool getEnvironment(const char* name, std::string& value);
// True when the variable is set.
bool hasEnvironment(const char* name);
// Sets or replaces the variable; answers success.
bool setEnvironment(const char* name, const char* value);
// Removes the variable; answers success.
bool unsetEnvironment(const char* name);

}  // namespace vlOS
