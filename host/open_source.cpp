// open_source.cpp: chooses the reader of an input.
#include "host/open_source.h"

#include "host/audio_reader.h"
#include "host/failure.h"
#include "host/hdcd_stream.h"
#include "host/paths.h"
#include "host/raw_reader.h"
#include "host/recorded_source.h"

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
    return std::make_unique<AudioReader>(std::move(stream), kStandardInput);
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
    return std::make_unique<AudioReader>(input);
}

} // namespace tonekit::host
