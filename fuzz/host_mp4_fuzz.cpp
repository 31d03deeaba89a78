// host_mp4_fuzz.cpp: chapters written into arbitrary MP4 files. A file is refused with Failure and stays as
// it was; doing it again changes nothing, also after the chapters were taken away.
#include "fuzz/memory_file.h"
#include "host/system/failure.h"
#include "host/tags/mp4_chapters.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::MemoryFile;
using tonekit::fuzz::Require;

std::string ContentOf(const MemoryFile &file)
{
    File opened;
    uint64_t size = 0;
    Require(!opened.OpenToRead(file.Path()) && !opened.Size(size));
    std::string content(size, '\0');
    size_t got = 0;
    Require(!opened.Read(content.data(), content.size(), got) && got == size);
    return content;
}

std::vector<Chapter> TakeChapters(InputBytes &input)
{
    std::vector<Chapter> chapters;
    const uint8_t how = input.Byte();
    // More than there can be, now and then.
    const uint32_t count = how < 250 ? how % 6 : how + 20u;
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t letters = i < 4 ? input.Byte() : uint8_t{1};
        std::string name;
        for (uint32_t k = 0; k < letters; ++k)
            name += k % 3 == 1 ? "\xC3\xA9" : "a";
        chapters.push_back({i * uint64_t{10'000'000}, name});
    }
    return chapters;
}

void Set(const MemoryFile &file, const std::vector<Chapter> &chapters)
{
    File opened;
    Require(!opened.OpenToChange(file.Path()));
    SetMp4Chapters(opened, chapters);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static MemoryFile file;
    InputBytes input(data, size);
    const std::vector<Chapter> chapters = TakeChapters(input);
    const std::string before(reinterpret_cast<const char *>(input.Rest()), input.Size());
    file.Set(input.Rest(), input.Size());
    try {
        Set(file, chapters);
    } catch (const Failure &) {
        Require(ContentOf(file) == before);
        return 0;
    }
    const std::string after = ContentOf(file);
    Set(file, chapters);
    Require(ContentOf(file) == after);
    try {
        Set(file, {});
    } catch (const Failure &) {
        // Fragments after a header forbid only changes of it, and there was none to be made so far.
        Require(after == before && ContentOf(file) == before);
        return 0;
    }
    const std::string without = ContentOf(file);
    Set(file, {});
    Require(ContentOf(file) == without);
    Set(file, chapters);
    // Where nothing was to be done at first, the header was where it is no longer.
    Require(ContentOf(file) == after || after == before);
    return 0;
}
