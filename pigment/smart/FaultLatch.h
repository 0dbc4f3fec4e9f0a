// The sticky fault latch of the smart-image subsystem: the first failed consistency test sets it,
// and from then on no page is evicted and the cache budget stays as it is.
#pragma once

#include <cstdint>

// 0 while every consistency test has held; the shut-down handler sets it as well.
extern std::uint32_t FaultLatch;

// A consistency test: when condition is false and the latch is still clear, the latch is set. The
// running operation goes on either way.
inline void SmartFault(int condition) {
    if (!condition && FaultLatch == 0) FaultLatch = 1;
}

// Clears the latch. For tests only: the library itself never clears it.
void ResetFaultLatchForTest();
