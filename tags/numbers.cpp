// numbers.cpp: stores numbers as decimal text in a tag block, and reads them back.
#include "tags/decimal.h"
#include "tags/tag_block.h"

#include <cstring>

using namespace tonekit;

void ID3Helper_AddULongLong(TagBlock *block, const char *key, uint64_t number)
{
    char text[kMostDecimalDigits + 1];
    *WriteDecimal(text, number, 1) = 0;
    ID3Helper_AddStr(block, key, text);
}

uint64_t ID3Helper_GetULongLong(const TagBlock *block, const char *key)
{
    return ParseULongLong(ID3Helper_GetStr(block, key));
}

void ID3Helper_AddDword(TagBlock *block, const char *key, uint32_t number)
{
    ID3Helper_AddULongLong(block, key, number);
}

uint32_t ID3Helper_GetDword(const TagBlock *block, const char *key)
{
    return ParseDword(ID3Helper_GetStr(block, key));
}

namespace {

float FloatOfBits(uint32_t bits)
{
    float number;
    memcpy(&number, &bits, sizeof number);
    return number;
}

} // namespace

void ID3Helper_AddFloat(TagBlock *block, const char *key, float number)
{
    uint32_t bits;
    memcpy(&bits, &number, sizeof bits);
    ID3Helper_AddDword(block, key, bits);
}

float ID3Helper_GetFloat(const TagBlock *block, const char *key)
{
    const char *const text = ID3Helper_GetStr(block, key);
    return *text == 0 ? ID3Helper_GetNaN() : FloatOfBits(ParseDword(text));
}

float ID3Helper_GetNaN()
{
    return FloatOfBits(0x7FFFFFFF);
}

bool ID3Helper_IsNaN(float number)
{
    return number != number;
}
