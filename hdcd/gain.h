// gain.h: what the gain stage of linked channels works on.
#pragma once

#include "hdcd/hdcd_state.h"

namespace tonekit {

// How the gain stage treats both channels of a linked run.
struct LinkedGain {
    int32_t bits[2];
    int32_t extend[2];
    int32_t gain[2]; // in force; moved on by the run
    int32_t target;
};

} // namespace tonekit
