// encoder_settings.h: what the command line asks of the coder of a file type.
#pragma once

#include "host/audio/container.h"
#include "host/audio/sample_format.h"

#include <cstdint>
#include <optional>
#include <sndfile.h>
#include <string>

namespace tonekit::host {

// What isn't set is left to the coder.
struct EncoderSettings {
    std::optional<uint32_t> bitRate;     // bits a second
    std::optional<double> vbrQuality;    // 0 (smallest files) to 10 (best sound)
    std::optional<uint32_t> compression; // 0 (fastest) to 8 (smallest files)

    bool Any() const { return bitRate || vbrQuality || compression; }
    bool operator==(const EncoderSettings &) const = default;
};

// Why the type of file has no such settings, as the end of a sentence that begins with the container's name;
// empty if it has.
std::string Objection(const Container &container, const EncoderSettings &settings);

// The same for the bit rate of a stream of this form.
std::string BitRateObjection(const Container &container, const AudioFormat &format,
                             const EncoderSettings &settings);

// Sets up the coder of a file that is open to be written and has no samples yet. Returns false if the coder
// refuses.
bool ApplySettings(SNDFILE *handle, const Container &container, const AudioFormat &format,
                   const EncoderSettings &settings);

// "192 kbit/s", "VBR quality 7.5" or "compression 8"; empty without settings
std::string NameOf(const EncoderSettings &settings);

} // namespace tonekit::host
