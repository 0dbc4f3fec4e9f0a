// Facts about element types (size, range, signedness) and the process-wide fatal error slot that
// pixel allocators use to tell the application what went wrong.
#pragma once

#include <cstdint>

#include "pigment/frame/ilTypes.h"

// Bytes for count elements of type; ilBit packs eight to a byte. Unknown types give 0.
int64_t ilDataSize(ilType type, int64_t count);
double ilDataMin(ilType type);
double ilDataMax(ilType type);
// The type masked with the signed types (468): non-zero for signed types, and that mask value,
// not 1.
int ilDataIsSigned(ilType type);

// Keeps a private copy of text (null empties the slot); the text stays valid until the next call.
void ilSetFatalError(const char* text);
const char* ilGetFatalError();
