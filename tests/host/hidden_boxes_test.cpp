// hidden_boxes_test.cpp: which boxes libavformat is kept from, and that it then reads files that would stop
// it.
#include "host/libav/hidden_boxes.h"
#include "host/open_source.h"
#include "host/system/memory_bytes.h"
#include "tests/host/coded_files.h"
#include "tests/host/number_bytes.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <string>

namespace tonekit::host {
namespace {

using test::Big;
using test::Outcome;
using test::ReadText;
using test::RunHost;
using test::RunHostOnPipes;
using test::TemporaryFolder;
using test::WriteText;

uint64_t BigAt(const std::string &bytes, size_t place)
{
    uint64_t number = 0;
    for (size_t i = 0; i < 4; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[place + i]);
    return number;
}

std::string Box(const std::string &name, const std::string &content)
{
    return Big(8 + content.size(), 4) + name + content;
}

std::string Repeated(const std::string &text, int times)
{
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

const std::string kStart = Box("ftyp", "M4A ");

// " 12+34" for eight bytes at 12 that skip 34.
std::string Hidden(const std::string &file)
{
    MemoryBytes stream({reinterpret_cast<const unsigned char *>(file.data()), file.size()});
    HeaderBytes bytes(stream);
    std::string all;
    for (const HiddenBox &box : BoxesToHide(bytes)) {
        uint64_t size = 0;
        for (int i = 0; i < 4; ++i)
            size = size << 8 | box.header[static_cast<size_t>(i)];
        EXPECT_EQ(std::string(box.header.begin() + 4, box.header.end()), "free");
        all += " " + std::to_string(box.place) + "+" + std::to_string(size);
    }
    return all;
}

TEST(HiddenBoxes, ArePicturesInListsOfTags)
{
    const std::string pictures = Box("\251nam", "") + Box("covr", "12345") + Box("covr", "");
    const std::string meta = Big(0, 4) + Box("hdlr", "") + Box("ilst", pictures);
    EXPECT_EQ(Hidden(kStart + Box("moov", Box("udta", Box("meta", meta)))), " 64+13 77+8");
    EXPECT_EQ(Hidden(kStart + Box("moov", Box("trak", Box("udta", Box("meta", meta))))), " 72+13 85+8");
    EXPECT_EQ(Hidden(kStart + Box("moov", Box("meta", meta.substr(4)))), " 52+13 65+8");
    EXPECT_EQ(Hidden(kStart + Box("meta", meta)), " 48+13 61+8");
    // Elsewhere they are something else, as is what is in no MP4 file.
    EXPECT_EQ(Hidden(kStart + Box("moov", Box("covr", "12345"))), "");
    EXPECT_EQ(Hidden(kStart + Box("mdat", Box("ilst", pictures))), "");
    EXPECT_EQ(Hidden(Box("RIFF", "") + Box("meta", meta)), "");
    EXPECT_EQ(Hidden(""), "");
}

TEST(HiddenBoxes, EndWithTheListAroundThem)
{
    // Larger than the list, up to its end, and with a size of eight bytes.
    EXPECT_EQ(Hidden(kStart + Box("udta", Big(99, 4) + "covr12") + Box("udta", Box("covr", ""))),
              " 20+10 38+8");
    EXPECT_EQ(Hidden(kStart + Box("udta", Big(0, 4) + "covr12")), " 20+10");
    EXPECT_EQ(Hidden(kStart + Box("udta", Big(1, 4) + "covr" + Big(17, 8) + "1" + Box("covr", ""))),
              " 20+17 37+8");
    const std::string large = Big(1, 4) + "udta" + Big(25, 8) + Box("covr", "1") + Box("covr", "");
    EXPECT_EQ(Hidden(kStart + large), " 28+9");
    // What isn't there, and sizes that make no sense, end the list.
    EXPECT_EQ(Hidden(kStart + Box("udta", Big(1, 4) + "covr")), "");
    EXPECT_EQ(Hidden(kStart + Box("udta", Big(7, 4) + "covr" + Box("covr", ""))), "");
    EXPECT_EQ(Hidden(kStart + Big(100, 4) + "udta" + Box("covr", "1")), " 20+9");
}

TEST(HiddenBoxes, AreTheTagsAfterManyOthers)
{
    const std::string name = Box("name", "");
    EXPECT_EQ(Hidden(kStart + Box("udta", Repeated(name, 2048))), "");
    EXPECT_EQ(Hidden(kStart + Box("udta", Repeated(name, 2049))), " 16404+8");
    // Those of all lists count, and a list counts in the one around it.
    EXPECT_EQ(Hidden(kStart + Repeated(Box("udta", Repeated(name, 1000)), 2) +
                     Box("udta", Box("ilst", Repeated(name, 50))) + Box("udta", name)),
              " 16420+24 16452+8");
    // Boxes of other kinds aren't looked at for ever.
    EXPECT_EQ(Hidden(kStart + Repeated(Box("free", ""), 20000) + Box("udta", Box("covr", ""))), "");
    EXPECT_EQ(Hidden(kStart + Repeated(Big(0, 4) + "moov", 100000)), "");
}

class LongLists : public testing::Test {
protected:
    LongLists()
    {
        const test::Sound sound = test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 20001);
        test::WriteCoded(folder / "plain.m4a", sound, {"ipod", "alac", 16});
    }

    // The file with another list of tags before its own, the first that is found. Those before the tracks
    // libavformat leaves out.
    std::string With(const std::string &items)
    {
        std::string file = ReadText(folder / "plain.m4a");
        const size_t movie = file.find("moov") - 4;
        EXPECT_GT(movie, file.find("mdat")); // so that nothing is moved which has a place
        const size_t own = file.find("udta", movie) - 4;
        EXPECT_LT(own, file.size());
        const std::string handler = Box("hdlr", Big(0, 8) + "mdirappl" + Big(0, 8) + Big(0, 1));
        const std::string list = Box("udta", Box("meta", Big(0, 4) + handler + Box("ilst", items)));
        const uint64_t size = BigAt(file, movie) + list.size();
        file.insert(own, list);
        return file.replace(movie, 4, Big(size, 4));
    }

    static std::string OwnTag(int number)
    {
        return Box("----", Box("mean", Big(0, 4) + "com.apple.iTunes") +
                               Box("name", Big(0, 4) + "KEY" + std::to_string(number)) +
                               Box("data", Big(1, 4) + Big(0, 4) + "value"));
    }

    TemporaryFolder folder;
};

TEST_F(LongLists, OfTagsTakeNoTimeAndLoseNoSound)
{
    std::string tags;
    for (int i = 0; i < 50000; ++i)
        tags += OwnTag(i);
    WriteText(folder / "many.m4a", With(tags));
    const auto start = std::chrono::steady_clock::now();
    const Outcome outcome = RunHost({"-q", folder / "many.m4a", folder / "many.wav"});
    // All of them took sixteen seconds of a processor.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "tonekit-convert: warning: " + folder / "many.m4a" +
                               ": 45904 text tags are left out: more than a file may have\n");
    RunHost({"-q", "--no-tags", folder / "plain.m4a", folder / "plain.wav"});
    RunHost({"-q", "--no-tags", folder / "many.m4a", folder / "many.wav"});
    EXPECT_EQ(ReadText(folder / "many.wav"), ReadText(folder / "plain.wav"));
}

// What some encoders leave for players is found after pictures, too.
TEST_F(LongLists, OfPicturesHideNoTags)
{
    const std::string picture = Box("covr", Box("data", Big(14, 4) + Big(0, 4) + std::string(100000, 'x')));
    const std::string length =
        Box("----", Box("mean", Big(0, 4) + "com.apple.iTunes") + Box("name", Big(0, 4) + "iTunSMPB") +
                        Box("data", Big(1, 4) + Big(0, 4) + " 00000000 00000000 00000E21 0000000000004000"));
    WriteText(folder / "a.m4a", With(picture + picture + length));
    EXPECT_EQ(OpenAudioFile(folder / "a.m4a", "a")->frames(), 0x4000u);
}

TEST_F(LongLists, OfSoundAreNoTags)
{
    const test::Sound sound = test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 2500000);
    test::WriteCoded(folder / "a.m4a", sound, {"ipod", "alac", 16});
    const Outcome outcome = RunHost({"-q", "--memory", "16", folder / "a.m4a", folder / "a.wav"});
    EXPECT_EQ(outcome.err, "");
    EXPECT_GT(ReadText(folder / "a.wav").size(), 10000000u);
}

