// next_file_test.cpp: files that follow the audio of others, of types that libavformat reads.
#include "host/libav/next_file.h"
#include "host/system/memory_bytes.h"
#include "tests/host/coded_files.h"
#include "tests/host/failures.h"
#include "tests/host/number_bytes.h"

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

// By reading anywhere, and as the bytes come.
void ExpectNext(const std::string &text, uint64_t expected)
{
    const std::vector<unsigned char> file(text.begin(), text.end());
    MemoryBytes memory(file);
    HeaderBytes bytes(memory);
    NextFile next(bytes);
    next.TakeFile(bytes);
    EXPECT_EQ(next.bytes(), expected) << text.size();
    for (const size_t part : {1u, 7u, 33u, 100000u}) {
        NextFile piped(bytes);
        for (size_t i = 0; i < file.size(); i += part)
            piped.Take(std::span(file).subspan(i, std::min(part, file.size() - i)));
        EXPECT_EQ(piped.bytes(), expected) << text.size() << " by " << part;
    }
}

std::string Box(const std::string &name, const std::string &content)
{
    return Big(content.size() + 8) + name + content;
}

const std::string kSound(5000, '\xE5');
const std::string kMp4 =
    Box("ftyp", "M4A \0\0\0\0"s) + Box("free", "") + Box("moov", "movie") + Box("mdat", kSound);
const std::string kLongMp4 = Box("ftyp", "M4A \0\0\0\0"s) + Big(1) + "mdat" + Big(16 + kSound.size(), 8) +
                             kSound + Box("moov", "movie");
const std::string kId3 = "ID3\4\0\0\0\0\1\2"s + std::string(130, 'i');

// At 8000 Hz a frame has 8359 samples.
std::string Tta(uint64_t samples, const std::vector<uint64_t> &sizes)
{
    std::string file =
        "TTA1" + Little(1, 2) + Little(1, 2) + Little(16, 2) + Little(8000) + Little(samples) + Little(0);
    for (const uint64_t size : sizes)
        file += Little(size);
    file += Little(0);
    for (const uint64_t size : sizes)
        file += std::string(static_cast<size_t>(size), 't');
    return file;
}

std::string Asf(uint64_t size)
{
    const std::string properties = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\0\xC0\x0C\x20\x53\x65"s +
                                   Little(104, 8) + std::string(16, '\0') + Little(size, 8) +
                                   std::string(56, '\0');
    const std::string other = std::string(16, 'o') + Little(30, 8) + "others";
    return "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\0\xAA\0\x62\xCE\x6C"s + Little(164, 8) + Little(2) +
           "\1\2" + other + properties;
}

std::string ApeTag(uint64_t size, uint64_t flags)
{
    return "APETAGEX" + Little(2000) + Little(size) + Little(1) + Little(flags) + std::string(8, '\0');
}

TEST(NextFile, OfBoxesIsFound)
{
    for (const std::string &file : {kMp4, kLongMp4}) {
        ExpectNext(file, 0);
        ExpectNext(file + file, file.size());
        ExpectNext(file + file + file, 2 * file.size());
        ExpectNext(file + kSound, 0);
        ExpectNext(file + Box("free", "ftyp") + file, file.size());
        ExpectNext(file.substr(0, file.size() - 1), 0);
    }
    ExpectNext(kMp4 + Big(0) + "mdat" + kMp4, 0); // up to the end
    ExpectNext(kMp4 + Big(7) + "free" + kMp4, 0);
    ExpectNext(kMp4 + Big(1) + "free" + Big(UINT64_MAX, 8) + kMp4, 0);
}

