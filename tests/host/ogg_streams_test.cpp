// ogg_streams_test.cpp: Ogg files and pipes in which several streams follow one another.
#include "host/audio/ogg_link.h"
#include "host/audio/ogg_pages.h"
#include "host/system/memory_bytes.h"
#include "host/system/pipe_input.h"
#include "host/system/platform.h"
#include "tests/host/failures.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tonekit::host::test {
namespace {

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

TEST_F(OggStreams, ThatDifferAreCopiedOrRefused)
{
    const std::string what =
        "holds several streams one after another, and not all of one type, rate and channel count";
    const std::string a = Coded("ogg", 5000);
    for (const std::string &other :
         {Coded("ogg", 5000, 1), Coded("ogg", 5000, 2, 48000), Coded("opus", 5000, 2, 48000)}) {
        const std::string all = a + other;
        ExpectFailureOf([&] { return RunHostOnPipes(all, {"-q", "-", folder / "old.wav"}); }, 1, what);
        WriteText(folder / "a.ogg", all);
        ExpectFailure(1, what, {folder / "a.ogg", folder / "old.wav"});
        ExpectFailure(1, what, {"--info", "--hash", "sha256", folder / "a.ogg"});
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

} // namespace
} // namespace tonekit::host::test
