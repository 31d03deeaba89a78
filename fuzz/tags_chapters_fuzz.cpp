// tags_chapters_fuzz.cpp: chapters and numbers put into a tag block of arbitrary bytes and read again; the
// names of chapter keys, in every body.
#include "fuzz/input_bytes.h"
#include "tags/tag_block.h"
#include "tests/support/bodies.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <tonekit/tags.h>
#include <vector>

namespace {

using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;

constexpr size_t kLongestInput = 512;

// A block whose buffer is exactly as long as its items, so that a sanitizer sees a read past them.
TagBlock *BlockOf(const std::vector<uint8_t> &items)
{
    TagBlock *block = ID3Helper_Alloc();
    if (items.empty())
        return block;
    std::free(block->buffer);
    block->buffer = static_cast<uint8_t *>(std::malloc(items.size()));
    std::copy(items.begin(), items.end(), block->buffer);
    block->capacity = block->used = static_cast<uint32_t>(items.size());
    return block;
}

std::string TakeText(InputBytes &input)
{
    std::string text;
    for (uint32_t left = input.Below(24); left > 0; --left)
        text += static_cast<char>(input.Byte());
    return text.c_str();
}

using WideText = std::basic_string<tonekit_char16>;

WideText Widened(const std::string &text)
{
    return WideText(text.begin(), text.end());
}

// What a block of sound items has not got yet is found there afterwards; broken items may hide it.
void Number(TagBlock *block, InputBytes &input, bool sound)
{
    const std::string key = "n" + TakeText(input);
    const bool absent = sound && *ID3Helper_GetStr(block, key.c_str()) == 0;
    const uint64_t number = uint64_t{input.Word()} << 32 | input.Word();
    const auto small = static_cast<uint32_t>(number);
    float real = 0;
    std::memcpy(&real, &small, sizeof real);
    const uint32_t before = block->used;
    switch (input.Below(3)) {
    case 0:
        ID3Helper_AddDword(block, key.c_str(), small);
        Require(!absent || block->used == before || ID3Helper_GetDword(block, key.c_str()) == small);
        break;
    case 1:
        ID3Helper_AddULongLong(block, key.c_str(), number);
        Require(!absent || block->used == before || ID3Helper_GetULongLong(block, key.c_str()) == number);
        break;
    default:
        ID3Helper_AddFloat(block, key.c_str(), real);
        ID3Helper_GetFloat(block, key.c_str());
        break;
    }
    ID3Helper_GetDword(block, key.c_str());
    ID3Helper_GetULongLong(block, key.c_str());
    ID3Helper_GetFloat(block, key.c_str());
}

void Chapter(TagBlock *block, InputBytes &input)
{
    const uint32_t number = input.Below(4) == 0 ? input.Word() : input.Byte();
    const uint64_t position = uint64_t{input.Word()} << (input.Flag() ? 32 : 8);
    const std::string name = TakeText(input);
    if (input.Flag())
        ID3Helper_AddChapter_UTF8(block, number, position, name.c_str());
    else
        ID3Helper_AddChapter(block, number, position, Widened(name).c_str());
    if (input.Flag())
        ID3Helper_SetChapterTotal(block, position);
}

void Keys(const std::string &text)
{
    using namespace tonekit;
    static const std::vector<char> letters = RunnableLetters();
    const WideText wide = Widened(text);
    for (const char letter : letters) {
        const auto narrowNumber = Body<decltype(CHAPTER_Get_Number)>("CHAPTER_Get_Number", letter);
        const auto wideNumber = Body<decltype(CHAPTER_Get_NumberW)>("CHAPTER_Get_NumberW", letter);
        Require(narrowNumber(text.c_str()) == CHAPTER_Get_Number(text.c_str()));
        Require(wideNumber(wide.c_str()) == CHAPTER_Get_NumberW(wide.c_str()));
        Require(Body<decltype(CHAPTERNAME_Get_Number)>("CHAPTERNAME_Get_Number", letter)(text.c_str()) ==
                CHAPTERNAME_Get_Number(text.c_str()));
        Require(Body<decltype(CHAPTERNAME_Get_NumberW)>("CHAPTERNAME_Get_NumberW", letter)(wide.c_str()) ==
                CHAPTERNAME_Get_NumberW(wide.c_str()));
    }
}

void Read(const TagBlock *block)
{
    Require(ID3Helper_GetChapterCount_Position(block) + ID3Helper_GetChapterCount_Name(block) <= block->used);
    ID3Helper_GetChapterTotal(block);
    for (const int32_t number : {INT32_MIN, -1, 0, 1, 2, 255, INT32_MAX}) {
        ID3Helper_GetChapter_Position(block, number);
        Require(std::strlen(ID3Helper_GetChapter_Name(block, number)) <= block->used);
    }
    TagBlock *copy = ID3Helper_Copy(block);
    Require(copy->used == block->used &&
            std::equal(block->buffer, block->buffer + block->used, copy->buffer));
    ID3Helper_Free(copy);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes input(data, std::min(size, kLongestInput));
    const size_t items = std::min<size_t>(input.Byte(), input.Size());
    const bool sound = input.Flag();
    TagBlock *block = BlockOf(sound ? std::vector<uint8_t>() : input.Take(items));
    for (int step = 0; step < 16 && !input.Empty(); ++step) {
        switch (input.Below(3)) {
        case 0:
            Number(block, input, sound);
            break;
        case 1:
            Chapter(block, input);
            break;
        default:
            Keys((input.Flag() ? "CHAPTER" : "") + TakeText(input));
            break;
        }
    }
    Read(block);
    ID3Helper_Free(block);
    return 0;
}
