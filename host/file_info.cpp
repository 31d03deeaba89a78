// file_info.cpp: looks at a file from all sides.
#include "host/file_info.h"

#include "host/open_source.h"
#include "host/processing/hdcd_stream.h"
#include "host/processing/loudness_meter.h"
#include "host/processing/sample_digest.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/pipe_input.h"
#include "host/system/platform.h"
#include "host/tags/tag_reader.h"

#include <memory>
#include <optional>

namespace tonekit::host {

namespace {

constexpr uint32_t kReadFrames = 16384;

// Reads the whole audio for what only all samples can show.
void Measure(const Options &options, SampleSource &reader, FileInfo &info, const ProgressSink &progress)
{
    std::optional<LoudnessMeter> loudness;
    std::optional<SampleDigest> digest;
    if (options.replayGain)
        loudness.emplace(options.truePeak, reader.format());
    if (options.hash)
        digest.emplace(*options.hash);
    if (!loudness && !digest)
        return;
    std::vector<uint8_t> block(size_t{kReadFrames} * reader.format().FrameBytes());
    uint64_t frames = 0;
    while (const uint32_t got = reader.Read(block.data(), kReadFrames)) {
        if (InterruptNoted())
            throw Interrupted();
        if (loudness)
            loudness->Take(block.data(), got);
        if (digest)
            digest->Take(block.data(), size_t{got} * reader.format().FrameBytes());
        frames += got;
        const double all = static_cast<double>(reader.frames());
        progress(all > 0 ? static_cast<double>(frames) / all : 0,
                 static_cast<double>(frames) / reader.format().rate);
    }
    info.stream.frames = frames;
    if (loudness)
        info.loudness = loudness->Result();
    if (digest)
        info.digest = digest->Finish();
}

} // namespace

FileInfo LookAt(const Options &options, const std::filesystem::path &path, const ProgressSink &progress)
{
    FileInfo info;
    const std::unique_ptr<SampleSource> source = ReadableTwice(OpenSource(options, path));
    SampleSource &reader = *source;
    info.stream = {reader.name(),  reader.type(),   reader.encoding(),
                   reader.lossy(), reader.format(), reader.frames()};
    if (CanCarryHdcd(reader))
        info.hdcd = ScanForHdcd(reader);
    Measure(options, reader, info, progress);
    info.warnings = reader.warnings();

    const TagBlockPointer block = NewTagBlock();
    if (const PipeInput *const pipe = reader.pipe())
        ReadTags(pipe->kept(), reader.name(), reader.tagKind(), {}, block.get(), info.warnings);
    else
        ReadTags(path, reader.tagKind(), {}, block.get(), info.warnings);
    ForEachText(block.get(), [&](const std::string &key, const std::string &value) {
        info.text.emplace_back(key, value);
    });
    info.pictures = PicturesOf(block.get());
    info.chapters = ChaptersOf(block.get());
    return info;
}

} // namespace tonekit::host
