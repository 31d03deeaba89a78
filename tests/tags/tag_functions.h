// tag_functions.h: the dispatched tag functions in the bodies of one letter, and tests that run on each of
// them.
#pragma once

#include "tags/tag_block.h"
#include "tests/support/bodies.h"
#include "tests/support/utf16.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <tonekit/tags.h>

namespace tonekit {

// One member per function, of the function's own name.
struct TagFunctions {
    char letter;

#define TONEKIT_TAG_FUNCTION(name) decltype(::name) *const name = Body<decltype(::name)>(#name, letter)
    TONEKIT_TAG_FUNCTION(ID3Helper_AddStr);
    TONEKIT_TAG_FUNCTION(ID3Helper_Copy);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetStr);
    TONEKIT_TAG_FUNCTION(ID3Helper_AddImage);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetImage);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetFirstImage);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetNextImage);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetChapterCount_Position);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetChapterCount_Name);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetChapter_Position);
    TONEKIT_TAG_FUNCTION(ID3Helper_GetChapter_Name);
    TONEKIT_TAG_FUNCTION(CHAPTER_Get_Number);
    TONEKIT_TAG_FUNCTION(CHAPTER_Get_NumberW);
    TONEKIT_TAG_FUNCTION(CHAPTERNAME_Get_Number);
    TONEKIT_TAG_FUNCTION(CHAPTERNAME_Get_NumberW);
    TONEKIT_TAG_FUNCTION(CHAPTER_HMS_String_To_Position100nS);
    TONEKIT_TAG_FUNCTION(CHAPTER_HMS_String_To_Position100nSW);
    TONEKIT_TAG_FUNCTION(SamplesToN100nS);
    TONEKIT_TAG_FUNCTION(N100nSToSamples);
#undef TONEKIT_TAG_FUNCTION
};

struct FreeTagBlock {
    void operator()(TagBlock *block) const { ID3Helper_Free(block); }
};
using OwnedBlock = std::unique_ptr<TagBlock, FreeTagBlock>;

inline OwnedBlock NewBlock()
{
    return OwnedBlock(ID3Helper_Alloc());
}

// The bytes in use.
inline std::string BytesOf(const TagBlock *block)
{
    return {reinterpret_cast<const char *>(block->buffer), block->used};
}

// A test on the bodies of every letter that the processor runs.
class TagTest : public testing::TestWithParam<char> {
protected:
    const TagFunctions tags{GetParam()};
    const OwnedBlock owner = NewBlock();
    TagBlock *const block = owner.get();
};

#define TONEKIT_ON_EVERY_BODY(fixture)                                                                       \
    INSTANTIATE_TEST_SUITE_P(Body, fixture, testing::ValuesIn(::tonekit::RunnableLetters()),                 \
                             [](const auto &one) { return std::string(1, one.param); })

} // namespace tonekit
