// host_reader_fuzz.cpp: the program's reader of audio files and its look at their completeness, on arbitrary
// files. Refusals are Failure and nothing else.
#include "fuzz/memory_file.h"
#include "host/audio/audio_reader.h"
#include "host/audio/completeness.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <vector>

namespace {

constexpr int kMostBlocks = 16;
constexpr uint32_t kBlockFrames = 1024;

void ReadAll(tonekit::host::AudioReader &reader)
{
    const tonekit::host::AudioFormat &format = reader.format();
    tonekit::fuzz::Require(format.channels >= 1 && format.channels <= 8);
    std::vector<uint8_t> buffer(size_t{kBlockFrames} * format.channels * 8);
    for (int block = 0; block < kMostBlocks; ++block)
        if (reader.Read(buffer.data(), kBlockFrames) == 0)
            return;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace tonekit::host;
    static tonekit::fuzz::MemoryFile file;
    file.Set(data, size);
    {
        File opened;
        tonekit::fuzz::Require(!opened.OpenToRead(file.Path()));
        MissingBytes(opened);
    }
    try {
        AudioReader reader(file.Path(), "input");
        ReadAll(reader);
        reader.Rewind();
        ReadAll(reader);
    } catch (const Failure &) {
        // A file that is refused.
    }
    return 0;
}
