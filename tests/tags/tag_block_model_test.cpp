// tag_block_model_test.cpp: long random sequences compared with the model, with and without memory running
// out.
#include "tests/reference/tag_block_model.h"
#include "tests/support/failing_malloc.h"
#include "tests/support/random.h"
#include "tests/tags/tag_functions.h"

#include <vector>

namespace tonekit {
namespace {

using reference::ModelPicture;
using reference::ModelString;
using reference::TagBlockModel;

std::string RandomText(Random &random, uint32_t mostBytes)
{
    static const char kLetters[] = "aAbBzZ@[`{019 _!*?ID3:\xC3\xA4\xFF\x01";
    std::string text;
    for (uint32_t bytes = random.Below(mostBytes); bytes > 0; --bytes)
        text += kLetters[random.Below(sizeof kLetters - 1)];
    return text;
}

// Mostly short, so that keys meet often.
std::string RandomKey(Random &random)
{
    const std::string start = random.Below(8) == 0 ? "!*?ID3" : random.Below(8) == 0 ? "CHAPTER" : "";
    return start + RandomText(random, random.Below(30) == 0 ? 300 : 5);
}

// Image files of all kinds, with bytes that look like items.
std::string RandomData(Random &random, uint32_t mostBytes)
{
    static const char *const kStarts[] = {"", "BM", "\xFF\xD8", "\x89PNG\r\n\x1A\n", "GIF"};
    std::string data = kStarts[random.Below(5)];
    for (uint32_t bytes = random.Below(mostBytes); bytes > 0; --bytes)
        data += static_cast<char>(random.Below(3) == 0 ? random.Below(3) : random.Next());
    return data;
}

// A block and the model of it, which get the same adds.
class Twins {
public:
    explicit Twins(const TagFunctions &tagFunctions)
        : tags(tagFunctions), owner(NewBlock()), block(owner.get())
    {}

    // From now on the n-th growth has no memory.
    void FailGrowth(uint64_t n)
    {
        FailAllocation(n);
        model.memoryForGrowth = [n]() mutable { return n == 0 || --n != 0; };
    }

    void AllowGrowth()
    {
        AllowAllocations();
        model.memoryForGrowth = [] { return true; };
    }

    void AddSomething(Random &random)
    {
        const uint32_t mostBytes = random.Below(20) == 0 ? 3000 : random.Below(4) == 0 ? 100 : 20;
        if (random.Below(5) == 0) {
            const std::string data = RandomData(random, mostBytes);
            const std::string mime = random.Below(2) == 0 ? "" : RandomText(random, 20);
            const auto type = static_cast<uint32_t>(random.Next() >> random.Below(64));
            tags.ID3Helper_AddImage(block, mime.c_str(), type, static_cast<uint32_t>(data.size()),
                                    data.data());
            model.AddImage(mime, type, data);
        } else {
            const std::string key = RandomKey(random);
            const std::string value = RandomText(random, mostBytes);
            tags.ID3Helper_AddStr(block, key.c_str(), value.c_str());
            model.AddStr(key, value);
        }
    }

    void ExpectSame(Random &random) const
    {
        ASSERT_NO_FATAL_FAILURE(ExpectSameBuffer());
        ASSERT_NO_FATAL_FAILURE(ExpectSameStrings());
        ASSERT_NO_FATAL_FAILURE(ExpectSamePictures());
        ASSERT_NO_FATAL_FAILURE(ExpectSameLookups(random));
    }

private:
    void ExpectSameBuffer() const
    {
        ASSERT_EQ(block->used, model.bytes.size());
        ASSERT_EQ(block->capacity, model.capacity);
        const std::string spare(block->capacity - block->used, '\0');
        ASSERT_EQ(std::string(reinterpret_cast<const char *>(block->buffer), block->capacity),
                  model.bytes + spare);
    }

    void ExpectSameStrings() const
    {
        const std::vector<ModelString> expected = model.VisibleStrings();
        size_t count = 0;
        TagBlockItem item;
        for (bool more = ID3Helper_GetFirst(block, &item); more;
             more = ID3Helper_GetNext(block, &item), ++count) {
            ASSERT_LT(count, expected.size());
            ASSERT_EQ(std::string(item.key), expected[count].key);
            ASSERT_EQ(std::string(item.value), expected[count].value);
        }
        ASSERT_EQ(count, expected.size());
        ASSERT_GE(uint32_t{item.cursor}, block->used);
    }

