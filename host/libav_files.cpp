// libav_files.cpp: opens audio files through libavformat.
#include "host/libav_files.h"

#include "host/libav_reader.h"

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

} // namespace tonekit::host
