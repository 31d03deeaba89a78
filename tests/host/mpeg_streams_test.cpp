// mpeg_streams_test.cpp: MP3 files whose notes contradict their frames, and files that follow one another in
// one.
#include "host/audio/mpeg_frames.h"
#include "host/audio/mpeg_streams.h"
#include "host/system/memory_bytes.h"
#include "tests/host/failures.h"
#include "tests/host/number_bytes.h"

#include <array>
#include <filesystem>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;

TEST(MpegFrames, HaveTheSizesOfTheirHeaders)
{
    const struct {
        uint32_t header;
        size_t size;
    } rows[] = {
        {0xFFFB9000, 417},  {0xFFFB9200, 418},  {0xFFFBE000, 1044}, {0xFFFA9000, 417}, // layer 3
        {0xFFFD8000, 417},  {0xFFFDE400, 1152}, {0xFFFD1800, 144},                     // layer 2
        {0xFFFF4000, 136},  {0xFFFF4200, 140},                                         // layer 1
        {0xFFF38000, 208},  {0xFFE38800, 576},                                         // lower rates
        {0xFFF5E000, 1044}, {0xFFE5E800, 2880}, {0xFFF71000, 68},   {0xFFFB0000, 0},   {0xFFFBF000, 0},
        {0xFFFB9C00, 0},    {0xFFEB9000, 0},    {0xFFF99000, 0},    {0x7FFB9000, 0},   {0, 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(SizeOfMpegFrame(row.header), row.size) << std::hex << row.header;
}

// Frames of 128 kbit/s, layer 3, two channels, 44100 Hz; or others of a header whose size is given.
std::string SomeFrames(int count, uint32_t header = 0xFFFB9000, size_t size = 417)
{
    std::string frames;
    for (int i = 0; i < count; ++i)
        frames += Big(header) + std::string(size - 4, '\x55');
    return frames;
}

std::string NoteFrame(const std::string &fields, size_t place = 36)
{
    std::string frame = SomeFrames(1);
    std::fill(frame.begin() + 4, frame.end(), '\0');
    return frame.replace(place, fields.size(), fields);
}

MpegFrames FramesOf(const std::string &bytes, size_t part)
{
    MpegFrames frames;
    for (size_t i = 0; i < bytes.size(); i += part)
        frames.Take(
            {reinterpret_cast<const unsigned char *>(bytes.data()) + i, std::min(part, bytes.size() - i)});
    frames.Finish();
    return frames;
}

TEST(MpegFrames, AreFollowedThroughTags)
{
    const std::string id3 = std::string("ID3\x04\0\0\0\0\x02\x03", 10) + std::string(259, '\xFF');
    const std::string ape =
        std::string("APETAGEX\xD0\x07\0\0\x28\0\0\0\1\0\0\0\0\0\0\xA0\0\0\0\0\0\0\0\0", 32) +
        SomeFrames(1).substr(0, 8) + "APETAGEX" + std::string(24, '\0');
    const std::string note = NoteFrame("Info" + Big(3) + Big(4) + Big(2085));
    const std::string other = SomeFrames(3, 0xFFFB9400, 384);
    using Counts = std::vector<uint64_t>;
    const struct {
        std::string bytes;
        Counts starts;
        Counts frames;
        bool differ;
    } rows[] = {
        {"", {}, {}, false},
        {"abc", {}, {}, false},
        {std::string(100, '\xFF'), {}, {}, false},
        {SomeFrames(1), {0}, {1}, false},
        {SomeFrames(5), {0}, {5}, false},
        {SomeFrames(5).substr(0, 2084), {0}, {4}, false}, // cut off
        {id3 + id3 + SomeFrames(2) + "TAG" + std::string(125, 'x'), {538}, {2}, false},
        {SomeFrames(4) + ape, {0}, {4}, false},
        {SomeFrames(4) + ape + SomeFrames(3), {0}, {7}, false},
        {SomeFrames(4) + std::string(9000, 'z') + SomeFrames(3), {0}, {7}, false},
        {SomeFrames(4) + std::string(9000, 'z') + SomeFrames(2) + "zz",
         {0},
         {4},
         false}, // too few to be sure
        // After a tag, too, one header may be chance.
        {SomeFrames(4) + id3 + SomeFrames(1).substr(0, 100) + std::string(9000, 'z'), {0}, {4}, false},
        {std::string(65000, 'z') + SomeFrames(3), {65000}, {3}, false},
        {std::string(90000, 'z') + SomeFrames(30), {}, {}, false}, // too late
        {note + SomeFrames(4), {0}, {4}, false},
        {note + SomeFrames(4) + note + SomeFrames(2), {0, 2085}, {4, 2}, false},
        {note + SomeFrames(4) + id3 + note + SomeFrames(2), {0, 2354}, {4, 2}, false},
        {note + SomeFrames(4) + note + note + SomeFrames(2), {0, 2502}, {4, 2}, false}, // a note of nothing
        {SomeFrames(4) + note + SomeFrames(2), {0}, {7}, false}, // the note is read as silence
        {SomeFrames(4) + other, {0}, {7}, true},
        {SomeFrames(4) + other.substr(0, 384) + SomeFrames(3), {0}, {7}, false}, // damage, or a picture
        {SomeFrames(3) + SomeFrames(3, 0xFFFB90C0), {0}, {6}, true},             // one channel
        {SomeFrames(3) + SomeFrames(3, 0xFFFB9040), {0}, {6}, false},            // joint stereo
        {note + SomeFrames(3) + note + other, {0, 1668}, {3, 3}, true},
    };
    for (const auto &row : rows) {
        for (const size_t part : {1u, 100u, 4096u, 1u << 20}) {
            const MpegFrames found = FramesOf(row.bytes, part);
            Counts starts;
            Counts frames;
            for (const MpegStream &stream : found.streams()) {
                starts.push_back(stream.start);
                frames.push_back(stream.frames);
            }
            const auto index = &row - rows;
            EXPECT_EQ(starts, row.starts) << index << " in parts of " << part;
            EXPECT_EQ(frames, row.frames) << index << " in parts of " << part;
            EXPECT_EQ(found.differ(), row.differ) << index << " in parts of " << part;
        }
    }
}

// A file of any size that holds something else isn't read to its end.
TEST(MpegFrames, AreNotLookedForFarFromTheBeginning)
{
    const std::string zeros(size_t{4} << 20, '\0');
    MemoryBytes file({reinterpret_cast<const unsigned char *>(zeros.data()), zeros.size()});
    EXPECT_TRUE(StreamsOfMpeg(file, 0).starts.empty());
    uint64_t place = 0;
    EXPECT_FALSE(file.Tell(place));
    EXPECT_LE(place, 256u << 10);

    const std::string late = zeros.substr(0, 60000) + SomeFrames(3) + zeros;
    EXPECT_FALSE(FramesOf(late, 1000).gaveUp());
    EXPECT_TRUE(FramesOf(zeros, 1000).gaveUp());
    // A tag of any size may come before them.
    const std::string tag =
        "ID3\4" + std::string(2, '\0') + std::string("\0\x40\0\0", 4) + zeros.substr(0, 1 << 20);
    EXPECT_FALSE(FramesOf(tag, 1000).gaveUp());
    EXPECT_EQ(FramesOf(tag + SomeFrames(3), 1000).frames(), 3u);
}

TEST(MpegFrames, KeepTheirNumberOfStreamsWithinBounds)
{
    const std::string one = NoteFrame("Info" + Big(1) + Big(1)) + SomeFrames(1);
    std::string bytes;
    for (int i = 0; i < 10100; ++i)
        bytes += one;
    const MpegFrames found = FramesOf(bytes, bytes.size());
    EXPECT_EQ(found.streams().size(), 10000u);
    EXPECT_EQ(found.frames(), 10000u + 2 * 100); // the last notes are frames too
}

std::span<const unsigned char> Bytes(const std::string &text)
{
    return {reinterpret_cast<const unsigned char *>(text.data()), text.size()};
}

TEST(MpegNotes, AreReadAndRewritten)
{
    const std::string table(100, 't');
    const std::string name = "LAME3.100" + std::string(12, 'l') + "\x24\x05\x67" + "rest";
    const std::string all = NoteFrame("Xing" + Big(15) + Big(7) + Big(9000) + table + Big(50) + name);
    const std::optional<MpegNote> note = NoteInFrame(Bytes(all));
    ASSERT_TRUE(note);
    EXPECT_EQ(note->place, 40u);
    EXPECT_EQ(note->frames, 7u);
    EXPECT_EQ(note->bytes, 9000u);
    const auto text = [](const std::vector<unsigned char> &bytes) {
        return std::string(bytes.begin(), bytes.end());
    };
    EXPECT_EQ(text(WithCount(Bytes(all), *note, 0x01020304, true)),
              NoteFrame("Xing" + Big(15) + "\1\2\3\4" + Big(9000) + table + Big(50) + name));
    EXPECT_EQ(text(WithCount(Bytes(all), *note, 8, false)),
              NoteFrame("Xing" + Big(15) + Big(8) + Big(9000) + table + Big(50) + "LAME3.100" +
                        std::string(12, 'l') + std::string("\x24\0\0", 3) + "rest"));

    const std::string uncounted = NoteFrame("Info" + Big(2) + Big(9000) + name, 38);
    const std::optional<MpegNote> without = NoteInFrame(Bytes(uncounted));
    ASSERT_TRUE(without); // after a checksum
    EXPECT_EQ(without->place, 42u);
    EXPECT_FALSE(without->frames);
    EXPECT_EQ(without->bytes, 9000u);
    EXPECT_EQ(text(WithCount(Bytes(uncounted), *without, 8, true)),
              NoteFrame("Info" + Big(3) + Big(8) + Big(9000) + name, 38));

    const std::string mono = Big(0xFFFB90C0) + std::string(17, '\0') + "Info" + std::string(12, '\0');
    EXPECT_EQ(NoteInFrame(Bytes(mono))->place, 25u);
    const std::string lower = Big(0xFFF380C0) + std::string(9, '\0') + "Info" + std::string(12, '\0');
    EXPECT_EQ(NoteInFrame(Bytes(lower))->place, 17u);
    EXPECT_FALSE(NoteInFrame(Bytes(lower.substr(0, 28)))); // cut off
    EXPECT_FALSE(NoteInFrame(Bytes(SomeFrames(1))));
    EXPECT_FALSE(NoteInFrame(Bytes(NoteFrame("Info", 37))));
    EXPECT_FALSE(NoteInFrame(Bytes(Big(0xFFFD8000) + NoteFrame("Info").substr(4)))); // layer 2
}

TEST(PatchedBytes, AreReadInThePlaceOfTheFiles)
{
    const std::string plain = "0123456789abcdef";
    const std::string patched = "0ABC45678Zabcdef";
    for (size_t from = 0; from <= plain.size(); ++from) {
        for (size_t size = 0; size <= plain.size(); ++size) {
            MemoryBytes file(Bytes(plain));
            PatchedBytes bytes(file, {{1, {'A', 'B', 'C'}}, {9, {'Z'}}});
            std::string buffer(size, '\0');
            size_t got = 0;
            EXPECT_FALSE(bytes.SeekTo(from));
            EXPECT_FALSE(bytes.Read(buffer.data(), size, got));
            EXPECT_EQ(buffer.substr(0, got), patched.substr(from, size));
        }
    }
}

class MpegStreamsOf : public Failures {
protected:
    // An MP3 file with a note of the program's own encoder.
    std::string Encoded(size_t frames, uint32_t seed, int rate = 44100, int channels = 2)
    {
        WriteSound(folder / "sound", Noise(kWav16, rate, channels, frames, seed));
        EXPECT_EQ(RunHost({"-q", "--vbr", "6", folder / "sound", folder / "coded.mp3"}).status, 0);
        std::string bytes = ReadText(folder / "coded.mp3");
        fs::remove(folder / "sound");
        fs::remove(folder / "coded.mp3");
        return bytes;
    }

    static size_t NoteOf(const std::string &mp3)
    {
        const size_t place = std::min(mp3.find("Info"), mp3.find("Xing"));
        EXPECT_LT(place, 100u);
        return place;
    }

    static uint32_t Number(const std::string &bytes, size_t place)
    {
        uint32_t number = 0;
        for (size_t i = 0; i < 4; ++i)
            number = number << 8 | static_cast<unsigned char>(bytes[place + i]);
        return number;
    }

    static std::string Counting(uint32_t frames, std::string mp3)
    {
        return mp3.replace(NoteOf(mp3) + 8, 4, Big(frames));
    }

    // The sound of a file, as 32-bit floats, and the warning that comes with it.
    std::string SoundOf(const std::string &mp3, const std::string &warning = "")
    {
        WriteText(folder / "in.mp3", mp3);
        const Outcome outcome =
            RunHost({"-q", "-b", "32f", "--no-tags", folder / "in.mp3", "-t", "raw", folder / "sound.raw"});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err,
                  warning.empty() ? "" : "tonekit-convert: warning: " + ShownName() + ": " + warning + "\n");
        std::string sound = ReadText(folder / "sound.raw");
        fs::remove(folder / "sound.raw");
        fs::remove(folder / "in.mp3");
        return sound;
    }

    std::string ShownName() { return fs::path(folder / "in.mp3").make_preferred().string(); }

    // Through a pipe.
    Outcome Piped(const std::string &mp3)
    {
        return RunHostOnPipes(mp3, {"-q", "-b", "32f", "--no-tags", "-", "-t", "raw", "-"});
    }

    void ExpectRefusal(const std::string &what, const std::string &mp3)
    {
        WriteText(folder / "bad.mp3", mp3);
        ExpectFailure(1, what, {folder / "bad.mp3", folder / "old.wav"});
        ExpectPipeRefusal(what, mp3);
    }

    void ExpectPipeRefusal(const std::string &what, const std::string &mp3)
    {
        ExpectFailureOf([&] { return RunHostOnPipes(mp3, {"-q", "-", folder / "old.wav"}); }, 1, what);
    }
};

TEST_F(MpegStreamsOf, AWrongCountAreReadToTheirEnd)
{
    const std::string mp3 = Encoded(50000, 1);
    const uint32_t count = Number(mp3, NoteOf(mp3) + 8);
    ASSERT_EQ(count, 45u);
    const std::string sound = SoundOf(mp3);
    ASSERT_EQ(sound.size(), 50000u * 8);
    for (const uint32_t wrong : {1u, 22u, 44u, 47u, 90u, 0xFFFFFFFFu})
        EXPECT_TRUE(SoundOf(Counting(wrong, mp3), "its header counts " + std::to_string(wrong) +
                                                      " frames of 45, all of which are read") == sound);
    // Encoders that can't go back note 0, and some count their note.
    for (const uint32_t usual : {0u, 46u})
        EXPECT_TRUE(SoundOf(Counting(usual, mp3)) == sound);
    // Here the count is missing, and all after it is further in front.
    std::string without = mp3;
    without.erase(NoteOf(mp3) + 8, 4).insert(400, 4, '\0');
    without[NoteOf(mp3) + 7] = static_cast<char>(mp3[NoteOf(mp3) + 7] & ~1);
    EXPECT_TRUE(SoundOf(without) == sound);
}

TEST_F(MpegStreamsOf, AWrongCountAreDescribedWithIt)
{
    WriteText(folder / "in.mp3", Counting(22, Encoded(50000, 1)));
    const Outcome info = RunHost({"--info", "--json", folder / "in.mp3"});
    EXPECT_EQ(info.status, 0);
    EXPECT_NE(info.out.find("\"frames\": 50000"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("its header counts 22 frames of 45, all of which are read"), std::string::npos);
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"-q", "--dry-run", folder / "in.mp3", folder / "out.wav"},
          {"-q", "--start", "0:00.1", folder / "in.mp3", folder / "out.wav"},
          {"-q", "--join", folder / "in.mp3", folder / "in.mp3", folder / "out.wav"}}) {
        const Outcome outcome = RunHost(arguments);
        EXPECT_NE(outcome.err.find("its header counts 22 frames of 45"), std::string::npos)
            << arguments[1] << outcome.err;
    }
}

