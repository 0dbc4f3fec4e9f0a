#include "support/TempDir.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/pigmenttestXXXXXX";
    if (mkdtemp(pattern.data())) path = pattern;
}

TempDir::~TempDir() {
    for (const std::string& f : files())
        unlink((path + "/" + f).c_str());
    if (!path.empty()) rmdir(path.c_str());
}

std::vector<std::string> TempDir::files() const {
    std::vector<std::string> names;
    if (DIR* dir = opendir(path.c_str())) {
        while (dirent* entry = readdir(dir))
            if (std::strcmp(entry->d_name, ".") && std::strcmp(entry->d_name, ".."))
                names.push_back(entry->d_name);
        closedir(dir);
    }
    return names;
}
