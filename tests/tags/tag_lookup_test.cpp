// tag_lookup_test.cpp: lookups in long blocks, whole and damaged, where items are walked in several places at
// once.
#include "tests/reference/tag_block_model.h"
#include "tests/support/random.h"
#include "tests/tags/tag_functions.h"

#include <cstring>
#include <functional>
#include <vector>

namespace tonekit {
namespace {

using reference::TagBlockModel;

// A block whose buffer ends with the items, so that a sanitizer sees a read past them.
class ExactBlock {
public:
    explicit ExactBlock(const std::string &bytes) : buffer(new uint8_t[bytes.size()])
    {
        memcpy(buffer.get(), bytes.data(), bytes.size());
        block = {buffer.get(), static_cast<uint32_t>(bytes.size()), static_cast<uint32_t>(bytes.size())};
    }
    const TagBlock *get() const { return &block; }

private:
    std::unique_ptr<uint8_t[]> buffer;
    TagBlock block;
};

class TagLookupTest : public TagTest {
protected:
    // Texts of up to mostBytes under keys of several lengths, and the offsets of their items.
    void Fill(Random &random, int items, uint32_t mostBytes)
    {
        static const char *const kStarts[] = {"K", "KEY", "A LONGER KEY ", "A KEY BEYOND SIXTEEN BYTES ",
                                              "chapter"};
        for (int i = 0; i < items; ++i) {
            const std::string key = kStarts[random.Below(random.Below(4) == 0 ? 5 : 2)] + std::to_string(i);
            offsets.push_back(model.bytes.size());
            keys.push_back(key);
            model.capacity = UINT32_MAX;
            model.AddStr(key, std::string(1 + random.Below(mostBytes), 'v'));
        }
    }

    void ExpectSameLookups(const std::string &bytes) const
    {
        TagBlockModel damaged;
        damaged.bytes = bytes;
        const ExactBlock exact(bytes);
        for (const std::string &key : keys)
            ASSERT_EQ(tags.ID3Helper_GetStr(exact.get(), key.c_str()), damaged.GetStr(key)) << key;
        for (const char *key : {"absent", "v", "vvvv", "KEY", "0"})
            ASSERT_EQ(tags.ID3Helper_GetStr(exact.get(), key), damaged.GetStr(key)) << key;
    }

    TagBlockModel model;
    std::vector<size_t> offsets;
    std::vector<std::string> keys;
};
TONEKIT_ON_EVERY_BODY(TagLookupTest);

TEST_P(TagLookupTest, EveryKeyOfAWholeBlockIsFound)
{
    for (const uint32_t mostBytes : {3u, 30u, 100u, 300u, 600u}) {
        model = {};
        keys.clear();
        Random random(mostBytes);
        Fill(random, 400, mostBytes);
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(model.bytes));
        const ExactBlock exact(model.bytes);
        for (const std::string &key : keys)
            ASSERT_STRNE(tags.ID3Helper_GetStr(exact.get(), key.c_str()), "");
    }
}

// A length of up to 256 has three zero bytes, the next ones have two; and an item may have a third text, or a
// fourth, whose zero bytes would make up for that.
TEST_P(TagLookupTest, ItemsOfAbout256BytesAreCountedToTheByte)
{
    for (const size_t around : {256u, 512u})
        for (size_t length = around - 2; length <= around + 2; ++length)
            for (const size_t zeros : {0u, 1u, 2u}) {
                model = {};
                keys.clear();
                Random random(length);
                Fill(random, 40, 30);
                std::string item = std::string("\0", 1) + std::string(4, '\0') + "ODD";
                for (size_t byte = 0; byte < 4; ++byte)
                    item[1 + byte] = static_cast<char>(length >> 8 * byte);
                item.resize(5 + length, 'w');
                item[8] = '\0';
                item.back() = '\0';
                for (size_t extra = 1; extra <= zeros; ++extra)
                    item[item.size() - 1 - 20 * extra] = '\0';
                keys.push_back("ODD");
                model.bytes += item;
                Fill(random, 120, 30);
                ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(model.bytes)) << length << " " << zeros;
            }
}

