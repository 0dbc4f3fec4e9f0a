// vlOS::Filename: a path value with the pieces the library asks of it (directory, base trunk,
// extension); getTempDirectory answers where temporary and swap files go.
#pragma once

#include <string>

#include "pigment/base/vlString.h"

namespace vlOS {

class Filename {
  public:
    Filename() {}
    Filename(const vlString::IString& path) : path(path.str()) {}  // NOLINT: paths convert
    Filename(const char* text) : path(text ? text : "") {}         // NOLINT
    Filename(const std::string& text) : path(text) {}              // NOLINT
    Filename(const Filename&) = default;
    Filename& operator=(const Filename&) = default;
    virtual ~Filename() {}

    const char* asChar() const { return path.c_str(); }
    const std::string& str() const { return path; }
    bool isEmpty() const { return path.empty(); }

    // The name without directory and without its last extension: "/a/b.c/d.tar.gz" gives
    // "d.tar"; a leading dot starts a name, not an extension (".profile" stays).
    std::string baseTrunk() const;
    // The last part of the path, extension included.
    std::string name() const;
    // Everything before the last '/', or "" when there is none ("/" for a file in the root).
    std::string directory() const;
    // The last extension without its dot, or "".
    std::string extension() const;
    // This path with a '/' and name added.
    Filename appended(const char* part) const;

    bool operator==(const Filename& other) const { return path == other.path; }

  private:
    std::string path;
};

// TMPDIR when set and not empty, else "/tmp"; without a trailing '/'.
Filename getTempDirectory();

}  // namespace vlOS
