// converters.h: our converter and its peers with one interface, for measuring speed and quality alike.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tonekit {

// Whole conversions of interleaved samples.
struct Converter {
    std::string name;
    std::function<std::vector<double>(const std::vector<double> &input, uint32_t channels, uint32_t inputRate,
                                      uint32_t outputRate)>
        convert;
};

// libsamplerate's best sinc, libswresample as it is set up by default, and sox rate -v. What isn't there is
// left out.
std::vector<Converter> PeerConverters();

// The peers in more of their settings: those above; libsamplerate's medium sinc; libswresample with a filter
// of 256 taps at exact phases; zita-resampler with its longest usual filter; speexdsp at its best quality.
std::vector<Converter> MorePeerConverters();

} // namespace tonekit
