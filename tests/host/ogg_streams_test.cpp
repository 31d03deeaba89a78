// ogg_streams_test.cpp: Ogg files and pipes in which several streams follow one another.
#include "host/audio/ogg_link.h"
#include "host/audio/ogg_pages.h"
#include "host/system/memory_bytes.h"
#include "host/system/pipe_input.h"
#include "host/system/platform.h"
#include "tests/host/failures.h"
#include "tests/host/page_sum.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

// A page of a stream with this flag, whose segments have these sizes.
std::string OggPage(char flags, const std::vector<unsigned char> &sizes, char serial = 'a')
{
    std::string page = std::string("OggS\0", 5) + flags + std::string(8, '\x5A') + serial +
                       std::string(11, '\x5A') + static_cast<char>(sizes.size());
    size_t content = 0;
    for (const unsigned char size : sizes) {
        page += static_cast<char>(size);
        content += size;
    }
    return page + std::string(content, 'O');
}

// Two streams that begin together, and one alone; the first has 28 + 30 + 28 + 19 + 30 + 517 + 27 bytes.
const std::string kTogether =
    OggPage(2, {30}) + OggPage(2, {19}, 'b') + OggPage(0, {255, 255, 7}) + OggPage(4, {}, 'b');
const std::string kAlone = OggPage(2, {5}, 'c') + OggPage(4, {255, 0}, 'c');

OggPages PagesOf(const std::string &bytes, size_t step)
{
    OggPages pages;
    for (size_t place = 0; place < bytes.size(); place += step) {
        const std::string part = bytes.substr(place, step);
        pages.Take({reinterpret_cast<const unsigned char *>(part.data()), part.size()});
    }
    return pages;
}

TEST(OggPages, FindWhereStreamsBegin)
{
    const struct {
        std::string bytes;
        std::vector<uint64_t> starts;
        bool stray;
    } files[] = {
        {kTogether, {0}, false},
        {kTogether + kTogether, {0, 679}, false},
        {kTogether + kAlone + kTogether, {0, 679, 996}, false},
        {kTogether + "trash OggtrashOOggOgg" + kAlone, {0, 700}, false},
        {"ID3" + kAlone, {3}, false},
        {kAlone + OggPage(0, {9}, 'd'), {0}, true},
        {kTogether + kAlone + OggPage(0, {9}, 'a'), {0, 679}, true},
        {OggPage(0, {9}), {}, true},
        {"", {}, false},
        {"OggS", {}, false},
    };
    TemporaryFolder folder;
    for (const auto &row : files) {
        for (const size_t step : {size_t{1}, size_t{26}, size_t{28}, size_t{1000}}) {
            const OggPages pages = PagesOf(row.bytes, step);
            EXPECT_EQ(pages.starts(), row.starts) << row.bytes.size() << " bytes by " << step;
            EXPECT_EQ(pages.HasStray(), row.stray) << row.bytes.size() << " bytes by " << step;
        }
        WriteText(folder / "a", row.bytes);
        File file;
        EXPECT_FALSE(file.OpenToRead(PathFromUtf8(folder / "a")));
        EXPECT_FALSE(file.SeekTo(2));
        EXPECT_EQ(PagesOfOgg(file).starts(), row.starts) << row.bytes.size() << " bytes";
        uint64_t place = 0;
        EXPECT_FALSE(file.Tell(place));
        EXPECT_EQ(place, 2U);
    }
}

std::string Little32(uint32_t number)
{
    std::string bytes;
    for (int bit = 0; bit < 32; bit += 8)
        bytes += static_cast<char>(number >> bit);
    return bytes;
}

// A page with so many bytes of content, with its number and checksum.
std::string SoundPage(char flags, uint32_t number, bool hasAudio, size_t size, char serial = 'a')
{
    std::string page = "OggS"s + '\0' + flags + std::string(8, hasAudio ? '\1' : '\0') + serial + "\0\0\0"s +
                       Little32(number) + Little32(0);
    page += static_cast<char>(size / 255 + 1);
    page += std::string(size / 255, '\xFF') + static_cast<char>(size % 255);
    for (size_t i = 0; i < size; ++i)
        page += static_cast<char>(i * 7 + number);
    page.replace(22, 4, Little32(SumOf(page)));
    return page;
}

