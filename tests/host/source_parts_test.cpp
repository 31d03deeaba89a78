// source_parts_test.cpp: parts of sources, and sources joined of files, read frame by frame.
#include "host/audio/part_source.h"
#include "host/joined_source.h"
#include "host/system/failure.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

constexpr uint64_t kSecond = 10'000'000;

// Frames that count from 0 on, of a source that promises so many and has so many.
class Counted : public SampleSource {
public:
    Counted(uint64_t promised, uint64_t frames, bool canSeek, uint32_t rate = 1000)
        : promised_(promised), frames_(frames), canSeek_(canSeek), format_{SampleFormat::Int32, 1, rate}
    {}

    std::string name() const override { return "counted"; }
    const AudioFormat &format() const override { return format_; }
    uint64_t frames() const override { return promised_; }
    const std::string &type() const override { return text_; }
    const std::string &encoding() const override { return text_; }
    const Container *container() const override { return nullptr; }
    TagKind tagKind() const override { return TagKind::None; }
    bool lossy() const override { return false; }
    bool TrySeek(uint64_t frame) override
    {
        if (canSeek_)
            next_ = frame;
        return canSeek_;
    }
    uint32_t Read(void *buffer, uint32_t frames) override
    {
        uint32_t got = 0;
        for (; got < frames && next_ < frames_; ++got)
            static_cast<int32_t *>(buffer)[got] = static_cast<int32_t>(next_++);
        return got;
    }
    void Rewind() override { next_ = 0; }

private:
    const uint64_t promised_;
    const uint64_t frames_;
    const bool canSeek_;
    const AudioFormat format_;
    const std::string text_;
    uint64_t next_ = 0;
};

PartSource PartOf(uint64_t promised, uint64_t frames, const FilePart &part, bool canSeek = true)
{
    return {std::make_unique<Counted>(promised, frames, canSeek), part};
}

// A frame is a millisecond.
FilePart Milliseconds(uint64_t start, std::optional<uint64_t> end = {})
{
    return {start * 10'000, end ? std::optional(*end * 10'000) : std::nullopt};
}

std::vector<int32_t> AllOf(SampleSource &source)
{
    std::vector<int32_t> all;
    std::vector<int32_t> block(7 * source.format().channels);
    while (const uint32_t frames = source.Read(block.data(), 7))
        all.insert(all.end(), block.begin(), block.begin() + frames * source.format().channels);
    return all;
}

std::vector<int32_t> From(int32_t first, int32_t end)
{
    std::vector<int32_t> numbers;
    for (int32_t number = first; number < end; ++number)
        numbers.push_back(number);
    return numbers;
}

TEST(PartSource, HasTheFramesOfItsPartAndSaysHowMany)
{
    for (const bool canSeek : {true, false}) {
        PartSource middle = PartOf(100, 100, Milliseconds(20, 50), canSeek);
        EXPECT_EQ(middle.frames(), 30u);
        EXPECT_EQ(AllOf(middle), From(20, 50));
        PartSource end = PartOf(100, 100, Milliseconds(90), canSeek);
        EXPECT_EQ(end.frames(), 10u);
        EXPECT_EQ(AllOf(end), From(90, 100));
        PartSource unknown = PartOf(0, 100, Milliseconds(20, 50), canSeek);
        EXPECT_EQ(unknown.frames(), 0u);
        EXPECT_EQ(AllOf(unknown), From(20, 50));
    }
}

TEST(PartSource, BeginsAgainAfterItsEnd)
{
    for (const bool canSeek : {true, false}) {
        PartSource part = PartOf(100, 100, Milliseconds(20, 50), canSeek);
        EXPECT_EQ(AllOf(part), From(20, 50));
        part.Rewind();
        EXPECT_EQ(AllOf(part), From(20, 50));
    }
}

TEST(PartSource, GivesWhatIsBeforeItToThoseWhoAsk)
{
    PartSource part = PartOf(100, 100, Milliseconds(20, 50));
    int32_t before[15];
    EXPECT_EQ(part.ReadBefore(before, 15), 15u);
    EXPECT_EQ(before[14], 14);
    EXPECT_EQ(part.ReadBefore(before, 15), 5u);
    EXPECT_EQ(before[4], 19);
    EXPECT_EQ(part.ReadBefore(before, 15), 0u);
    EXPECT_EQ(AllOf(part), From(20, 50));
}

TEST(PartSource, BeyondASourceThatDoesNotSayItsLengthFailsWhenRead)
{
    for (const bool canSeek : {true, false}) {
        PartSource start = PartOf(0, 100, Milliseconds(150), canSeek);
        EXPECT_THROW(AllOf(start), Failure);
        PartSource atTheEnd = PartOf(0, 100, Milliseconds(100), canSeek);
        EXPECT_THROW(AllOf(atTheEnd), Failure);
        PartSource end = PartOf(0, 100, Milliseconds(50, 120), canSeek);
        EXPECT_THROW(AllOf(end), Failure);
        PartSource whole = PartOf(0, 100, Milliseconds(50, 100), canSeek);
        EXPECT_EQ(AllOf(whole), From(50, 100));
    }
    // What is before the part may end too.
    PartSource start = PartOf(0, 100, Milliseconds(150));
    int32_t before[200];
    EXPECT_EQ(start.ReadBefore(before, 200), 100u);
    EXPECT_THROW(start.ReadBefore(before, 200), Failure);
}

