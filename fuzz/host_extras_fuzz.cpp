// host_extras_fuzz.cpp: arbitrary files that a command line names as cover, list of chapters or cue sheet,
// and names of what is no file. They are refused with Failure, or taken in an order that makes sense.
#include "fuzz/memory_file.h"
#include "host/command_line/options.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/tags/extras.h"
#include "host/tags/file_tracks.h"

#include <string>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::MemoryFile;
using tonekit::fuzz::Require;

// A second of silence at 44100 Hz, 16 bit, stereo: what the tracks of a cue sheet have to fit.
const MemoryFile &Audio()
{
    static MemoryFile file;
    static const bool written = [] {
        std::string wave =
            std::string("RIFF\x34\xB1\2\0WAVEfmt \x10\0\0\0\1\0\2\0\x44\xAC\0\0\x10\xB1\2\0\4\0\x10\0", 36) +
            std::string("data\x10\xB1\2\0", 8);
        wave.resize(wave.size() + 176400);
        file.Set(reinterpret_cast<const uint8_t *>(wave.data()), wave.size());
        return true;
    }();
    Require(written);
    return file;
}

void CheckOrder(const std::vector<Chapter> &chapters)
{
    Require(!chapters.empty());
    for (size_t i = 1; i < chapters.size(); ++i)
        Require(chapters[i].position >= chapters[i - 1].position);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static MemoryFile file;
    InputBytes input(data, size);
    const uint8_t what = input.Byte();
    const uint8_t how = input.Byte();
    Options options;
    options.inputs = {Audio().Path()};
    file.Set(input.Rest(), input.Size());
    std::string name = file.Path();
    if (how == 255)
        name = "/dev/null";
    else if (how == 254)
        name = "/no such file";
    else if (how == 253)
        name = "/proc";
    switch (what % 4) {
    case 0:
        options.cover = name;
        // Now and then a smaller one is made, which takes a hundred times as long as all the rest.
        options.coverSize = how < 8 ? 16u * how : 0;
        options.coverQuality = 1 + how % 100;
        break;
    case 1:
        options.chapters = name;
        break;
    default:
        options.cue = name;
        options.split = what % 4 == 3;
        break;
    }
    try {
        const Extras extras = LoadExtras(options);
        if (extras.chapters)
            CheckOrder(*extras.chapters);
        if (extras.cover)
            Require(extras.cover->data.size() > 0);
        if (options.cue || options.chapters) {
            const std::vector<FileTrack> tracks = TracksOfFile(options, Audio().Path(), {});
            Require(!tracks.empty());
        }
    } catch (const Failure &) {
        // A file that is refused.
    }
    return 0;
}
