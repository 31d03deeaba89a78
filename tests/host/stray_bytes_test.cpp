// stray_bytes_test.cpp: what follows the samples that a header counts is told, if it may be sound.
#include "host/audio/next_flac.h"
#include "host/audio/stray_bytes.h"
#include "host/audio/stream_header.h"
#include "host/system/memory_bytes.h"
#include "tests/host/failures.h"
#include "tests/host/number_bytes.h"

#include <filesystem>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

std::span<const unsigned char> Bytes(const std::string &text)
{
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}

std::string RiffChunk(const std::string &name, const std::string &content)
{
    return name + Little(content.size(), 4) + content + std::string(content.size() & 1, '\0');
}

// 1 frame of 16 bits and two channels is 4 bytes.
const std::string kFormat = RiffChunk("fmt ", std::string("\1\0\2\0\x44\xAC\0\0\x10\xB1\2\0\4\0\x10\0", 16));

std::string Wav(const std::string &samples, uint64_t counted, const std::string &after = "")
{
    const std::string chunks = "WAVE" + kFormat + "data" + Little(counted, 4) + samples +
                               std::string(samples.size() & 1, '\0') + after;
    return "RIFF" + Little(chunks.size(), 4) + chunks;
}

TEST(StrayBytes, AreNeitherChunksNorTagsNorZeros)
{
    const std::string noise(100, '\xE5');
    const std::string list = RiffChunk("LIST", "INFO");
    const std::string odd = RiffChunk("id3 ", "odd");
    const struct {
        std::string after;
        uint64_t stray;
    } rows[] = {
        {"", 0},
        {list, 0},
        {odd + list, 0},
        {list.substr(0, 10), 0},            // cut off
        {odd.substr(0, odd.size() - 1), 0}, // without its padding
        {noise, 100},
        {list + noise, 100},
        {noise + list, 112},
        {list + noise.substr(0, 16), 0}, // a few bytes
        {list + noise.substr(0, 17), 17},
        {std::string(1000, '\0'), 0},
        {list + std::string(100000, '\0'), 0},
        {std::string(100000, '\0') + noise, 100100},
        {"TAG" + std::string(125, 'x'), 0},
        {list + "ID3\4" + noise, 0},
        {"APETAGEX" + noise, 0},
        {"LYRICSBEGIN" + noise, 0},
        {RiffChunk("data", noise), 108},                          // more samples
        {list + Wav(noise, 100), 144},                            // another file
        {std::string("\1\2\3\4", 4) + Little(2, 4) + noise, 108}, // no name
        {"LIST" + std::string(4, '\xFF') + noise, 0},             // a chunk that is cut off
    };
    for (const auto &row : rows) {
        MemoryBytes memory(Bytes(row.after));
        EXPECT_EQ(StrayBytes(memory, {0, &kRiff, 0}), row.stray) << &row - rows;
        for (const bool padded : {true, false}) { // before the first chunk
            const std::string after = (padded ? std::string(1, '\0') : std::string()) + row.after;
            if (!padded && row.stray > 0)
                continue;
            MemoryBytes other(Bytes(after));
            EXPECT_EQ(StrayBytes(other, {0, &kRiff, 1}), row.stray) << &row - rows << padded;
        }
    }
    const std::string lists = list + list;
    MemoryBytes none(Bytes(lists)); // AU has no chunks
    EXPECT_EQ(StrayBytes(none, {0, nullptr, 0}), 24u);
}

TEST(EndOfSound, IsWhereTheHeaderSaysIt)
{
    const struct {
        std::string header;
        std::optional<uint64_t> position;
        uint64_t padding;
    } rows[] = {
        {Wav("abcd", 4), 48, 0},
        {Wav("abcd", 3), 47, 1},
        {Wav("abcd", 0), std::nullopt, 0},
        {Wav("abcd", 0xFFFFFFFF), std::nullopt, 0},
        {"RF64\xFF\xFF\xFF\xFFWAVE" +
             RiffChunk("ds64", Little(90, 8) + Little(1000, 8) + Little(250, 8) + Little(0, 4)) + kFormat +
             "data\xFF\xFF\xFF\xFF" + "abcd",
         1080, 0},
        {".snd" + Big(24, 4) + Big(101, 4) + Big(3, 4) + Big(44100, 4) + Big(2, 4), 125, 0},
        {".snd" + Big(24, 4) + "\xFF\xFF\xFF\xFF" + Big(3, 4) + Big(44100, 4) + Big(2, 4), std::nullopt, 0},
        {"FORM" + Big(100, 4) + "AIFF" + "SSND" + Big(11, 4) + std::string(11, 'x'), 31, 1},
        {"caff" + Big(0x10000, 4) + "data" + Big(9, 8) + std::string(9, 'x'), 29, 0},
        {"OggS" + std::string(100, 'x'), std::nullopt, 0},
    };
    for (const auto &row : rows) {
        for (const uint64_t start : {0u, 10u}) {
            const std::string bytes = std::string(start, 'i') + row.header;
            MemoryBytes memory(Bytes(bytes));
            const std::optional<SoundEnd> end = EndOfSound(memory, start);
            ASSERT_EQ(end.has_value(), row.position.has_value()) << &row - rows;
            if (!end)
                continue;
            EXPECT_EQ(end->position, *row.position + start) << &row - rows;
            EXPECT_EQ(end->padding, row.padding) << &row - rows;
            EXPECT_EQ(!end->chunks, row.header[0] == '.');
        }
    }
}

