// codec_test.cpp: the JPEG codec with each of its allocations failing: its error, no crash and no block left.
#include "tests/memory/every_allocation.h"
#include "tests/support/bodies.h"
#include "tests/support/codec_driver.h"

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <vector>

namespace tonekit::codec {
namespace {

// The best body. Looks each name up once, so that later calls allocate nothing.
Codec RememberingCodec()
{
    return {"best body", [](const char *name) {
                static std::map<const char *, void *> found;
                const auto at = found.find(name);
                return at != found.end() ? at->second
                                         : found[name] = BodyAddress(name, RunnableLetters().back());
            }};
}

// Encodes; the codec's error becomes the lack of memory that it is.
void EncodeOrThrow(const Codec &codec, const Image &image, const Encoding &encoding)
{
    unsigned char *data = nullptr;
    unsigned long size = 0;
    bool failed = false;
    try {
        Compressor compressor(codec);
        CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
        Configure(compressor, image, encoding);
        CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
        WriteRows(compressor, image);
        CODEC(codec, jpeg_finish_compress)(&compressor);
    } catch (const Failure &) {
        failed = true;
    }
    std::free(data);
    if (failed)
        throw std::bad_alloc();
}

TEST(EveryAllocation, OfAnEncodingMayFail)
{
    const Codec codec = RememberingCodec();
    const Image image = TestImage(1, 40, 24, 3);
    for (const bool arithmetic : {false, true}) {
        Encoding encoding{.profile = JCP_MAX_COMPRESSION, .arithmetic = arithmetic, .scans = false};
        encoding.trellisDc = encoding.trellisQuantization = true;
        EXPECT_GT(FailEachInTurn([&] { EncodeOrThrow(codec, image, encoding); }), 15u);
    }
}

TEST(EveryAllocation, OfADecodingMayFail)
{
    const Codec codec = RememberingCodec();
    const Image image = TestImage(1, 40, 24, 3);
    for (const bool progressive : {false, true}) {
        const Bytes file = Encode(codec, image, {.progressive = progressive});
        EXPECT_GT(FailEachInTurn([&] {
                      try {
                          Decode(codec, file);
                      } catch (const Failure &) {
                          throw std::bad_alloc();
                      }
                  }),
                  5u);
    }
}

} // namespace
} // namespace tonekit::codec
