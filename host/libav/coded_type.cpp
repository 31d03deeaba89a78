// coded_type.cpp: first bytes of files.
#include "host/libav/coded_type.h"

#include "host/audio/id3_size.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace tonekit::host {

namespace {

using namespace std::string_view_literals;

struct Beginning {
    size_t place;
    std::string_view bytes;
    const char *type;
};

constexpr Beginning kBeginnings[] = {
    {4, "ftyp"sv, "MP4"},
    {0, "wvpk"sv, "WavPack"},
    {0, "MAC "sv, "Monkey's Audio"},
    {0, "DSD "sv, "DSF"},
    {0, "FRM8"sv, "DSDIFF"},
    {0, "TTA1"sv, "TTA"},
    {0, "tBaK"sv, "TAK"},
    {0, "MPCK"sv, "Musepack"},
    {0, "MP+"sv, "Musepack"},
    {0, "\x1A\x45\xDF\xA3"sv, "Matroska"},
    {0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11"sv, "ASF"},
    {0, "\x7F\xFE\x80\x01"sv, "DTS"},
    {0, "#!AMR"sv, "AMR"},
    {0, ".RMF"sv, "RealAudio"},
    {0, ".ra\xFD"sv, "RealAudio"},
    {0, "ajkg"sv, "Shorten"},
    {0, "FLV\x01"sv, "FLV"},
    {8, "AVI LIST"sv, "AVI"},
    {28,
     "\x7F"
     "FLAC"sv,
     "Ogg"}, // after the header of the first page
};

constexpr size_t kMostBytes = size_t{16} << 10; // two frames of AAC are shorter

// Up to so many bytes from a place on.
std::vector<unsigned char> BytesAt(ByteStream &stream, uint64_t place, size_t size)
{
    std::vector<unsigned char> bytes(size);
    size_t got = 0;
    if (stream.SeekTo(place) || stream.Read(bytes.data(), size, got))
        got = 0;
    bytes.resize(got);
    return bytes;
}

bool Has(const std::vector<unsigned char> &bytes, size_t place, std::string_view wanted)
{
    return bytes.size() >= place + wanted.size() &&
           std::memcmp(bytes.data() + place, wanted.data(), wanted.size()) == 0;
}

// The size of the AAC frame with an ADTS header at this place; 0 if there is none.
size_t AdtsFrame(const std::vector<unsigned char> &bytes, size_t place)
{
    // The layer's bits, which MPEG audio of layers I to III has set, are clear.
    if (bytes.size() < place + 7 || bytes[place] != 0xFF || (bytes[place + 1] & 0xF6) != 0xF0)
        return 0;
    return (bytes[place + 3] & size_t{3}) << 11 | size_t{bytes[place + 4]} << 3 | bytes[place + 5] >> 5;
}

bool IsAdts(const std::vector<unsigned char> &bytes)
{
    const size_t first = AdtsFrame(bytes, 0);
    return first >= 7 && AdtsFrame(bytes, first) >= 7;
}

} // namespace

std::string CodedTypeOf(ByteStream &stream)
{
    constexpr size_t kBeginning = 33;
    std::vector<unsigned char> bytes = BytesAt(stream, 0, kBeginning);
    const uint64_t start = Id3Bytes(bytes);
    if (start > 0)
        bytes = BytesAt(stream, start, kBeginning);
    for (const Beginning &beginning : kBeginnings) {
        if (Has(bytes, beginning.place, beginning.bytes))
            return beginning.type;
    }
    if (AdtsFrame(bytes, 0) == 0)
        return "";
    return IsAdts(BytesAt(stream, start, kMostBytes)) ? "AAC" : "";
}

} // namespace tonekit::host
