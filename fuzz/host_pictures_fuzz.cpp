// host_pictures_fuzz.cpp: the program's readers of pictures on arbitrary files. They may refuse with Failure,
// and nothing else; what they accept has the size that its header says.
#include "fuzz/input_bytes.h"
#include "host/pictures/bmp_picture.h"
#include "host/pictures/jpeg_picture.h"
#include "host/pictures/picture_facts.h"
#include "host/pictures/png_picture.h"
#include "host/system/failure.h"
#include "host/tags/cover.h"

#include <vector>

namespace {

using namespace tonekit::host;

constexpr uint64_t kMostWorked = 1 << 16;

void Jpeg(const std::vector<uint8_t> &file, uint32_t limit, int quality)
{
    const PictureSize size = SizeOfJpeg(file);
    if (uint64_t{size.width} * size.height > kMostWorked)
        return;
    const PixelImage image = DecodeJpeg(file, limit);
    tonekit::fuzz::Require(image.width <= size.width && image.height <= size.height && image.width > 0);
    EncodeJpeg(image, quality);
}

void Png(const std::vector<uint8_t> &file)
{
    const PictureSize size = SizeOfPng(file);
    if (uint64_t{size.width} * size.height > kMostWorked)
        return;
    const PngPicture picture = DecodePng(file);
    const PixelImage &image = picture.image;
    tonekit::fuzz::Require(image.width == size.width && image.height == size.height && image.width > 0);
    const PngPicture again = DecodePng(EncodePng(picture));
    tonekit::fuzz::Require(again.image.pixels == image.pixels && again.alpha == picture.alpha &&
                           again.gray == picture.gray);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    tonekit::fuzz::InputBytes input(data, size);
    const uint32_t limit = input.Byte();
    const int quality = 1 + static_cast<int>(input.Below(100));
    const std::vector<uint8_t> file(input.Rest(), input.Rest() + input.Size());
    const PictureFacts facts = FactsOf(file);
    MimeTypeOf(facts.kind);
    try {
        if (IsBmp(file)) {
            if (uint64_t{facts.width} * facts.height > kMostWorked)
                return 0;
            const PixelImage image = DecodeBmp(file);
            tonekit::fuzz::Require(image.width > 0 && image.height > 0);
        } else if (IsJpeg(file)) {
            Jpeg(file, limit, quality);
        } else if (IsPng(file)) {
            Png(file);
        }
    } catch (const Failure &) {
        return 0;
    }
    if (uint64_t{facts.width} * facts.height > kMostWorked)
        return 0;
    try {
        MakeCover(file, "cover", limit, quality);
    } catch (const Failure &) {
        // A picture that is refused.
    }
    return 0;
}