TEST(PartSource, OutsideOfASourceIsRefusedAtOnce)
{
    EXPECT_THROW(PartOf(100, 100, Milliseconds(100)), Failure);
    EXPECT_THROW(PartOf(100, 100, Milliseconds(20, 101)), Failure);
    EXPECT_THROW(PartOf(100, 100, FilePart{100'000, 100'001}), Failure);
    EXPECT_NO_THROW(PartOf(100, 100, Milliseconds(99, 100)));
}

TEST(PartSource, FindsPlacesOfHundredsOfDays)
{
    // 200 days at 192 kHz: the product of the time in 100 ns and the rate has more than 64 bits.
    constexpr uint64_t kSeconds = 200 * 86400;
    constexpr uint64_t kFirst = kSeconds * 192000;
    PartSource part(std::make_unique<Counted>(kFirst + 1000, kFirst + 1000, true, 192000),
                    FilePart{kSeconds * kSecond, std::nullopt});
    EXPECT_EQ(part.frames(), 1000u);
    EXPECT_EQ(AllOf(part).size(), 1000u);
}

class JoinedFiles : public testing::Test {
protected:
    std::filesystem::path Write(const std::string &name, size_t frames, int format, int rate = 44100)
    {
        WriteSound(folder_ / name, Noise(format, rate, 1, frames));
        return PathFromUtf8(folder_ / name);
    }

    static constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    Options options_;
    TemporaryFolder folder_;
};

uint64_t CountOf(SampleSource &source)
{
    uint8_t block[8 * 1000];
    uint64_t count = 0;
    while (const uint32_t frames = source.Read(block, 1000))
        count += frames;
    return count;
}

TEST_F(JoinedFiles, BeginWhereTheOneBeforeThemEnds)
{
    const std::filesystem::path first = Write("a.wav", 1500, kWav16);
    const std::filesystem::path second = Write("b.wav", 1, kWav16);
    JoinedSource joined(options_, {first, second, first});
    EXPECT_EQ(joined.name(), folder_ / "a.wav and 2 more");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(CountOf(joined), 3001u);
        const std::vector<SourceFile> files = joined.files();
        ASSERT_EQ(files.size(), 3u);
        EXPECT_EQ(files[0].start, 0u);
        EXPECT_EQ(files[1].start, 1500u);
        EXPECT_EQ(files[2].start, 1501u);
        joined.Rewind();
    }
    EXPECT_THROW(JoinedSource(options_, {first, Write("empty.wav", 0, kWav16)}), Failure);
}

TEST_F(JoinedFiles, HaveALengthIfEachOfThemHas)
{
    const std::filesystem::path full = Write("full.flac", 1500, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    const std::filesystem::path unknown = Write("unknown.flac", 1500, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    // The 36 bits of the header that count the frames.
    std::string bytes = ReadText(folder_ / "unknown.flac");
    bytes[21] = static_cast<char>(bytes[21] & 0xF0);
    bytes.replace(22, 4, 4, '\0');
    WriteText(folder_ / "unknown.flac", bytes);
    EXPECT_EQ(JoinedSource(options_, {full, full}).frames(), 3000u);
    EXPECT_EQ(JoinedSource(options_, {full, unknown}).frames(), 0u);
    EXPECT_EQ(JoinedSource(options_, {unknown, full}).frames(), 0u);
    JoinedSource joined(options_, {unknown, full});
    EXPECT_EQ(CountOf(joined), 3000u);
}

TEST_F(JoinedFiles, SayWhatTheyHaveInCommon)
{
    const std::filesystem::path wav = Write("a.wav", 1500, kWav16);
    const std::filesystem::path flac = Write("a.flac", 1500, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    EXPECT_EQ(JoinedSource(options_, {wav, wav}).type(), "WAV");
    EXPECT_EQ(JoinedSource(options_, {wav, flac}).type(), "several types");
    EXPECT_EQ(JoinedSource(options_, {wav, flac}).encoding(), "Signed 16 bit PCM");
    const std::filesystem::path ogg = Write("a.ogg", 5000, SF_FORMAT_OGG | SF_FORMAT_VORBIS, 48000);
    const std::filesystem::path opus = Write("a.opus", 5000, SF_FORMAT_OGG | SF_FORMAT_OPUS, 48000);
    EXPECT_EQ(JoinedSource(options_, {ogg, ogg}).encoding(), "Vorbis");
    EXPECT_EQ(JoinedSource(options_, {ogg, opus}).encoding(), "");
    EXPECT_TRUE(JoinedSource(options_, {ogg, opus}).lossy());
}

TEST_F(JoinedFiles, ThatChangeMeanwhileAreRefused)
{
    const std::filesystem::path first = Write("a.wav", 1500, kWav16);
    JoinedSource joined(options_, {first, Write("b.wav", 1500, kWav16)});
    Write("b.wav", 1500, kWav16, 48000);
    EXPECT_THROW(CountOf(joined), Failure);
}

} // namespace
} // namespace tonekit::host::test
