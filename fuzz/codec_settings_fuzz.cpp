// codec_settings_fuzz.cpp: decodes and transforms with settings that the input chooses: scale, crop, skipped
// lines, colours, palettes, buffered images, sources in memory, through the read hook and suspended. All
// bodies must agree; nothing may crash or read too far.
//
// The first bytes are the settings; the file follows.
#include "fuzz/input_bytes.h"
#include "tests/support/codec_driver.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <tonekit/image.h>
#include <tonekit/codec/transupp.h>

namespace tonekit::codec {
namespace {

using fuzz::InputBytes;

constexpr uint64_t kMostSamples = 1 << 16;
constexpr int kMostPasses = 4;

struct Settings {
    explicit Settings(InputBytes &input)
        : source(input.Below(3)), scaleNum(1 + input.Below(16)),
          scaleDenom(input.Flag() ? 8 : 1 + input.Below(16)),
          method(static_cast<J_DCT_METHOD>(input.Below(3))), fancy(input.Flag()), smoothing(input.Flag()),
          buffered(input.Below(4) == 0), quantize(input.Below(4) == 0), twoPass(input.Flag()),
          dither(static_cast<J_DITHER_MODE>(input.Below(3))), colours(2 + input.Byte()),
          space(input.OneOf({JCS_UNKNOWN, JCS_GRAYSCALE, JCS_RGB, JCS_YCbCr, JCS_CMYK, JCS_EXT_BGRX,
                             JCS_EXT_XRGB, JCS_RGB565})),
          crop(input.Flag()), cropOffset(input.Byte()), cropWidth(1 + input.Byte()),
          skip(input.Below(4) == 0), skipAt(input.Byte()), skipLines(input.Byte()), chunk(1 + input.Byte()),
          lines(1 + input.Below(5)), transform(static_cast<JXFORM_CODE>(input.Below(8))),
          transformFlags(input.Byte())
    {}

    uint32_t source; // in memory, through the hook, suspended
    unsigned scaleNum, scaleDenom;
    J_DCT_METHOD method;
    bool fancy, smoothing, buffered, quantize, twoPass;
    J_DITHER_MODE dither;
    int colours;
    J_COLOR_SPACE space;
    bool crop;
    JDIMENSION cropOffset, cropWidth;
    bool skip;
    JDIMENSION skipAt, skipLines;
    size_t chunk;
    JDIMENSION lines; // asked for at once
    JXFORM_CODE transform;
    uint8_t transformFlags;
};

// The file as a source that returns a few bytes at a time and says that there are no more for now.
struct SuspendedSource : jpeg_source_mgr {
    SuspendedSource(const uint8_t *file, size_t size) : jpeg_source_mgr{}, rest(size)
    {
        next_input_byte = file;
        init_source = [](j_decompress_ptr) {};
        fill_input_buffer = [](j_decompress_ptr object) -> boolean {
            auto &source = *static_cast<SuspendedSource *>(object->src);
            if (source.rest > 0)
                return FALSE;
            static const JOCTET end[] = {0xFF, JPEG_EOI};
            source.next_input_byte = end;
            source.bytes_in_buffer = 2;
            return TRUE;
        };
        skip_input_data = [](j_decompress_ptr object, long count) {
            auto &source = *static_cast<SuspendedSource *>(object->src);
            const size_t now = std::min(static_cast<size_t>(std::max(count, 0L)), source.bytes_in_buffer);
            source.next_input_byte += now;
            source.bytes_in_buffer -= now;
            source.toSkip += static_cast<size_t>(std::max(count, 0L)) - now;
        };
        resync_to_restart = nullptr;
        term_source = [](j_decompress_ptr) {};
    }

    // Lets the codec see some more. False if it has seen all.
    bool Feed(size_t count)
    {
        if (rest == 0)
            return false;
        const size_t skipped = std::min(toSkip, rest);
        if (bytes_in_buffer == 0 && skipped > 0) {
            next_input_byte += skipped;
            rest -= skipped;
            toSkip -= skipped;
        }
        count = std::min(count, rest);
        bytes_in_buffer += count;
        rest -= count;
        return true;
    }

