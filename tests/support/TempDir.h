// A fresh directory under the system's temporary directory for the files of one test; it goes
// with whatever it holds when the object does.
#pragma once

#include <string>
#include <vector>

struct TempDir {
    std::string path;  // empty when no directory could be made
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    // The names of the files in it now.
    std::vector<std::string> files() const;
};
