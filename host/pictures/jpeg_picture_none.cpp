// jpeg_picture_none.cpp: says what is missing where the library was built without its JPEG codec.
#include "host/pictures/jpeg_picture.h"

#include "host/system/failure.h"

namespace tonekit::host {

namespace {

[[noreturn]] void Refuse()
{
    throw Failure("this build has no JPEG codec");
}

} // namespace

bool IsJpeg(const std::vector<uint8_t> &file)
{
    return file.size() >= 2 && file[0] == 0xFF && file[1] == 0xD8;
}

PictureSize SizeOfJpeg(const std::vector<uint8_t> &)
{
    Refuse();
}

PixelImage DecodeJpeg(const std::vector<uint8_t> &, uint32_t)
{
    Refuse();
}

std::vector<uint8_t> EncodeJpeg(const PixelImage &, int)
{
    Refuse();
}

} // namespace tonekit::host
