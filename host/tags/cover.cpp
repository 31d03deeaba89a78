// cover.cpp: decides which pictures are decoded, scaled and encoded anew.
#include "host/tags/cover.h"

#include "host/pictures/bmp_picture.h"
#include "host/pictures/jpeg_picture.h"
#include "host/pictures/picture_facts.h"
#include "host/pictures/png_picture.h"
#include "host/pictures/scale_picture.h"
#include "host/system/failure.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace tonekit::host {

namespace {

// Kinds that go into tags as they are.
bool IsKept(PictureKind kind)
{
    return kind == PictureKind::Gif || kind == PictureKind::WebP;
}

bool Fits(const PictureSize &picture, uint32_t size)
{
    return size == 0 || std::max(picture.width, picture.height) <= size;
}

PixelImage FittedInto(PixelImage image, uint32_t size)
{
    if (Fits({image.width, image.height}, size))
        return image;
    const uint32_t longer = std::max(image.width, image.height);
    const auto scaled = [&](uint32_t length) {
        return std::max(1u, static_cast<uint32_t>(std::lround(1.0 * length * size / longer)));
    };
    return ScalePicture(image, scaled(image.width), scaled(image.height));
}

// The colours by their share of what is seen, so that those of transparent pixels don't run into the others.
void Weigh(PngPicture &picture)
{
    for (size_t i = 0; i < picture.alpha.size(); ++i) {
        for (size_t c = 0; c < 3; ++c) {
            uint8_t &colour = picture.image.pixels[i * 4 + c];
            colour = static_cast<uint8_t>((colour * picture.alpha[i] + 127) / 255);
        }
    }
}

void Unweigh(PngPicture &picture)
{
    for (size_t i = 0; i < picture.alpha.size(); ++i) {
        const int alpha = picture.alpha[i];
        for (size_t c = 0; c < 3; ++c) {
            uint8_t &colour = picture.image.pixels[i * 4 + c];
            colour = static_cast<uint8_t>(alpha == 0 ? 0 : std::min(255, (colour * 255 + alpha / 2) / alpha));
        }
    }
}

// Alpha is scaled as a picture of its own: the fourth byte of a pixel means nothing to a system's bitmaps.
std::vector<uint8_t> ScaledAlpha(const PngPicture &picture, uint32_t size)
{
    PixelImage image{picture.image.width, picture.image.height, {}};
    image.pixels.reserve(picture.alpha.size() * 4);
    for (const uint8_t alpha : picture.alpha)
        image.pixels.insert(image.pixels.end(), {alpha, alpha, alpha, 0});
    image = FittedInto(std::move(image), size);
    std::vector<uint8_t> scaled(image.pixels.size() / 4);
    for (size_t i = 0; i < scaled.size(); ++i)
        scaled[i] = image.pixels[i * 4];
    return scaled;
}

PngPicture FittedInto(PngPicture picture, uint32_t size)
{
    Weigh(picture);
    if (!picture.alpha.empty())
        picture.alpha = ScaledAlpha(picture, size);
    picture.image = FittedInto(std::move(picture.image), size);
    Unweigh(picture);
    return picture;
}

struct RemadePicture {
    PictureKind kind;
    std::vector<uint8_t> file;
};

// The picture at no more than that size; nothing if it can stay as it is. Throws Failure with the reason
// alone.
std::optional<RemadePicture> Remade(const std::vector<uint8_t> &file, uint32_t size, int quality)
{
    if (IsBmp(file))
        return RemadePicture{PictureKind::Jpeg, EncodeJpeg(FittedInto(DecodeBmp(file), size), quality)};
    if (size == 0)
        return std::nullopt;
    if (IsJpeg(file) && !Fits(SizeOfJpeg(file), size))
        return RemadePicture{PictureKind::Jpeg,
                             EncodeJpeg(FittedInto(DecodeJpeg(file, size), size), quality)};
    if (IsPng(file) && !Fits(SizeOfPng(file), size))
        return RemadePicture{PictureKind::Png, EncodePng(FittedInto(DecodePng(file), size))};
    return std::nullopt;
}

} // namespace

Picture MakeCover(std::vector<uint8_t> file, const std::string &name, uint32_t size, int quality)
{
    const PictureKind kind = FactsOf(file).kind;
    if (IsKept(kind) && size != 0)
        throw Failure(name + ": only BMP, JPEG and PNG pictures can be scaled");
    if (!IsKept(kind) && !IsBmp(file) && !IsJpeg(file) && !IsPng(file))
        throw Failure(name + ": is no picture that is known (BMP, JPEG, PNG, GIF or WebP)");
    try {
        if (auto remade = Remade(file, size, quality))
            return {kFrontCover, MimeTypeOf(remade->kind), std::move(remade->file)};
    } catch (const Failure &failure) {
        throw Failure(name + ": " + failure.what());
    }
    return {kFrontCover, IsJpeg(file) ? MimeTypeOf(PictureKind::Jpeg) : MimeTypeOf(kind), std::move(file)};
}

void FitPicture(Picture &picture, const std::string &name, uint32_t size, int quality,
                std::vector<std::string> &warnings)
{
    try {
        if (auto remade = Remade(picture.data, size, quality)) {
            picture.mime = MimeTypeOf(remade->kind);
            picture.data = std::move(remade->file);
        }
    } catch (const Failure &failure) {
        warnings.push_back(name + ": a picture stays as it is: " + failure.what());
    }
}

} // namespace tonekit::host
