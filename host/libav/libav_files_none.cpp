// libav_files_none.cpp: says what is missing in a program that is built without libavformat.
#include "host/libav/libav_files.h"

#include "host/system/failure.h"

namespace tonekit::host {

namespace {

[[noreturn]] void FailForLack(const std::string &prefix)
{
    throw Failure(prefix + "needs libavformat, and this program is built without: install "
                           "libavformat-dev libavcodec-dev libavutil-dev and build again");
}

} // namespace

bool IsBuiltWithLibav()
{
    return false;
}

std::unique_ptr<SampleSource> OpenThroughLibav(const std::filesystem::path &, const std::string &shownName)
{
    FailForLack(shownName + ": ");
}

std::unique_ptr<SampleSource> OpenThroughLibav(std::unique_ptr<PipeInput>, const std::string &shownName)
{
    FailForLack(shownName + ": ");
}

std::unique_ptr<SampleWriter> WriteThroughLibav(File, const std::string &shownName, const Container &,
                                                const AudioFormat &, const EncoderSettings &)
{
    FailForLack(shownName + ": ");
}

LibavTags TagsThroughLibav(ByteStream &)
{
    FailForLack("");
}

} // namespace tonekit::host
