// open_source.h: the reader that an input needs.
#pragma once

#include "host/audio/sample_source.h"
#include "host/command_line/options.h"

#include <filesystem>
#include <memory>
#include <string>

namespace tonekit::host {

// What "-" means as an input and as an output.
inline constexpr const char *kStandardStream = "-";
inline constexpr const char *kStandardInput = "standard input";
inline constexpr const char *kStandardOutput = "standard output";

inline bool IsStandardStream(const std::filesystem::path &path)
{
    return path == kStandardStream;
}

// What messages call an output.
std::string NameOfOutput(const std::filesystem::path &output);

// The source, or one around it that keeps what is read for HDCD, which is looked for at the beginning.
std::unique_ptr<SampleSource> ReadableTwice(std::unique_ptr<SampleSource> source);

// Opens an audio file of any type, which messages call by another name. Throws Failure.
std::unique_ptr<SampleSource> OpenAudioFile(const std::filesystem::path &path, const std::string &shownName);

// Opens a file, or standard input for kStandardStream, as the options say. Throws Failure.
std::unique_ptr<SampleSource> OpenSource(const Options &options, const std::filesystem::path &input);

} // namespace tonekit::host
