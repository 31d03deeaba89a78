// flac_sum_test.cpp: FLAC whose samples aren't those that were coded.
#include "host/audio/flac_sum.h"
#include "host/audio/md5.h"
#include "host/system/memory_bytes.h"
#include "tests/host/failures.h"

namespace tonekit::host::test {
namespace {

std::span<const unsigned char> Bytes(const std::string &text)
{
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}

std::string Hex(const Md5::Digest &digest)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::string Md5Of(const std::string &text, size_t part)
{
    Md5 sum;
    for (size_t i = 0; i < text.size(); i += part)
        sum.Take(Bytes(text).subspan(i, std::min(part, text.size() - i)));
    return Hex(sum.Finish());
}

// Those of RFC 1321, and others of md5sum.
TEST(Md5, HasItsKnownSums)
{
    const struct {
        std::string text;
        const char *sum;
    } rows[] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {std::string(63, 'a'), "b06521f39153d618550606be297466d5"},
        {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
        {std::string(65, 'a'), "c743a45e0d2e6a95cb859adae0248435"},
        {std::string(1000, 'a'), "cabe45dcc9ae5b66ba86600cca6b8ba8"},
    };
    for (const auto &row : rows)
        for (const size_t part : {1u, 7u, 64u, 100u, 2000u})
            EXPECT_EQ(Md5Of(row.text, part), row.sum) << row.text << " in parts of " << part;
}

// A file's first bytes, with this number of bits and this sum.
std::string Head(uint32_t bits, const std::string &sum)
{
    std::string head = std::string("fLaC\0\0\0\x22", 8) + std::string(34, '\0');
    head[8 + 12] = static_cast<char>(2 | (bits - 1) >> 4); // two channels
    head[8 + 13] = static_cast<char>((bits - 1) << 4);
    return head.replace(8 + 18, 16, sum);
}

TEST(FlacSum, IsThatOfSignedSamples)
{
    const struct {
        uint32_t bits;
        SampleFormat format;
        std::string samples; // as the program has them
        std::string bytes;   // whose sum it is
    } rows[] = {
        {8, SampleFormat::Int8, std::string("\x00\x7F\x80\xFF", 4), std::string("\x80\xFF\x00\x7F", 4)},
        {4, SampleFormat::Int8, std::string("\x00\x70\x80\xF0", 4), std::string("\xF8\xFF\x00\x07", 4)},
        {16, SampleFormat::Int16, std::string("\x12\x34\xFF\xFE", 4), std::string("\x12\x34\xFF\xFE", 4)},
        {12, SampleFormat::Int16, std::string("\x00\x80\xF0\xFF\x10\x00\xF0\x7F", 8),
         std::string("\x00\xF8\xFF\xFF\x01\x00\xFF\x07", 8)},
        {20, SampleFormat::Int24, std::string("\x80\xFF\x7F\x10\x00\x00\xF0\xFF\xFF\x00\x01\x00", 12),
         std::string("\xF8\xFF\x07\x01\x00\x00\xFF\xFF\xFF\x10\x00\x00", 12)},
        {24, SampleFormat::Int24, std::string("\x01\x02\x83\x04\x05\x06", 6),
         std::string("\x01\x02\x83\x04\x05\x06", 6)},
    };
    for (const auto &row : rows) {
        Md5 model;
        model.Take(Bytes(row.bytes));
        const Md5::Digest digest = model.Finish();
        const std::string head = Head(row.bits, std::string(digest.begin(), digest.end()));
        MemoryBytes memory(Bytes(head));
        for (const bool right : {true, false}) {
            std::optional<FlacSum> sum = SumOfFlac(memory);
            ASSERT_TRUE(sum);
            std::string samples = row.samples;
            if (!right)
                samples.back() ^= 0x10;
            const AudioFormat format = {row.format, 2, 44100};
            const auto frames = static_cast<uint32_t>(samples.size() / format.FrameBytes());
            sum->Take(samples.data(), 1, format);
            sum->Take(samples.data() + format.FrameBytes(), frames - 1, format);
            EXPECT_EQ(sum->IsRight(), right) << row.bits;
        }
    }
}

TEST(FlacSum, IsNoneWhereNoneIsNoted)
{
    for (const std::string &head :
         {Head(16, std::string(16, '\0')), Head(16, "sixteen bytes...").substr(0, 41),
          "OggS" + std::string(50, 'x'), std::string()}) {
        MemoryBytes memory(Bytes(head));
        EXPECT_FALSE(SumOfFlac(memory)) << head.size();
    }
    const std::string tagged = "ID3" + Head(16, "sixteen bytes...");
    MemoryBytes memory(Bytes(tagged));
    EXPECT_TRUE(SumOfFlac(memory, 3));
}

class FlacSumOf : public Failures {};

TEST_F(FlacSumOf, WholeFilesIsRight)
{
    for (const int bits : {8, 16, 24}) {
        for (const int channels : {1, 2, 6}) {
            const int subtype = bits == 8    ? SF_FORMAT_PCM_U8
                                : bits == 16 ? SF_FORMAT_PCM_16
                                             : SF_FORMAT_PCM_24;
            WriteSound(folder / "in.wav", Noise(SF_FORMAT_WAV | subtype, 44100, channels, 20000));
            const std::vector<std::string> arguments = {"-q", folder / "in.wav", folder / "a.flac"};
            ASSERT_EQ(RunHost(arguments).status, 0);
            const std::string flac = ReadText(folder / "a.flac");
            EXPECT_NE(flac.substr(26, 16), std::string(16, '\0'));
            const Outcome outcome = RunHost({"-q", folder / "a.flac", folder / "b.wav"});
            EXPECT_EQ(outcome.status, 0) << outcome.err << bits;
            EXPECT_EQ(RunHostOnPipes(flac, {"-q", "-", "-t", "wav", "-"}).status, 0) << bits;
            // It is read twice.
            EXPECT_EQ(RunHost({"-q", "--normalize", "-20", folder / "a.flac", folder / "b.wav"}).status, 0);
            EXPECT_EQ(RunHost({"-q", "--compression", "8", folder / "a.flac", folder / "b.flac"}).status, 0);
            EXPECT_EQ(ReadText(folder / "b.flac").substr(26, 16), flac.substr(26, 16));
        }
    }
}

TEST_F(FlacSumOf, OtherSamplesIsSaid)
{
    const char *const what =
        "the audio is damaged (its samples don't have the MD5 checksum that its header notes)";
    ASSERT_EQ(RunHost({"-q", folder / "good.wav", folder / "good.flac"}).status, 0);
    const std::string good = ReadText(folder / "good.flac");
    for (const size_t place : {26u, 41u}) {
        std::string bad = good;
        bad[place] ^= 1;
        WriteText(folder / "bad.flac", bad);
        ExpectFailure(1, what, {folder / "bad.flac", folder / "old.wav"});
        // Coded anew it is seen by the new file's sum.
        ExpectFailure(1, what, {"--compression", "8", folder / "bad.flac", folder / "new.flac"});
        ExpectFailure(1, what, {"--normalize", "-20", folder / "bad.flac", folder / "old.wav"});
        ExpectFailure(1, what, {"--info", "--hash", "sha256", folder / "bad.flac"});
        ExpectFailureOf([&] { return RunHostOnPipes(bad, {"-q", "-", folder / "old.wav"}); }, 1, what);
        // A part isn't all.
        for (const char *const start : {"0:00", "0:00.5"})
            EXPECT_EQ(
                RunHost({"-q", "--start", start, "--end", "0:01", folder / "bad.flac", folder / "part.wav"})
                    .status,
                0);
        // Nor is it looked at where the rate changes, but the frames' own checksums are.
        EXPECT_EQ(RunHost({"-q", "-r", "48000", folder / "bad.flac", folder / "part.wav"}).status, 0);
        std::string damaged = good;
        damaged[good.size() * 3 / 4] ^= 1;
        WriteText(folder / "bad.flac", damaged);
        EXPECT_EQ(RunHost({"-q", "-r", "48000", folder / "bad.flac", folder / "no.wav"}).status, 1);
        std::filesystem::remove(folder / "part.wav");
    }
    std::string none = good;
    none.replace(26, 16, 16, '\0');
    WriteText(folder / "none.flac", none);
    EXPECT_EQ(RunHost({"-q", folder / "none.flac", folder / "none.wav"}).status, 0);
}

} // namespace
} // namespace tonekit::host::test
