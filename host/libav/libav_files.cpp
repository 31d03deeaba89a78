// libav_files.cpp: opens audio files through libavformat.
#include "host/libav/libav_files.h"

#include "host/libav/libav_reader.h"
#include "host/libav/libav_writer.h"

#include <utility>

namespace tonekit::host {

bool IsBuiltWithLibav()
{
    return true;
}

std::unique_ptr<SampleSource> OpenThroughLibav(const std::filesystem::path &path,
                                               const std::string &shownName)
{
    return std::make_unique<LibavReader>(path, shownName);
}

std::unique_ptr<SampleSource> OpenThroughLibav(std::unique_ptr<PipeInput> pipe, const std::string &shownName)
{
    return std::make_unique<LibavReader>(std::move(pipe), shownName);
}

std::unique_ptr<SampleWriter> WriteThroughLibav(File file, const std::string &shownName,
                                                const Container &container, const AudioFormat &format,
                                                const EncoderSettings &settings)
{
    return std::make_unique<LibavWriter>(std::move(file), shownName, container, format, settings);
}

} // namespace tonekit::host