const std::string kHead = SoundPage(2, 0, false, 30) + SoundPage(0, 1, false, 600);

TEST(OggPages, KnowBrokenOnes)
{
    const std::string sound = SoundPage(0, 2, true, 4099) + SoundPage(0, 3, true, 1);
    const std::string whole = kHead + sound + SoundPage(4, 4, true, 0);
    EXPECT_FALSE(PagesOf(whole, 1000).HasBroken());
    for (size_t place = 0; place < whole.size(); place += place < 1000 ? 1 : 61) {
        std::string changed = whole;
        changed[place] = static_cast<char>(changed[place] ^ 0x10);
        const OggPages pages = PagesOf(changed, 5 + place % 300);
        EXPECT_TRUE(pages.HasBroken() || pages.HasStray()) << place;
    }
}

TEST(OggPages, KnowMissingOnes)
{
    const std::string second = SoundPage(0, 2, true, 900);
    const std::string third = SoundPage(0, 3, true, 900);
    const std::string fourth = SoundPage(4, 4, true, 900);
    const struct {
        std::string bytes;
        bool broken;
    } rows[] = {
        {kHead + second + third + fourth, false},
        {kHead + second + fourth, true},
        {kHead + second + third + third + fourth, true},
        {kHead + third + fourth, false}, // a broadcast that was heard from there on
        {kHead + "trash" + third + fourth, true},
        {SoundPage(2, 7, false, 9) + SoundPage(0, 8, false, 9), false},
        {kHead + second + SoundPage(2, 0, false, 9, 'b') + third, false},
        {kHead + SoundPage(0, 0xFFFFFFFF, true, 9) + SoundPage(0, 0, true, 9), false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(PagesOf(row.bytes, 100).HasBroken(), row.broken) << row.bytes.size();
    // Of two streams that begin together each has its own numbers.
    const std::string together = SoundPage(2, 0, false, 9) + SoundPage(2, 0, false, 9, 'b') +
                                 SoundPage(0, 1, true, 9) + SoundPage(0, 1, true, 9, 'b');
    EXPECT_FALSE(
        PagesOf(together + SoundPage(4, 2, true, 9) + SoundPage(4, 2, true, 9, 'b'), 100).HasBroken());
    EXPECT_TRUE(
        PagesOf(together + SoundPage(4, 2, true, 9) + SoundPage(4, 3, true, 9, 'b'), 100).HasBroken());
}

// The page with another position of its end, and with the checksum of that.
std::string EndingAt(uint64_t position, std::string page)
{
    page.replace(6, 8,
                 Little32(static_cast<uint32_t>(position)) + Little32(static_cast<uint32_t>(position >> 32)));
    return WithSum(page);
}

TEST(OggPages, KnowThoseThatEndBeforeEarlierOnes)
{
    const uint64_t none = UINT64_MAX;
    const uint64_t late = 0x200002000;
    const struct {
        uint64_t positions[3];
        bool broken;
    } rows[] = {
        {{1000, 2000, 2000}, false},       {{1000, late, late - 8192}, false}, // the last packets hold more
        {{1000, late, late - 8193}, true}, {{late, 1000, late}, true},         {{late, none, late}, false},
        {{late, none, 1000}, true},        {{late, 0, late}, false},           {{20000, 30000, 9999}, true},
    };
    for (const auto &row : rows) {
        std::string bytes = kHead;
        for (uint32_t i = 0; i < 3; ++i)
            bytes += EndingAt(row.positions[i], SoundPage(i == 2 ? 4 : 0, i + 2, true, 300));
        EXPECT_EQ(PagesOf(bytes, 100).HasBroken(), row.broken) << row.positions[2];
        // A stream that follows begins anew.
        EXPECT_EQ(PagesOf(bytes + kHead + EndingAt(1, SoundPage(4, 2, true, 9)), 77).HasBroken(), row.broken);
    }
}

class OggLinks : public testing::Test {
protected:
    PipeInput Pipe(const std::string &bytes)
    {
        WriteText(folder_ / "a", bytes);
        File file;
        EXPECT_FALSE(file.OpenToRead(PathFromUtf8(folder_ / "a")));
        return PipeInput(std::move(file), 100000);
    }

    static std::string ReadFrom(OggLink &link, uint64_t position, size_t size)
    {
        std::string text(size, '\0');
        size_t got = 0;
        EXPECT_FALSE(link.SeekTo(position));
        EXPECT_FALSE(link.Read(text.data(), size, got));
        text.resize(got);
        uint64_t place = 0;
        EXPECT_FALSE(link.Tell(place));
        EXPECT_EQ(place, position + got);
        return text;
    }

    static bool GoOn(OggLink &link)
    {
        bool found = false;
        EXPECT_FALSE(link.Next(found));
        return found;
    }

private:
    TemporaryFolder folder_;
};

TEST_F(OggLinks, EndWhereTheNextBegins)
{
    const std::string middle = OggPage(2, {5}, 'x') + "trash";
    for (const size_t step : {size_t{1}, size_t{7}, size_t{679}, size_t{5000}}) {
        PipeInput pipe = Pipe(kTogether + middle + kAlone);
        OggLink link(pipe, 100000);
        for (const std::string &expected : {kTogether, middle + kAlone}) {
            std::string read;
            std::string part;
            do {
                part = ReadFrom(link, read.size(), step);
                read += part;
            } while (!part.empty());
            // The stream of one page never went on, so that the last one begins together with it.
            EXPECT_TRUE(read == expected) << step;
            EXPECT_EQ(GoOn(link), expected == kTogether) << step;
        }
        EXPECT_FALSE(link.HasStray());
    }
}

TEST_F(OggLinks, KeepTheirStartUntilTold)
{
    PipeInput pipe = Pipe(kTogether + kAlone);
    OggLink link(pipe, 100000);
    uint64_t size = 0;
    EXPECT_FALSE(link.Size(size));
    EXPECT_EQ(size, PipeInput::kEndless);
    EXPECT_EQ(link.Write("a", 1), std::errc::not_supported);
    EXPECT_EQ(ReadFrom(link, uint64_t{1} << 40, 9), ""); // the end that a reader looks at
    EXPECT_TRUE(ReadFrom(link, 100, 50) == kTogether.substr(100, 50));
    EXPECT_TRUE(ReadFrom(link, 0, 5000) == kTogether);
    // What isn't read is left out.
    ASSERT_TRUE(GoOn(link));
    EXPECT_TRUE(ReadFrom(link, 40, 5000) == kAlone.substr(40));
    EXPECT_TRUE(ReadFrom(link, 2, 100) == kAlone.substr(2, 100));
    EXPECT_FALSE(GoOn(link));
    EXPECT_EQ(ReadFrom(link, kAlone.size(), 1), "");
}

TEST_F(OggLinks, HoldLittleOfALongStream)
{
    std::string bytes = OggPage(2, {5});
    while (bytes.size() < 300000)
        bytes += OggPage(0, std::vector<unsigned char>(200, 255));
    const auto readAll = [&](OggLink &link) {
        std::error_code error;
        std::string block(4096, '\0');
        size_t got = 1;
        for (uint64_t place = 0; got > 0 && !error; place += got) {
            error = link.Read(block.data(), block.size(), got);
            EXPECT_EQ(block.substr(0, got), bytes.substr(place, got));
        }
        return error;
    };
    {
        PipeInput pipe = Pipe(bytes + kAlone);
        pipe.KeepNoMore();
        OggLink link(pipe, 100000);
        EXPECT_EQ(readAll(link), std::errc::not_enough_memory);
        EXPECT_TRUE(GoOn(link)); // that takes none
    }
    PipeInput pipe = Pipe(bytes);
    pipe.KeepNoMore();
    OggLink link(pipe, 100000);
    link.KeepNoMore();
    EXPECT_FALSE(readAll(link));
    char byte = 0;
    size_t got = 0;
    EXPECT_FALSE(link.SeekTo(10));
    EXPECT_EQ(link.Read(&byte, 1, got), std::errc::invalid_seek);
}

TEST_F(OggLinks, AreKeptAnewAfterALongOne)
{
    std::string bytes = OggPage(2, {5});
    while (bytes.size() < 300000)
        bytes += OggPage(0, std::vector<unsigned char>(200, 255));
    PipeInput pipe = Pipe(bytes + bytes);
    pipe.KeepNoMore();
    OggLink link(pipe, 400000);
    link.KeepNoMore();
    EXPECT_EQ(ReadFrom(link, 0, 200000).size(), 200000U);
    ASSERT_TRUE(GoOn(link));
    EXPECT_TRUE(ReadFrom(link, 0, 200000) == bytes.substr(0, 200000));
    EXPECT_TRUE(ReadFrom(link, 10, 299000) == bytes.substr(10, 299000));
}

class OggStreams : public Failures {
protected:
    std::string Through(const std::string &input, const std::vector<std::string> &arguments)
    {
        const Outcome outcome = RunHostOnPipes(input, arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.out;
    }

    // The coded noise of so many frames.
    std::string Coded(const std::string &type, size_t frames, int channels = 2, int rate = 44100)
    {
        WriteSound(folder / "in.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, rate, channels, frames,
                                            static_cast<uint32_t>(frames)));
        const std::string name = folder / ("coded." + type);
        Through("", {"-q", folder / "in.wav", name});
        const std::string coded = ReadText(name);
        std::filesystem::remove(PathFromUtf8(folder / "in.wav"));
        std::filesystem::remove(PathFromUtf8(name));
        return coded;
    }

    // What each of the streams alone is decoded to.
    std::string Samples(const std::string &stream)
    {
        WriteText(folder / "one", stream);
        const std::string samples = Through("", {"-q", "-b", "32f", folder / "one", "-t", "raw", "-"});
        std::filesystem::remove(PathFromUtf8(folder / "one"));
        return samples;
    }
};

TEST_F(OggStreams, AreDecodedOneAfterAnother)
{
    const std::pair<std::string, size_t> types[] = {{"ogg", 44100}, {"opus", 48000}};
    for (const auto &[type, rate] : types) {
        for (const int channels : {2, 6}) {
            const std::string a = Coded(type, 50000, channels, static_cast<int>(rate));
            const std::string b = Coded(type, 777, channels, static_cast<int>(rate));
            const std::string all = a + b + a + a;
            const std::string expected = Samples(a) + Samples(b) + Samples(a) + Samples(a);
            const size_t frames = 3 * 50000 + 777;
            EXPECT_EQ(expected.size(), frames * static_cast<size_t>(channels) * 4) << type;
            const std::string name = folder / ("a." + type);
            WriteText(name, all);
            EXPECT_TRUE(Through("", {"-q", "-b", "32f", name, "-t", "raw", "-"}) == expected) << type;
            EXPECT_TRUE(Through(all, {"-q", "-b", "32f", "-", "-t", "raw", "-"}) == expected) << type;
            EXPECT_NE(Through("", {"--info", name}).find("(" + std::to_string(frames) + " frames)"),
                      std::string::npos);
            // Twice, by a measurement before; and a part that begins in the third stream.
            EXPECT_EQ(Through("", {"-q", "-b", "32f", "--normalize", "-30", name, "-t", "raw", "-"}).size(),
                      expected.size());
            const size_t start = 3 * rate / 2 * static_cast<size_t>(channels) * 4;
            EXPECT_TRUE(Through("", {"-q", "-b", "32f", "--start", "1.5", name, "-t", "raw", "-"}) ==
                        expected.substr(start))
                << type;
            // Copies keep all.
            Through("", {"-q", name, folder / ("copy." + type)});
            EXPECT_TRUE(ReadText(folder / ("copy." + type)) == all) << type;
            EXPECT_TRUE(Through(all, {"-q", "-", "-"}) == all) << type;
            std::filesystem::remove(PathFromUtf8(name));
            std::filesystem::remove(PathFromUtf8(folder / ("copy." + type)));
        }
    }
}

TEST_F(OggStreams, AreDecodedOneAfterAnotherAfterATag)
{
    const std::string tag = "ID3\4\0\0\0\0\1\2"s + std::string(130, 'x');
    for (const char *const type : {"ogg", "opus"}) {
        const std::string a = Coded(type, 50000, 2, 48000);
        const std::string b = Coded(type, 777, 2, 48000);
        const std::string expected = Samples(a) + Samples(b);
        const std::string all = tag + a + b;
        EXPECT_TRUE(Samples(all) == expected) << type;
        EXPECT_TRUE(Through(all, {"-q", "-b", "32f", "-", "-t", "raw", "-"}) == expected) << type;
        EXPECT_TRUE(Through(all, {"-q", "-", "-"}) == all) << type;
        EXPECT_EQ(RunHostOnPipes(all + b.substr(0, b.size() - 1), {"-q", "-", "-t", "wav", "-"}).status, 1)
            << type;
    }
}

// A broadcast that was joined has any position at its start. All of what is heard from there on is read, and
// no more.
TEST_F(OggStreams, ThatWereJoinedLateAreReadFromPipesAsFromFiles)
{
    const struct {
        std::string type;
        int rate;
        size_t headers; // pages
        uint64_t lead;
    } types[] = {{"opus", 48000, 2, 312}, {"ogg", 44100, 2, 0}};
    for (const auto &row : types) {
        const std::string whole = Coded(row.type, 400000, 2, row.rate);
        std::vector<size_t> pages;
        for (size_t page = 0; (page = whole.find("OggS"s + '\0', page)) != std::string::npos; ++page)
            pages.push_back(page);
        const auto positionOf = [&](size_t page) {
            uint64_t position = 0;
            std::memcpy(&position, &whole[pages[page] + 6], sizeof(position));
            return position;
        };
        const size_t first = row.headers + 2;
        ASSERT_GT(pages.size(), first + 2);
        ASSERT_EQ(whole[pages[first] + 5], 0); // no packet that began before
        const std::string late = whole.substr(0, pages[row.headers]) + whole.substr(pages[first]);
        const uint64_t frames = positionOf(pages.size() - 1) - positionOf(first - 1) - row.lead;
        const std::string samples = Samples(late);
        // Vorbis has nothing to add its first packet to.
        EXPECT_LE(samples.size() / 8, frames) << row.type;
        EXPECT_GE(samples.size() / 8 + (row.lead > 0 ? 0 : 2048), frames) << row.type;
        const std::vector<std::string> convert = {"-q", "-b", "32f", "-", "-t", "raw", "-"};
        EXPECT_TRUE(Through(late, convert) == samples) << row.type;
        const std::string short_ = Coded(row.type, 777, 2, row.rate);
        EXPECT_TRUE(Through(late + short_ + late, convert) == samples + Samples(short_) + samples)
            << row.type;
    }
}

TEST_F(OggStreams, ThatDifferAreCopiedOrRefused)
{
    const std::string what =
        "holds several streams one after another, and not all of one type, rate and channel count";
    const std::string a = Coded("ogg", 5000);
    const std::string a48 = Coded("ogg", 5000, 2, 48000);
    for (const auto &[first, other] : {std::pair(a, Coded("ogg", 5000, 1)), std::pair(a, a48),
                                       std::pair(a48, Coded("opus", 5000, 2, 48000))}) {
        const std::string all = first + other;
        ExpectFailureOf([&] { return RunHostOnPipes(all, {"-q", "-", folder / "old.wav"}); }, 1, what);
        WriteText(folder / "a.ogg", all);
        ExpectFailure(1, what, {folder / "a.ogg", folder / "old.wav"});
        ExpectFailure(1, what, {"--info", "--hash", "sha256", folder / "a.ogg"});
        EXPECT_NE(Through("", {"--info", folder / "a.ogg"}).find("Length      not said by the file"),
                  std::string::npos);
        Through("", {"-q", folder / "a.ogg", folder / "copy.ogg"});
        EXPECT_TRUE(ReadText(folder / "copy.ogg") == all);
        std::filesystem::remove(PathFromUtf8(folder / "a.ogg"));
        std::filesystem::remove(PathFromUtf8(folder / "copy.ogg"));
    }
}

// Of a stream that was cut within a page the next one's first page is lost.
TEST_F(OggStreams, AfterOneThatIsCutWithinAPageAreRefused)
{
    const std::string a = Coded("ogg", 200000);
    const std::string all = a.substr(0, a.size() / 2) + Coded("ogg", 5000, 2, 44100);
    const std::string what = "the audio is damaged (a page of a stream that didn't begin)";
    ExpectFailureOf([&] { return RunHostOnPipes(all, {"-q", "-", folder / "old.wav"}); }, 1, what);
    WriteText(folder / "a.ogg", all);
    ExpectFailure(1, what, {folder / "a.ogg", folder / "old.wav"});
    std::filesystem::remove(PathFromUtf8(folder / "a.ogg"));
}

// libsndfile passes such a page over, and where it is the first of the audio calls the rest the whole.
TEST_F(OggStreams, WithABrokenOrMissingPageAreRefused)
{
    const std::string what = "the audio is damaged (a page of it is broken or missing)";
    for (const std::string &type : {"ogg"s, "opus"s}) {
        const std::string whole = Coded(type, 200000, 2, 48000);
        std::vector<size_t> pages;
        for (size_t page = 0; (page = whole.find("OggS"s + '\0', page)) != std::string::npos; ++page)
            pages.push_back(page);
        ASSERT_GT(pages.size(), 5U);
        std::string flipped = whole;
        flipped[pages[2] + 200] ^= 1;
        std::string later = whole;
        later[pages[4] + 200] ^= 1;
        const std::string without = whole.substr(0, pages[4]) + whole.substr(pages[5]);
        // libsndfile reads no further than the end of the last page.
        const std::string early = whole.substr(0, pages.back()) + EndingAt(38200, whole.substr(pages.back()));
        for (const std::string &bytes : {flipped, later, without, early}) {
            ExpectFailureOf([&] { return RunHostOnPipes(bytes, {"-q", "-", folder / "old.wav"}); }, 1, what);
            WriteText(folder / "a", bytes);
            ExpectFailure(1, what, {folder / "a", folder / "old.wav"});
            EXPECT_NE(Through("", {"--info", folder / "a"}).find("not said by the file"), std::string::npos);
        }
        std::filesystem::remove(PathFromUtf8(folder / "a"));
    }
}

// With tags that take more pages all that follow would get new checksums, and look whole.
TEST_F(OggStreams, WithABrokenOrMissingPageKeepTheirTags)
{
    const std::string what =
        "the audio is damaged (a page of it is broken or missing): its tags can't be changed";
    const std::string cover = folder / "cover.gif";
    WriteText(cover, "GIF89a\1\0\1\0\0\0\0"s + std::string(100000, 'x'));
    for (const std::string &type : {"ogg"s, "opus"s}) {
        const std::string whole = Coded(type, 200000, 2, 48000);
        const size_t last = whole.rfind("OggS"s + '\0');
        const size_t before = whole.rfind("OggS"s + '\0', last - 1);
        std::string flipped = whole;
        flipped[last + 100] ^= 1;
        const std::string name = folder / ("a." + type);
        const std::string other = folder / ("b." + type);
        for (const std::string &bytes : {flipped, whole.substr(0, before) + whole.substr(last)}) {
            WriteText(name, bytes);
            WriteText(other, "old");
            for (const std::vector<std::string> &change :
                 {std::vector<std::string>{"--cover", cover}, {"--set", "TITLE=New"}}) {
                std::vector<std::string> arguments = change;
                arguments.insert(arguments.end(), {"--in-place", name});
                ExpectFailureOf([&] { return RunHost(arguments); }, 1, what);
                EXPECT_TRUE(ReadText(name) == bytes);
                arguments = change;
                arguments.insert(arguments.end(), {name, other});
                ExpectFailureOf([&] { return RunHost(arguments); }, 1, what);
                EXPECT_EQ(ReadText(other), "old");
            }
        }
        WriteText(name, whole);
        Through("", {"-q", "--in-place", "--cover", cover, name});
        EXPECT_EQ(Samples(ReadText(name)), Samples(whole));
        std::filesystem::remove(PathFromUtf8(name));
        std::filesystem::remove(PathFromUtf8(other));
    }
    std::filesystem::remove(PathFromUtf8(cover));
}

} // namespace
} // namespace tonekit::host::test
