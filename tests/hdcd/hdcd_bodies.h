// hdcd_bodies.h: the family's dispatched functions of one tier, and the audio that its tests share.
#pragma once

#include "hdcd/entries.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <tonekit/hdcd.h>
#include <vector>

namespace tonekit {

using Samples = std::vector<int32_t>;

// Random 16-bit stereo, far from full scale, whose least significant bits are noise too.
inline Samples NoiseFrames(size_t frames, uint64_t seed, int32_t amplitude = 8000)
{
    Random random(seed);
    Samples samples(2 * frames);
    for (int32_t &sample : samples)
        sample = static_cast<int32_t>(random.Below(static_cast<uint32_t>(2 * amplitude))) - amplitude;
    return samples;
}

// Stereo that carries nothing in its least significant bits.
inline Samples SilentBitFrames(size_t frames, int32_t value = 1000)
{
    return Samples(2 * frames, value & ~1);
}

inline int32_t Frames(const Samples &samples)
{
    return static_cast<int32_t>(samples.size() / 2);
}

struct FreeDecoder {
    void operator()(HdcdDecoder *decoder) const { hdcd_free(decoder); }
};
using OwnedDecoder = std::unique_ptr<HdcdDecoder, FreeDecoder>;

inline OwnedDecoder NewDecoder()
{
    return OwnedDecoder(hdcd_new());
}

// A test over all bodies that this processor runs.
class HdcdBodies : public testing::TestWithParam<char> {
protected:
    template <class Function>
    Function *Get(const char *name) const
    {
        return Body<Function>(name, GetParam());
    }

    decltype(hdcd_find_codes) *findCodes = Get<decltype(hdcd_find_codes)>("hdcd_find_codes");
    decltype(hdcd_envelope) *envelope = Get<decltype(hdcd_envelope)>("hdcd_envelope");
    decltype(EnvelopeLinked) *envelopeLinked = Get<decltype(EnvelopeLinked)>("EnvelopeLinked");
    decltype(hdcd_process_channel) *processChannel =
        Get<decltype(hdcd_process_channel)>("hdcd_process_channel");
    decltype(hdcd_process_linked) *processLinked = Get<decltype(hdcd_process_linked)>("hdcd_process_linked");
    decltype(hdcd_scan) *scan = Get<decltype(hdcd_scan)>("hdcd_scan");
    decltype(hdcd_scan16) *scan16 = Get<decltype(hdcd_scan16)>("hdcd_scan16");
};

inline std::string NameOfBody(const testing::TestParamInfo<char> &body)
{
    return std::string(1, body.param);
}

// Instantiates the tests of a fixture for each body.
#define TONEKIT_HDCD_BODIES(fixture)                                                                         \
    INSTANTIATE_TEST_SUITE_P(Bodies, fixture, testing::ValuesIn(RunnableLetters()), NameOfBody)

} // namespace tonekit
