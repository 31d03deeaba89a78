// xiph_texts_test.cpp: texts of Vorbis comments that aren't UTF-8 are not lost without a word.
#include "host/system/failure.h"
#include "host/tags/tag_editor.h"
#include "host/tags/tag_reader.h"
#include "host/tags/xiph_texts.h"
#include "tests/host/audio_files.h"
#include "tests/host/number_bytes.h"
#include "tests/host/page_sum.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

std::string Text(const std::string &text)
{
    return Little(text.size()) + text;
}

// A metadata block of FLAC, whose length has its highest byte first.
std::string Block(unsigned type, const std::string &content)
{
    const size_t size = content.size();
    return std::string{static_cast<char>(type), '\0', static_cast<char>(size >> 8),
                       static_cast<char>(size & 0xFF)} +
           content;
}

constexpr unsigned kPadding = 1;
constexpr unsigned kComment = 4;
constexpr unsigned kLast = 0x80;

class XiphTexts : public testing::Test {
protected:
    size_t IllFormed(const std::string &bytes)
    {
        WriteText(name_, bytes);
        TagStream stream(PathFromUtf8(name_), TagStream::Access::Read);
        const size_t count = IllFormedFlacTexts(stream);
        EXPECT_FALSE(stream.error());
        return count;
    }

    TemporaryFolder folder_;
    const std::string name_ = folder_ / "a";
};

TEST_F(XiphTexts, AreCounted)
{
    const std::string good = Text("TITLE=J\xC3\xBCrgen"), bad = Text("TITLE=J\xFCrgen"), empty = Text("");
    const std::string vendor = Text("\xFF");
    EXPECT_EQ(IllFormed("fLaC" + Block(kLast | kComment, vendor + Little(0))), 0u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kLast | kComment, vendor + Little(2) + good + empty)), 0u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kComment, vendor + Little(1) + bad)), 1u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kComment, Text("") + Little(4) + bad + good + bad + bad)), 3u);
    EXPECT_EQ(IllFormed("fLaC" + Block(0, "123") + Block(kPadding, std::string(300, '\xFF')) +
                        Block(kLast | kComment, vendor + Little(2) + good + bad)),
              1u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kComment, vendor + Little(1) + bad + bad)), 1u);
    // After a tag of 130 bytes, and after one with a footer of ten more.
    EXPECT_EQ(IllFormed("ID3\4\0\0\0\0\1\2"s + std::string(130, 'x') + "fLaC" +
                        Block(kComment, vendor + Little(1) + bad)),
              1u);
    EXPECT_EQ(IllFormed("ID3\4\0\x10\0\0\1\2"s + std::string(140, 'x') + "fLaC" +
                        Block(kComment, vendor + Little(1) + bad)),
              1u);
}

std::string Times(size_t count, const std::string &text)
{
    std::string all;
    for (; count > 0; --count)
        all += text;
    return all;
}

TEST_F(XiphTexts, AreLookedForInTenThousandBlocks)
{
    const std::string comment = Block(kComment, Little(0) + Little(1) + Text("TITLE=J\xFCrgen"));
    const std::string padding = Block(kPadding, "");
    EXPECT_EQ(IllFormed("fLaC" + Times(9999, padding) + comment), 1u);
    EXPECT_EQ(IllFormed("fLaC" + Times(10000, padding) + comment), 0u);
}

TEST_F(XiphTexts, AfterMoreBlocksAreLeftOutAndKept)
{
    const std::string name = folder_ / "a.flac";
    TagEdit edit;
    edit.texts = {{"ALBUM", "One"}};
    for (const size_t more : {9000u, 10000u}) {
        WriteSound(name, Tone(SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 48000, 2, 4800, 440));
        std::string bytes = ReadText(name);
        bytes.insert(42, Times(more, Block(kPadding, ""))); // after the first block
        WriteText(name, bytes);
        std::vector<std::string> warnings;
        TagBlockPointer block = NewTagBlock();
        ReadTags(PathFromUtf8(name), TagKind::Flac, {}, block.get(), warnings);
        if (more == 9000u) {
            EXPECT_EQ(warnings, std::vector<std::string>());
            EditTags(PathFromUtf8(name), TagKind::Flac, edit, 0, "it", warnings);
            EXPECT_NE(ReadText(name).find("ALBUM=One"), std::string::npos);
            continue;
        }
        EXPECT_EQ(warnings, (std::vector<std::string>{Utf8Name(PathFromUtf8(name)) +
                                                      ": the tags are broken and are left out"}));
        EXPECT_THROW(EditTags(PathFromUtf8(name), TagKind::Flac, edit, 0, "it", warnings), Failure);
        EXPECT_TRUE(ReadText(name) == bytes);
    }
}

