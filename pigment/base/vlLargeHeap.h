// The private heap for large pixel blocks: whole pages mapped from the system and given back
// on free. The caller passes the same size to free that it allocated.
#pragma once

#include <cstddef>

namespace vlOS {

// A zero-filled block of bytes, aligned for any scalar type (page aligned outside sanitizer
// builds); null when bytes is 0 or memory is short.
// Never throws.
void* largeHeapAlloc(std::size_t bytes);
// Gives back a block from largeHeapAlloc of the same size; null is ignored.
void largeHeapFree(void* block, std::size_t bytes);

}  // namespace vlOS
