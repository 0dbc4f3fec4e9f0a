// Out-of-line members of the shared-object reference count.
// Kept here so every shared object goes through one deletion path.
#include "pigment/base/vlReferenceCount.h"

namespace vl {

ReferenceCount::ReferenceCount() : count(0) {}

ReferenceCount::ReferenceCount(const ReferenceCount&) : count(0) {}

ReferenceCount& ReferenceCount::operator=(const ReferenceCount&) {
    return *this;
}

ReferenceCount::~ReferenceCount() {}

void ReferenceCount::unref() const {
    if (--count == 0) delete this;
}

void TempReferenceCount::destroy() const {
    delete this;
}

}  // namespace vl
