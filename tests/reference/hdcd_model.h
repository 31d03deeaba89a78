// hdcd_model.h: the decoder bit by bit and sample by sample, slow and plain.
#pragma once

#include <cstdint>
#include <vector>

#include "hdcd/hdcd_state.h"

namespace tonekit::reference {

// How many more bits must arrive before the last 8 of them can be part of a packet prefix; told from the two
// prefixes themselves.
int HdcdReadahead(unsigned lastEight);

// The magnitude that a sample so far above the peak extend level means; index 0 to 9855.
std::uint32_t HdcdPeakValue(int index);

// 2^23 times the factor of a gain in 1/256 dB of attenuation.
std::uint32_t HdcdGainFactor(int gain);

// One sample at a time, from the given states on; gives the frames consumed.
std::int32_t HdcdFindCodes(HdcdChannelState *states, int channels, const std::int32_t *samples,
                           std::int32_t max, std::int32_t stride);

// Each sample's value by its own path along the ramp; gives the gain reached.
std::int32_t HdcdEnvelope(std::int32_t *samples, std::int32_t count, std::int32_t stride, std::int32_t bits,
                          std::int32_t gain, std::int32_t target, bool extend);

std::int32_t HdcdAnalyze(std::int32_t *samples, std::int32_t count, std::int32_t stride, std::int32_t gain,
                         std::int32_t target, bool extend, std::uint32_t mode, std::uint32_t cdtActive,
                         std::int32_t mismatch);

void HdcdProcessChannel(HdcdChannelState *state, std::int32_t *samples, std::int32_t count,
                        std::int32_t stride);
void HdcdProcessLinked(HdcdDecoder *decoder, std::int32_t *samples, std::int32_t count);

// The value of `detected` and all else in the summary, from both channels' counters and the summary so far.
void HdcdUpdateDetection(HdcdDecoder *decoder);

// A block through the exported interface: decodes in place and sums up.
void HdcdProcess(HdcdDecoder *decoder, std::int32_t *samples, std::int32_t frames);

// The fields in which two decoders differ, by name; empty if in none. The log pointers and sinks are not
// compared.
std::vector<const char *> HdcdDifferences(const HdcdDecoder &a, const HdcdDecoder &b);
std::vector<const char *> HdcdDifferences(const HdcdChannelState &a, const HdcdChannelState &b);

} // namespace tonekit::reference
