// resample.h: the pass over one block of a converter.
#pragma once

#include <tonekit/convert.h>

namespace tonekit {

// CSampleRateConverter3::Resample for input that is stored elsewhere than in inputBuffer.
extern "C" uint32_t ResampleFrom(CSampleRateConverter3 *self, const void *input, uint32_t frames, bool last);

} // namespace tonekit