TEST(NextFile, IsFoundWhereTheFirstEnds)
{
    const std::string dsd = "DSD " + Little(28, 8) + Little(4000, 8) + std::string(3980, 'd');
    const std::string dsdiff = "FRM8" + Big(4001, 8) + "DSD " + std::string(3997, 'd');
    const std::string ape = "MAC " + Little(3990, 2) + Little(0, 2) + Little(52) + Little(24) + Little(40) +
                            Little(44) + Little(700) + Little(0) + Little(9) + std::string(833, 'a');
    const std::string asf = Asf(5000) + std::string(5000 - Asf(0).size(), 'a');
    for (const std::string &file : {Tta(2000, {50}), Tta(8360, {1, 2000}), dsd, dsdiff, asf, ape}) {
        SCOPED_TRACE(file.substr(0, 4));
        const std::string small = file.substr(0, 40);
        ExpectNext(file, 0);
        ExpectNext(file + file, file.size());
        ExpectNext(file + file + file, 2 * file.size());
        ExpectNext(file + "x" + file, 0);
        ExpectNext(file + "TAG" + std::string(125, 't') + small, 40);
        ExpectNext(file + kId3 + small, 40);
        ExpectNext(file + ApeTag(40, 0xA0000000) + std::string(8, 'i') + ApeTag(40, 0x80000000) + small, 40);
        ExpectNext(file + ApeTag(8, 0) + small, 40);
        ExpectNext(file + kId3, 0);
        ExpectNext(kId3 + file, 0);
    }
    ExpectNext(kId3 + Tta(2000, {50}) + Tta(2000, {50}), Tta(2000, {50}).size());
    ExpectNext(Tta(3'000'000'000, {50}), 0); // without the sizes of all
    ExpectNext("", 0);
    ExpectNext("TTA1", 0);
    ExpectNext(std::string(100, 'x'), 0);
}

class NextFiles : public Failures {
protected:
    void ExpectWarning(const std::string &bytes, uint64_t left)
    {
        const std::string what =
            ": " + std::to_string(left) + " bytes after the sound that its header counts are left out\n";
        WriteText(folder / "in", bytes);
        const Outcome outcome = RunHost({"-q", "-b", "32f", folder / "in", "-t", "raw", folder / "out.raw"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        const Outcome piped = RunHostOnPipes(bytes, {"-q", "-b", "32f", "-", "-t", "raw", "-"});
        EXPECT_EQ(piped.status, 0) << piped.err;
        EXPECT_TRUE(piped.out == ReadText(folder / "out.raw"));
        for (const std::string &line : {outcome.err, piped.err}) {
            if (left == 0)
                EXPECT_EQ(line, "");
            else
                EXPECT_NE(line.find(what), std::string::npos) << line;
        }
    }
};

TEST_F(NextFiles, AreToldOf)
{
    const Sound tone = Tone(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 70000, 440);
    for (const Coding &coding : {Coding{"ipod", "alac"}, Coding{"ipod", "aac", 0}, Coding{"tta", "tta"},
                                 Coding{"asf", "wmav2", 0}}) {
        SCOPED_TRACE(coding.coder);
        WriteCoded(folder / "coded", tone, coding);
        const std::string one = ReadText(folder / "coded");
        ExpectWarning(one, 0);
        ExpectWarning(one + one, one.size());
        std::filesystem::remove(PathFromUtf8(folder / "coded"));
    }
    ExpectWarning(SilentApe() + std::string(8, '\0'), 0);
}

// What libsndfile refuses for what follows is read by libavformat, if it is coded.
TEST_F(NextFiles, OfCodedWavAreToldOf)
{
    WriteSound(folder / "coded", Noise(SF_FORMAT_WAV | SF_FORMAT_MS_ADPCM, 44100, 2, 70000));
    const std::string one = ReadText(folder / "coded");
    for (const std::string &tag : {""s, kId3}) {
        WriteText(folder / "in", tag + one + one);
        const Outcome outcome = RunHost({"-q", "-b", "32f", folder / "in", "-t", "raw", folder / "out.raw"});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.err.find(": " + std::to_string(one.size()) +
                                   " bytes after the sound that its header counts are left out\n"),
                  std::string::npos)
            << outcome.err;
    }
}

} // namespace
} // namespace tonekit::host::test
