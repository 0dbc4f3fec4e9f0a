// The transfer engine between any two layouts and types, with regions, exclusions and solid
// sources, against the scalar reference, with the fast path on and off.
#include "FuzzSupport.h"
#include "support/TransferCases.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ref::Rng rng(data, size);
    for (int n = 0; n < 16 && (n == 0 || !rng.exhausted()); ++n) {
        ref::Side d, s;
        ref::randomMove(rng, d, s);
        const ref::Outcome o = ref::runBoth(d, s, rng.oneIn(2));
        if (!o.sourceKept) fuzzFail("transfer", "the source changed: " + s.describe());
        if (o.engine != o.reference)
            fuzzFail("transfer", "move " + std::to_string(n) + "\n dest   " + d.describe() +
                                     "\n source " + s.describe());
    }
    return 0;
}
