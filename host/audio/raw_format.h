// raw_format.h: samples without any header, described by words: s16le,44100,2
#pragma once

#include "host/audio/sample_format.h"

#include <optional>
#include <string>

namespace tonekit::host {

struct RawFormat {
    AudioFormat audio; // rate and channels are 0 where they aren't said
    bool bigEndian = false;
    bool signedBytes = false; // samples of 8 bits have silence at 0, not at 128

    bool operator==(const RawFormat &) const = default;
};

// Reads FORMAT,RATE,CHANNELS. Throws UsageError.
RawFormat RawFormatFrom(const std::string &text);
// Reads FORMAT, after which rate, or rate and channels, may be missing. Throws UsageError.
RawFormat RawFormatInPart(const std::string &text);

} // namespace tonekit::host
