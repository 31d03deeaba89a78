// families_test.cpp: HDCD, tags, texts and bitmaps with each of their allocations failing, iconv's included.
#include "tests/memory/every_allocation.h"

#include <cstdint>
#include <string>
#include <tonekit/encode.h>
#include <tonekit/hdcd.h>
#include <tonekit/tags.h>
#include <vector>

namespace tonekit {
namespace {

TEST(EveryAllocation, OfADecoderMayFail)
{
    std::vector<int32_t> samples(2 * 4000, 1000);
    EXPECT_GE(FailEachInTurn([&] {
                  HdcdDecoder *decoder = hdcd_new();
                  hdcd_scan(decoder, samples.data(), 4000);
                  hdcd_process(decoder, samples.data(), 4000);
                  hdcd_free(decoder);
              }),
              2u);
}

TEST(EveryAllocation, OfATagBlockMayFail)
{
    const std::string text(3000, 'x');
    const std::vector<uint8_t> picture(5000, 7);
    EXPECT_GE(FailEachInTurn([&] {
                  TagBlock *block = ID3Helper_Alloc();
                  if (!block)
                      return;
                  ID3Helper_AddStr(block, "title", text.c_str());
                  ID3Helper_AddStrUnicode(block, u"artist", u"\u00e9\u4e00");
                  ID3Helper_AddStrAnsi(block, "album", "plain");
                  ID3Helper_AddFloat(block, "gain", 1.5f);
                  ID3Helper_AddULongLong(block, "frames", 1u << 30);
                  ID3Helper_AddImage(block, "image/png", 3, 5000, picture.data());
                  ID3Helper_AddChapter(block, 1, 10000000, u"one");
                  ID3Helper_AddChapter_UTF8(block, 2, 20000000, "two");
                  ID3Helper_SetChapterTotal(block, 30000000);
                  ID3Helper_GetChapter_Name(block, 1);
                  TagBlock *copy = ID3Helper_Copy(block);
                  if (copy)
                      ID3Helper_Free(copy);
                  ID3Helper_Free(block);
              }),
              8u);
}

TEST(EveryAllocation, OfPrintableTextMayFail)
{
    const std::vector<uint8_t> data(300, 0xA5);
    EXPECT_GE(FailEachInTurn([&] {
                  char *text = nullptr;
                  UUEncode(data.data(), 300, &text);
                  UUFreeMem(text);
              }),
              1u);
    EXPECT_GE(FailEachInTurn([&] {
                  char *text = nullptr;
                  BASE64Encode(data.data(), 300, &text);
                  BASE64FreeMem(text);
              }),
              1u);
}

TEST(EveryAllocation, OfAChangeOfEncodingMayFail)
{
    EXPECT_GE(FailEachInTurn([] { UNC_freeStr(UNC_UnicodeToUtf8(u"caf\u00e9 \u4e00")); }), 1u);
    EXPECT_GE(FailEachInTurn([] { UNC_freeWStr(UNC_Utf8ToUnicode("caf\u00e9")); }), 1u);
    EXPECT_GE(FailEachInTurn([] { UNC_freeStr(UNC_UnicodeToAnsi(u"caf\u00e9")); }), 1u);
    EXPECT_GE(FailEachInTurn([] { UNC_freeWStr(UNC_AnsiToUnicode("cafe")); }), 1u);
    EXPECT_GE(FailEachInTurn([] { UNC_freeStr(UNC_Utf8ToAnsi("caf\u00e9")); }), 1u);
    EXPECT_GE(FailEachInTurn([] { UNC_freeStr(UNC_AnsiToUtf8("cafe")); }), 1u);
    EXPECT_GE(FailEachInTurn([] { UNC_freeWStr(UNC_RemoveUnicodeAPIPath(u"\\\\?\\C:\\music")); }), 1u);
}

} // namespace
} // namespace tonekit
