// open_source.cpp: chooses the reader of an input.
#include "host/open_source.h"

#include "host/audio/audio_reader.h"
#include "host/audio/raw_reader.h"
#include "host/audio/recorded_source.h"
#include "host/libav/coded_type.h"
#include "host/libav/libav_files.h"
#include "host/processing/hdcd_stream.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/system/paths.h"

#include <utility>

namespace tonekit::host {

namespace {

std::unique_ptr<SampleSource> OpenStandardInput(const Options &options)
{
    File stream;
    if (const std::error_code error = stream.OpenStandardInput())
        throw Failure(std::string(kStandardInput) + ": " + error.message());
    if (options.raw)
        return std::make_unique<RawReader>(std::move(stream), kStandardInput, *options.raw);
    auto pipe = std::make_unique<PipeInput>(std::move(stream), MemoryLimit());
    const std::string type = CodedTypeOf(*pipe);
    if (InterruptNoted())
        throw Interrupted();
    if (type == "MP4")
        pipe->AllowSkips();
    if (!type.empty())
        return OpenThroughLibav(std::move(pipe), kStandardInput);
    return std::make_unique<AudioReader>(std::move(pipe), kStandardInput);
}

// Anything but a file has another reader's message, and none of it is read.
std::string TypeOfFile(const std::filesystem::path &path)
{
    std::error_code error;
    File file;
    if (!std::filesystem::is_regular_file(path, error) || file.OpenToRead(path))
        return "";
    return CodedTypeOf(file);
}

} // namespace

std::string NameOfOutput(const std::filesystem::path &output)
{
    return IsStandardStream(output) ? kStandardOutput : Utf8Name(output);
}

std::unique_ptr<SampleSource> ReadableTwice(std::unique_ptr<SampleSource> source)
{
    if (source->CanRewind() || !CanCarryHdcd(*source))
        return source;
    return std::make_unique<RecordedSource>(std::move(source));
}

std::unique_ptr<SampleSource> OpenSource(const Options &options, const std::filesystem::path &input)
{
    if (IsStandardStream(input))
        return OpenStandardInput(options);
    if (options.raw)
        return std::make_unique<RawReader>(input, *options.raw);
    return OpenAudioFile(input, Utf8Name(input));
}

std::unique_ptr<SampleSource> OpenAudioFile(const std::filesystem::path &path, const std::string &shownName)
{
    if (!TypeOfFile(path).empty())
        return OpenThroughLibav(path, shownName);
    try {
        return std::make_unique<AudioReader>(path, shownName);
    } catch (const UnknownType &) {
        if (!IsBuiltWithLibav())
            throw;
        try {
            return OpenThroughLibav(path, shownName);
        } catch (const Failure &) { // what the first reader has to say is said
        }
        throw;
    }
}

} // namespace tonekit::host
