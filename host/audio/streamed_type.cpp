// streamed_type.cpp: first bytes of the types that libsndfile reads.
#include "host/audio/streamed_type.h"

#include <array>
#include <string_view>
#include <system_error>

namespace tonekit::host {

namespace {

using namespace std::string_view_literals;

constexpr size_t kMostBytes = 12;

// A question mark is any byte.
struct Beginning {
    std::string_view bytes;
    Streaming streaming;
};

// Without their size libsndfile looks for the last block of some types for ever, and makes up the length of
// others.
constexpr Beginning kBeginnings[] = {
    {"RIFF????WAVE"sv, Streaming::AsItComes},
    {"RIFX????WAVE"sv, Streaming::AsItComes},
    {"RF64????WAVE"sv, Streaming::AsItComes},
    {"riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB"sv, Streaming::AsItComes}, // W64
    {"FORM????AIFF"sv, Streaming::AsItComes},
    {"FORM????AIFC"sv, Streaming::AsItComes},
    {".snd"sv, Streaming::AsItComes}, // AU, and that of little-endian machines
    {"dns."sv, Streaming::AsItComes},
    {"caff????desc"sv, Streaming::AsItComes},
    {"fLaC"sv, Streaming::AsItComes},
    {"OggS"sv, Streaming::AsItComes},
    {" paf"sv, Streaming::Whole},
    {"fap "sv, Streaming::Whole},
    {"NIST"sv, Streaming::Whole},
    {"Creative Voi"sv, Streaming::Whole}, // VOC
    {"PVF1"sv, Streaming::Whole},
    {"2BIT"sv, Streaming::Whole},        // AVR
    {"\x64\xA3?\0"sv, Streaming::Whole}, // IRCAM, of both kinds of machine
    {"\0?\xA3\x64"sv, Streaming::Whole},
    {"MATLAB 5.0 M"sv, Streaming::Whole},
    {"\0\0\0\0\1\0\0\0\1\0\0\0"sv, Streaming::AsItComes}, // MAT4, of both kinds of machine
    {"\0\0\3\xE8\0\0\0\1\0\0\0\1"sv, Streaming::AsItComes},
    {"FORM????8SVX"sv, Streaming::Whole},
    {"FORM????16SV"sv, Streaming::Whole},
    {"\xF0\x7E?\1"sv, Streaming::Whole},      // SDS
    {"ALawSoundFil"sv, Streaming::Whole},     // WVE
    {"Extended Ins"sv, Streaming::Whole},     // XI
    {"DiamondWare "sv, Streaming::Whole},     // DWD
    {"????????\0\2\0\0"sv, Streaming::Whole}, // HTK
    {"\1\4"sv, Streaming::Whole},             // MPC 2000
};

bool IsLike(std::string_view bytes, std::string_view wanted)
{
    for (size_t i = 0; i < wanted.size(); ++i)
        if (i >= bytes.size() || (bytes[i] != wanted[i] && wanted[i] != '?'))
            return false;
    return true;
}

// The eleven bits that begin each frame.
bool IsMpeg(std::string_view bytes)
{
    return bytes.size() > 1 && bytes[0] == '\xFF' && (bytes[1] & 0xE0) == 0xE0;
}

} // namespace

Streaming StreamingOf(ByteStream &stream, uint64_t start)
{
    std::array<char, kMostBytes> buffer{};
    size_t got = 0;
    std::error_code error = stream.SeekTo(start);
    if (!error)
        error = stream.Read(buffer.data(), buffer.size(), got);
    if (error)
        throw std::system_error(error);
    const std::string_view bytes(buffer.data(), got);
    if (IsMpeg(bytes))
        return Streaming::Mpeg;
    for (const Beginning &beginning : kBeginnings)
        if (IsLike(bytes, beginning.bytes))
            return beginning.streaming;
    return Streaming::Unknown;
}

} // namespace tonekit::host