TEST_F(MpegStreamsOf, ACutFileAreRefused)
{
    const std::string mp3 = Encoded(50000, 1);
    const std::string cut = mp3.substr(0, mp3.size() / 2);
    WriteText(folder / "bad.mp3", cut);
    ExpectFailure(1, "the file is cut off: its last ", {folder / "bad.mp3", folder / "old.wav"});
    ExpectPipeRefusal("the audio breaks off: ", cut);
    // Without a size the count alone says so.
    std::string unsized = cut;
    unsized.replace(NoteOf(mp3) + 12, 4, Big(0));
    ExpectRefusal("the audio breaks off: ", unsized);
}

TEST_F(MpegStreamsOf, APipeAreNotCalledWholeAtTheirCount)
{
    const std::string mp3 = Encoded(50000, 1);
    ExpectPipeRefusal("its header counts 22 MPEG frames, but there are 45", Counting(22, mp3));
    ExpectPipeRefusal("its header counts 44 MPEG frames, but there are 45", Counting(44, mp3));
    ExpectPipeRefusal("holds several streams one after another, which are read from a file only", mp3 + mp3);
    EXPECT_TRUE(Piped(mp3).out == SoundOf(mp3));
    // What isn't counted is read to its end, with what the encoder added there.
    const std::string sound = SoundOf(mp3);
    const Outcome open = Piped(Counting(0, mp3));
    EXPECT_EQ(open.status, 0) << open.err;
    EXPECT_TRUE(open.out.substr(0, sound.size()) == sound);
    EXPECT_EQ(open.out.size(), (45u * 1152 - 1105) * 8);
}

