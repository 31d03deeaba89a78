// sound_sum.h: all that can be read of a source's sound, as a sum, to be compared with what another gives.
#pragma once

#include "fuzz/input_bytes.h"
#include "host/audio/sample_source.h"
#include "host/system/failure.h"

#include <cstdint>
#include <vector>

namespace tonekit::fuzz {

struct SoundSum {
    host::AudioFormat format;
    uint64_t frames = 0;
    uint64_t sum = 0xCBF29CE484222325; // FNV-1a
    bool whole = false;                // not ended by a refusal
    bool operator==(const SoundSum &) const = default;
};

// Few bytes can stand for hours of silence: no more than so many frames are read, rounded up to a block.
inline SoundSum SumOf(host::SampleSource &source, uint64_t mostFrames)
{
    constexpr uint32_t kFrames = 4096;
    SoundSum sound;
    sound.format = source.format();
    std::vector<uint8_t> samples(size_t{kFrames} * sound.format.FrameBytes());
    try {
        for (uint32_t got = 1; got > 0 && sound.frames < mostFrames; sound.frames += got) {
            got = source.Read(samples.data(), kFrames);
            Require(got <= kFrames);
            for (size_t i = 0; i < size_t{got} * sound.format.FrameBytes(); ++i)
                sound.sum = (sound.sum ^ samples[i]) * 0x100000001B3;
        }
        sound.whole = true;
    } catch (const host::Failure &) { // what was read before is compared
    }
    return sound;
}

} // namespace tonekit::fuzz
