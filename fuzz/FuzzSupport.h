// What the fuzz targets share: the entry point libFuzzer calls, the one place a failure passes
// through, and the host setup every canvas needs. The same sources build as plain drivers that
// replay a corpus when no fuzzing engine is at hand.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Prints what went wrong and aborts, so that the fuzzer keeps the input and a replay fails.
[[noreturn]] void fuzzFail(const char* target, const std::string& what);

// Memory probes for the page cache (a 16 MiB machine, so that the budget sits at its floor) and a
// private swap directory; safe to call on every input.
void fuzzHost();
