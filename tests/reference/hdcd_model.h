// hdcd_model.h: the decoder bit by bit and sample by sample, slow and plain.
#pragma once

#include "hdcd/hdcd_state.h"

#include <cstdint>
#include <vector>

namespace tonekit::reference {

// How many more bits must arrive before the last 8 of them can be part of a packet prefix; found from the two
// prefixes themselves.
int HdcdReadahead(unsigned lastEight);

// The magnitude that a sample so far above the peak extend level means; index 0 to 9855.
uint32_t HdcdPeakValue(int index);

// 2^23 times the factor of a gain in 1/256 dB of attenuation.
uint32_t HdcdGainFactor(int gain);

// One sample at a time, from the given states on; returns the frames consumed.
int32_t HdcdFindCodes(HdcdChannelState *states, int channels, const int32_t *samples, int32_t max,
                      int32_t stride);

// Each sample's value by its own path along the ramp; returns the gain reached.
int32_t HdcdEnvelope(int32_t *samples, int32_t count, int32_t stride, int32_t bits, int32_t gain,
                     int32_t target, bool extend);

int32_t HdcdAnalyze(int32_t *samples, int32_t count, int32_t stride, int32_t gain, int32_t target,
                    bool extend, uint32_t mode, uint32_t cdtActive, int32_t mismatch);

void HdcdProcessChannel(HdcdChannelState *state, int32_t *samples, int32_t count, int32_t stride);
void HdcdProcessLinked(HdcdDecoder *decoder, int32_t *samples, int32_t count);

// The value of `detected` and all else in the summary, from both channels' counters and the summary so far.
void HdcdUpdateDetection(HdcdDecoder *decoder);

// A block through the exported interface: decodes in place and sums up.
void HdcdProcess(HdcdDecoder *decoder, int32_t *samples, int32_t frames);

// The fields in which two decoders differ, by name; empty if in none. The log pointers and sinks are not
// compared.
std::vector<const char *> HdcdDifferences(const HdcdDecoder &a, const HdcdDecoder &b);
std::vector<const char *> HdcdDifferences(const HdcdChannelState &a, const HdcdChannelState &b);

} // namespace tonekit::reference