TEST_F(MpegStreamsOf, FilesThatWerePutTogetherAreReadOneAfterAnother)
{
    const std::string first = Encoded(50000, 1);
    const std::string second = Encoded(30000, 2);
    const std::string sound = SoundOf(first) + SoundOf(second);
    ASSERT_EQ(sound.size(), 80000u * 8);
    const std::string front = std::string("ID3\x04\0\0\0\0\x02\x03", 10) + std::string(259, '\0');
    const std::string large = std::string("ID3\x04\0\0\0\4\0\0", 10) + std::string(65536, '\0');
    const std::string end = "TAG" + std::string(125, 'x');
    for (const std::string &seam : {std::string(), front, large, end, end + front, std::string(5000, 'j')}) {
        EXPECT_TRUE(SoundOf(first + seam + second) == sound) << seam.size();
        EXPECT_TRUE(SoundOf(front + first + seam + second + end) == sound) << seam.size();
    }
    EXPECT_TRUE(SoundOf(first + second + first) == sound + SoundOf(first));
    EXPECT_TRUE(SoundOf(first + Counting(9, second),
                        "its header counts 9 frames of 28, all of which are read") == sound);
    WriteText(folder / "both.mp3", first + second);
    EXPECT_NE(RunHost({"--info", "--json", folder / "both.mp3"}).out.find("\"frames\": 80000"),
              std::string::npos);
    // It is read twice.
    EXPECT_EQ(RunHost({"-q", "--normalize", "-20", folder / "both.mp3", folder / "both.wav"}).status, 0);
    EXPECT_EQ(ReadSound(folder / "both.wav").Frames(), 80000u);
}

