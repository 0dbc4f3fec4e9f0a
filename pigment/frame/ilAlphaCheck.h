// Alpha rules for packed premultiplied pixels (red in the low byte, alpha in the top byte): the
// classification of offending colours and the three repairs, for pages and for plain buffers.
#pragma once

#include <cstddef>
#include <cstdint>

// Classification codes: no colour byte exceeds its alpha.
constexpr int ilAlphaClean = 0;
// Offenders, but no colour exceeds its alpha by 3 or more.
constexpr int ilAlphaSmallExcess = 1;
// Offenders by 3 or more, and some alpha is not 0.
constexpr int ilAlphaNotPremultiplied = 2;
// Offenders by 3 or more, and every alpha is 0.
constexpr int ilAlphaMissing = 3;

// Repair codes, by the classification each one answers.
constexpr int ilAlphaRepairBump = 1;
constexpr int ilAlphaRepairPremultiply = 2;
constexpr int ilAlphaRepairOpaque = 3;

// The classification of count pixels.
int ilCheckAlpha(const std::uint32_t* pixels, std::size_t count);
// Applies one repair code to count pixels; other codes do nothing.
void ilRepairAlpha(std::uint32_t* pixels, std::size_t count, int repair);
// Classifies the buffer and repairs it by the code found, printing the repair's warning. Answers
// the classification.
int ilForceAlphaValid(std::uint32_t* pixels, std::size_t count);
