// hdcd_stream.h: finds HDCD in an audio file and decodes it.
#pragma once

#include "host/audio/sample_source.h"

#include <cstdint>
#include <memory>
#include <tonekit/hdcd.h>
#include <vector>

namespace tonekit::host {

// HDCD is stored in the lowest bits of 16 bit stereo.
bool CanCarryHdcd(const SampleSource &source);

enum class HdcdFinding { None, NoEffect, Effective };

// Scans the first minute and goes back to the first frame.
HdcdFinding ScanForHdcd(SampleSource &source);

struct ReleaseHdcdDecoder {
    void operator()(HdcdDecoder *decoder) const { hdcd_free(decoder); }
};
using HdcdDecoderPointer = std::unique_ptr<HdcdDecoder, ReleaseHdcdDecoder>;

// Decodes successive blocks of one stream.
class HdcdStream {
public:
    HdcdStream();

    // Interleaved 16 bit stereo to the samples that the converter takes from HDCD; valid until the next call.
    const int32_t *Decode(const int16_t *samples, uint32_t frames);

private:
    HdcdDecoderPointer decoder_;
    std::vector<int32_t> decoded_;
};

} // namespace tonekit::host
