// jpeg_hooks_fuzz.cpp: the codec over hooks that give and take what they like: few bytes, none, more than
// there is room for, exceptions, and no hooks at all. All bodies must see the same; nothing may crash.
#include "fuzz/input_bytes.h"
#include "tests/support/codec_driver.h"

#include <algorithm>
#include <stdexcept>
#include <tonekit/image.h>

namespace tonekit::codec {
namespace {

using fuzz::InputBytes;

constexpr uint64_t kMostSamples = 1 << 14;

struct HookFailure {};

// Both directions of one stream. Each call takes its behaviour from the script.
struct Stream {
    InputBytes script;
    InputBytes file;
    Bytes written;

    size_t Read(void *buffer, size_t count)
    {
        const uint8_t how = script.Byte();
        if (how == 0xFF)
            throw HookFailure();
        if (how == 0xFE)
            return 0;
        const size_t wanted = how == 0xFD ? count : 1 + how;
        const size_t given = std::min({wanted, count, file.Size()});
        for (size_t i = 0; i < given; ++i)
            static_cast<uint8_t *>(buffer)[i] = file.Byte();
        // A count above the one asked for is taken as that one.
        return how == 0xFC && given == count ? SIZE_MAX : given;
    }

    size_t Write(const void *buffer, size_t count)
    {
        const uint8_t how = script.Byte();
        if (how == 0xFF)
            throw HookFailure();
        const auto *bytes = static_cast<const uint8_t *>(buffer);
        written.insert(written.end(), bytes, bytes + count);
        return how == 0xFE ? count - 1 : count;
    }
};

size_t ReadHook(void *buffer, size_t, size_t count, void *stream)
{
    return static_cast<Stream *>(stream)->Read(buffer, count);
}

size_t WriteHook(const void *buffer, size_t, size_t count, void *stream)
{
    return static_cast<Stream *>(stream)->Write(buffer, count);
}

struct Outcome {
    Bytes decoded;
    Bytes encoded;
    std::vector<int> warnings;
    int error = 0;
    bool operator==(const Outcome &) const = default;
};

void DecodeFirst(const Codec &codec, Stream &stream, Outcome &outcome, Image &image)
{
    Decompressor object(codec);
    try {
        CODEC(codec, jpeg_stdio_src)(&object, reinterpret_cast<FILE *>(&stream));
        CODEC(codec, jpeg_read_header)(&object, TRUE);
        if (uint64_t{object.image_width} * object.image_height <= kMostSamples) {
            CODEC(codec, jpeg_start_decompress)(&object);
            image = {object.output_width, object.output_height, object.output_components, {}};
            Bytes row(image.RowBytes());
            while (object.output_scanline < object.output_height) {
                JSAMPROW rows = row.data();
                CODEC(codec, jpeg_read_scanlines)(&object, &rows, 1);
                image.samples.insert(image.samples.end(), row.begin(), row.end());
            }
            CODEC(codec, jpeg_finish_decompress)(&object);
        }
    } catch (const Failure &failure) {
        outcome.error = failure.code;
    } catch (const HookFailure &) {
        outcome.error = -1;
    }
    outcome.decoded = image.samples;
    outcome.warnings = object.errors.warnings;
}

void EncodeAgain(const Codec &codec, Stream &stream, Outcome &outcome, const Image &image)
{
    Compressor object(codec);
    try {
        CODEC(codec, jpeg_stdio_dest)(&object, reinterpret_cast<FILE *>(&stream));
        Encoding encoding;
        encoding.space = image.components == 1 ? JCS_GRAYSCALE : JCS_RGB;
        Configure(object, image, encoding);
        CODEC(codec, jpeg_start_compress)(&object, TRUE);
        WriteRows(object, image);
        CODEC(codec, jpeg_finish_compress)(&object);
    } catch (const Failure &failure) {
        outcome.error = failure.code;
    } catch (const HookFailure &) {
        outcome.error = -2;
    }
    outcome.encoded = stream.written;
}

Outcome RunWith(const Codec &codec, Stream stream)
{
    Outcome outcome;
    Image image;
    DecodeFirst(codec, stream, outcome, image);
    const bool whole = image.samples.size() == image.RowBytes() * image.height;
    if (outcome.error == 0 && whole && !image.samples.empty() &&
        (image.components == 1 || image.components == 3))
        EncodeAgain(codec, stream, outcome, image);
    return outcome;
}

} // namespace
} // namespace tonekit::codec

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace tonekit::codec;
    static const std::vector<Codec> bodies = AllBodies();
    tonekit::fuzz::InputBytes input(data, size);
    const uint8_t hooks = input.Byte();
    JPEG_Init((hooks & 7) == 7 ? nullptr : ReadHook, (hooks & 56) == 56 ? nullptr : WriteHook);
    const size_t scriptSize = std::min<size_t>(input.Byte(), input.Size());
    const std::vector<uint8_t> script = input.Take(scriptSize);
    const Stream stream{{script.data(), script.size()}, {input.Rest(), input.Size()}, {}};
    const Outcome expected = RunWith(bodies[0], stream);
    for (size_t i = 1; i < bodies.size(); ++i)
        tonekit::fuzz::Require(RunWith(bodies[i], stream) == expected);
    return 0;
}