// All that the encoders of both added is there where the second has no note.
TEST_F(MpegStreamsOf, AFileWithOthersAddedAreReadToTheirEnd)
{
    const std::string first = Encoded(50000, 1);
    const std::string sound = SoundOf(first);
    const std::string second = Encoded(30000, 2);
    const size_t note = 417; // the size of the second's first frame
    ASSERT_EQ(second.substr(note, 2), "\xFF\xFB");
    const std::string all =
        SoundOf(first + second.substr(note), "its header counts 45 frames of 73, all of which are read");
    EXPECT_EQ(all.size(), (73u * 1152 - 1105) * 8);
    EXPECT_TRUE(all.substr(0, sound.size()) == sound);
}

TEST_F(MpegStreamsOf, SeveralKindsAreRefused)
{
    const char *const what =
        "holds several streams one after another, and not all of one type, rate and channel count";
    const std::string first = Encoded(50000, 1);
    for (const std::string &other : {Encoded(30000, 2, 48000), Encoded(30000, 2, 44100, 1),
                                     Encoded(30000, 2, 22050), SomeFrames(50, 0xFFFD8000)}) {
        ExpectRefusal(what, first + other);
        ExpectRefusal(what, SomeFrames(50) + other);
    }
}

TEST_F(MpegStreamsOf, SeveralAreCopiedAsTheyAre)
{
    const std::string both = Encoded(50000, 1) + Encoded(30000, 2, 48000);
    WriteText(folder / "both.mp3", both);
    EXPECT_EQ(RunHost({"-q", folder / "both.mp3", folder / "copy.mp3"}).status, 0);
    EXPECT_TRUE(ReadText(folder / "copy.mp3") == both);
}

} // namespace
} // namespace tonekit::host::test
