// png_picture_test.cpp: PNG pictures of every form, hostile ones, and covers that are scaled.
#include "host/pictures/png_picture.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"
#include "host/tags/cover.h"
#include "tests/host/png_files.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

// Red, green, blue and alpha of each pixel.
using Pixel = std::array<int, 4>;

std::vector<Pixel> PixelsOf(const PngPicture &picture)
{
    std::vector<Pixel> pixels;
    for (size_t i = 0; i < picture.image.pixels.size() / 4; ++i) {
        const uint8_t *const bytes = &picture.image.pixels[i * 4];
        pixels.push_back({bytes[2], bytes[1], bytes[0], picture.alpha.empty() ? 255 : picture.alpha[i]});
    }
    return pixels;
}

// Samples that differ in every pixel and use the whole depth.
uint32_t Sample(uint32_t x, uint32_t y, uint32_t c, uint32_t depth)
{
    const uint32_t most = (1u << depth) - 1;
    return (x * 37 + y * 101 + c * 53 + (x * y * 7919)) * (depth == 16 ? 257 : 1) & most;
}

// The 8 bits that a sample of any depth is shown with.
int Shown(uint32_t value, uint32_t depth)
{
    constexpr uint32_t kSteps[] = {0, 255, 85, 0, 17, 0, 0, 0, 1};
    return static_cast<int>(depth == 16 ? value >> 8 : value * kSteps[depth]);
}

TEST(Png, OfEveryFormIsReadInterlacedToo)
{
    struct Form {
        uint8_t type, depth;
    };
    constexpr Form kForms[] = {{kPngGray, 1},        {kPngGray, 2},        {kPngGray, 4},
                               {kPngGray, 8},        {kPngGray, 16},       {kPngColour, 8},
                               {kPngColour, 16},     {kPngGrayAlpha, 8},   {kPngGrayAlpha, 16},
                               {kPngColourAlpha, 8}, {kPngColourAlpha, 16}};
    for (const Form &form : kForms) {
        for (const bool interlaced : {false, true}) {
            const auto sample = [&](uint32_t x, uint32_t y, uint32_t c) {
                return Sample(x, y, c, form.depth);
            };
            const PngBytes file = MakePng({13, 11, form.depth, form.type, interlaced}, sample);
            const PngPicture picture = DecodePng(file);
            ASSERT_EQ(picture.image.width, 13u);
            ASSERT_EQ(picture.image.height, 11u);
            EXPECT_EQ(picture.gray, form.type == kPngGray || form.type == kPngGrayAlpha);
            const std::vector<Pixel> pixels = PixelsOf(picture);
            for (uint32_t y = 0; y < 11; ++y) {
                for (uint32_t x = 0; x < 13; ++x) {
                    const auto shown = [&](uint32_t c) { return Shown(sample(x, y, c), form.depth); };
                    Pixel expected = {shown(0), shown(0), shown(0), 255};
                    if (form.type == kPngColour || form.type == kPngColourAlpha)
                        expected = {shown(0), shown(1), shown(2), 255};
                    if (form.type == kPngGrayAlpha)
                        expected[3] = shown(1);
                    if (form.type == kPngColourAlpha)
                        expected[3] = shown(3);
                    ASSERT_EQ(pixels[y * 13 + x], expected)
                        << int{form.type} << ", " << int{form.depth} << " bits, " << x << ", " << y
                        << (interlaced ? ", interlaced" : "");
                }
            }
        }
    }
}