// All of them took twelve seconds of a processor.
TEST_F(LongLists, OfMatroskasTagsAreRefused)
{
    const test::Sound sound = test::Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 20001);
    test::WriteCoded(folder / "plain.mka", sound, {"matroska", "flac", 16});
    const std::string plain = ReadText(folder / "plain.mka");
    const size_t segment = plain.find("\x18\x53\x80\x67");
    const size_t cluster = plain.find("\x1F\x43\xB6\x75");
    ASSERT_LT(segment, cluster);
    ASSERT_LT(cluster, plain.size());
    const auto withTags = [&](int count) {
        std::string tags;
        for (int i = 0; i < count; ++i)
            tags += "\x67\xC8\x8E\x45\xA3\x85" + std::to_string(10000 + i) + "\x44\x87\x83" + "abc";
        tags =
            "\x12\x54\xC3\x67\x01" + Big(tags.size() + 10, 7) + "\x73\x73\x01" + Big(tags.size(), 7) + tags;
        std::string file = plain;
        file.insert(cluster, tags);
        return file.replace(segment + 4, 8, "\x01" + Big(file.size() - segment - 12, 7));
    };
    WriteText(folder / "some.mka", withTags(4000));
    EXPECT_EQ(RunHost({"-q", folder / "some.mka", folder / "a.wav"}).err, "");
    EXPECT_NE(RunHost({"--info", folder / "some.mka"}).out.find("13999"), std::string::npos);
    WriteText(folder / "many.mka", withTags(50000));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(RunHost({"-q", folder / "many.mka", folder / "a.wav"}).err,
              "tonekit-convert: " + folder / "many.mka" + ": holds more tags than a file may have\n");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(6));
}

TEST_F(LongLists, OfTagsInAPipeAreRefused)
{
    std::string tags;
    for (int i = 0; i < 20000; ++i)
        tags += OwnTag(i);
    const Outcome outcome = RunHostOnPipes(With(tags), {"-q", "-t", "wav", "-", "-"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "tonekit-convert: standard input: holds more tags than a file may have\n");
    EXPECT_EQ(outcome.out.size(), 0u);
}

TEST_F(LongLists, OfPicturesInAPipeAreRefusedWhereTheyNeedTooMuchMemory)
{
    const std::string picture = Box("data", Big(14, 4) + Big(0, 4) + std::string(5000000, 'x'));
    const std::string file = With(Box("covr", Repeated(picture, 2)));
    EXPECT_EQ(RunHostOnPipes(file, {"-q", "--memory", "32", "-t", "wav", "-", "-"}).status, 0);
    const Outcome outcome = RunHostOnPipes(file, {"-q", "--memory", "16", "-t", "wav", "-", "-"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    // In a file they aren't read.
    WriteText(folder / "a.m4a", file);
    EXPECT_EQ(RunHost({"-q", "--memory", "16", "--no-tags", folder / "a.m4a", folder / "a.wav"}).err, "");
}

} // namespace
} // namespace tonekit::host
