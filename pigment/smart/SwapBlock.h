// One fixed-size slot of a swap file: where a page's bytes are kept while the page is out of
// memory. Blocks never move; freed ones are reused.
#pragma once

#include <cstdint>

#include "pigment/smart/PageData.h"

struct SwapBlock {
    std::uint32_t signature = kSmartLiveSignature;
    SwapBlock* next = nullptr;
    SwapBlock* prev = nullptr;
    // Byte position in the file, fixed when the block is made.
    std::int64_t offset = 0;
    // Result of the last seek, and bytes of the last write, for the read failure message.
    std::int64_t lastSeek = 0;
    std::uint32_t size = 0;
    std::int32_t lastWritten = 0;
};
