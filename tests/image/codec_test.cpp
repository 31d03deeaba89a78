// codec_test.cpp: every body of the codec compared with the same sources built plainly: equal bytes, whatever
// the settings.
#include "tests/support/bodies.h"
#include "tests/support/codec_driver.h"
#include "tests/support/random.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

namespace tonekit::codec {
namespace {

Image Photograph()
{
    return Decode(PlainCodec(), PhotographFile(), {JCS_RGB});
}

std::vector<Encoding> Encodings()
{
    std::vector<Encoding> encodings;
    for (const int quality : {1, 30, 75, 90, 100})
        encodings.push_back({.quality = quality});
    for (const int horizontal : {1, 2, 3, 4})
        for (const int vertical : {1, 2, 3, 4})
            if (horizontal * vertical <= 8) // and a block for each other component: the format's limit of 10
                encodings.push_back({.quality = 85, .horizontal = horizontal, .vertical = vertical});
    for (const J_DCT_METHOD transform : {JDCT_ISLOW, JDCT_IFAST, JDCT_FLOAT})
        encodings.push_back({.quality = 92, .transform = transform});
    for (const bool progressive : {false, true})
        for (const bool arithmetic : {false, true}) {
            encodings.push_back(
                {.progressive = progressive, .arithmetic = arithmetic, .optimize = !arithmetic});
            for (const int quality : {60, 95})
                encodings.push_back({.quality = quality,
                                     .profile = JCP_MAX_COMPRESSION,
                                     .progressive = progressive,
                                     .arithmetic = arithmetic,
                                     .scans = quality == 60,
                                     .trellisDc = quality == 95,
                                     .trellisQuantization = quality == 95});
        }
    encodings.push_back({.smoothing = 50, .restartRows = 3});
    encodings.push_back({.stored = JCS_RGB, .horizontal = 1, .vertical = 1});
    encodings.push_back({.stored = JCS_GRAYSCALE, .horizontal = 1, .vertical = 1});
    return encodings;
}

std::vector<Decoding> Decodings()
{
    std::vector<Decoding> decodings;
    for (unsigned scale = 1; scale <= 16; ++scale)
        decodings.push_back({.scale = scale});
    for (const J_DCT_METHOD transform : {JDCT_IFAST, JDCT_FLOAT})
        decodings.push_back({.transform = transform});
    for (const J_COLOR_SPACE space :
         {JCS_RGB, JCS_EXT_BGRA, JCS_EXT_XRGB, JCS_YCbCr, JCS_GRAYSCALE, JCS_RGB565})
        for (const bool fancy : {false, true})
            decodings.push_back({.space = space, .fancy = fancy});
    for (const bool twoPass : {false, true})
        for (const J_DITHER_MODE dither : {JDITHER_NONE, JDITHER_ORDERED, JDITHER_FS})
            decodings.push_back({.space = JCS_RGB, .colours = 64, .twoPass = twoPass, .dither = dither});
    decodings.push_back({.smoothing = false});
    return decodings;
}

TEST(Codec, EveryBodyEncodesAPhotographLikeThePlainBuild)
{
    const Image photograph = Photograph();
    const Codec plain = PlainCodec();
    const std::vector<Encoding> encodings = Encodings();
    for (size_t i = 0; i < encodings.size(); ++i) {
        const Bytes expected = Encode(plain, photograph, encodings[i]);
        for (const Codec &codec : AllBodies())
            ASSERT_EQ(Encode(codec, photograph, encodings[i]), expected)
                << codec.Label() << ", encoding " << i;
    }
}

TEST(Codec, EveryBodyEncodesOddSizesLikeThePlainBuild)
{
    const Codec plain = PlainCodec();
    const std::vector<Encoding> encodings = Encodings();
    const uint32_t sides[] = {1, 7, 8, 9, 17, 33, 100};
    for (size_t i = 0; i < encodings.size(); ++i) {
        const Image image = TestImage(i, sides[i % 7], sides[i / 7 % 7], 3);
        const Bytes expected = Encode(plain, image, encodings[i]);
        for (const Codec &codec : AllBodies())
            ASSERT_EQ(Encode(codec, image, encodings[i]), expected) << codec.Label() << ", encoding " << i;
    }
}

// The bodies search the trellis by other code than the plain build.
TEST(Codec, EveryBodysTrellisChoosesLikeThePlainBuild)
{
    const Codec plain = PlainCodec();
    std::vector<Image> images = {TestImage(11, 90, 70, 3), Photograph(), {64, 40, 3, Bytes(64 * 40 * 3, 90)}};
    Random random(12);
    images.push_back({48, 64, 3, Bytes(48 * 64 * 3)});
    for (uint8_t &sample : images.back().samples)
        sample = random.Below(2) != 0 ? 255 : 0;
    std::vector<Encoding> encodings;
    for (const bool progressive : {false, true})
        for (const bool all : {false, true}) {
            const Encoding encoding = {.profile = JCP_MAX_COMPRESSION,
                                       .progressive = progressive,
                                       .scans = all,
                                       .trellisDc = all,
                                       .trellisQuantization = all};
            for (const int quality : {2, 17, 40, 68, 88, 97, 100}) {
                encodings.push_back(encoding);
                encodings.back().quality = quality;
            }
            for (const int coarse : {900, 4000}) {
                encodings.push_back(encoding);
                encodings.back().coarse = coarse;
            }
        }
    for (size_t image = 0; image < images.size(); ++image)
        for (size_t i = 0; i < encodings.size(); ++i) {
            const Bytes expected = Encode(plain, images[image], encodings[i]);
            for (const Codec &codec : AllBodies())
                ASSERT_EQ(Encode(codec, images[image], encodings[i]), expected)
                    << codec.Label() << ", image " << image << ", encoding " << i;
        }
}

TEST(Codec, EveryBodyDecodesLikeThePlainBuild)
{
    const Codec plain = PlainCodec();
    const Image image = TestImage(5, 301, 203, 3);
    std::vector<Bytes> files = {PhotographFile()};
    for (const int horizontal : {1, 2})
        for (const int vertical : {1, 2})
            files.push_back(Encode(plain, image, {.horizontal = horizontal, .vertical = vertical}));
    files.push_back(Encode(plain, image, {.progressive = true}));
    files.push_back(Encode(plain, image, {.arithmetic = true}));
    files.push_back(Encode(plain, image, {.progressive = true, .arithmetic = true, .restartRows = 2}));
    const std::vector<Decoding> decodings = Decodings();
    for (size_t file = 0; file < files.size(); ++file)
        for (size_t i = 0; i < decodings.size(); ++i) {
            const Image expected = Decode(plain, files[file], decodings[i]);
            for (const Codec &codec : AllBodies())
                ASSERT_EQ(Decode(codec, files[file], decodings[i]), expected)
                    << codec.Label() << ", file " << file << ", decoding " << i;
        }
}

TEST(Codec, FourComponentsAndGreyPassThrough)
{
    const Codec plain = PlainCodec();
    const Image four = TestImage(6, 90, 61, 4);
    const Image grey = TestImage(7, 90, 61, 1);
    for (const Codec &codec : AllBodies()) {
        const Bytes cmyk =
            Encode(codec, four, {.quality = 95, .space = JCS_CMYK, .horizontal = 1, .vertical = 1});
        EXPECT_EQ(cmyk,
                  Encode(plain, four, {.quality = 95, .space = JCS_CMYK, .horizontal = 1, .vertical = 1}));
        const Image decoded = Decode(codec, cmyk);
        EXPECT_EQ(decoded.components, 4);
        EXPECT_GT(PeakSignalToNoise(decoded, four), 35.0);
        const Bytes ycck = Encode(codec, four, {.quality = 95, .space = JCS_CMYK, .stored = JCS_YCCK});
        EXPECT_EQ(Decode(codec, ycck, {JCS_CMYK}), Decode(plain, ycck, {JCS_CMYK}));
        const Bytes one =
            Encode(codec, grey, {.quality = 95, .space = JCS_GRAYSCALE, .horizontal = 1, .vertical = 1});
        EXPECT_GT(PeakSignalToNoise(Decode(codec, one), grey), 35.0);
    }
}

TEST(Codec, RoundTripsOfAPhotographComeCloserWithQuality)
{
    const Image photograph = Photograph();
    const Codec codec = BodyCodec('A');
    double before = 20.0;
    for (const int quality : {10, 30, 60, 85, 95, 100}) {
        const double ratio = PeakSignalToNoise(
            Decode(codec, Encode(codec, photograph, {.quality = quality}), {JCS_RGB}), photograph);
        EXPECT_GT(ratio, before) << quality;
        before = ratio;
    }
    EXPECT_GT(before, 38.0);
}

TEST(Codec, CompressionPaysForItsTime)
{
    const Image photograph = Photograph();
    const Codec codec = BodyCodec('A');
    const size_t fast = Encode(codec, photograph, {}).size();
    const size_t optimized = Encode(codec, photograph, {.optimize = true}).size();
    const size_t progressive = Encode(codec, photograph, {.progressive = true}).size();
    const size_t arithmetic = Encode(codec, photograph, {.arithmetic = true}).size();
    EXPECT_LT(optimized, fast);
    EXPECT_LT(progressive, optimized);
    EXPECT_LT(arithmetic, progressive);
}

// Fewer than two chroma samples are left of two. Simple upsampling merged with the change of colours must do
// the same as it does for the whole picture.
TEST(Codec, CropOfMergedUpsamplingMayLeaveOneChromaSample)
{
    const Image image = TestImage(9, 3, 5, 3);
    for (const int vertical : {1, 2})
        for (const Codec &codec : AllBodies()) {
            const Bytes file = Encode(codec, image, {.vertical = vertical});
            const Image whole = Decode(codec, file, {.fancy = false});
            Decompressor object(codec);
            CODEC(codec, jpeg_mem_src)(&object, file.data(), file.size());
            CODEC(codec, jpeg_read_header)(&object, TRUE);
            object.do_fancy_upsampling = FALSE;
            CODEC(codec, jpeg_start_decompress)(&object);
            JDIMENSION offset = 0;
            JDIMENSION width = 2;
            CODEC(codec, jpeg_crop_scanline)(&object, &offset, &width);
            ASSERT_EQ(width, 2u);
            for (size_t y = 0; y < 5; ++y) {
                uint8_t row[6] = {};
                JSAMPROW rows = row;
                ASSERT_EQ(CODEC(codec, jpeg_read_scanlines)(&object, &rows, 1), 1u);
                EXPECT_TRUE(std::equal(row, row + 6, whole.samples.data() + 9 * y)) << y;
            }
            CODEC(codec, jpeg_finish_decompress)(&object);
        }
}

// What an error leaves is the caller's to release, also after the memory has grown.
TEST(Codec, MemoryThatGrewIsTheCallersAfterAnError)
{
    const Image image = TestImage(10, 100, 100, 3);
    for (const Codec &codec : AllBodies()) {
        unsigned char *data = nullptr;
        unsigned long size = 0;
        {
            Compressor object(codec);
            CODEC(codec, jpeg_mem_dest)(&object, &data, &size);
            Configure(object, image, {});
            CODEC(codec, jpeg_start_compress)(&object, TRUE);
            const Bytes marker(30'000, 'x');
            CODEC(codec, jpeg_write_marker)(&object, JPEG_COM, marker.data(), 30'000);
            EXPECT_THROW(CODEC(codec, jpeg_finish_compress)(&object), Failure);
        }
        ASSERT_TRUE(data);
        EXPECT_EQ(data[0], 0xFF);
        EXPECT_EQ(data[1], 0xD8);
        EXPECT_GT(std::count(data, data + 20'000, 'x'), 19'000);
        std::free(data);
    }
}

TEST(Codec, BodiesMayTakeTurnsOnOneObject)
{
    const Image image = TestImage(8, 120, 80, 3);
    const Codec plain = PlainCodec();
    const std::vector<char> letters = RunnableLetters();
    size_t calls = 0;
    // Each look-up of a function returns another body.
    const Codec changing(
        "all bodies", [&](const char *name) { return BodyAddress(name, letters[calls++ % letters.size()]); });
    for (int round = 0; round < 10; ++round) {
        const Bytes file = Encode(changing, image, {.progressive = round % 2 == 1});
        EXPECT_EQ(file, Encode(plain, image, {.progressive = round % 2 == 1}));
        EXPECT_EQ(Decode(changing, file), Decode(plain, file));
    }
}

} // namespace
} // namespace tonekit::codec
