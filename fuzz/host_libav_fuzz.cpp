// host_libav_fuzz.cpp: any file as the types that libavformat reads: which boxes it is kept from, how sizes
// and offsets lead it through streams that fail at any time, and samples, from files and from pipes. Refusals
// are Failure; an error of the system is never taken for a file.
#include "fuzz/memory_file.h"
#include "fuzz/sound_sum.h"
#include "host/libav/coded_type.h"
#include "host/libav/completeness_coded.h"
#include "host/libav/hidden_boxes.h"
#include "host/libav/libav_files.h"
#include "host/system/failure.h"
#include "host/system/memory_bytes.h"

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using namespace tonekit::host;
using tonekit::fuzz::InputBytes;
using tonekit::fuzz::MemoryFile;
using tonekit::fuzz::Require;
using tonekit::fuzz::SoundSum;
using tonekit::fuzz::SumOf;
using Bytes = std::span<const unsigned char>;

// Bytes in memory whose stream fails at one of its operations, and at all after that.
class FailingBytes final : public ByteStream {
public:
    FailingBytes(Bytes bytes, uint32_t operations) : bytes_(bytes), left_(operations) {}
    bool HasFailed() const { return failed_; }

    std::error_code Read(void *buffer, size_t size, size_t &got) override
    {
        got = 0;
        return Step([&] { return bytes_.Read(buffer, size, got); });
    }
    std::error_code Write(const void *, size_t) override
    {
        Require(false);
        return {};
    }
    std::error_code SeekTo(uint64_t position) override
    {
        Require(position <= INT64_MAX);
        return Step([&] { return bytes_.SeekTo(position); });
    }
    std::error_code Tell(uint64_t &position) override
    {
        return Step([&] { return bytes_.Tell(position); });
    }
    std::error_code Size(uint64_t &size) override
    {
        return Step([&] { return bytes_.Size(size); });
    }

private:
    template <class Function>
    std::error_code Step(Function function)
    {
        failed_ = failed_ || left_ == 0;
        if (failed_)
            return std::make_error_code(std::errc::io_error);
        --left_;
        return function();
    }

    MemoryBytes bytes_;
    uint32_t left_;
    bool failed_ = false;
};

// One box after another, each of which the file holds; a picture, but where there are very many items.
void CheckHidden(Bytes file)
{
    constexpr size_t kManyItems = 2048 * 8;
    MemoryBytes stream(file);
    HeaderBytes bytes(stream);
    uint64_t end = 0;
    for (const HiddenBox &box : BoxesToHide(bytes)) {
        uint64_t size = 0;
        for (size_t i = 0; i < 4; ++i)
            size = size << 8 | box.header[i];
        Require(std::string_view(reinterpret_cast<const char *>(box.header.data()) + 4, 4) == "free");
        Require(box.place >= end && size >= 8 && box.place <= file.size() && size <= file.size() - box.place);
        const std::string_view name(reinterpret_cast<const char *>(file.data()) + box.place + 4, 4);
        Require(name == "covr" || file.size() > kManyItems);
        end = box.place + size;
    }
}

// What a source holds, up to some seconds; what it says of its length is no more than that.
SoundSum SoundOf(SampleSource &source)
{
    constexpr uint64_t kMostFrames = uint64_t{40} * 4096;
    const AudioFormat &format = source.format();
    Require(format.channels >= 1 && format.channels <= 8 && format.rate >= 1);
    const SoundSum sound = SumOf(source, kMostFrames);
    Require(!sound.whole || source.frames() == 0 || sound.frames >= std::min(source.frames(), kMostFrames));
    return sound;
}

// What a file holds, the same when it is read again.
std::optional<SoundSum> SoundOfFile(const MemoryFile &file)
{
    try {
        const std::unique_ptr<SampleSource> source = OpenThroughLibav(file.Path(), "file");
        const SoundSum sound = SoundOf(*source);
        source->Rewind();
        Require(SoundOf(*source) == sound);
        return sound;
    } catch (const Failure &) {
        return {};
    } catch (const std::bad_alloc &) {
        return {};
    }
}

std::optional<SoundSum> SoundOfPipe(const MemoryFile &file)
{
    constexpr uint64_t kMostKept = 1 << 20;
    File opened;
    Require(!opened.OpenToRead(file.Path()));
    try {
        return SoundOf(*OpenThroughLibav(std::make_unique<PipeInput>(std::move(opened), kMostKept), "pipe"));
    } catch (const Failure &) {
        return {};
    } catch (const std::bad_alloc &) {
        return {};
    }
}

// Tags, from a stream that may fail; nothing where they can't be read.
void CheckTags(Bytes bytes, uint32_t operations)
{
    FailingBytes stream(bytes, operations);
    try {
        const LibavTags tags = TagsThroughLibav(stream);
        Require(!stream.HasFailed());
        uint64_t last = 0;
        for (const Chapter &chapter : tags.chapters) {
            Require(chapter.position >= last);
            last = chapter.position;
        }
    } catch (const std::system_error &) {
        Require(stream.HasFailed());
    } catch (const Failure &) {
        // A file that is refused.
    } catch (const std::bad_alloc &) { // as is this one
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static MemoryFile file;
    InputBytes input(data, size);
    const uint32_t operations = input.Flag() ? input.Below(64) : UINT32_MAX;
    const Bytes bytes(input.Rest(), input.Size());
    CheckHidden(bytes);
    FailingBytes stream(bytes, operations);
    CodedTypeOf(stream);
    try {
        HeaderBytes header(stream);
        const uint64_t missing = MissingFromCodedType(header);
        Require(!stream.HasFailed() && (missing == 0 || !bytes.empty()));
    } catch (const std::system_error &) {
        Require(stream.HasFailed());
    }
    CheckTags(bytes, operations);
    file.Set(bytes.data(), bytes.size());
    const std::optional<SoundSum> sound = SoundOfFile(file);
    const std::optional<SoundSum> piped = SoundOfPipe(file);
    if (sound && piped && sound->whole && piped->whole)
        Require(*sound == *piped);
    return 0;
}
