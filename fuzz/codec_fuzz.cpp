// codec_fuzz.cpp: decodes whatever it gets, by read hook and in memory, and transforms it without loss. All
// bodies must agree on samples, warnings and errors; nothing may crash, read too far or take memory without
// end.
#include "tests/support/codec_driver.h"

#include <algorithm>
#include <cstdlib>
#include <tonekit/image.h>
#include <tonekit/codec/transupp.h>

namespace tonekit::codec {
namespace {

constexpr uint64_t kMostSamples = 1 << 20;

struct Input {
    const uint8_t *data;
    size_t size;
};

size_t Read(void *buffer, size_t, size_t count, void *stream)
{
    auto *input = static_cast<Input *>(stream);
    const size_t given = std::min({count, input->size, size_t{1000}});
    std::copy_n(input->data, given, static_cast<uint8_t *>(buffer));
    input->data += given;
    input->size -= given;
    return given;
}

// What decoding comes to: samples, warnings, the code of an error.
struct Outcome {
    Bytes samples;
    std::vector<int> warnings;
    int error = 0;
    bool operator==(const Outcome &) const = default;
};

// Whether the header promises an image of a size that a fuzzer has time for.
bool Small(const jpeg_decompress_struct &object)
{
    return uint64_t{object.image_width} * object.image_height *
               static_cast<uint64_t>(object.num_components) <=
           kMostSamples;
}

Outcome DecodeWith(const Codec &codec, Input input)
{
    Outcome outcome;
    Decompressor object(codec);
    try {
        CODEC(codec, jpeg_stdio_src)(&object, reinterpret_cast<FILE *>(&input));
        CODEC(codec, jpeg_read_header)(&object, TRUE);
        if (!Small(object))
            return outcome;
        CODEC(codec, jpeg_start_decompress)(&object);
        Bytes row(size_t{object.output_width} * static_cast<size_t>(object.output_components));
        while (object.output_scanline < object.output_height) {
            JSAMPROW rows = row.data();
            CODEC(codec, jpeg_read_scanlines)(&object, &rows, 1);
            outcome.samples.insert(outcome.samples.end(), row.begin(), row.end());
        }
        CODEC(codec, jpeg_finish_decompress)(&object);
    } catch (const Failure &failure) {
        outcome.error = failure.code;
    }
    outcome.warnings = object.errors.warnings;
    return outcome;
}

Bytes TurnWith(const Codec &codec, Input input)
{
    Bytes turned;
    unsigned char *data = nullptr;
    unsigned long size = 0;
    try {
        Decompressor from(codec);
        CODEC(codec, jpeg_mem_src)(&from, input.data, input.size);
        CODEC(codec, jcopy_markers_setup)(&from, JCOPYOPT_ALL);
        CODEC(codec, jpeg_read_header)(&from, TRUE);
        if (!Small(from))
            return turned;
        jpeg_transform_info info{};
        info.transform = JXFORM_ROT_90;
        info.trim = TRUE;
        if (!CODEC(codec, jtransform_request_workspace)(&from, &info))
            return turned;
        jvirt_barray_ptr *coefficients = CODEC(codec, jpeg_read_coefficients)(&from);
        Compressor to(codec);
        // Without the search for the best scans, whose buffers the codec forgets when an error ends it.
        CODEC(codec, jpeg_c_set_int_param)(&to, JINT_COMPRESS_PROFILE, JCP_FASTEST);
        CODEC(codec, jpeg_mem_dest)(&to, &data, &size);
        CODEC(codec, jpeg_copy_critical_parameters)(&from, &to);
        jvirt_barray_ptr *moved = CODEC(codec, jtransform_adjust_parameters)(&from, &to, coefficients, &info);
        CODEC(codec, jpeg_write_coefficients)(&to, moved);
        CODEC(codec, jcopy_markers_execute)(&from, &to, JCOPYOPT_ALL);
        CODEC(codec, jtransform_execute_transform)(&from, &to, coefficients, &info);
        CODEC(codec, jpeg_finish_compress)(&to);
        turned.assign(data, data + size);
    } catch (const Failure &) {
        // A file with errors need not be turned.
    }
    std::free(data);
    return turned;
}

} // namespace
} // namespace tonekit::codec

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace tonekit::codec;
    static const std::vector<Codec> bodies = AllBodies();
    JPEG_Init(Read, nullptr);
    const Outcome expected = DecodeWith(bodies[0], {data, size});
    const Bytes turned = TurnWith(bodies[0], {data, size});
    for (const Codec &codec : bodies)
        if (DecodeWith(codec, {data, size}) != expected || TurnWith(codec, {data, size}) != turned)
            std::abort();
    return 0;
}