class StrayBytesOf : public Failures {
protected:
    // Converts the file and the same from a pipe: these frames, and these bytes left out with a warning.
    void ExpectLeftOut(const std::string &bytes, size_t frames, uint64_t stray)
    {
        const std::string text =
            std::to_string(stray) + " bytes after the sound that its header counts are left out\n";
        const auto warning = [&](const std::string &name) {
            return stray == 0 ? "" : "tonekit-convert: warning: " + name + ": " + text;
        };
        WriteText(folder / "in", bytes);
        const Outcome outcome = RunHost({"-q", "--no-tags", folder / "in", "-t", "raw", folder / "out.raw"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(OwnLines(outcome.err), warning(fs::path(folder / "in").make_preferred().string()));
        EXPECT_EQ(fs::file_size(folder / "out.raw"), 4 * frames);
        const Outcome piped = RunHostOnPipes(bytes, {"-q", "-", "-t", "raw", "-"});
        EXPECT_EQ(piped.status, 0) << piped.err;
        EXPECT_EQ(OwnLines(piped.err), warning("standard input"));
        EXPECT_EQ(piped.out, ReadText(folder / "out.raw"));
    }
};

TEST_F(StrayBytesOf, AHeaderThatCountsTooLittleAreTold)
{
    const std::string noise(400000, '\xE5'); // too much for what is kept of a pipe's beginning
    const std::string list = RiffChunk("LIST", "INFOINAM" + Little(4, 4) + "abc\0");
    ExpectLeftOut(Wav(noise, 400000), 100000, 0);
    ExpectLeftOut(Wav(noise, 400000, list), 100000, 0);
    ExpectLeftOut(Wav(noise, 399999, list), 99999, 0);
    ExpectLeftOut(Wav(noise, 4), 1, 399996);
    ExpectLeftOut(Wav(noise, 300000), 75000, 100000);
    ExpectLeftOut(Wav(noise, 400000, std::string(5000, '\0')), 100000, 0);
    ExpectLeftOut(Wav(noise, 400000, "TAG" + std::string(125, 'x')), 100000, 0);
    const std::string au =
        ".snd" + Big(24, 4) + Big(400000, 4) + Big(3, 4) + Big(44100, 4) + Big(2, 4) + noise;
    ExpectLeftOut(au, 100000, 0);
    ExpectLeftOut(au + au, 100000, 400024);
    const std::string caf = "caff" + Big(0x10000, 4) + "desc" + Big(32, 8) +
                            std::string("\x40\xE5\x88\x80", 4) + Big(0, 4) + "lpcm" + Big(0, 4) + Big(4, 4) +
                            Big(1, 4) + Big(2, 4) + Big(16, 4) + "data";
    ExpectLeftOut(caf + Big(400004, 8) + Big(0, 4) + noise, 100000, 0);
    ExpectLeftOut(caf + Big(200004, 8) + Big(0, 4) + noise, 50000, 200000);
}

// The decoder ends with the first stream, whether its frames are counted or not.
TEST_F(StrayBytesOf, FlacAreAnotherStream)
{
    ASSERT_EQ(RunHost({"-q", "--no-tags", folder / "good.wav", folder / "a.flac"}).status, 0);
    const std::string one = ReadText(folder / "a.flac");
    std::string open = one;
    open[21] = static_cast<char>(open[21] & 0xF0);
    open.replace(22, 20, 20, '\0'); // no count and no sum
    const std::string tag = "ID3\4" + std::string(5, '\0') + "\5tagged";
    for (const std::string &file : {one, open, tag.substr(0, 15) + one}) {
        SCOPED_TRACE(file.substr(0, 3));
        ExpectLeftOut(file, 50000, 0);
        ExpectLeftOut(file + one, 50000, one.size());
        ExpectLeftOut(file + open + one, 50000, 2 * one.size());
        ExpectLeftOut(file + "TAG" + std::string(125, 'f') + one, 50000, one.size());
        ExpectLeftOut(file + "TAG" + std::string(125, 'f'), 50000, 0);
    }
    // Each of those that are joined tells of it, once.
    WriteText(folder / "twice.flac", one + one);
    const Outcome outcome = RunHost({"-q", "--normalize", "-20", "--join", folder / "twice.flac",
                                     folder / "twice.flac", folder / "a.flac", folder / "joined.wav"});
    EXPECT_EQ(outcome.status, 0);
    const std::string what = "bytes after the sound that its header counts are left out";
    const size_t first = outcome.err.find(what);
    ASSERT_NE(first, std::string::npos) << outcome.err;
    const size_t second = outcome.err.find(what, first + 1);
    ASSERT_NE(second, std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find(what, second + 1), std::string::npos) << outcome.err;
}

TEST(NextFlac, IsFoundWhereverItsBytesCome)
{
    const std::string start = "fLaC\0\0\0\x22"s;
    const struct {
        std::string bytes;
        uint64_t expected;
    } rows[] = {
        {start + "fffLaCfL" + start + "more", 12},
        {start + "x" + "fLaC\x80\0\0\x22"s, 8},
        {start + "fLaC\1\0\0\x22"s, 0},
        {start + "fLaC\0\0\1\x22"s, 0},
        {start + "fLaC\0\0\0\x21"s, 0},
        {start + start.substr(0, 7), 0},
        {start + start + start, 16},
        {start, 0},
        {"", 0},
    };
    for (const auto &row : rows)
        for (const size_t before : {0u, 3u, 100u})
            for (const size_t part : {1u, 2u, 6u, 7u, 8u, 9u, 1000u}) {
                const std::string bytes = std::string(before, 'f') + row.bytes;
                NextFlac next(0, before);
                for (size_t i = 0; i < bytes.size(); i += part)
                    next.Take(Bytes(bytes).subspan(i, std::min(part, bytes.size() - i)));
                EXPECT_EQ(next.bytes(), row.expected) << &row - rows << " by " << part << " after " << before;
            }
}

// libsndfile would take all on to the end for samples.
TEST_F(StrayBytesOf, W64AreNoSamples)
{
    ASSERT_EQ(RunHost({"-q", "--no-tags", folder / "good.wav", folder / "a.w64"}).status, 0);
    const std::string one = ReadText(folder / "a.w64");
    ExpectLeftOut(one, 50000, 0);
    ExpectLeftOut(one + "bext" + std::string(12, 'g') + Little(24 + 1000, 8) + std::string(1000, 'x'), 50000,
                  0);
    ExpectLeftOut(one + one, 50000, one.size());
}

TEST_F(StrayBytesOf, RareTypesAreNoSamples)
{
    for (const int type : {SF_FORMAT_NIST, SF_FORMAT_AVR}) {
        SCOPED_TRACE(type);
        WriteSound(folder / "a", Noise(type | SF_FORMAT_PCM_16, 44100, 2, 2000));
        const std::string one = ReadText(folder / "a");
        ExpectLeftOut(one, 2000, 0);
        ExpectLeftOut(one + one, 2000, one.size());
        ExpectLeftOut(one + "12", 2000, 0);
    }
}

TEST_F(StrayBytesOf, AFileOfItsOwnAreNone)
{
    for (const char *const name : {"a.wav", "a.aiff", "a.au", "a.caf", "a.w64", "a.rf64"}) {
        ASSERT_EQ(
            RunHost({"-q", "-b", "16", "--set", "title=A title", folder / "good.wav", folder / name}).status,
            0);
        const Outcome outcome = RunHost({"-q", folder / name, "-t", "raw", folder / "out.raw", "--no-tags"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "") << name;
        EXPECT_EQ(RunHostOnPipes(ReadText(folder / name), {"-q", "-", "-t", "raw", "-"}).err, "") << name;
    }
}

TEST_F(StrayBytesOf, AFileAreDescribedWithIt)
{
    WriteText(folder / "in.wav", Wav(std::string(4000, '\xE5'), 2000));
    const std::string what = "2000 bytes after the sound that its header counts are left out";
    EXPECT_NE(RunHost({"--info", folder / "in.wav"}).err.find(what), std::string::npos);
    EXPECT_NE(RunHost({"--info", "--json", folder / "in.wav"}).out.find(what), std::string::npos);
    EXPECT_NE(RunHost({"-q", "--dry-run", folder / "in.wav", folder / "out.flac"}).err.find(what),
              std::string::npos);
}

} // namespace
} // namespace tonekit::host::test
