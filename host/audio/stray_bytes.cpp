// stray_bytes.cpp: passes over the chunks after the samples.
#include "host/audio/stray_bytes.h"

#include "host/system/failure.h"
#include "host/system/memory_bytes.h"
#include "host/system/pipe_input.h"
#include "host/system/platform.h"

#include <algorithm>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

namespace tonekit::host {

namespace {

constexpr uint64_t kFewBytes = 16;

// The rest of a stream, of which the next bytes can be looked at.
class Rest {
public:
    explicit Rest(ByteStream &stream) : stream_(stream) {}

    // The next bytes, fewer at the end.
    std::span<const unsigned char> Next(size_t size)
    {
        while (held_.size() - at_ < size && Fill()) {
        }
        return std::span(held_).subspan(at_, std::min(size, held_.size() - at_));
    }

    // False: the end comes before.
    bool Skip(uint64_t bytes)
    {
        while (bytes > 0 && (at_ < held_.size() || Fill())) {
            const uint64_t here = std::min<uint64_t>(bytes, held_.size() - at_);
            at_ += static_cast<size_t>(here);
            bytes -= here;
        }
        return bytes == 0;
    }

    // How many there are from here to the end; 0 if all of them are zeros.
    uint64_t Count()
    {
        uint64_t count = 0;
        bool anyOther = false;
        do {
            const auto here = std::span(held_).subspan(at_);
            anyOther = anyOther || std::any_of(here.begin(), here.end(), [](auto byte) { return byte != 0; });
            count += here.size();
            at_ = held_.size();
            if (anyOther && SizeIsKnown())
                return count + BytesToEnd();
        } while (Fill());
        return anyOther ? count : 0;
    }

private:
    bool Fill()
    {
        constexpr size_t kBlock = size_t{64} << 10;
        if (InterruptNoted())
            throw Interrupted();
        held_.erase(held_.begin(), held_.begin() + static_cast<ptrdiff_t>(at_));
        at_ = 0;
        const size_t old = held_.size();
        held_.resize(old + kBlock);
        size_t got = 0;
        if (const std::error_code error = stream_.Read(held_.data() + old, kBlock, got))
            throw std::system_error(error);
        held_.resize(old + got);
        return got > 0;
    }

    uint64_t Asked(std::error_code (ByteStream::*ask)(uint64_t &))
    {
        uint64_t number = 0;
        if (const std::error_code error = (stream_.*ask)(number))
            throw std::system_error(error);
        return number;
    }

    bool SizeIsKnown() { return Asked(&ByteStream::Size) < PipeInput::kEndless; }
    uint64_t BytesToEnd()
    {
        const uint64_t size = Asked(&ByteStream::Size);
        return size - std::min(size, Asked(&ByteStream::Tell));
    }

    ByteStream &stream_;
    std::vector<unsigned char> held_;
    size_t at_ = 0;
};

bool Begins(std::span<const unsigned char> bytes, std::string_view word)
{
    return bytes.size() >= word.size() &&
           std::equal(word.begin(), word.end(), bytes.begin(),
                      [](char a, auto b) { return static_cast<unsigned char>(a) == b; });
}

template <size_t N>
bool BeginsAnyOf(std::span<const unsigned char> bytes, const std::string_view (&words)[N])
{
    return std::any_of(std::begin(words), std::end(words),
                       [&](std::string_view word) { return Begins(bytes, word); });
}

bool IsTag(std::span<const unsigned char> bytes)
{
    constexpr std::string_view kTags[] = {"TAG", "ID3", "APETAGEX", "LYRICSBEGIN"};
    return BeginsAnyOf(bytes, kTags);
}

// Of printable letters, and not one that holds or begins other samples.
bool IsChunkName(std::span<const unsigned char> bytes)
{
    constexpr std::string_view kOfSound[] = {"data", "SSND", "RIFF", "RIFX", "RF64",
                                             "FORM", "riff", "caff", ".snd"};
    return bytes.size() >= 4 &&
           std::all_of(bytes.begin(), bytes.begin() + 4,
                       [](auto byte) { return byte >= ' ' && byte <= '~'; }) &&
           !BeginsAnyOf(bytes, kOfSound);
}

// The bytes of the chunk, with its padding; 0 if there is none.
uint64_t ChunkBytes(std::span<const unsigned char> header, const ChunkForm &form)
{
    constexpr uint64_t kEndless = uint64_t{1} << 62;
    if (header.size() < form.header || !IsChunkName(header))
        return 0;
    MemoryBytes memory(header);
    HeaderBytes bytes(memory);
    const uint64_t size = form.Number(bytes, form.sizeAt, form.sizeBytes);
    if (size < form.counted || size > kEndless)
        return 0;
    return form.header - form.counted + (size + form.multiple - 1) / form.multiple * form.multiple;
}

} // namespace

uint64_t StrayBytes(ByteStream &stream, const SoundEnd &end)
{
    Rest rest(stream);
    if (end.padding > 0 && !(end.chunks && ChunkBytes(rest.Next(end.chunks->header), *end.chunks)))
        rest.Skip(end.padding);
    while (end.chunks && !IsTag(rest.Next(kFewBytes))) {
        const uint64_t bytes = ChunkBytes(rest.Next(end.chunks->header), *end.chunks);
        if (bytes == 0)
            break;
        if (!rest.Skip(bytes))
            return 0;
    }
    if (IsTag(rest.Next(kFewBytes)))
        return 0;
    const uint64_t count = rest.Count();
    return count > kFewBytes ? count : 0;
}

std::string StrayBytesText(uint64_t bytes)
{
    return std::to_string(bytes) + " bytes after the sound that its header counts are left out";
}

} // namespace tonekit::host
