// tags_cases.cpp: the tag block's dispatched functions on random blocks, torn ones too, and random texts.
#include "tags/tag_block.h"
#include "tests/support/utf16.h"
#include "tests/tiers/tiers.h"

#include <cstring>
#include <string>
#include <tonekit/tags.h>

namespace tonekit::tiers {

namespace {

// A text over few characters, so that texts often begin alike or are the same.
std::string RandomText(Random &random, uint32_t mostBytes, const char *characters)
{
    std::string text;
    for (uint32_t bytes = random.Below(mostBytes); bytes > 0; --bytes)
        text += characters[random.Below(static_cast<uint32_t>(strlen(characters)))];
    return text;
}

std::string RandomKey(Random &random)
{
    if (random.Below(3) == 0)
        return "CHAPTER" + RandomText(random, 4, "0123") + (random.Below(2) == 0 ? "NAME" : "");
    return RandomText(random, random.Below(10) == 0 ? 80 : 6, "abAB@`\xC4\xE4!*?ID3");
}

std::string RandomTime(Random &random)
{
    return RandomText(random, 24, "0123456789:. -+e\n");
}

void RecordBlock(const TagBlock *block, Record &record)
{
    record.AddValue(block->capacity);
    record.AddValue(block->used);
    record.Add(block->buffer, block->capacity);
}

void RecordText(const char *text, Record &record)
{
    record.Add(text, strlen(text) + 1);
}

// Adds texts and pictures by the bodies under test.
TagBlock *RandomBlock(const Bodies &bodies, Random &random)
{
    const auto addStr = bodies.Get<decltype(ID3Helper_AddStr)>("ID3Helper_AddStr");
    const auto addImage = bodies.Get<decltype(ID3Helper_AddImage)>("ID3Helper_AddImage");
    TagBlock *const block = ID3Helper_Alloc();
    for (uint32_t items = random.Below(120); items > 0; --items) {
        if (random.Below(4) == 0) {
            std::string data = random.Below(2) == 0 ? "GIF89a" : "";
            data += RandomText(random, 40, "\x01\x7F\xFFMB");
            addImage(block, RandomText(random, 3, "m/").c_str(), random.Below(260),
                     static_cast<uint32_t>(data.size()), data.data());
        } else {
            const std::string value =
                random.Below(2) == 0 ? RandomTime(random) : RandomText(random, 90, "value 1");
            addStr(block, RandomKey(random).c_str(), value.c_str());
        }
    }
    return block;
}

// Damages some bytes, or all, after which no structure holds any more.
void Tear(TagBlock *block, Random &random)
{
    for (uint32_t wounds = random.Below(4); wounds > 0 && block->used > 0; --wounds)
        block->buffer[random.Below(block->used)] = static_cast<uint8_t>(random.Below(3));
    block->used -= random.Below(3) == 0 ? random.Below(block->used + 1) : 0;
}

void RecordPictures(const Bodies &bodies, const TagBlock *block, Random &random, Record &record)
{
    const auto first = bodies.Get<decltype(ID3Helper_GetFirstImage)>("ID3Helper_GetFirstImage");
    const auto next = bodies.Get<decltype(ID3Helper_GetNextImage)>("ID3Helper_GetNextImage");
    const auto getImage = bodies.Get<decltype(ID3Helper_GetImage)>("ID3Helper_GetImage");
    TagBlockPicture picture;
    for (bool more = first(block, &picture); more; more = next(block, &picture)) {
        record.AddValue(picture.type);
        RecordText(picture.mime, record);
        record.Add(picture.data, picture.size);
    }
    record.AddValue(picture.cursor);
    const char *mime = "";
    uint32_t size = 0;
    const uint8_t *const data = getImage(block, random.Below(260) - 130, &mime, &size);
    RecordText(mime, record);
    record.Add(data, size);
}

void RecordLookups(const Bodies &bodies, const TagBlock *block, Random &random, Record &record)
{
    const auto getStr = bodies.Get<decltype(ID3Helper_GetStr)>("ID3Helper_GetStr");
    for (int i = 0; i < 40; ++i)
        RecordText(getStr(block, RandomKey(random).c_str()), record);
    for (const char *const count : {"ID3Helper_GetChapterCount_Position", "ID3Helper_GetChapterCount_Name"})
        record.AddValue(bodies.Get<decltype(ID3Helper_GetChapterCount_Name)>(count)(block));
    const auto position =
        bodies.Get<decltype(ID3Helper_GetChapter_Position)>("ID3Helper_GetChapter_Position");
    const auto name = bodies.Get<decltype(ID3Helper_GetChapter_Name)>("ID3Helper_GetChapter_Name");
    for (int32_t number = -1; number < 40; ++number) {
        record.AddValue(position(block, number));
        RecordText(name(block, number), record);
    }
}

} // namespace

static void ExerciseTagBlocks(const Bodies &bodies, Random &random, Record &record)
{
    const auto copy = bodies.Get<decltype(ID3Helper_Copy)>("ID3Helper_Copy");
    for (int round = 0; round < 100; ++round) {
        TagBlock *const block = RandomBlock(bodies, random);
        RecordBlock(block, record);
        TagBlock *const torn = copy(block);
        RecordBlock(torn, record);
        Tear(torn, random);
        for (const TagBlock *one : {block, torn}) {
            RecordPictures(bodies, one, random, record);
            RecordLookups(bodies, one, random, record);
        }
        ID3Helper_Free(block);
        ID3Helper_Free(torn);
    }
}
TONEKIT_TIER_CASE(ExerciseTagBlocks, "ID3Helper_AddStr", "ID3Helper_Copy", "ID3Helper_GetStr",
                  "ID3Helper_AddImage", "ID3Helper_GetImage", "ID3Helper_GetFirstImage",
                  "ID3Helper_GetNextImage", "ID3Helper_GetChapterCount_Position",
                  "ID3Helper_GetChapterCount_Name", "ID3Helper_GetChapter_Position",
                  "ID3Helper_GetChapter_Name");

static void ExerciseChapterKeys(const Bodies &bodies, Random &random, Record &record)
{
    for (int round = 0; round < 2000; ++round) {
        const std::string key = RandomKey(random) + RandomText(random, 12, "0123456789NAME");
        const Utf16String wide(key.begin(), key.end());
        for (const char *const name : {"CHAPTER_Get_Number", "CHAPTERNAME_Get_Number"})
            record.AddValue(bodies.Get<decltype(CHAPTER_Get_Number)>(name)(key.c_str()));
        for (const char *const name : {"CHAPTER_Get_NumberW", "CHAPTERNAME_Get_NumberW"})
            record.AddValue(bodies.Get<decltype(CHAPTER_Get_NumberW)>(name)(wide.c_str()));
    }
}
TONEKIT_TIER_CASE(ExerciseChapterKeys, "CHAPTER_Get_Number", "CHAPTER_Get_NumberW", "CHAPTERNAME_Get_Number",
                  "CHAPTERNAME_Get_NumberW");

static void ExerciseTimes(const Bodies &bodies, Random &random, Record &record)
{
    const auto narrow =
        bodies.Get<decltype(CHAPTER_HMS_String_To_Position100nS)>("CHAPTER_HMS_String_To_Position100nS");
    const auto wide =
        bodies.Get<decltype(CHAPTER_HMS_String_To_Position100nSW)>("CHAPTER_HMS_String_To_Position100nSW");
    const auto toPosition = bodies.Get<decltype(SamplesToN100nS)>("SamplesToN100nS");
    const auto toSamples = bodies.Get<decltype(N100nSToSamples)>("N100nSToSamples");
    for (int round = 0; round < 2000; ++round) {
        const std::string text = (random.Below(2) == 0 ? "1:2:" : "") + RandomTime(random);
        GuardedBuffer position(8, random.Below(8) * 8);
        record.AddValue(narrow(text.c_str(), position.As<uint64_t>()));
        record.Guards(position);
        record.AddValue(wide(Utf16String(text.begin(), text.end()).c_str(), position.As<uint64_t>()));
        record.Guards(position);
        const uint64_t count = random.Next() >> random.Below(64);
        const uint64_t rate = random.Below(10) == 0 ? 0 : random.Next() >> random.Below(64);
        record.AddValue(toPosition(count, rate));
        record.AddValue(toSamples(count, rate));
    }
}
TONEKIT_TIER_CASE(ExerciseTimes, "CHAPTER_HMS_String_To_Position100nS",
                  "CHAPTER_HMS_String_To_Position100nSW", "SamplesToN100nS", "N100nSToSamples");

} // namespace tonekit::tiers