TEST(Png, OfAPaletteHasItsColoursAndItsTransparency)
{
    const std::vector<PngChunk> chunks = {{"PLTE", {10, 20, 30, 40, 50, 60, 70, 80, 90}}, {"tRNS", {255, 7}}};
    for (const uint8_t depth : {uint8_t{2}, uint8_t{4}, uint8_t{8}}) {
        const PngBytes file = MakePng({3, 1, depth, kPngIndexed, false, chunks},
                                      [](uint32_t x, uint32_t, uint32_t) { return x; });
        const PngPicture picture = DecodePng(file);
        EXPECT_FALSE(picture.gray);
        EXPECT_EQ(PixelsOf(picture),
                  (std::vector<Pixel>{{10, 20, 30, 255}, {40, 50, 60, 7}, {70, 80, 90, 255}}));
    }
    const PngBytes beyond =
        MakePng({1, 1, 8, kPngIndexed, false, chunks}, [](uint32_t, uint32_t, uint32_t) { return 3u; });
    EXPECT_EQ(PixelsOf(DecodePng(beyond)), (std::vector<Pixel>{{0, 0, 0, 255}}));
}

TEST(Png, MayHaveOneColourThatIsTransparent)
{
    const auto sample = [](uint32_t x, uint32_t, uint32_t c) { return x * 10 + c; };
    const PngPicture colour =
        DecodePng(MakePng({2, 1, 8, kPngColour, false, {{"tRNS", {0, 10, 0, 11, 0, 12}}}}, sample));
    EXPECT_EQ(PixelsOf(colour), (std::vector<Pixel>{{0, 1, 2, 255}, {10, 11, 12, 0}}));
    const PngPicture gray = DecodePng(MakePng({2, 1, 8, kPngGray, false, {{"tRNS", {0, 0}}}}, sample));
    EXPECT_TRUE(gray.gray);
    EXPECT_EQ(PixelsOf(gray), (std::vector<Pixel>{{0, 0, 0, 0}, {10, 10, 10, 255}}));
}

TEST(Png, IsWrittenInTheFormOfItsPixels)
{
    PngPicture picture{{2, 2, {30, 20, 10, 9, 31, 21, 11, 9, 32, 22, 12, 9, 33, 23, 13, 9}}, {}, false};
    PngFile file = ReadPng(EncodePng(picture));
    EXPECT_EQ(file.width, 2u);
    EXPECT_EQ(file.height, 2u);
    EXPECT_EQ(file.type, kPngColour);
    EXPECT_EQ(file.samples, (PngBytes{10, 20, 30, 11, 21, 31, 12, 22, 32, 13, 23, 33}));
    picture.alpha = {255, 0, 1, 2};
    file = ReadPng(EncodePng(picture));
    EXPECT_EQ(file.type, kPngColourAlpha);
    EXPECT_EQ(file.samples, (PngBytes{10, 20, 30, 255, 11, 21, 31, 0, 12, 22, 32, 1, 13, 23, 33, 2}));
    picture = {{2, 1, {5, 5, 5, 0, 6, 6, 6, 0}}, {}, true};
    file = ReadPng(EncodePng(picture));
    EXPECT_EQ(file.type, kPngGray);
    EXPECT_EQ(file.samples, (PngBytes{5, 6}));
    picture.alpha = {7, 8};
    file = ReadPng(EncodePng(picture));
    EXPECT_EQ(file.type, kPngGrayAlpha);
    EXPECT_EQ(file.samples, (PngBytes{5, 7, 6, 8}));
}