TEST_F(XiphTexts, OfTornCommentsAreThoseThatAreThere)
{
    const std::string bad = Text("TITLE=J\xFCrgen");
    const std::string whole = Little(0) + Little(2) + bad + bad;
    for (const size_t left : {0u, 3u, 4u, 7u, 8u, 11u, 12u, 23u})
        EXPECT_EQ(IllFormed("fLaC" + Block(kComment, whole.substr(0, left))), 0u) << left;
    EXPECT_EQ(IllFormed("fLaC" + Block(kComment, whole.substr(0, whole.size() - 1))), 1u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kComment, Little(0) + Little(0xFFFFFFFF) + bad)), 1u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kComment, Little(0xFFFFFFFF) + Little(1) + bad)), 0u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kComment, Little(0) + Little(1) + Little(0xFFFFFFFF) + bad)), 0u);
    EXPECT_EQ(IllFormed("fLaC" + Block(kLast, "") + Block(kComment, Little(0) + Little(1) + bad)), 0u);
    for (const char *const file : {"", "fLa", "fLaC", "RIFFxxxx", "ID3"})
        EXPECT_EQ(IllFormed(file), 0u) << file;
}

struct Form {
    const char *extension;
    int format;
    TagKind kind;
};

TEST_F(XiphTexts, AreReportedWhenReadAndEdited)
{
    const Form forms[] = {{"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, TagKind::Flac},
                          {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, TagKind::Vorbis},
                          {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, TagKind::Opus}};
    for (const Form &form : forms) {
        const std::string name = folder_ / ("a."s + form.extension);
        WriteSound(name, Tone(form.format, 48000, 2, 4800, 440));
        TagEdit edit;
        edit.texts = {{"TITLE", "J\xC3\xBCrgen"}, {"ARTIST", "J\xC3\xBCrgen"}, {"ALBUM", "One"}};
        std::vector<std::string> warnings;
        EditTags(PathFromUtf8(name), form.kind, edit, 0, "it", warnings);
        TagBlockPointer block = NewTagBlock();
        ReadTags(PathFromUtf8(name), form.kind, {}, block.get(), warnings);
        EXPECT_EQ(warnings, std::vector<std::string>());

        std::string bytes = ReadText(name);
        for (const char *const key : {"TITLE=", "ARTIST="}) {
            const size_t at = bytes.find(key + "J\xC3\xBC"s);
            ASSERT_NE(at, std::string::npos);
            bytes.replace(at, std::string(key).size() + 3, key + "J\xFC\xFC"s);
        }
        // The comment is on the second page.
        if (const size_t page = bytes.find("OggS", 4), next = bytes.find("OggS", page + 4);
            form.kind != TagKind::Flac)
            bytes.replace(page, next - page, WithSum(bytes.substr(page, next - page)));
        WriteText(name, bytes);
        ReadTags(PathFromUtf8(name), form.kind, {}, block.get(), warnings);
        edit.texts = {{"ALBUM", "Two"}};
        EditTags(PathFromUtf8(name), form.kind, edit, 0, "it", warnings);
        const std::string text = ": 2 text tags aren't UTF-8 and are left out";
        EXPECT_EQ(warnings, (std::vector<std::string>{Utf8Name(PathFromUtf8(name)) + text, "it" + text}));
        warnings.clear();
        EditTags(PathFromUtf8(name), form.kind, edit, 0, "it", warnings);
        EXPECT_EQ(warnings, std::vector<std::string>());
    }
}

} // namespace
} // namespace tonekit::host::test
