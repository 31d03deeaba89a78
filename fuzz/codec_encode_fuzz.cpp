// codec_encode_fuzz.cpp: encodes small pictures with settings that the input chooses, and decodes them again.
// All bodies must write the same file; nothing may crash, and what is written has the size of the picture.
#include "fuzz/input_bytes.h"
#include "tests/support/codec_driver.h"

#include <algorithm>

namespace tonekit::codec {
namespace {

using fuzz::InputBytes;

Encoding TakeEncoding(InputBytes &input)
{
    Encoding encoding;
    encoding.quality = 1 + static_cast<int>(input.Below(100));
    encoding.profile = input.Flag() ? JCP_MAX_COMPRESSION : JCP_FASTEST;
    encoding.horizontal = 1 + static_cast<int>(input.Below(4));
    encoding.vertical = 1 + static_cast<int>(input.Below(4));
    const uint8_t flags = input.Byte();
    encoding.progressive = (flags & 1) != 0;
    encoding.arithmetic = (flags & 2) != 0;
    encoding.optimize = (flags & 4) != 0;
    encoding.scans = (flags & 8) != 0;
    encoding.trellisDc = (flags & 16) != 0;
    encoding.trellisQuantization = (flags & 32) != 0;
    encoding.transform = static_cast<J_DCT_METHOD>(input.Below(3));
    encoding.smoothing = static_cast<int>(input.Below(101));
    encoding.restartRows = static_cast<int>(input.Below(4));
    return encoding;
}

Image TakeImage(InputBytes &input)
{
    Image image;
    image.width = 1 + input.Below(70);
    image.height = 1 + input.Below(70);
    image.components = input.Below(4) == 0 ? 1 : 3;
    const uint8_t kind = input.Byte();
    uint32_t noise = input.Word();
    for (size_t i = 0; i < image.RowBytes() * image.height; ++i) {
        noise = noise * 1664525 + 1013904223;
        const uint8_t drawn = static_cast<uint8_t>(noise >> 24);
        image.samples.push_back(!input.Empty()    ? input.Byte()
                                : (kind & 1) != 0 ? drawn
                                                  : static_cast<uint8_t>(i * kind >> 3));
    }
    return image;
}

struct Outcome {
    Bytes file;
    int error = 0;
    bool operator==(const Outcome &) const = default;
};

Outcome EncodeWith(const Codec &codec, const Image &image, const Encoding &encoding)
{
    Outcome outcome;
    Compressor compressor(codec);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    try {
        CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
        Configure(compressor, image, encoding);
        CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
        WriteRows(compressor, image);
        CODEC(codec, jpeg_finish_compress)(&compressor);
        outcome.file.assign(data, data + size);
    } catch (const Failure &failure) {
        outcome.error = failure.code;
    }
    std::free(data);
    return outcome;
}

} // namespace
} // namespace tonekit::codec

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace tonekit::codec;
    static const std::vector<Codec> bodies = AllBodies();
    tonekit::fuzz::InputBytes input(data, size);
    Encoding encoding = TakeEncoding(input);
    Image image = TakeImage(input);
    encoding.space = image.components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    const Outcome expected = EncodeWith(bodies[0], image, encoding);
    for (size_t i = 1; i < bodies.size(); ++i)
        tonekit::fuzz::Require(EncodeWith(bodies[i], image, encoding) == expected);
    if (expected.error == 0) {
        const Image decoded = Decode(bodies[0], expected.file);
        tonekit::fuzz::Require(decoded.width == image.width && decoded.height == image.height &&
                               decoded.components == image.components);
    }
    return 0;
}
