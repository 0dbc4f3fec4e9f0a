// Storage of the host's callback table: zero-initialised at load, so an unset entry reads null.
#include "pigment/frame/PigmentCallbacks.h"

namespace {
PigmentCallbacks table{};
}

PigmentCallbacks* PigmentCB() {
    return &table;
}