    size_t rest;
    size_t toSkip = 0;
};

struct HookInput {
    const uint8_t *data;
    size_t size;
};

size_t ReadHook(void *buffer, size_t, size_t count, void *stream)
{
    auto *input = static_cast<HookInput *>(stream);
    const size_t given = std::min({count, input->size, size_t{700}});
    std::copy_n(input->data, given, static_cast<uint8_t *>(buffer));
    input->data += given;
    input->size -= given;
    return given;
}

struct Outcome {
    Bytes samples;
    std::vector<int> warnings;
    int error = 0;
    bool operator==(const Outcome &) const = default;
};

class DecodingRun {
public:
    DecodingRun(const Codec &codec, const Settings &settings, const uint8_t *file, size_t size)
        : codec_(codec), s_(settings), file_(file), size_(size), object_(codec), hook_{file, size},
          suspended_(file, size)
    {}

    Outcome Run()
    {
        try {
            Decode();
        } catch (const Failure &failure) {
            outcome_.error = failure.code;
        }
        outcome_.warnings = object_.errors.warnings;
        return outcome_;
    }

private:
    void SetSource()
    {
        if (s_.source == 0)
            CODEC(codec_, jpeg_mem_src)(&object_, file_, size_);
        else if (s_.source == 1)
            CODEC(codec_, jpeg_stdio_src)(&object_, reinterpret_cast<FILE *>(&hook_));
        else
            UseSuspendedSource();
    }

    void UseSuspendedSource()
    {
        suspended_.resync_to_restart = &CODEC(codec_, jpeg_resync_to_restart);
        object_.src = &suspended_;
    }

    // Calls until it doesn't want more of the file, or there is no more.
    template <class Step>
    bool Repeat(Step step)
    {
        while (!step())
            if (s_.source != 2 || !suspended_.Feed(s_.chunk))
                return step();
        return true;
    }

    bool Small() const
    {
        const uint64_t samples = uint64_t{object_.image_width} * object_.image_height *
                                 static_cast<uint64_t>(object_.num_components);
        return samples <= kMostSamples;
    }

    void Decode()
    {
        SetSource();
        if (!Repeat([&] { return CODEC(codec_, jpeg_read_header)(&object_, TRUE) != JPEG_SUSPENDED; }) ||
            !Small())
            return;
        Configure();
        if (uint64_t{object_.image_width} * s_.scaleNum / s_.scaleDenom * object_.image_height * s_.scaleNum /
                s_.scaleDenom >
            kMostSamples)
            return;
        if (!Repeat([&] { return CODEC(codec_, jpeg_start_decompress)(&object_) != FALSE; }))
            return;
        if (object_.buffered_image)
            ReadPasses();
        else
            ReadLines();
        Repeat([&] { return CODEC(codec_, jpeg_finish_decompress)(&object_) != FALSE; });
    }

    void Configure()
    {
        object_.scale_num = s_.scaleNum;
        object_.scale_denom = s_.scaleDenom;
        object_.dct_method = s_.method;
        object_.do_fancy_upsampling = s_.fancy;
        object_.do_block_smoothing = s_.smoothing;
        object_.buffered_image = s_.buffered;
        if (s_.space != JCS_UNKNOWN)
            object_.out_color_space = s_.space;
        object_.quantize_colors = s_.quantize;
        object_.two_pass_quantize = s_.twoPass;
        object_.dither_mode = s_.dither;
        object_.desired_number_of_colors = s_.colours;
        object_.enable_1pass_quant = object_.enable_2pass_quant = s_.quantize && s_.buffered;
    }

    void ReadPasses()
    {
        for (int pass = 0; pass < kMostPasses && !CODEC(codec_, jpeg_input_complete)(&object_); ++pass) {
            for (uint32_t i = 0; i < 20; ++i)
                if (CODEC(codec_, jpeg_consume_input)(&object_) == JPEG_SUSPENDED)
                    suspended_.Feed(s_.chunk);
            if (!Repeat([&] {
                    return CODEC(codec_, jpeg_start_output)(&object_, object_.input_scan_number) != FALSE;
                }))
                return;
            ReadLines();
            if (!Repeat([&] { return CODEC(codec_, jpeg_finish_output)(&object_) != FALSE; }))
                return;
        }
    }

    void Crop()
    {
        JDIMENSION offset = s_.cropOffset % object_.output_width;
        JDIMENSION width = 1 + (s_.cropWidth - 1) % (object_.output_width - offset);
        CODEC(codec_, jpeg_crop_scanline)(&object_, &offset, &width);
    }