TEST(Png, OfAPaletteIsWrittenAsItIs)
{
    const IndexedPicture picture{3, 2, {0, 1, 2, 2, 1, 0}, {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
    const PngFile file = ReadPng(EncodePng(picture));
    EXPECT_EQ(file.width, 3u);
    EXPECT_EQ(file.height, 2u);
    EXPECT_EQ(file.type, kPngIndexed);
    EXPECT_EQ(file.samples, picture.pixels);
    EXPECT_EQ(file.palette, picture.palette);
}

PngBytes Chequered(uint32_t width, uint32_t height, uint8_t type = kPngColour)
{
    return MakePng({width, height, 8, type, false},
                   [](uint32_t x, uint32_t y, uint32_t c) { return (x / 3 + y / 2) % 2 * 200 + c * 5; });
}

TEST(Png, ThatIsBrokenIsRefused)
{
    const PngBytes whole = Chequered(20, 20);
    // All but the 12 bytes of the chunk at the end, which nobody misses, and the checksum before it.
    for (size_t length = 8; length < whole.size() - 16; ++length)
        EXPECT_THROW(DecodePng(PngBytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length))),
                     Failure)
            << length;
    PngBytes damaged = whole;
    damaged[19] ^= 1; // the width, against its checksum
    EXPECT_THROW(DecodePng(damaged), Failure);
    damaged = whole;
    damaged[whole.size() - 30] ^= 1; // the packed pixels
    EXPECT_THROW(DecodePng(damaged), Failure);
    const auto headerOf = [](PngForm form) {
        return PngOfChunks({PngHeader(form), {"IDAT", {}}, {"IEND", {}}});
    };
    EXPECT_THROW(DecodePng(headerOf({0, 1})), Failure);
    EXPECT_THROW(DecodePng(headerOf({1, 0})), Failure);
    EXPECT_THROW(DecodePng(headerOf({1, 1, 3})), Failure);
    EXPECT_THROW(DecodePng(headerOf({1, 1, 8, 5})), Failure);
    EXPECT_THROW(DecodePng(headerOf({1, 1, 8, kPngIndexed})), Failure); // no palette
    EXPECT_THROW(DecodePng(PngOfChunks({{"IEND", {}}})), Failure);
    // Packed pixels of fewer rows than the header says.
    EXPECT_THROW(DecodePng(PngOfChunks({PngHeader({4, 4}), {"IDAT", Packed(PngBytes(13))}, {"IEND", {}}})),
                 Failure);
}

// What a function says when it refuses.
template <class Work>
std::string RefusalOf(const Work &work)
{
    try {
        work();
    } catch (const Failure &failure) {
        return failure.what();
    }
    return "";
}

TEST(Png, OfHugeSizeIsRefusedBeforeMemoryIsTaken)
{
    for (const auto &[width, height] :
         {std::pair{0x7FFFFFFFu, 0x7FFFFFFFu}, std::pair{1u, 0x7FFFFFFFu}, std::pair{0x7FFFFFFFu, 1u},
          std::pair{4097u, 4097u}, std::pair{4000000u, 1u}}) {
        const PngBytes file =
            PngOfChunks({PngHeader({width, height}), {"IDAT", Packed({0, 1, 2, 3})}, {"IEND", {}}});
        const AllocationBudget budget(1 << 20);
        const std::string refusal = RefusalOf([&] { DecodePng(file); });
        EXPECT_NE(refusal.find("a PNG of this size can't be read"), std::string::npos) << refusal;
    }
}

TEST(Png, WithTextThatUnpacksToAThousandfoldIsRefused)
{
    PngBytes text = {'a', 0, 0};
    const PngBytes zeroes = Packed(PngBytes(size_t{16} << 20, 'x'));
    text.insert(text.end(), zeroes.begin(), zeroes.end());
    ASSERT_LT(text.size(), 20000u);
    for (const char *type : {"zTXt", "iCCP"}) {
        PngForm form{2, 2};
        form.chunks = {{type, text}};
        const PngBytes file = MakePng(form, [](uint32_t, uint32_t, uint32_t) { return 1u; });
        SetMemoryLimit(16 << 20);
        const std::string refusal = RefusalOf([&] { DecodePng(file); });
        SetMemoryLimit(256 << 20);
        EXPECT_EQ(refusal, "a PNG of this size can't be read (--memory allows more)") << type;
    }
}

TEST(Png, WithDamageInWhatIsntThePictureIsRead)
{
    PngForm form{2, 2};
    form.chunks = {{"tEXt", {'a', 0, 'b'}}};
    PngBytes file = MakePng(form, [](uint32_t, uint32_t, uint32_t) { return 1u; });
    const std::string type = "tEXt";
    const auto place = std::search(file.begin(), file.end(), type.begin(), type.end());
    place[6] ^= 1;
    EXPECT_EQ(PixelsOf(DecodePng(file)), std::vector<Pixel>(4, {1, 1, 1, 255}));
}

