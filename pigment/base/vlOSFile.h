// The operating-system layer for files, timing, debug output and process exit. The rest of the
// library calls these instead of POSIX, so the platform is mapped in one place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vlOS {

// A path in directory, starting with prefix, of a file that does not exist now (prefix, process
// id, a counter and random letters). A null or empty directory means getTempDirectory().
std::string uniqueTempName(const char* directory, const char* prefix);

// Creates (or truncates) path for reading and writing, private to the user; answers the
// descriptor, or -1.
int fileCreateReadWrite(const char* path);
// Creates path for reading and writing, private to the user (mode 0600), only if nothing stands
// there: an existing file or a planted link fails rather than being opened or followed. Answers
// the descriptor, or -1.
int fileCreateExclusive(const char* path);
// Opens an existing file for reading and writing; answers the descriptor, or -1.
int fileOpenReadWrite(const char* path);
// Moves to the absolute offset; answers the new position, or -1.
std::int64_t fileSeek(int fd, std::int64_t offset);
// Move all bytes, going on after partial transfers and interruptions; answer the bytes moved
// (fewer than asked only at the end of the file on reading), or -1 on failure.
std::int64_t fileWrite(int fd, const void* data, std::size_t bytes);
std::int64_t fileRead(int fd, void* data, std::size_t bytes);
// Answers 0, or -1.
int fileClose(int fd);
bool fileDelete(const char* path);
// Makes the file an ordinary one the user may read and write (mode 0600).
bool fileSetNormalAttributes(const char* path);
bool fileExists(const char* path);
// Creates a directory private to the user; answers success (also when it exists).
bool directoryCreate(const char* path);
// Removes an empty directory; answers success.
bool directoryDelete(const char* path);
// Whether path is a directory in which the user may create files; when not, lastErrorText says
// why.
bool directoryWritable(const char* path);
// Bytes an unprivileged user may still write on the file system holding path; 0 when unknown.
std::uint64_t freeDiskSpace(const char* path);

// Test support: while an error number is set, fileCreateExclusive, fileWrite or fileRead does
// nothing and fails with it, as a full or failing disk would; 0 lets the call through again.
void setFileFaultsForTest(int createError, int writeError, int readError);

void clearLastError();
// The system's text for the last failure of the calls above.
const char* lastErrorText();

// The debugger channel: the text as it is on standard error.
void debugOutput(const char* text);

void sleepMs(int milliseconds);
// A monotonic tick count, and the ticks in a second.
std::uint64_t performanceCounter();
std::uint64_t performanceFrequency();

// Runs fn when the process exits normally (std::atexit).
void atProcessExit(void (*fn)());

}  // namespace vlOS
