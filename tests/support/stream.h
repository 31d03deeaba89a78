// stream.h: whole conversions in one call, through the exported interface.
#pragma once

#include <cstdint>
#include <vector>

namespace tonekit {

// A stream of interleaved 64-bit float samples, to the same; span chooses the quality. No dither, no limiter.
std::vector<double> ConvertDouble(const std::vector<double> &input, uint32_t inputChannels,
                                  uint32_t inputRate, uint32_t outputChannels, uint32_t outputRate,
                                  uint32_t span);

// A stream of 64-bit float samples to 16-bit integers at the same rate and channels.
std::vector<int16_t> ConvertTo16(const std::vector<double> &input, uint32_t channels, uint32_t rate,
                                 bool dither);

} // namespace tonekit
