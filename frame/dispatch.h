// dispatch.h: writes the slots through which exported and dispatched functions reach their bodies.
#pragma once

#include "frame/processor.h"

#include <cstdint>

namespace tonekit {

// A dispatched function: its slot and its bodies in the order of kTierLetters.
struct DispatchRow {
    void **slot;
    void *bodies[kTierCount];
};

// Writes into every slot the body of the tier that fits the feature word, unit by unit. At load it runs once;
// afterwards only tests and benchmarks may call it, and only while no dispatched function runs.
void SelectBodies(uint64_t featureWord);

} // namespace tonekit

extern "C" {
// From the dispatch list. Rows are in the order of the list; units holds the row count of each unit, then 0.
extern const tonekit::DispatchRow tonekit_dispatch_rows[];
extern const uint64_t tonekit_dispatch_units[];
}
