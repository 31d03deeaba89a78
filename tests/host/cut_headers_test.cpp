// cut_headers_test.cpp: headers from a pipe that end before they are whole.
#include "host/audio/audio_reader.h"
#include "host/audio/stream_header.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/pipe_input.h"
#include "tests/host/failures.h"

#include <array>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

const std::string kOpen64(8, '\xFF');
const std::string kPcmFormat = "\1\0\2\0\x44\xAC\0\0\x10\xB1\2\0\4\0\x10\0"s; // 44100 Hz, 16 bit, stereo

// A header without samples after it, whose size of the samples nobody knew.
struct Header {
    const char *type;
    std::string bytes;
    size_t recognised; // so many bytes say what type it is
    size_t known;      // so many bytes say where the samples begin, and that their size is open
    HeaderForm form;
    std::string prepared; // what a reader gets instead
};

const std::vector<Header> &Headers()
{
    static const std::vector<Header> headers = {
        {"au", ".snd\0\0\0\x18\0\0\0\0\0\0\0\3\0\0\xAC\x44\0\0\0\2"s, 4, 12, HeaderForm::Open,
         ".snd\0\0\0\x18\xFF\xFF\xFF\xFF\0\0\0\3\0\0\xAC\x44\0\0\0\2"s},
        {"rf64",
         "RF64\xFF\xFF\xFF\xFFWAVEds64\x1C\0\0\0"s + std::string(28, '\0') + "fmt \x10\0\0\0"s + kPcmFormat +
             "data\xFF\xFF\xFF\xFF",
         12, 80, HeaderForm::Open,
         "RF64\xFF\xFF\xFF\xFFWAVEds64\x1C\0\0\0"s + std::string(8, '\0') +
             "\xB0\xFF\xEF\xFF\xFF\xFF\xFF\x0F"s + std::string(12, '\0') + "fmt \x10\0\0\0"s + kPcmFormat +
             "data\xFF\xFF\xFF\xFF"},
        // The samples' size lies after the place where the samples begin.
        {"rf64 without sizes", "RF64\xFF\xFF\xFF\xFFWAVEds64\0\0\0\0data\0\0\0\0"s + kOpen64, 12, 36,
         HeaderForm::Open,
         "RF64\xFF\xFF\xFF\xFFWAVEds64\0\0\0\0data\xFF\xFF\xFF\xFF\xE4\xFF\xEF\xFF\xFF\xFF\xFF\x0F"s},
        {"wav", "RIFF\0\0\0\0WAVEfmt \x10\0\0\0"s + kPcmFormat + "data\xFF\xFF\xFF\xFF", 12, 44,
         HeaderForm::OpenAsRf64,
         "RF64\xFF\xFF\xFF\xFFWAVEds64\x1C\0\0\0"s +
             "\xD4\xFF\xEF\xFF\xFF\xFF\xFF\x0F\xD4\xFF\xEF\xFF\xFF\xFF\xFF\x0F"s + std::string(12, '\0') +
             "fmt \x10\0\0\0"s + kPcmFormat + "data\xFF\xFF\xFF\xFF"},
        {"aiff", "FORM\0\0\0\0AIFFCOMM\0\0\0\x12\0\2\0\0\0\0\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0SSND\0\0\0\0"s,
         11, 46, HeaderForm::Open,
         "FORM\0\0\0\0AIFFCOMM\0\0\0\x12\0\2\0\0\0\0\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0SSND\xFF\xFF\xFF\xFF"s},
        {"caf",
         "caff\0\1\0\0desc\0\0\0\0\0\0\0\x20\x40\xE5\x88\x80\0\0\0\0lpcm\0\0\0\0\0\0\0\4\0\0\0\1\0\0\0\2\0\0\0\20data"s +
             kOpen64,
         4, 64, HeaderForm::Open,
         "caff\0\1\0\0desc\0\0\0\0\0\0\0\x20\x40\xE5\x88\x80\0\0\0\0lpcm\0\0\0\0\0\0\0\4\0\0\0\1\0\0\0\2\0\0"
         "\0\20data"
         "\x0F\xFF\xFF\xFF\xFF\xEF\xFF\xC0"s},
    };
    return headers;
}

File Opened(const std::string &name)
{
    File file;
    EXPECT_FALSE(file.OpenToRead(PathFromUtf8(name)));
    return file;
}

