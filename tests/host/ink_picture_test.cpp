// ink_picture_test.cpp: pictures for print, in cyan, magenta, yellow and black, become pictures of light.
#include "host/pictures/jpeg_picture.h"
#include "host/tags/cover.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <tonekit/codec/jpeglib.h>

namespace tonekit::host {
namespace {

using Bytes = std::vector<uint8_t>;

// A JPEG of 16 by 8 pixels whose four components have these values everywhere. Only a file with the marker of
// the common maker says how its numbers are meant.
Bytes InkJpeg(const Bytes &ink, J_COLOR_SPACE stored, bool marker)
{
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    Bytes file(100000);
    unsigned char *place = file.data();
    unsigned long size = file.size();
    jpeg_mem_dest(&codec, &place, &size);
    codec.image_width = 16;
    codec.image_height = 8;
    codec.input_components = 4;
    codec.in_color_space = JCS_CMYK;
    jpeg_set_defaults(&codec);
    jpeg_set_colorspace(&codec, stored);
    jpeg_set_quality(&codec, 100, TRUE);
    codec.write_Adobe_marker = marker;
    jpeg_start_compress(&codec, TRUE);
    Bytes row;
    for (int i = 0; i < 16; ++i)
        row.insert(row.end(), ink.begin(), ink.end());
    while (codec.next_scanline < codec.image_height) {
        JSAMPROW rows = row.data();
        jpeg_write_scanlines(&codec, &rows, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    file.resize(size);
    return file;
}

// Every pixel has about these shares of blue, green and red, and 0 after them.
void ExpectLight(const PixelImage &image, const Bytes &light)
{
    ASSERT_EQ(image.pixels.size(), size_t{image.width} * image.height * 4);
    for (size_t i = 0; i < image.pixels.size(); i += 4) {
        for (size_t c = 0; c < 3; ++c)
            ASSERT_NEAR(image.pixels[i + c], light[c], 2) << "pixel " << i / 4 << ", colour " << c;
        ASSERT_EQ(image.pixels[i + 3], 0);
    }
}

TEST(InkPicture, WithTheMarkerItsNumbersAreWhatIsLeftOfTheLight)
{
    // Red 200, green 100, blue 40, each times 128 of 255.
    for (const J_COLOR_SPACE stored : {JCS_CMYK, JCS_YCCK}) {
        const PixelImage image = DecodeJpeg(InkJpeg({200, 100, 40, 128}, stored, true), 0);
        EXPECT_EQ(image.width, 16u);
        EXPECT_EQ(image.height, 8u);
        ExpectLight(image, {20, 50, 100});
    }
}

TEST(InkPicture, WithoutTheMarkerItsNumbersAreInk)
{
    // Of the light, ink leaves 55, 155 and 215, each times 127 of 255.
    ExpectLight(DecodeJpeg(InkJpeg({200, 100, 40, 128}, JCS_CMYK, false), 0), {107, 77, 27});
}

TEST(InkPicture, WithoutAnyInkIsWhite)
{
    ExpectLight(DecodeJpeg(InkJpeg({0, 0, 0, 0}, JCS_CMYK, false), 0), {255, 255, 255});
    ExpectLight(DecodeJpeg(InkJpeg({255, 255, 255, 255}, JCS_CMYK, true), 0), {255, 255, 255});
}

TEST(InkPicture, MadeSmallerIsAPictureOfLight)
{
    const Picture cover = MakeCover(InkJpeg({200, 100, 40, 128}, JCS_YCCK, true), "a.jpg", 8, 95);
    const PixelImage image = DecodeJpeg(cover.data, 0);
    EXPECT_EQ(image.width, 8u);
    EXPECT_EQ(image.height, 4u);
    for (size_t i = 0; i < image.pixels.size(); i += 4) {
        EXPECT_NEAR(image.pixels[i], 20, 5);
        EXPECT_NEAR(image.pixels[i + 1], 50, 5);
        EXPECT_NEAR(image.pixels[i + 2], 100, 5);
    }
}

} // namespace
} // namespace tonekit::host
