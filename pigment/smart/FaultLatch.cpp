// Storage of the process-wide fault latch.
#include "pigment/smart/FaultLatch.h"

std::uint32_t FaultLatch = 0;

void ResetFaultLatchForTest() {
    FaultLatch = 0;
}
