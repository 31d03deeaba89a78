// cover.cpp: decides which pictures are decoded, scaled and encoded anew.
#include "host/cover.h"

#include "host/bmp_picture.h"
#include "host/failure.h"
#include "host/jpeg_picture.h"
#include "host/picture_facts.h"
#include "host/scale_picture.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace tonekit::host {

namespace {

constexpr const char *kJpegType = "image/jpeg";

// Kinds that go into tags as they are.
bool IsKept(PictureKind kind)
{
    return kind == PictureKind::Png || kind == PictureKind::Gif || kind == PictureKind::WebP;
}

PixelImage FittedInto(PixelImage image, uint32_t size)
{
    const uint32_t longer = std::max(image.width, image.height);
    if (size == 0 || longer <= size)
        return image;
    const auto scaled = [&](uint32_t length) {
        return std::max(1u, static_cast<uint32_t>(std::lround(1.0 * length * size / longer)));
    };
    return ScalePicture(image, scaled(image.width), scaled(image.height));
}

// The picture as a JPEG of at most that size; nothing if it can stay as it is. Throws Failure with the reason
// alone.
std::optional<std::vector<uint8_t>> Remade(const std::vector<uint8_t> &file, uint32_t size, int quality)
{
    if (IsBmp(file))
        return EncodeJpeg(FittedInto(DecodeBmp(file), size), quality);
    if (!IsJpeg(file) || size == 0)
        return std::nullopt;
    const PictureSize now = SizeOfJpeg(file);
    if (std::max(now.width, now.height) <= size)
        return std::nullopt;
    return EncodeJpeg(FittedInto(DecodeJpeg(file, size), size), quality);
}

} // namespace

Picture MakeCover(std::vector<uint8_t> file, const std::string &name, uint32_t size, int quality)
{
    if (const PictureKind kind = FactsOf(file).kind; IsKept(kind)) {
        if (size != 0)
            throw Failure(name + ": only BMP and JPEG pictures can be scaled");
        return {kFrontCover, MimeTypeOf(kind), std::move(file)};
    }
    if (!IsBmp(file) && !IsJpeg(file))
        throw Failure(name + ": is no picture that is known (BMP, JPEG, PNG, GIF or WebP)");
    try {
        if (auto remade = Remade(file, size, quality))
            return {kFrontCover, kJpegType, std::move(*remade)};
    } catch (const Failure &failure) {
        throw Failure(name + ": " + failure.what());
    }
    return {kFrontCover, kJpegType, std::move(file)};
}

void FitPicture(Picture &picture, const std::string &name, uint32_t size, int quality,
                std::vector<std::string> &warnings)
{
    if (!IsBmp(picture.data) && !IsJpeg(picture.data))
        return;
    try {
        if (auto remade = Remade(picture.data, size, quality)) {
            picture.data = std::move(*remade);
            picture.mime = kJpegType;
        }
    } catch (const Failure &failure) {
        warnings.push_back(name + ": a picture stays as it is: " + failure.what());
    }
}

} // namespace tonekit::host
