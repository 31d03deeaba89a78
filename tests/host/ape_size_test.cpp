// ape_size_test.cpp: APE tags that claim other bytes than their own are not replaced.
#include "host/system/failure.h"
#include "host/tags/ape_size.h"
#include "host/tags/tag_editor.h"
#include "tests/host/number_bytes.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

std::string Item(const std::string &name, const std::string &value)
{
    return Little(value.size()) + Little(0) + name + "\0"s + value;
}

constexpr uint32_t kHasHeader = 0x80000000;
constexpr uint32_t kIsHeader = 0xA0000000;

std::string Ending(uint64_t size, uint32_t flags = 0)
{
    return "APETAGEX" + Little(2000) + Little(size) + Little(1) + Little(flags) + std::string(8, '\0');
}

std::string Tag(const std::string &items)
{
    return items + Ending(items.size() + 32);
}

std::string TagWithHeader(const std::string &items)
{
    return Ending(items.size() + 32, kIsHeader) + items + Ending(items.size() + 32, kHasHeader);
}

const std::string kOlder = "TAG" + std::string(125, ' ');
const std::string kAudio(1000, '\x55');

class ApeSize : public testing::Test {
protected:
    bool IsOdd(const std::string &bytes)
    {
        WriteText(name_, bytes);
        TagStream stream(PathFromUtf8(name_), TagStream::Access::Read);
        const bool odd = HasOddApeSize(stream);
        EXPECT_EQ(stream.tell(), 0);
        EXPECT_FALSE(stream.error());
        return odd;
    }

    TemporaryFolder folder_;
    const std::string name_ = folder_ / "a";
};

TEST_F(ApeSize, IsThatOfTheItems)
{
    const std::string two = Item("Title", "One") + Item("Artist", "");
    for (const std::string &tag : {""s, Tag(""), Tag(two), TagWithHeader(two),
                                   Tag(two + std::string(50, '\0')), TagWithHeader(std::string(50, '\0'))}) {
        EXPECT_FALSE(IsOdd(tag));
        EXPECT_FALSE(IsOdd(kAudio + tag));
        EXPECT_FALSE(IsOdd(kAudio + tag + kOlder));
    }
    EXPECT_FALSE(IsOdd("TAG"));
    EXPECT_FALSE(IsOdd(kOlder));
    EXPECT_FALSE(IsOdd(kAudio + "APETAGEX")); // cut off
}

TEST_F(ApeSize, IsOddWhereAudioWouldBelongToTheTag)
{
    const std::string item = Item("Title", "One");
    for (const std::string &older : {""s, kOlder}) {
        EXPECT_TRUE(IsOdd(kAudio + item + Ending(item.size() + 33) + older));
        EXPECT_TRUE(IsOdd(kAudio + item + Ending(item.size() + 500) + older));
        EXPECT_TRUE(IsOdd(kAudio + item + Ending(kAudio.size() + item.size() + 32) + older));
        EXPECT_TRUE(IsOdd(kAudio + item + Ending(0xFFFFFFFF) + older));
        EXPECT_TRUE(IsOdd(kAudio + item + Ending(31) + older));
        EXPECT_TRUE(IsOdd(kAudio + item + Ending(0) + older));
        // No header before the items, and none at all.
        EXPECT_TRUE(IsOdd(kAudio + item + Ending(item.size() + 32, kHasHeader) + older));
        EXPECT_TRUE(IsOdd(item + Ending(item.size() + 32, kHasHeader) + older));
    }
    EXPECT_TRUE(IsOdd(kAudio + Tag(item.substr(0, item.size() - 1))));
    // A frame of MPEG audio can end in zeros.
    EXPECT_TRUE(IsOdd(kAudio + std::string(100, '\0') + Ending(132)));
    EXPECT_TRUE(IsOdd(kAudio + std::string(100, '\0') + Ending(33)));
    EXPECT_TRUE(IsOdd(kAudio + Tag(Little(0) + Little(0) + "name without an end")));
    EXPECT_TRUE(IsOdd(kAudio + Tag(Little(0x7FFFFFFF) + Little(0) + "name\0"s)));
    EXPECT_TRUE(IsOdd(kAudio + Tag(std::string(40'000'000, '\0') + "x"))); // soon
    // The letters of the older tag can be those of this one's mark.
    const std::string mark = "APETAGEX" + std::string(131 - 8 - 32, ' ');
    EXPECT_TRUE(IsOdd(mark + Ending(500)));
}

TEST_F(ApeSize, KeepsTagsFromBeingChangedIfItIsOdd)
{
    TagEdit edit;
    edit.texts = {{"TITLE", "New"}};
    std::vector<std::string> warnings;
    const std::string item = Item("Title", "One");
    for (const TagKind kind : {TagKind::Mpeg, TagKind::WavPack, TagKind::Ape}) {
        const std::string odd = kAudio + item + Ending(item.size() + 500);
        WriteText(name_, odd);
        EXPECT_THROW(EditTags(PathFromUtf8(name_), kind, edit, 1, "file", warnings), Failure);
        EXPECT_EQ(ReadText(name_), odd);
        WriteText(name_, kAudio + Tag(item));
        EditTags(PathFromUtf8(name_), kind, edit, 1, "file", warnings);
        EXPECT_NE(ReadText(name_).find(kAudio), std::string::npos);
        EXPECT_NE(ReadText(name_).find("New"), std::string::npos);
    }
}

} // namespace
} // namespace tonekit::host::test