    void ExpectSamePictures() const
    {
        const std::vector<ModelPicture> expected = model.Pictures();
        size_t count = 0;
        TagBlockPicture picture;
        for (bool more = tags.ID3Helper_GetFirstImage(block, &picture); more;
             more = tags.ID3Helper_GetNextImage(block, &picture), ++count) {
            ASSERT_LT(count, expected.size());
            ASSERT_EQ(int32_t{picture.type}, expected[count].type);
            ASSERT_EQ(std::string(picture.mime), expected[count].mime);
            ASSERT_EQ(std::string(reinterpret_cast<const char *>(picture.data), picture.size),
                      expected[count].data);
        }
        ASSERT_EQ(count, expected.size());
        ASSERT_GE(uint32_t{picture.cursor}, block->used);
    }

    void ExpectSameLookups(Random &random) const
    {
        for (int i = 0; i < 3; ++i) {
            const std::string key = RandomKey(random);
            ASSERT_EQ(tags.ID3Helper_GetStr(block, key.c_str()), model.GetStr(key)) << key;
        }
        const uint32_t type = static_cast<uint32_t>(random.Next() >> random.Below(64));
        const char *mime = "none";
        uint32_t size = 0;
        const uint8_t *data = tags.ID3Helper_GetImage(block, type, &mime, &size);
        const auto expected = model.GetImage(type);
        ASSERT_EQ(data != nullptr, expected.has_value());
        if (data) {
            ASSERT_EQ(mime, expected->mime);
            ASSERT_EQ(std::string(reinterpret_cast<const char *>(data), size), expected->data);
        }
    }

    const TagFunctions &tags;
    const OwnedBlock owner;
    TagBlock *const block;
    TagBlockModel model;
};

class TagBlockModelTest : public TagTest {
protected:
    void TearDown() override { AllowAllocations(); }
};
TONEKIT_ON_EVERY_BODY(TagBlockModelTest);

TEST_P(TagBlockModelTest, LongRandomSequencesKeepToTheModel)
{
    for (uint64_t seed = 0; seed < 4; ++seed) {
        Random random(seed);
        Twins twins(tags);
        for (int step = 0; step < 400; ++step) {
            twins.AddSomething(random);
            ASSERT_NO_FATAL_FAILURE(twins.ExpectSame(random)) << "seed " << seed << ", step " << step;
        }
    }
}

TEST_P(TagBlockModelTest, APieceWhoseGrowthFailsIsLeftOutAlone)
{
    for (uint64_t failing = 1;; ++failing) {
        Random random(5110);
        Twins twins(tags);
        twins.FailGrowth(failing);
        for (int step = 0; step < 120; ++step) {
            twins.AddSomething(random);
            ASSERT_NO_FATAL_FAILURE(twins.ExpectSame(random)) << "growth " << failing << ", step " << step;
        }
        if (!AllocationHasFailed())
            break;
    }
}

TEST_P(TagBlockModelTest, SeveralTornItemsKeepToTheModelToo)
{
    for (uint64_t seed = 0; seed < 100; ++seed) {
        Random random(seed);
        Twins twins(tags);
        for (int step = 0; step < 60; ++step) {
            if (random.Below(3) == 0)
                twins.FailGrowth(1 + random.Below(3));
            twins.AddSomething(random);
            twins.AllowGrowth();
            ASSERT_NO_FATAL_FAILURE(twins.ExpectSame(random)) << "seed " << seed << ", step " << step;
        }
    }
}

TEST_P(TagBlockModelTest, WithoutMemoryThereIsNoBlockAndNoCopy)
{
    const int64_t before = LiveAllocations();
    for (uint64_t failing = 1; failing <= 2; ++failing) {
        FailAllocation(failing);
        EXPECT_EQ(ID3Helper_Alloc(), nullptr);
        FailAllocation(failing);
        EXPECT_EQ(tags.ID3Helper_Copy(block), nullptr);
    }
    EXPECT_EQ(LiveAllocations(), before);
}

TEST_P(TagBlockModelTest, NothingLeaks)
{
    const int64_t before = LiveAllocations();
    {
        Random random(77);
        Twins twins(tags);
        for (int step = 0; step < 100; ++step) {
            if (random.Below(4) == 0)
                twins.FailGrowth(1 + random.Below(3));
            twins.AddSomething(random);
            twins.AllowGrowth();
        }
    }
    EXPECT_EQ(LiveAllocations(), before);
}

} // namespace
} // namespace tonekit
