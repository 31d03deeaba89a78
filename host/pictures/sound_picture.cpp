// sound_picture.cpp: feeds spectrograms and writes their picture.
#include "host/pictures/sound_picture.h"

#include "host/open_input.h"
#include "host/open_source.h"
#include "host/pictures/spectrogram_picture.h"
#include "host/report/report_parts.h"
#include "host/system/failure.h"
#include "host/system/paths.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <vector>

namespace tonekit::host {

namespace {

constexpr uint32_t kReadFrames = 16384;

// Two sounds have one axis of frequencies, on which the one of the lower rate has fewer rows.
void Begin(std::optional<Spectrogram> &spectrogram, const DrawnStream &stream,
           const std::optional<DrawnStream> &other)
{
    const AudioFormat &format = stream.format;
    const AudioFormat &second = other ? other->format : format;
    const auto partsOf = [](uint32_t channels) { return channels <= 8 ? channels : 1; };
    const uint32_t all = SpectrogramRows(std::max(partsOf(format.channels), partsOf(second.channels)));
    const double rows = 1.0 * all * format.rate / std::max(format.rate, second.rate);
    spectrogram.emplace(format, stream.frames, static_cast<uint32_t>(std::max(1.0, std::round(rows))),
                        SpectrogramColumns(static_cast<double>(stream.frames) / format.rate, other ? 2 : 1));
}

void StartTaking(std::optional<SideSink> &sink, Spectrogram &spectrogram, bool ownThread)
{
    sink.emplace([&spectrogram](const void *samples, uint32_t frames) { spectrogram.Take(samples, frames); },
                 spectrogram.format().FrameBytes(), ownThread);
}

DrawnSound Titled(const Spectrogram &spectrogram, const StreamReport &stream, const std::string &before)
{
    const std::string name = Utf8Name(PathFromUtf8(stream.path).filename());
    return {&spectrogram, before + (name.empty() ? stream.path : name),
            stream.type + ", " + FormatText(stream)};
}

} // namespace

SoundPicture::SoundPicture(const std::filesystem::path &file, const DrawnStream &input,
                           const std::optional<DrawnStream> &output, bool ownThreads)
    : file_(file), target_(file)
{
    Begin(input_, input, output);
    StartTaking(taking_, *input_, ownThreads);
    if (!output)
        return;
    Begin(output_, *output, input);
    StartTaking(takingOutput_, *output_, ownThreads);
}

void SoundPicture::TakeOutput(const void *samples, uint32_t frames)
{
    if (takingOutput_)
        takingOutput_->Take(samples, frames);
}

void SoundPicture::ReadOutput(const std::filesystem::path &file, const std::string &shownName)
{
    const std::unique_ptr<SampleSource> source = OpenAudioFile(file, shownName);
    SampleSource &reader = *source;
    const AudioFormat &format = reader.format();
    const DrawnStream input{input_->format(), input_->frames()};
    takingOutput_.reset();
    Begin(output_, {format, reader.frames()}, input);
    std::vector<uint8_t> block(size_t{kReadFrames} * format.FrameBytes());
    while (const uint32_t frames = reader.Read(block.data(), kReadFrames)) {
        output_->Take(block.data(), frames);
        if (InterruptNoted())
            throw Interrupted();
    }
    output_->Finish();
}

void SoundPicture::Finish()
{
    taking_->Finish();
    input_->Finish();
    if (!takingOutput_)
        return;
    takingOutput_->Finish();
    output_->Finish();
}

void SoundPicture::Write(const ConversionReport &report)
{
    std::vector<DrawnSound> sounds = {Titled(*input_, report.input, "")};
    if (report.part)
        sounds[0].details += ", " + PartText(*report.part);
    if (output_)
        sounds.push_back(Titled(*output_, report.output, "→ "));
    const std::vector<uint8_t> bytes = EncodePng(DrawSpectrograms(sounds));
    File file = target_.Create();
    std::error_code error = file.Write(bytes.data(), bytes.size());
    if (!error)
        error = file.Close();
    if (error)
        throw Failure(Utf8Name(file_) + ": writing failed: " + error.message());
}

ConversionReport DrawInput(const Options &options, const Job &job, const ProgressSink &progress)
{
    const auto start = std::chrono::steady_clock::now();
    const std::unique_ptr<SampleSource> source = OpenInput(options, job);
    ConversionReport report;
    report.input = {source->name(),  source->type(),   source->encoding(),
                    source->lossy(), source->format(), source->frames()};
    report.part = job.part;
    report.spectrogram = *options.spectrogram;
    SoundPicture picture(PathFromUtf8(*options.spectrogram), {source->format(), source->frames()},
                         std::nullopt, false);
    std::vector<uint8_t> block(size_t{kReadFrames} * source->format().FrameBytes());
    uint64_t done = 0;
    while (const uint32_t frames = source->Read(block.data(), kReadFrames)) {
        picture.TakeInput(block.data(), frames);
        done += frames;
        if (InterruptNoted())
            throw Interrupted();
        const double all = static_cast<double>(source->frames());
        progress(all > 0 ? static_cast<double>(done) / all : 0,
                 static_cast<double>(done) / source->format().rate);
    }
    picture.Finish();
    report.input.frames = done;
    report.warnings = source->warnings();
    picture.Write(report);
    if (InterruptNoted())
        throw Interrupted();
    picture.Commit();
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return report;
}

} // namespace tonekit::host
