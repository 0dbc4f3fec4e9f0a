// Processor count from the affinity mask, memory from sysconf and /proc/meminfo.
// The affinity mask is preferred because containers often grant fewer processors than exist.
#include "pigment/base/vlSysInfo.h"

#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace vlOS {

namespace {

int countProcessors() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) == 0) {
        const int n = CPU_COUNT(&set);
        if (n > 0) return n;
    }
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<int>(n) : 1;
}

std::uint64_t pagesTimesSize(int name) {
    const long pages = sysconf(name);
    const long page = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || page <= 0) return 0;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(page);
}

// A "Key:   value kB" line of /proc/meminfo in bytes, or 0 when it is missing.
std::uint64_t meminfoBytes(const char* key) {
    std::FILE* f = std::fopen("/proc/meminfo", "r");
    if (!f) return 0;
    char line[256];
    std::uint64_t result = 0;
    const std::size_t keyLength = std::strlen(key);
    while (std::fgets(line, sizeof(line), f)) {
        if (std::strncmp(line, key, keyLength) == 0 && line[keyLength] == ':') {
            unsigned long long kb = 0;
            if (std::sscanf(line + keyLength + 1, "%llu", &kb) == 1) result = kb * 1024ULL;
            break;
        }
    }
    std::fclose(f);
    return result;
}

}  // namespace

SysInfo::SysInfo() : cpus(countProcessors()) {}

SysInfo::~SysInfo() {}

std::uint64_t SysInfo::totalPhysicalMemory() const {
    const std::uint64_t bytes = pagesTimesSize(_SC_PHYS_PAGES);
    return bytes ? bytes : meminfoBytes("MemTotal");
}

std::uint64_t SysInfo::availPhysicalMemory() const {
    const std::uint64_t bytes = meminfoBytes("MemAvailable");
    return bytes ? bytes : pagesTimesSize(_SC_AVPHYS_PAGES);
}

const SysInfo& sysInfo() {
    static const SysInfo instance;
    return instance;
}

}  // namespace vlOS
