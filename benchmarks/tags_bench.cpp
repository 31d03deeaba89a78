// tags_bench.cpp: lookups in a tag block compared with one pass of memchr over the same bytes.
#include "benchmarks/ratio.h"
#include "tags/tag_block.h"
#include "tests/support/bodies.h"
#include "tests/support/random.h"

#include <cstring>
#include <string>
#include <tonekit/tags.h>

namespace {

using tonekit::Random;

constexpr int kItems = 1000;

// A block of texts under the keys TAG0000 to TAG0999.
TagBlock *BlockOfTexts(uint32_t leastBytes, uint32_t mostBytes)
{
    Random random(5);
    TagBlock *const block = ID3Helper_Alloc();
    for (int item = 0; item < kItems; ++item) {
        const std::string number = std::to_string(10000 + item).substr(1);
        const std::string value(leastBytes + random.Below(mostBytes - leastBytes + 1), 'v');
        ID3Helper_AddStr(block, ("TAG" + number).c_str(), value.c_str());
    }
    return block;
}

const void *volatile result;

void AddLookups(tonekit::RatioTable &table, char letter, const char *what, double limit,
                const TagBlock *block)
{
    auto *const getStr = tonekit::Body<decltype(ID3Helper_GetStr)>("ID3Helper_GetStr", letter);
    const auto memoryPass = [block] { result = memchr(block->buffer, 0xFF, block->used); };
    const std::string name = std::string(what) + ", ." + letter;
    table.Add(
        name + ", middle key", limit, [=] { result = getStr(block, "TAG0567"); }, memoryPass);
    table.Add(
        name + ", last key", limit, [=] { result = getStr(block, "tag0999"); }, memoryPass);
    table.Add(
        name + ", absent key", limit, [=] { result = getStr(block, "TAG1000"); }, memoryPass);
}

} // namespace

int main(int argc, char **argv)
{
    tonekit::RatioTable table("tag block: lookup among 1000 items beside memchr over the same bytes");
    const TagBlock *const shortTexts = BlockOfTexts(4, 20);
    const TagBlock *const texts = BlockOfTexts(20, 80);
    const TagBlock *const longTexts = BlockOfTexts(60, 200);
    // Within 4 times of memchr. The shortest texts miss it: memchr reads two of them in a cycle.
    constexpr double kLimit = 0.25;
    for (const char letter : {'A', 'V'})
        if (tonekit::ProcessorRuns(letter)) {
            AddLookups(table, letter, "texts of 4 to 20 bytes", kLimit, shortTexts);
            AddLookups(table, letter, "texts of 20 to 80 bytes", kLimit, texts);
            AddLookups(table, letter, "texts of 60 to 200 bytes", kLimit, longTexts);
        }
    return table.Run(argc, argv);
}