TEST_P(TagLookupTest, BlocksOfEveryLengthAreReadToTheirEndOnly)
{
    Random random(1);
    Fill(random, 40, 90);
    const std::string whole = model.bytes;
    for (size_t used = 0; used <= whole.size(); ++used)
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(whole.substr(0, used))) << used << " bytes";
}

TEST_P(TagLookupTest, AZeroTooManyAndOneTooFewDoNotEvenOut)
{
    Random random(2);
    Fill(random, 300, 60);
    for (int round = 0; round < 30; ++round) {
        std::string bytes = model.bytes;
        // One item gets a third zero byte, and another loses the one between key and value, or the last.
        const size_t more = random.Below(300);
        const size_t fewer = random.Below(300);
        bytes[offsets[more] + 5 + random.Below(static_cast<uint32_t>(keys[more].size()))] = '\0';
        const size_t keyEnd = offsets[fewer] + 5 + keys[fewer].size();
        const size_t end = fewer + 1 < offsets.size() ? offsets[fewer + 1] : bytes.size();
        bytes[random.Below(2) == 0 ? keyEnd : end - 1] = 'x';
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(bytes)) << "round " << round;
    }
}

TEST_P(TagLookupTest, LengthFieldsOfTextsDoNotMatter)
{
    Random random(3);
    Fill(random, 300, 60);
    for (int round = 0; round < 30; ++round) {
        std::string bytes = model.bytes;
        for (uint32_t changes = 1 + random.Below(5); changes > 0; --changes) {
            const uint32_t length =
                random.Below(3) == 0 ? static_cast<uint32_t>(random.Next()) : random.Below(120);
            memcpy(&bytes[offsets[random.Below(300)] + 1], &length, 4);
        }
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(bytes)) << "round " << round;
    }
}

TEST_P(TagLookupTest, PicturesAndOtherMarkersAreSteppedOver)
{
    Random random(4);
    for (int round = 0; round < 10; ++round) {
        std::string image(random.Below(6000), '\0');
        random.Fill(image.data(), image.size());
        if (round % 2 == 0)
            memset(image.data(), 0, image.size());
        Fill(random, 60, 60);
        model.AddImage("", 3, image);
        const size_t inside = offsets[random.Below(60)];
        std::string bytes = model.bytes;
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(bytes)) << "round " << round;
        bytes[inside] = static_cast<char>(1 + random.Below(3));
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(bytes)) << "round " << round;
        offsets.clear();
        keys.clear();
        if (round % 3 == 2)
            model = {};
    }
}

TEST_P(TagLookupTest, AnyDamageIsReadAsTheTextsTell)
{
    for (uint64_t seed = 0; seed < 60; ++seed) {
        Random random(seed);
        model = {};
        keys.clear();
        Fill(random, 150, random.Below(2) == 0 ? 20 : 200);
        std::string bytes = model.bytes;
        for (uint32_t wounds = 1 + random.Below(6); wounds > 0; --wounds)
            bytes[random.Below(static_cast<uint32_t>(bytes.size()))] =
                static_cast<char>(random.Below(4) * 32);
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(bytes)) << "seed " << seed;
    }
}

TEST_P(TagLookupTest, TheFirstOfTwoItemsWithOneKeyWins)
{
    Random random(5);
    Fill(random, 400, 60);
    // Without a call of the library the same key comes again, elsewhere in the block.
    const std::string whole = model.bytes;
    const std::string again = whole.substr(offsets[100], offsets[300] - offsets[100]);
    ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(whole + again));
    ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(again + whole));
}

TEST_P(TagLookupTest, KeysOfEveryLengthAreToldApart)
{
    TagBlockModel nested;
    nested.capacity = UINT32_MAX;
    for (size_t length = 1; length < 120; ++length) {
        keys.push_back(std::string(length, 'k'));
        nested.AddStr(keys.back(), "value " + std::to_string(length));
        keys.push_back(std::string(length, 'k') + "@");
        nested.AddStr(keys.back(), "other " + std::to_string(length));
        keys.push_back(std::string(length, 'K') + "`");
    }
    ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(nested.bytes));
}

} // namespace
} // namespace tonekit