    void ReadLines()
    {
        if (s_.crop && s_.source != 2 && !object_.buffered_image)
            Crop();
        const size_t sampleBytes = object_.out_color_space == JCS_RGB565 && !object_.quantize_colors ? 2 : 1;
        const size_t rowBytes =
            size_t{object_.output_width} * static_cast<size_t>(object_.output_components) * sampleBytes;
        Bytes rows(rowBytes * s_.lines);
        JSAMPROW pointers[5];
        for (JDIMENSION i = 0; i < s_.lines; ++i)
            pointers[i] = rows.data() + i * rowBytes;
        bool skipped = !s_.skip || s_.source == 2;
        while (object_.output_scanline < object_.output_height) {
            if (!skipped && object_.output_scanline >= s_.skipAt) {
                CODEC(codec_, jpeg_skip_scanlines)(&object_, s_.skipLines);
                skipped = true;
                continue;
            }
            JDIMENSION got = 0;
            Repeat([&] {
                got = CODEC(codec_, jpeg_read_scanlines)(&object_, pointers, s_.lines);
                return got > 0;
            });
            if (got == 0)
                return;
            outcome_.samples.insert(outcome_.samples.end(), rows.begin(),
                                    rows.begin() + static_cast<ptrdiff_t>(got * rowBytes));
        }
    }

    const Codec &codec_;
    const Settings &s_;
    const uint8_t *file_;
    size_t size_;
    Decompressor object_;
    HookInput hook_;
    SuspendedSource suspended_;
    Outcome outcome_;
};

// The new file, or nothing if the transform is refused or fails.
Bytes Transform(const Codec &codec, const Settings &s, const uint8_t *file, size_t size)
{
    Bytes turned;
    unsigned char *data = nullptr;
    unsigned long length = 0;
    try {
        Decompressor from(codec);
        CODEC(codec, jpeg_mem_src)(&from, file, size);
        CODEC(codec, jcopy_markers_setup)(&from, JCOPYOPT_ALL);
        CODEC(codec, jpeg_read_header)(&from, TRUE);
        if (uint64_t{from.image_width} * from.image_height > kMostSamples)
            return turned;
        jpeg_transform_info info{};
        info.transform = s.transform;
        info.perfect = (s.transformFlags & 1) != 0;
        info.trim = (s.transformFlags & 2) != 0;
        info.force_grayscale = (s.transformFlags & 4) != 0;
        info.crop = (s.transformFlags & 8) != 0;
        if (info.crop) {
            info.crop_xoffset = s.cropOffset;
            info.crop_xoffset_set = JCROP_POS;
            info.crop_yoffset = s.skipAt;
            info.crop_yoffset_set = JCROP_POS;
            info.crop_width = s.cropWidth;
            info.crop_width_set = JCROP_POS;
            info.crop_height = s.skipLines + 1;
            info.crop_height_set = JCROP_POS;
        }
        if (!CODEC(codec, jtransform_request_workspace)(&from, &info))
            return turned;
        jvirt_barray_ptr *coefficients = CODEC(codec, jpeg_read_coefficients)(&from);
        Compressor to(codec);
        CODEC(codec, jpeg_c_set_int_param)(&to, JINT_COMPRESS_PROFILE, JCP_FASTEST);
        CODEC(codec, jpeg_mem_dest)(&to, &data, &length);
        CODEC(codec, jpeg_copy_critical_parameters)(&from, &to);
        jvirt_barray_ptr *moved = CODEC(codec, jtransform_adjust_parameters)(&from, &to, coefficients, &info);
        to.optimize_coding = (s.transformFlags & 16) != 0;
        to.arith_code = (s.transformFlags & 32) != 0;
        if ((s.transformFlags & 64) != 0)
            CODEC(codec, jpeg_simple_progression)(&to);
        CODEC(codec, jpeg_write_coefficients)(&to, moved);
        CODEC(codec, jcopy_markers_execute)(&from, &to, JCOPYOPT_ALL);
        CODEC(codec, jtransform_execute_transform)(&from, &to, coefficients, &info);
        CODEC(codec, jpeg_finish_compress)(&to);
        turned.assign(data, data + length);
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
    JPEG_Init(ReadHook, nullptr);
    tonekit::fuzz::InputBytes input(data, size);
    const Settings settings(input);
    const uint8_t *file = input.Rest();
    const size_t fileSize = input.Size();
    const Outcome expected = DecodingRun(bodies[0], settings, file, fileSize).Run();
    const Bytes turned = Transform(bodies[0], settings, file, fileSize);
    for (size_t i = 1; i < bodies.size(); ++i) {
        tonekit::fuzz::Require(DecodingRun(bodies[i], settings, file, fileSize).Run() == expected);
        tonekit::fuzz::Require(Transform(bodies[i], settings, file, fileSize) == turned);
    }
    return 0;
}
