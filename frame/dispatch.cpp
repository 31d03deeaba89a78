// dispatch.cpp: selects the body of each dispatched function.
#include "frame/dispatch.h"

#include "frame/processor.h"

namespace tonekit {

void SelectBodies(uint64_t featureWord)
{
    const DispatchRow *row = tonekit_dispatch_rows;
    for (const uint64_t *unit = tonekit_dispatch_units; *unit != 0; ++unit) {
        const unsigned tier = ChooseTier(featureWord);
        for (const DispatchRow *end = row + *unit; row != end; ++row)
            *row->slot = row->bodies[tier];
    }
}

} // namespace tonekit
