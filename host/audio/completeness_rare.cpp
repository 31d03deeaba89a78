// completeness_rare.cpp: finds the end of the samples that the headers of rare types promise.
#include "host/audio/completeness_rare.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace tonekit::host {

namespace {

// A broken file could have parts of no size for ever.
constexpr int kMostParts = 10000;

// The number of a line such as "sample_count -i 2001"; 0 if there is none.
uint64_t NistNumber(const std::string &header, const std::string &name)
{
    const size_t line = header.find("\n" + name + " -i ");
    return line == std::string::npos ? 0 : std::strtoul(header.c_str() + line + name.size() + 5, nullptr, 10);
}

// A text of 1024 bytes; the samples follow as they are, unless their coding is said to be packed.
uint64_t EndOfNist(HeaderBytes &bytes)
{
    std::string header(1024, '\0');
    if (!bytes.Fetch(0, header.data(), header.size()) || header.find("embedded") != std::string::npos)
        return 0;
    constexpr uint64_t kMost = uint64_t{1} << 40; // so that products fit
    const uint64_t frameBytes = std::min<uint64_t>(NistNumber(header, "channel_count"), 1024) *
                                std::min<uint64_t>(NistNumber(header, "sample_n_bytes"), 8);
    return header.size() + std::min(NistNumber(header, "sample_count"), kMost) * frameBytes;
}

// Blocks of a type, and three bytes of size, until one of type 0, which has no size.
uint64_t MissingFromVoc(HeaderBytes &bytes)
{
    uint64_t position = bytes.Little(20, 2);
    for (int i = 0; i < kMostParts; ++i) {
        const uint64_t type = bytes.Little(position, 1);
        if (!bytes.ok() || type == 0)
            return 0;
        const uint64_t size = bytes.Little(position + 1, 3);
        if (!bytes.ok())
            return 1; // cut in the header of a block
        position += 4 + size;
        if (position > bytes.size())
            return position - bytes.size();
        // Some programs count only a part of the numbers before the samples of a block with longer ones.
        constexpr uint64_t kLongType = 9;
        constexpr uint64_t kUncounted = 8;
        if (type == kLongType && position + kUncounted + 1 == bytes.size() &&
            bytes.Little(position + kUncounted, 1) == 0)
            return 0;
    }
    return 0;
}

uint64_t EndOfAvr(HeaderBytes &bytes)
{
    const uint64_t channels = bytes.Big(12, 2) ? 2 : 1;
    const uint64_t sampleBytes = bytes.Big(14, 2) / 8;
    const uint64_t frames = bytes.Big(26, 4);
    return 128 + frames * channels * sampleBytes;
}

// Matrices in a row: type, rows, columns, whether there are imaginary numbers, and the bytes of the name.
uint64_t MissingFromMat4(HeaderBytes &bytes, bool bigEndian)
{
    constexpr uint64_t kBytesOf[] = {8, 4, 4, 2, 2, 1}; // by the tens of the type
    uint64_t position = 0;
    for (int i = 0; i < kMostParts && position < bytes.size(); ++i) {
        const auto number = [&](uint64_t place) {
            return bigEndian ? bytes.Big(position + place, 4) : bytes.Little(position + place, 4);
        };
        const uint64_t type = number(0) / 10 % 10;
        const uint64_t numbers = number(4) * number(8);
        position += 20 + number(16);
        if (!bytes.ok())
            return 1; // cut in the header of a matrix
        if (type >= std::size(kBytesOf) || numbers > uint64_t{1} << 60)
            return 0;
        position += numbers * kBytesOf[type];
    }
    return Shortfall(position, bytes.size());
}

// Elements of a type and a size after a header of 128 bytes. What is in a matrix are elements too; its own
// size isn't looked at, since libsndfile writes 8 bytes too many there.
uint64_t MissingFromMat5(HeaderBytes &bytes)
{
    constexpr uint64_t kMatrix = 14;
    const bool bigEndian = bytes.Has(126, "MI");
    uint64_t position = 128;
    uint64_t end = position;
    for (int i = 0; i < kMostParts && position < bytes.size(); ++i) {
        const auto number = [&](uint64_t place) {
            return bigEndian ? bytes.Big(position + place, 4) : bytes.Little(position + place, 4);
        };
        const uint64_t type = number(0);
        const uint64_t size = number(4);
        if (!bytes.ok())
            return 1;                       // cut in the header of an element
        const bool small = type >> 16 != 0; // size and content are in the header
        end = position + 8 + (type == kMatrix || small ? 0 : size);
        position = (end + 7) & ~uint64_t{7};
    }
    return Shortfall(end, bytes.size());
}

// Packets of 120 bytes of samples, each byte with 7 of their bits, and 7 around them.
uint64_t MissingFromSds(HeaderBytes &bytes)
{
    constexpr uint64_t kHeader = 21;
    const uint64_t bits = bytes.Little(6, 1);
    const uint64_t samples = bytes.Little(10, 1) | bytes.Little(11, 1) << 7 | bytes.Little(12, 1) << 14;
    if (!bytes.ok() || bits == 0 || bits > 28)
        return 0;
    const uint64_t inPacket = 120 / ((bits + 6) / 7);
    return Shortfall(kHeader + (samples + inPacket - 1) / inPacket * 127, bytes.size());
}

uint64_t MissingFromMpc(HeaderBytes &bytes)
{
    const uint64_t channels = bytes.Little(21, 1) ? 2 : 1;
    return Shortfall(42 + bytes.Little(30, 4) * channels * 2, bytes.size());
}

} // namespace

std::optional<uint64_t> MissingFromRareType(HeaderBytes &bytes)
{
    if (bytes.Has(0, "NIST_1A"))
        return Shortfall(EndOfNist(bytes), bytes.size());
    if (bytes.Has(0, "Creative Voice File\x1A"))
        return MissingFromVoc(bytes);
    if (bytes.Has(0, "2BIT"))
        return Shortfall(EndOfAvr(bytes), bytes.size());
    if (bytes.Has(0, "MATLAB 5.0 MAT-file"))
        return MissingFromMat5(bytes);
    // The first matrix is the rate, under a name of 11 bytes with its end.
    if (bytes.Has(20, "samplerate"))
        return MissingFromMat4(bytes, bytes.Big(16, 4) == 11);
    if (bytes.Has(0, "\xF0\x7E") && bytes.Big(3, 1) == 1)
        return MissingFromSds(bytes);
    if (bytes.Has(0, "ALawSoundFile**"))
        return Shortfall(32 + bytes.Big(18, 4), bytes.size());
    if (bytes.Has(0, "\x01\x04") && bytes.Little(21, 1) <= 1)
        return MissingFromMpc(bytes);
    return std::nullopt;
}

std::optional<SoundEnd> EndOfRareType(ByteStream &stream, uint64_t start)
{
    HeaderBytes bytes(stream, start);
    const uint64_t end = bytes.Has(0, "NIST_1A") ? EndOfNist(bytes)
                         : bytes.Has(0, "2BIT")  ? EndOfAvr(bytes)
                                                 : 0;
    constexpr uint64_t kLargestHeader = 1024;
    return end > kLargestHeader && end <= bytes.size() ? std::optional(SoundEnd{start + end}) : std::nullopt;
}

} // namespace tonekit::host
