// cover_test.cpp: which pictures are made anew, and BMP files of all depths.
#include "host/pictures/bmp_picture.h"
#include "host/pictures/jpeg_picture.h"
#include "host/pictures/scale_picture.h"
#include "host/system/failure.h"
#include "host/tags/cover.h"
#include "tests/reference/resample_model.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <numbers>
#include <random>
#include <utility>

namespace tonekit::host {
namespace {

using Bytes = std::vector<uint8_t>;

void Put(Bytes &bytes, uint32_t number, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.push_back(static_cast<uint8_t>(number >> 8 * i));
}

// A BMP file with a 40-byte header; `between` is written between header and rows.
Bytes Bmp(int32_t width, int32_t height, uint32_t bits, const Bytes &rows, const Bytes &between = {},
          uint32_t compression = 0, uint32_t colours = 0)
{
    Bytes file = {'B', 'M'};
    const auto start = static_cast<uint32_t>(54 + between.size());
    Put(file, static_cast<uint32_t>(start + rows.size()), 4);
    Put(file, 0, 4);
    Put(file, start, 4);
    Put(file, 40, 4);
    Put(file, static_cast<uint32_t>(width), 4);
    Put(file, static_cast<uint32_t>(height), 4);
    Put(file, 1, 2);
    Put(file, bits, 2);
    Put(file, compression, 4);
    for (int i = 0; i < 3; ++i)
        Put(file, 0, 4);
    Put(file, colours, 4);
    Put(file, 0, 4);
    file.insert(file.end(), between.begin(), between.end());
    file.insert(file.end(), rows.begin(), rows.end());
    return file;
}

// Blue, green and red of each pixel, rows from the top.
std::vector<Bytes> Colours(const PixelImage &image)
{
    std::vector<Bytes> colours;
    for (size_t i = 0; i < image.pixels.size(); i += 4)
        colours.push_back({image.pixels[i], image.pixels[i + 1], image.pixels[i + 2]});
    return colours;
}

TEST(Bmp, OfTwentyFourBitsHasPaddedRowsFromTheBottom)
{
    const PixelImage image = DecodeBmp(Bmp(1, 2, 24, {1, 2, 3, 0, 4, 5, 6, 0}));
    EXPECT_EQ(image.width, 1u);
    EXPECT_EQ(image.height, 2u);
    EXPECT_EQ(Colours(image), (std::vector<Bytes>{{4, 5, 6}, {1, 2, 3}}));
}

TEST(Bmp, OfNegativeHeightHasRowsFromTheTop)
{
    EXPECT_EQ(Colours(DecodeBmp(Bmp(1, -2, 32, {1, 2, 3, 9, 4, 5, 6, 9}))),
              (std::vector<Bytes>{{1, 2, 3}, {4, 5, 6}}));
}

TEST(Bmp, OfFewBitsHasAPalette)
{
    const Bytes palette = {1, 2, 3, 0, 4, 5, 6, 0};
    EXPECT_EQ(Colours(DecodeBmp(Bmp(3, 1, 1, {0xA0, 0, 0, 0}, palette))),
              (std::vector<Bytes>{{4, 5, 6}, {1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(Colours(DecodeBmp(Bmp(2, 1, 4, {0x10, 0, 0, 0}, palette, 0, 2))),
              (std::vector<Bytes>{{4, 5, 6}, {1, 2, 3}}));
    // An index beyond the palette is black.
    EXPECT_EQ(Colours(DecodeBmp(Bmp(2, 1, 8, {1, 7, 0, 0}, palette, 0, 2))),
              (std::vector<Bytes>{{4, 5, 6}, {0, 0, 0}}));
}

TEST(Bmp, OfSixteenBitsHasFiveForEachColourOrBitFields)
{
    EXPECT_EQ(Colours(DecodeBmp(Bmp(2, 1, 16, {0xFF, 0x7F, 0x00, 0x7C}))),
              (std::vector<Bytes>{{255, 255, 255}, {0, 0, 255}}));
    Bytes fields;
    for (const uint32_t mask : {0xF800u, 0x07E0u, 0x001Fu})
        Put(fields, mask, 4);
    EXPECT_EQ(Colours(DecodeBmp(Bmp(2, 1, 16, {0xE0, 0x07, 0x1F, 0x00}, fields, 3))),
              (std::vector<Bytes>{{0, 255, 0}, {255, 0, 0}}));
}

TEST(Bmp, ThatIsBrokenIsRefused)
{
    const Bytes whole = Bmp(2, 2, 24, Bytes(16));
    for (size_t length = 2; length < whole.size() - 2; ++length)
        EXPECT_THROW(DecodeBmp(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length))), Failure)
            << length;
    EXPECT_THROW(DecodeBmp(Bmp(0, 2, 24, Bytes(16))), Failure);
    EXPECT_THROW(DecodeBmp(Bmp(-2, 2, 24, Bytes(16))), Failure);
    EXPECT_THROW(DecodeBmp(Bmp(0x7FFFFFFF, 0x7FFFFFFF, 24, Bytes(16))), Failure);
    EXPECT_THROW(DecodeBmp(Bmp(2, INT32_MIN, 24, Bytes(16))), Failure);
    EXPECT_THROW(DecodeBmp(Bmp(2, 2, 24, Bytes(16), {}, 1)), Failure);
    EXPECT_THROW(DecodeBmp(Bmp(2, 2, 7, Bytes(16))), Failure);
}

TEST(ScalePicture, KeepsAConstantColourAndTheAskedSize)
{
    PixelImage image{40, 20, {}};
    for (int i = 0; i < 40 * 20; ++i)
        image.pixels.insert(image.pixels.end(), {10, 200, 30, 0});
    const PixelImage scaled = ScalePicture(image, 10, 5);
    EXPECT_EQ(scaled.width, 10u);
    EXPECT_EQ(scaled.height, 5u);
    EXPECT_EQ(Colours(scaled), std::vector<Bytes>(50, Bytes{10, 200, 30}));
}

// A sinc under the middle of one that is three times as wide.
double Lanczos3(double distance)
{
    const auto sinc = [](double x) {
        return x == 0 ? 1 : std::sin(std::numbers::pi * x) / (std::numbers::pi * x);
    };
    return std::fabs(distance) < 3 ? sinc(distance) * sinc(distance / 3) : 0;
}

TEST(ScalePicture, PutsTheFirstRowAndColumnOnThoseOfThePicture)
{
    // Pixels of the model and bytes of the picture are the same numbers in little-endian order.
    PixelImage image{31, 22, {}};
    reference::Pixels pixels;
    std::mt19937 random(1);
    for (int i = 0; i < 31 * 22; ++i) {
        pixels.push_back(random() & 0xFFFFFF);
        for (int byte = 0; byte < 4; ++byte)
            image.pixels.push_back(static_cast<uint8_t>(pixels.back() >> 8 * byte));
    }
    for (const auto &[width, height] : {std::pair{17, 9}, std::pair{40, 50}, std::pair{31, 11}}) {
        const PixelImage scaled =
            ScalePicture(image, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
        const reference::Pixels expected = reference::Resampled(pixels, 31, 22, width, height, Lanczos3, 3);
        ASSERT_EQ(scaled.pixels.size(), expected.size() * 4);
        for (size_t i = 0; i < expected.size(); ++i)
            for (size_t byte = 0; byte < 3; ++byte)
                ASSERT_NEAR(scaled.pixels[i * 4 + byte], expected[i] >> 8 * byte & 0xFF, 1)
                    << "pixel " << i << " of " << width << " by " << height;
    }
}

TEST(Cover, PngAndGifStayAsTheyAre)
{
    const Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 1};
    EXPECT_EQ(MakeCover(png, "a.png", 0, 90).data, png);
    EXPECT_EQ(MakeCover(png, "a.png", 0, 90).mime, "image/png");
    EXPECT_EQ(MakeCover({'G', 'I', 'F', '8', '9', 'a'}, "a.gif", 0, 90).mime, "image/gif");
    EXPECT_THROW(MakeCover(png, "a.png", 100, 90), Failure);
}

TEST(Cover, WhatIsNoPictureIsRefused)
{
    EXPECT_THROW(MakeCover({}, "a", 0, 90), Failure);
    EXPECT_THROW(MakeCover({'h', 'i'}, "a", 0, 90), Failure);
}

class CoverWithCodec : public testing::Test {
protected:
    void SetUp() override
    {
        try {
            EncodeJpeg(Picture4x2(), 90);
        } catch (const Failure &failure) {
            GTEST_SKIP() << failure.what();
        }
    }

    static PixelImage Picture4x2()
    {
        PixelImage image{4, 2, {}};
        for (int i = 0; i < 8; ++i)
            image.pixels.insert(image.pixels.end(), {50, 100, 200, 0});
        return image;
    }

    static Bytes LargeBmp(int32_t width, int32_t height)
    {
        Bytes rows;
        for (int32_t i = 0; i < width * height; ++i)
            rows.insert(rows.end(), {50, 100, 200, 0});
        return Bmp(width, height, 32, rows);
    }

    // Encoding moves colours a little.
    static void ExpectConstant(const PixelImage &image)
    {
        for (const Bytes &colour : Colours(image)) {
            EXPECT_NEAR(colour[0], 50, 3);
            EXPECT_NEAR(colour[1], 100, 3);
            EXPECT_NEAR(colour[2], 200, 3);
        }
    }
};

TEST_F(CoverWithCodec, ABmpBecomesAJpegOfItsSize)
{
    const Picture cover = MakeCover(LargeBmp(60, 40), "a.bmp", 0, 95);
    EXPECT_EQ(cover.type, kFrontCover);
    EXPECT_EQ(cover.mime, "image/jpeg");
    const PixelImage image = DecodeJpeg(cover.data, 0);
    EXPECT_EQ(image.width, 60u);
    EXPECT_EQ(image.height, 40u);
    ExpectConstant(image);
}

TEST_F(CoverWithCodec, ALargerPictureIsScaledToFit)
{
    const PictureSize wide = SizeOfJpeg(MakeCover(LargeBmp(300, 200), "a.bmp", 150, 90).data);
    EXPECT_EQ(wide.width, 150u);
    EXPECT_EQ(wide.height, 100u);
    const PictureSize tall = SizeOfJpeg(MakeCover(LargeBmp(3, 900), "a.bmp", 90, 90).data);
    EXPECT_EQ(tall.width, 1u);
    EXPECT_EQ(tall.height, 90u);
    // Much larger: decoded at a fraction first.
    const Bytes large = EncodeJpeg(DecodeBmp(LargeBmp(1600, 1200)), 90);
    const Picture small = MakeCover(large, "a.jpg", 100, 90);
    const PixelImage image = DecodeJpeg(small.data, 0);
    EXPECT_EQ(image.width, 100u);
    EXPECT_EQ(image.height, 75u);
    ExpectConstant(image);
}

TEST_F(CoverWithCodec, AJpegThatFitsStaysByteForByte)
{
    const Bytes jpeg = EncodeJpeg(Picture4x2(), 90);
    EXPECT_EQ(MakeCover(jpeg, "a.jpg", 0, 90).data, jpeg);
    EXPECT_EQ(MakeCover(jpeg, "a.jpg", 4, 90).data, jpeg);
    EXPECT_NE(MakeCover(jpeg, "a.jpg", 3, 90).data, jpeg);
}

TEST_F(CoverWithCodec, ABrokenJpegIsRefusedAsCoverAndKeptAsTag)
{
    Bytes broken = {0xFF, 0xD8, 0xFF, 0xE0, 1, 2, 3};
    EXPECT_THROW(MakeCover(broken, "a.jpg", 100, 90), Failure);
    Picture picture{kFrontCover, "image/jpeg", broken};
    std::vector<std::string> warnings;
    FitPicture(picture, "song", 100, 90, warnings);
    EXPECT_EQ(picture.data, broken);
    EXPECT_EQ(warnings.size(), 1u);
}

TEST_F(CoverWithCodec, PicturesOfTagsAreScaledTheSameWay)
{
    Picture picture{4, "image/bmp", LargeBmp(300, 200)};
    std::vector<std::string> warnings;
    FitPicture(picture, "song", 150, 90, warnings);
    EXPECT_EQ(warnings, std::vector<std::string>{});
    EXPECT_EQ(picture.type, 4);
    EXPECT_EQ(picture.mime, "image/jpeg");
    EXPECT_EQ(SizeOfJpeg(picture.data).width, 150u);
}

} // namespace
} // namespace tonekit::host
