// POSIX files, steady-clock timing and standard error behind the vlOS calls.
// Transfers loop over short counts and EINTR so callers see whole blocks or a failure.
#include "pigment/base/vlOSFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

#include "pigment/base/vlFilename.h"

namespace vlOS {

std::string uniqueTempName(const char* directory, const char* prefix) {
    static std::atomic<unsigned> counter{0};
    std::string dir = (directory && *directory) ? directory : getTempDirectory().str();
    if (dir.size() > 1 && dir.back() == '/') dir.pop_back();
    const std::string start = dir + "/" + (prefix ? prefix : "");
    std::random_device device;
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    for (;;) {
        std::string name = start + std::to_string(static_cast<long>(getpid())) + "_" +
                           std::to_string(counter.fetch_add(1)) + "_";
        unsigned r = device();
        for (int i = 0; i < 6; ++i) {
            name += letters[r % 36];
            r /= 36;
        }
        // Absent, or in a directory that cannot be searched: then the create reports it.
        struct stat st;
        if (::lstat(name.c_str(), &st) != 0) return name;
    }
}

int fileCreateReadWrite(const char* path) {
    if (!path) return -1;
    int fd;
    do {
        fd = ::open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

namespace {
std::atomic<int> createFault{0}, writeFault{0}, readFault{0};
}  // namespace

void setFileFaultsForTest(int createError, int writeError, int readError) {
    createFault = createError;
    writeFault = writeError;
    readFault = readError;
}

int fileCreateExclusive(const char* path) {
    if (!path) return -1;
    if (const int fault = createFault) {
        errno = fault;
        return -1;
    }
    int fd;
    do {
        fd = ::open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

int fileOpenReadWrite(const char* path) {
    if (!path) return -1;
    int fd;
    do {
        fd = ::open(path, O_RDWR | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

std::int64_t fileSeek(int fd, std::int64_t offset) {
    if (offset < 0) {
        errno = EINVAL;
        return -1;
    }
    const off_t at = ::lseek(fd, static_cast<off_t>(offset), SEEK_SET);
    return at < 0 ? -1 : static_cast<std::int64_t>(at);
}

std::int64_t fileWrite(int fd, const void* data, std::size_t bytes) {
    if (!data && bytes) {
        errno = EINVAL;
        return -1;
    }
    if (const int fault = writeFault) {
        errno = fault;
        return -1;
    }
    const char* p = static_cast<const char*>(data);
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::write(fd, p + done, bytes - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (n == 0) break;
        done += static_cast<std::size_t>(n);
    }
    return static_cast<std::int64_t>(done);
}

std::int64_t fileRead(int fd, void* data, std::size_t bytes) {
    if (!data && bytes) {
        errno = EINVAL;
        return -1;
    }
    if (const int fault = readFault) {
        errno = fault;
        return -1;
    }
    char* p = static_cast<char*>(data);
    std::size_t done = 0;
    while (done < bytes) {
        const ssize_t n = ::read(fd, p + done, bytes - done);
        if (n < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        if (n == 0) break;  // end of file
        done += static_cast<std::size_t>(n);
    }
    return static_cast<std::int64_t>(done);
}

int fileClose(int fd) {
    return ::close(fd) == 0 ? 0 : -1;
}

bool fileDelete(const char* path) {
    return path && ::unlink(path) == 0;
}

bool fileSetNormalAttributes(const char* path) {
    return path && ::chmod(path, 0600) == 0;
}

bool fileExists(const char* path) {
    struct stat st;
    return path && ::stat(path, &st) == 0;
}

bool directoryCreate(const char* path) {
    if (!path) return false;
    if (::mkdir(path, 0700) == 0) return true;
    struct stat st;
    return errno == EEXIST && ::stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

std::uint64_t freeDiskSpace(const char* path) {
    struct statvfs info;
    if (!path || statvfs(path, &info) != 0) return 0;
    return static_cast<std::uint64_t>(info.f_bavail) * info.f_frsize;
}

bool directoryDelete(const char* path) {
    return path && ::rmdir(path) == 0;
}

bool directoryWritable(const char* path) {
    struct stat st;
    if (!path || !*path || ::stat(path, &st) != 0) return false;
    if (!S_ISDIR(st.st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    return ::access(path, W_OK | X_OK) == 0;
}

void clearLastError() {
    errno = 0;
}

const char* lastErrorText() {
    // strerror_r (the GNU form) keeps threads from overwriting each other's text.
    thread_local char text[256];
    return strerror_r(errno, text, sizeof(text));
}

void debugOutput(const char* text) {
    if (!text) return;
    std::fputs(text, stderr);
    std::fflush(stderr);
}

void sleepMs(int milliseconds) {
    if (milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

std::uint64_t performanceCounter() {
    const auto t = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(t).count());
}

std::uint64_t performanceFrequency() {
    return 1000000000ULL;
}

void atProcessExit(void (*fn)()) {
    if (fn) std::atexit(fn);
}

}  // namespace vlOS
