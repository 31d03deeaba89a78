// option_values.h: reads the values that options take from their text.
#pragma once

#include "host/command_line/options.h"
#include "host/system/failure.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace tonekit::host {

// Every function throws UsageError where the text is no such value, with the end of a sentence that begins
// with the option's name.

template <class Value>
struct Choice {
    const char *name;
    Value value;
};

template <class Value, size_t N>
Value Choose(const std::string &text, const Choice<Value> (&choices)[N])
{
    std::string names;
    for (const Choice<Value> &choice : choices) {
        if (text == choice.name)
            return choice.value;
        names += (names.empty() ? "" : ", ") + std::string(choice.name);
    }
    throw UsageError("must be one of: " + names);
}

uint32_t Number(const std::string &text, uint32_t lowest, uint32_t highest);
// Hertz, or kilohertz with a k after the number: 44100, 44.1k
uint32_t Rate(const std::string &text);
// Bits a second, or kilobits with a k after the number: 192000, 192k
uint32_t BitRate(const std::string &text);
// 0 to 10, in tenths.
double VbrQuality(const std::string &text);
uint32_t Channels(const std::string &text);
SampleFormat Bits(const std::string &text);
// A container by any of its extensions, with or without the dot.
ContainerKind Type(const std::string &text);
// KEY=VALUE into the options; the last value of a key is the one that counts.
void SetTag(Options &options, const std::string &text);
// "album", or "track" as without a value.
bool ReplayGainOfAlbums(const std::string &text);
// Decibels, with a sign or without, with "dB" after them or without.
double Decibels(const std::string &text);
// LUFS, or the word "replaygain" for its reference.
double LoudnessTarget(const std::string &text);
// A position in units of 100 ns.
uint64_t Position(const std::string &text);
// FORMAT,RATE,CHANNELS of headerless outputs, of which the last may be missing.
void SetRawOutput(Options &options, const std::string &text);
std::string FileName(const std::string &text);
// A file whose name says that it is a PNG, so that nothing else is taken for the picture that is to be
// written.
std::string PictureName(const std::string &text);
// A template of file names that makes sense.
std::string Template(const std::string &text);

} // namespace tonekit::host
