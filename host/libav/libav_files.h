// libav_files.h: audio files and their tags through libavformat, where the program is built with it.
#pragma once

#include "host/audio/container.h"
#include "host/audio/encoder_settings.h"
#include "host/audio/sample_source.h"
#include "host/audio/sample_writer.h"
#include "host/system/pipe_input.h"
#include "host/system/platform.h"
#include "host/tags/tag_block.h"

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::host {

// Whether the program is built with libavformat.
bool IsBuiltWithLibav();

// Opens a regular file. Throws Failure, with the name in front.
std::unique_ptr<SampleSource> OpenThroughLibav(const std::filesystem::path &path,
                                               const std::string &shownName);
// The same for a stream that can only be read on.
std::unique_ptr<SampleSource> OpenThroughLibav(std::unique_ptr<PipeInput> pipe, const std::string &shownName);

// Whether files of this kind are written through libavformat.
constexpr bool IsWrittenThroughLibav(ContainerKind kind)
{
    return kind == ContainerKind::Alac || kind == ContainerKind::Aac;
}

// Begins such a file in `file`, which is new and empty; `shownName` is for messages. Throws Failure, with the
// name in front.
std::unique_ptr<SampleWriter> WriteThroughLibav(File file, const std::string &shownName,
                                                const Container &container, const AudioFormat &format,
                                                const EncoderSettings &settings);

// What libavformat finds around the audio.
struct LibavTags {
    std::vector<std::pair<std::string, std::string>> texts; // by the names that Vorbis comments have
    std::vector<Picture> pictures;                          // all as front covers
    std::vector<Chapter> chapters;                          // in the order of their times
};

// Reads them from the stream's start. Throws Failure or std::system_error, without a name.
LibavTags TagsThroughLibav(ByteStream &stream);

} // namespace tonekit::host
