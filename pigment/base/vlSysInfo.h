// vlOS::SysInfo: what the machine offers, processors and physical memory in bytes.
// One process-wide instance is answered by vlOS::sysInfo().
#pragma once

#include <cstdint>

namespace vlOS {

class SysInfo {
  public:
    SysInfo();
    virtual ~SysInfo();

    // Processors this process may run on, at least 1; read once at construction.
    int numCPUs() const { return cpus; }
    // Physical memory of the machine in bytes.
    std::uint64_t totalPhysicalMemory() const;
    // Memory available to new work now, in bytes (MemAvailable where the system reports it).
    std::uint64_t availPhysicalMemory() const;

  private:
    int cpus;
};

const SysInfo& sysInfo();

}  // namespace vlOS