TEST(PngCover, ThatFitsStaysByteForByte)
{
    const PngBytes png = Chequered(30, 20);
    for (const uint32_t size : {0u, 30u, 500u}) {
        const Picture cover = MakeCover(png, "a.png", size, 90);
        EXPECT_EQ(cover.data, png);
        EXPECT_EQ(cover.mime, "image/png");
    }
}

TEST(PngCover, ThatIsLargerIsScaledAndStaysAPng)
{
    for (const uint8_t type : {kPngColour, kPngGray, kPngGrayAlpha, kPngColourAlpha}) {
        const Picture cover = MakeCover(Chequered(300, 200, type), "a.png", 150, 90);
        EXPECT_EQ(cover.mime, "image/png");
        const PngFile file = ReadPng(cover.data);
        EXPECT_EQ(file.width, 150u);
        EXPECT_EQ(file.height, 100u);
        EXPECT_EQ(file.type, type);
    }
    const PngBytes red =
        MakePng({100, 400}, [](uint32_t, uint32_t, uint32_t c) { return c == 0 ? 250u : c; });
    const PngFile file = ReadPng(MakeCover(red, "a.png", 100, 90).data);
    ASSERT_EQ(file.width, 25u);
    for (uint32_t y = 0; y < 100; ++y)
        for (uint32_t x = 0; x < 25; ++x)
            ASSERT_EQ(file.Colour(x, y), (std::array<uint8_t, 3>{250, 1, 2}));
}

TEST(PngCover, DoesntLetTransparentPixelsRunIntoItsColours)
{
    // The left half is red; the right one is green and can't be seen.
    const PngBytes png =
        MakePng({200, 200, 8, kPngColourAlpha}, [](uint32_t x, uint32_t, uint32_t c) -> uint32_t {
            const bool left = x < 100;
            return c == 0 ? (left ? 240 : 0) : c == 1 ? (left ? 0 : 255) : c == 2 ? 0 : (left ? 255 : 0);
        });
    const PngFile file = ReadPng(MakeCover(png, "a.png", 50, 90).data);
    ASSERT_EQ(file.type, kPngColourAlpha);
    EXPECT_EQ(file.At(5, 25, 0), 240);
    EXPECT_EQ(file.At(5, 25, 3), 255);
    EXPECT_EQ(file.At(45, 25, 3), 0);
    bool some = false;
    for (uint32_t x = 0; x < 50; ++x) {
        EXPECT_EQ(file.At(x, 25, 1), 0) << x;
        if (const int alpha = file.At(x, 25, 3); alpha > 20 && alpha < 235) {
            some = true;
            EXPECT_NEAR(file.At(x, 25, 0), 240, 6) << x;
        }
    }
    EXPECT_TRUE(some);
}

TEST(PngCover, ThatIsBrokenIsRefusedAsCoverAndKeptAsTag)
{
    PngBytes broken = Chequered(300, 200);
    broken.resize(broken.size() / 2);
    const std::string refusal = RefusalOf([&] { MakeCover(broken, "a.png", 100, 90); });
    EXPECT_EQ(refusal.substr(0, 19), "a.png: broken PNG: ");
    Picture picture{kFrontCover, "image/png", broken};
    std::vector<std::string> warnings;
    FitPicture(picture, "song", 100, 90, warnings);
    EXPECT_EQ(picture.data, broken);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].substr(0, 47), "song: a picture stays as it is: broken PNG: "
                                         "end");
}

TEST(PngCover, OfTagsIsScaledTheSameWay)
{
    Picture picture{4, "image/png", Chequered(300, 200)};
    std::vector<std::string> warnings;
    FitPicture(picture, "song", 150, 90, warnings);
    EXPECT_EQ(warnings, std::vector<std::string>{});
    EXPECT_EQ(picture.type, 4);
    EXPECT_EQ(picture.mime, "image/png");
    EXPECT_EQ(ReadPng(picture.data).width, 150u);
}

} // namespace
} // namespace tonekit::host::test
