// Anonymous private mappings for large blocks, so freeing returns memory to the system at once.
// Under AddressSanitizer the blocks come from malloc instead, so the sanitizer guards them.
#include "pigment/base/vlLargeHeap.h"

#if defined(__SANITIZE_ADDRESS__)
#include <cstdlib>
#else
#include <sys/mman.h>
#endif

namespace vlOS {

void* largeHeapAlloc(std::size_t bytes) {
    if (bytes == 0) return nullptr;
#if defined(__SANITIZE_ADDRESS__)
    return std::calloc(1, bytes);
#else
    void* block =
        ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return block == MAP_FAILED ? nullptr : block;
#endif
}

void largeHeapFree(void* block, std::size_t bytes) {
    if (!block) return;
#if defined(__SANITIZE_ADDRESS__)
    (void)bytes;
    std::free(block);
#else
    ::munmap(block, bytes);
#endif
}

}  // namespace vlOS