std::string AllOf(PipeInput &pipe)
{
    std::string bytes(1000, '\0');
    size_t got = 0;
    pipe.SeekTo(0);
    EXPECT_FALSE(pipe.Read(bytes.data(), bytes.size(), got));
    return bytes.substr(0, got);
}

TEST(CutHeader, IsChangedOnlyWhereItSaysItsSize)
{
    const TemporaryFolder folder;
    for (const Header &header : Headers()) {
        for (size_t size = 0; size <= header.bytes.size(); ++size) {
            SCOPED_TRACE(header.type + (" " + std::to_string(size)));
            const std::string cut = header.bytes.substr(0, size);
            WriteText(folder / "a", cut);
            PipeInput pipe(Opened(folder / "a"), 1000);
            const bool known = size >= header.known;
            EXPECT_EQ(PrepareHeader(pipe), known                      ? header.form
                                           : size < header.recognised ? HeaderForm::AsItWas
                                                                      : HeaderForm::NotFound);
            const size_t left = header.bytes.size() - size;
            EXPECT_EQ(AllOf(pipe), known ? header.prepared.substr(0, header.prepared.size() - left) : cut);
            EXPECT_FALSE(pipe.endIsKnown());
        }
    }
}

// Also after a tag.
TEST(CutHeader, IsRefusedByTheReader)
{
    const TemporaryFolder folder;
    for (const Header &header : Headers()) {
        for (const std::string &tag : {""s, "ID3\4\0\0\0\0\0\5abcde"s}) {
            for (size_t size = 0; size <= header.bytes.size(); ++size) {
                SCOPED_TRACE(header.type + (" " + std::to_string(tag.size()) + " " + std::to_string(size)));
                WriteText(folder / "a", tag + header.bytes.substr(0, size));
                std::array<double, 8> frame{};
                EXPECT_THROW(AudioReader(Opened(folder / "a"), "stream").Read(frame.data(), 1), Failure);
            }
        }
    }
}

// Without an end libsndfile looks through such chunks, of which nothing came, for ever.
TEST(CutHeader, WithLongChunksEnds)
{
    const TemporaryFolder folder;
    for (const Header &header : Headers()) {
        const bool isCaf = header.type == "caf"s;
        if (!isCaf && header.type != "wav"s && header.type != "aiff"s)
            continue;
        const std::string chunk = isCaf ? "free\0\0\0\0\0\x40\0\0"s : "JUNK\0\x40\x40\0"s;
        WriteText(folder / "a", header.bytes.substr(0, header.known - (isCaf ? 12 : 8)) + chunk + "abcde");
        EXPECT_THROW(AudioReader(Opened(folder / "a"), "stream"), Failure) << header.type;
    }
}

TEST(CutHeader, AfterATagIsPreparedWhereItBegins)
{
    const TemporaryFolder folder;
    for (const Header &header : Headers()) {
        WriteText(folder / "a", "12345" + header.bytes);
        PipeInput pipe(Opened(folder / "a"), 1000);
        EXPECT_EQ(PrepareHeader(pipe, 5), header.form) << header.type;
        std::string prepared = AllOf(pipe);
        EXPECT_EQ(prepared.substr(0, 5), "12345");
        // The room that is left for samples is as much less.
        EXPECT_EQ(prepared.size(), 5 + header.prepared.size()) << header.type;
        EXPECT_EQ(prepared.substr(5, 4), header.prepared.substr(0, 4)) << header.type;
        EXPECT_EQ(prepared.substr(prepared.size() - 4).find("\0\0\0\0"s), std::string::npos) << header.type;
    }
}

class CutHeaderInAPipe : public Failures {};

TEST_F(CutHeaderInAPipe, EndsInOneLine)
{
    for (const Header &header : Headers()) {
        if (header.type != "au"s && header.type != "rf64"s && header.type != "rf64 without sizes"s)
            continue;
        for (size_t size = 0; size <= header.bytes.size(); ++size) {
            SCOPED_TRACE(header.type + (" " + std::to_string(size)));
            const std::string cut = header.bytes.substr(0, size);
            ExpectFailureOf(
                [&] {
                    return RunHostOnPipes(cut, {"-q", "-", folder / "old.wav"});
                },
                1, "standard input: ");
        }
    }
}

} // namespace
} // namespace tonekit::host::test
