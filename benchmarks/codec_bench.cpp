// codec_bench.cpp: each body of the JPEG codec compared with the same sources built plainly with -O2, on a
// photograph.
#include "benchmarks/ratio.h"
#include "tests/support/codec_driver.h"

#include <memory>

namespace tonekit {
namespace {

using namespace codec;

// The photograph, repeated over 2048 by 1536 pixels.
Image Photograph()
{
    const Image tile = Decode(PlainCodec(), PhotographFile(), {.space = JCS_RGB});
    Image image{2048, 1536, 3, {}};
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t x = 0; x < image.width; ++x) {
            const uint8_t *pixel = &tile.samples[(y % tile.height * tile.width + x % tile.width) * 3];
            image.samples.insert(image.samples.end(), pixel, pixel + 3);
        }
    return image;
}

} // namespace
} // namespace tonekit

int main(int argc, char **argv)
{
    using namespace tonekit;
    const Image image = Photograph();
    const Codec plain = PlainCodec();
    const struct {
        const char *name;
        double limit;
        Encoding encoding;
    } encodings[] = {
        {"baseline", 1.5, {.quality = 90}},
        {"progressive", 1.15, {.quality = 90, .progressive = true}},
        {"trellis", 1.3, {.quality = 90, .profile = JCP_MAX_COMPRESSION, .trellisDc = true}},
        {"arithmetic", 0, {.quality = 90, .arithmetic = true}},
    };
    RatioTable table("JPEG codec, 2048 by 1536 at quality 90; limits are for the best body");
    const std::vector<Codec> bodies = AllBodies();
    for (const Codec &body : bodies) {
        const bool best = &body == &bodies.back();
        for (const auto &[name, limit, encoding] : encodings) {
            const Bytes file = Encode(plain, image, encoding);
            table.Add(
                body.Label() + ", encode " + name, best ? limit : 0.0,
                [&, encoding = encoding] { Encode(body, image, encoding); },
                [&, encoding = encoding] { Encode(plain, image, encoding); });
            table.Add(
                body.Label() + ", decode " + name, 1.0, [&, file] { Decode(body, file); },
                [&, file] { Decode(plain, file); });
        }
    }
    return table.Run(argc, argv);
}
