// image_codec_cases.cpp: the JPEG codec: its arithmetic called directly, and all the rest through whole
// encodings, decodings and lossless transformations that are made to take every path.
#include "tests/support/codec_driver.h"
#include "tests/tiers/codec_of.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tonekit/image.h>
#include <tonekit/codec/transupp.h>

namespace tonekit::tiers {

using namespace codec;

namespace {

// Internal functions of the codec, which its public headers don't declare.
using MemoryDestination = void(j_compress_ptr, unsigned char **, unsigned long *, int);
using ForwardTransform = void(int *);
using ForwardFloatTransform = void(float *);
using InverseTransform = void(j_decompress_ptr, jpeg_component_info *, JCOEFPTR, JSAMPARRAY, JDIMENSION);

void AddImage(Record &record, const Image &image)
{
    record.AddValue(image.width);
    record.AddValue(image.height);
    record.Add(image.samples.data(), image.samples.size());
}

// A coefficient as files bring it: mostly small, now and then anything.
JCOEF RandomCoefficient(Random &random)
{
    if (random.Below(16) == 0)
        return static_cast<JCOEF>(random.Next());
    return static_cast<JCOEF>(random.Below(4) ? 0 : static_cast<int>(random.Below(401)) - 200);
}

} // namespace

static void ExerciseForwardTransforms(const Bodies &bodies, Random &random, Record &record)
{
    for (int round = 0; round < bodies.Rounds(200); ++round) {
        GuardedBuffer integers(64 * sizeof(int));
        GuardedBuffer floats(64 * sizeof(float));
        for (const char *name : {"jpeg_fdct_islow", "jpeg_fdct_ifast"}) {
            for (int i = 0; i < 64; ++i)
                integers.As<int>()[i] =
                    static_cast<int>(random.Below(round % 2 ? 256 : 2) * (round % 2 ? 1 : 255)) - 128;
            bodies.Get<ForwardTransform>(name)(integers.As<int>());
            record.Guards(integers);
        }
        for (int i = 0; i < 64; ++i)
            floats.As<float>()[i] = static_cast<float>(256.0 * random.Uniform() - 128.0);
        bodies.Get<ForwardFloatTransform>("jpeg_fdct_float")(floats.As<float>());
        record.Guards(floats);
    }
}
TONEKIT_TIER_CASE(ExerciseForwardTransforms, "jpeg_fdct_float", "jpeg_fdct_ifast", "jpeg_fdct_islow");

static void ExerciseInverseTransforms(const Bodies &bodies, Random &random, Record &record)
{
    const struct {
        const char *name;
        int size;
    } transforms[] = {
        {"jpeg_idct_1x1", 1},    {"jpeg_idct_2x2", 2},    {"jpeg_idct_3x3", 3},    {"jpeg_idct_4x4", 4},
        {"jpeg_idct_5x5", 5},    {"jpeg_idct_6x6", 6},    {"jpeg_idct_7x7", 7},    {"jpeg_idct_9x9", 9},
        {"jpeg_idct_10x10", 10}, {"jpeg_idct_11x11", 11}, {"jpeg_idct_12x12", 12}, {"jpeg_idct_13x13", 13},
        {"jpeg_idct_14x14", 14}, {"jpeg_idct_15x15", 15}, {"jpeg_idct_16x16", 16}, {"jpeg_idct_islow", 8},
        {"jpeg_idct_ifast", 8},  {"jpeg_idct_float", 8},
    };
    // A decompressor that has started holds the table of clamped samples.
    const Codec codec = CodecOf(bodies);
    const Bytes file =
        Encode(codec, TestImage(1, 8, 8, 1), {.space = JCS_GRAYSCALE, .horizontal = 1, .vertical = 1});
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    CODEC(codec, jpeg_start_decompress)(&decompressor);
    for (const auto &[name, size] : transforms)
        for (int round = 0; round < bodies.Rounds(60); ++round) {
            alignas(64) JCOEF block[64];
            int integers[64];
            float floats[64];
            for (int i = 0; i < 64; ++i) {
                block[i] = RandomCoefficient(random);
                integers[i] = static_cast<int>(1 + random.Below(255));
                floats[i] = static_cast<float>(integers[i]) / 8.0f;
            }
            jpeg_component_info component{};
            component.dct_table =
                std::strcmp(name, "jpeg_idct_float") == 0 ? static_cast<void *>(floats) : integers;
            GuardedBuffer output(static_cast<size_t>(size) * static_cast<size_t>(size), random.Below(8));
            JSAMPROW rows[16];
            for (int row = 0; row < size; ++row)
                rows[row] = output.data() + row * size;
            bodies.Get<InverseTransform>(name)(&decompressor, &component, block, rows, 0);
            record.Guards(output);
        }
}
TONEKIT_TIER_CASE(ExerciseInverseTransforms, "jpeg_idct_10x10", "jpeg_idct_11x11", "jpeg_idct_12x12",
                  "jpeg_idct_13x13", "jpeg_idct_14x14", "jpeg_idct_15x15", "jpeg_idct_16x16", "jpeg_idct_1x1",
                  "jpeg_idct_2x2", "jpeg_idct_3x3", "jpeg_idct_4x4", "jpeg_idct_5x5", "jpeg_idct_6x6",
                  "jpeg_idct_7x7", "jpeg_idct_9x9", "jpeg_idct_float", "jpeg_idct_ifast", "jpeg_idct_islow");

static void ExerciseCodecUtilities(const Bodies &bodies, Random &random, Record &record)
{
    const Codec codec = CodecOf(bodies);
    for (int round = 0; round < bodies.Rounds(100); ++round) {
        const long value = random.Below(1000000), unit = 1 + random.Below(1000);
        record.AddNumber(bodies.Get<long(long, long)>("jdiv_round_up")(value, unit));
        record.AddNumber(bodies.Get<long(long, long)>("jround_up")(value, unit));
        record.AddValue(CODEC(codec, jpeg_quality_scaling)(round - 2));
        record.AddValue(
            CODEC(codec, jpeg_float_quality_scaling)(static_cast<float>(100.0 * random.Uniform())));
    }
    GuardedBuffer zeroed(333, 5);
    bodies.Get<void(void *, size_t)>("jzero_far")(zeroed.data() + 1, 300);
    record.Guards(zeroed);
    uint8_t from[3][40];
    random.Fill(from, sizeof(from));
    GuardedBuffer to(3 * 40);
    JSAMPROW source[] = {from[0], from[1], from[2]};
    JSAMPROW target[] = {to.data(), to.data() + 40, to.data() + 80};
    bodies.Get<void(JSAMPARRAY, int, JSAMPARRAY, int, int, JDIMENSION)>("jcopy_sample_rows")(
        source, 1, target, 0, 2, 37);
    record.Guards(to);
    JBLOCK blocks[4];
    random.Fill(blocks, sizeof(blocks));
    GuardedBuffer copied(sizeof(blocks));
    bodies.Get<void(JBLOCKROW, JBLOCKROW, JDIMENSION)>("jcopy_block_row")(blocks, copied.As<JBLOCK>(), 3);
    record.Guards(copied);

    Compressor object(codec);
    auto *common = reinterpret_cast<j_common_ptr>(&object);
    record.AddNumber(bodies.Get<long(j_common_ptr)>("jpeg_mem_init")(common));
    for (const long limit : {0l, 1000l, 70000l}) {
        object.mem->max_memory_to_use = limit;
        record.AddValue(bodies.Get<size_t(j_common_ptr, size_t, size_t, size_t)>("jpeg_mem_available")(
            common, 10, 100000, 2000));
    }
    object.mem->max_memory_to_use = 0;
    for (const char *size : {"small", "large"}) {
        void *block =
            bodies.Get<void *(j_common_ptr, size_t)>((std::string("jpeg_get_") + size).c_str())(common, 100);
        std::memset(block, 1, 100);
        bodies.Get<void(j_common_ptr, void *, size_t)>((std::string("jpeg_free_") + size).c_str())(
            common, block, 100);
    }
    try {
        bodies.Get<void(j_common_ptr, void *, long)>("jpeg_open_backing_store")(common, nullptr, 1);
    } catch (const Failure &failure) {
        record.AddValue(failure.code);
    }
    bodies.Get<void(j_common_ptr)>("jpeg_mem_term")(common);
}
TONEKIT_TIER_CASE(ExerciseCodecUtilities, "jcopy_block_row", "jcopy_sample_rows", "jdiv_round_up",
                  "jpeg_float_quality_scaling", "jpeg_free_large", "jpeg_free_small", "jpeg_get_large",
                  "jpeg_get_small", "jpeg_mem_available", "jpeg_mem_init", "jpeg_mem_term",
                  "jpeg_open_backing_store", "jpeg_quality_scaling", "jround_up", "jzero_far");

static const char *const kVectorKernels[] = {"jsimd_c_can_null_convert",
                                             "jsimd_c_null_convert",
                                             "jsimd_can_convsamp",
                                             "jsimd_can_convsamp_float",
                                             "jsimd_can_encode_mcu_AC_first_prepare",
                                             "jsimd_can_encode_mcu_AC_refine_prepare",
                                             "jsimd_can_fdct_float",
                                             "jsimd_can_fdct_ifast",
                                             "jsimd_can_fdct_islow",
                                             "jsimd_can_h1v2_fancy_upsample",
                                             "jsimd_can_h2v1_downsample",
                                             "jsimd_can_h2v1_fancy_upsample",
                                             "jsimd_can_h2v1_merged_upsample",
                                             "jsimd_can_h2v1_upsample",
                                             "jsimd_can_h2v2_downsample",
                                             "jsimd_can_h2v2_fancy_upsample",
                                             "jsimd_can_h2v2_merged_upsample",
                                             "jsimd_can_h2v2_smooth_downsample",
                                             "jsimd_can_h2v2_upsample",
                                             "jsimd_can_huff_encode_one_block",
                                             "jsimd_can_idct_12x12",
                                             "jsimd_can_idct_2x2",
                                             "jsimd_can_idct_4x4",
                                             "jsimd_can_idct_6x6",
                                             "jsimd_can_idct_float",
                                             "jsimd_can_idct_ifast",
                                             "jsimd_can_idct_islow",
                                             "jsimd_can_int_upsample",
                                             "jsimd_can_quantize",
                                             "jsimd_can_quantize_float",
                                             "jsimd_can_rgb_gray",
                                             "jsimd_can_rgb_ycc",
                                             "jsimd_can_ycc_rgb",
                                             "jsimd_can_ycc_rgb565",
                                             "jsimd_convsamp",
                                             "jsimd_convsamp_float",
                                             "jsimd_encode_mcu_AC_first_prepare",
                                             "jsimd_encode_mcu_AC_refine_prepare",
                                             "jsimd_fdct_float",
                                             "jsimd_fdct_ifast",
                                             "jsimd_fdct_islow",
                                             "jsimd_h1v2_fancy_upsample",
                                             "jsimd_h2v1_downsample",
                                             "jsimd_h2v1_fancy_upsample",
                                             "jsimd_h2v1_merged_upsample",
                                             "jsimd_h2v1_upsample",
                                             "jsimd_h2v2_downsample",
                                             "jsimd_h2v2_fancy_upsample",
                                             "jsimd_h2v2_merged_upsample",
                                             "jsimd_h2v2_smooth_downsample",
                                             "jsimd_h2v2_upsample",
                                             "jsimd_huff_encode_one_block",
                                             "jsimd_idct_12x12",
                                             "jsimd_idct_2x2",
                                             "jsimd_idct_4x4",
                                             "jsimd_idct_6x6",
                                             "jsimd_idct_float",
                                             "jsimd_idct_ifast",
                                             "jsimd_idct_islow",
                                             "jsimd_int_upsample",
                                             "jsimd_quantize",
                                             "jsimd_quantize_float",
                                             "jsimd_rgb_gray_convert",
                                             "jsimd_rgb_ycc_convert",
                                             "jsimd_ycc_rgb565_convert",
                                             "jsimd_ycc_rgb_convert"};

static void ExerciseVectorKernelStubs(const Bodies &bodies, Random &, Record &record)
{
    for (const char *name : kVectorKernels) {
        const int result = bodies.Get<int()>(name)();
        if (std::strstr(name, "_can_"))
            record.AddValue(result);
    }
}
TONEKIT_TIER_CASE(ExerciseVectorKernelStubs, "jsimd_c_can_null_convert", "jsimd_c_null_convert",
                  "jsimd_can_convsamp", "jsimd_can_convsamp_float", "jsimd_can_encode_mcu_AC_first_prepare",
                  "jsimd_can_encode_mcu_AC_refine_prepare", "jsimd_can_fdct_float", "jsimd_can_fdct_ifast",
                  "jsimd_can_fdct_islow", "jsimd_can_h1v2_fancy_upsample", "jsimd_can_h2v1_downsample",
                  "jsimd_can_h2v1_fancy_upsample", "jsimd_can_h2v1_merged_upsample",
                  "jsimd_can_h2v1_upsample", "jsimd_can_h2v2_downsample", "jsimd_can_h2v2_fancy_upsample",
                  "jsimd_can_h2v2_merged_upsample", "jsimd_can_h2v2_smooth_downsample",
                  "jsimd_can_h2v2_upsample", "jsimd_can_huff_encode_one_block", "jsimd_can_idct_12x12",
                  "jsimd_can_idct_2x2", "jsimd_can_idct_4x4", "jsimd_can_idct_6x6", "jsimd_can_idct_float",
                  "jsimd_can_idct_ifast", "jsimd_can_idct_islow", "jsimd_can_int_upsample",
                  "jsimd_can_quantize", "jsimd_can_quantize_float", "jsimd_can_rgb_gray", "jsimd_can_rgb_ycc",
                  "jsimd_can_ycc_rgb", "jsimd_can_ycc_rgb565", "jsimd_convsamp", "jsimd_convsamp_float",
                  "jsimd_encode_mcu_AC_first_prepare", "jsimd_encode_mcu_AC_refine_prepare",
                  "jsimd_fdct_float", "jsimd_fdct_ifast", "jsimd_fdct_islow", "jsimd_h1v2_fancy_upsample",
                  "jsimd_h2v1_downsample", "jsimd_h2v1_fancy_upsample", "jsimd_h2v1_merged_upsample",
                  "jsimd_h2v1_upsample", "jsimd_h2v2_downsample", "jsimd_h2v2_fancy_upsample",
                  "jsimd_h2v2_merged_upsample", "jsimd_h2v2_smooth_downsample", "jsimd_h2v2_upsample",
                  "jsimd_huff_encode_one_block", "jsimd_idct_12x12", "jsimd_idct_2x2", "jsimd_idct_4x4",
                  "jsimd_idct_6x6", "jsimd_idct_float", "jsimd_idct_ifast", "jsimd_idct_islow",
                  "jsimd_int_upsample", "jsimd_quantize", "jsimd_quantize_float", "jsimd_rgb_gray_convert",
                  "jsimd_rgb_ycc_convert", "jsimd_ycc_rgb565_convert", "jsimd_ycc_rgb_convert");

namespace {

// The input and output of the hooks.
Bytes stream;
size_t read_so_far;

size_t ReadStream(void *buffer, size_t, size_t count, void *)
{
    const size_t left = std::min({count, stream.size() - read_so_far, size_t{100}});
    std::memcpy(buffer, stream.data() + read_so_far, left);
    read_so_far += left;
    return left;
}

size_t WriteStream(const void *buffer, size_t, size_t count, void *)
{
    const auto *bytes = static_cast<const uint8_t *>(buffer);
    stream.insert(stream.end(), bytes, bytes + count);
    return count;
}

// Encodes with markers and a profile to the write hook.
void EncodeWithMarkers(const Codec &codec, const Image &image, const Encoding &encoding, Record &record)
{
    stream.clear();
    Compressor compressor(codec);
    CODEC(codec, jpeg_stdio_dest)(&compressor, nullptr);
    Configure(compressor, image, encoding);
    const unsigned table[64] = {16, 11, 10, 16, 24, 40, 51, 61};
    CODEC(codec, jpeg_add_quant_table)(&compressor, 1, table, 150, TRUE);
    CODEC(codec, jpeg_set_linear_quality)(&compressor, 120, TRUE);
    compressor.q_scale_factor[0] = static_cast<int>(CODEC(codec, jpeg_float_quality_scaling)(83.5f));
    CODEC(codec, jpeg_default_qtables)(&compressor, TRUE);
    CODEC(codec, jpeg_suppress_tables)(&compressor, FALSE);
    record.AddNumber(CODEC(codec, jpeg_c_bool_param_supported)(&compressor, JBOOLEAN_TRELLIS_QUANT));
    record.AddNumber(CODEC(codec, jpeg_c_get_bool_param)(&compressor, JBOOLEAN_TRELLIS_QUANT));
    record.AddNumber(CODEC(codec, jpeg_c_float_param_supported)(&compressor, JFLOAT_LAMBDA_LOG_SCALE1));
    CODEC(codec, jpeg_c_set_float_param)(&compressor, JFLOAT_LAMBDA_LOG_SCALE1, 14.5f);
    record.AddValue(CODEC(codec, jpeg_c_get_float_param)(&compressor, JFLOAT_LAMBDA_LOG_SCALE1));
    record.AddNumber(CODEC(codec, jpeg_c_int_param_supported)(&compressor, JINT_BASE_QUANT_TBL_IDX));
    record.AddValue(CODEC(codec, jpeg_c_get_int_param)(&compressor, JINT_DC_SCAN_OPT_MODE));
    CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
    const Bytes profile(70000, 0x5A);
    CODEC(codec, jpeg_write_icc_profile)(&compressor, profile.data(), static_cast<unsigned>(profile.size()));
    CODEC(codec, jpeg_write_marker)(&compressor, JPEG_COM, profile.data(), 50);
    CODEC(codec, jpeg_write_m_header)(&compressor, JPEG_APP0 + 9, 2);
    CODEC(codec, jpeg_write_m_byte)(&compressor, 1);
    CODEC(codec, jpeg_write_m_byte)(&compressor, 2);
    WriteRows(compressor, image);
    CODEC(codec, jpeg_finish_compress)(&compressor);
    record.Add(stream.data(), stream.size());
}

// Reads what EncodeWithMarkers wrote: markers, a crop, skipped rows.
void DecodePart(const Codec &codec, Record &record)
{
    read_so_far = 0;
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr);
    for (const int marker : {JPEG_COM, JPEG_APP0 + 2, JPEG_APP0 + 9})
        CODEC(codec, jpeg_save_markers)(&decompressor, marker, 0xFFFF);
    CODEC(codec, jpeg_set_marker_processor)
    (&decompressor, JPEG_APP0 + 5, [](j_decompress_ptr) -> boolean { return TRUE; });
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    JOCTET *profile = nullptr;
    unsigned size = 0;
    record.AddNumber(CODEC(codec, jpeg_read_icc_profile)(&decompressor, &profile, &size));
    record.Add(profile, size);
    std::free(profile);
    for (jpeg_saved_marker_ptr marker = decompressor.marker_list; marker; marker = marker->next)
        record.Add(marker->data, marker->data_length);
    CODEC(codec, jpeg_calc_output_dimensions)(&decompressor);
    CODEC(codec, jpeg_core_output_dimensions)(&decompressor);
    CODEC(codec, jpeg_start_decompress)(&decompressor);
    JDIMENSION left = 16, width = 40;
    CODEC(codec, jpeg_crop_scanline)(&decompressor, &left, &width);
    record.AddValue(CODEC(codec, jpeg_skip_scanlines)(&decompressor, 11));
    Bytes row(static_cast<size_t>(width) * static_cast<size_t>(decompressor.output_components));
    while (decompressor.output_scanline < decompressor.output_height) {
        JSAMPROW rows = row.data();
        CODEC(codec, jpeg_read_scanlines)(&decompressor, &rows, 1);
        record.Add(row.data(), row.size());
    }
    record.AddNumber(CODEC(codec, jpeg_finish_decompress)(&decompressor));
}

// Shows a file's scans one after the other, in two palettes.
void DecodeInPasses(const Codec &codec, const Bytes &file, Record &record)
{
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    record.AddNumber(CODEC(codec, jpeg_has_multiple_scans)(&decompressor));
    decompressor.buffered_image = TRUE;
    decompressor.quantize_colors = TRUE;
    decompressor.enable_2pass_quant = TRUE;
    decompressor.enable_1pass_quant = TRUE;
    decompressor.enable_external_quant = TRUE;
    CODEC(codec, jpeg_start_decompress)(&decompressor);
    Bytes row(decompressor.output_width);
    while (!CODEC(codec, jpeg_input_complete)(&decompressor)) {
        while (CODEC(codec, jpeg_consume_input)(&decompressor) != JPEG_REACHED_EOI) {
        }
        CODEC(codec, jpeg_start_output)(&decompressor, decompressor.input_scan_number);
        while (decompressor.output_scanline < decompressor.output_height) {
            JSAMPROW rows = row.data();
            CODEC(codec, jpeg_read_scanlines)(&decompressor, &rows, 1);
            record.Add(row.data(), row.size());
        }
        CODEC(codec, jpeg_finish_output)(&decompressor);
    }
    // Once more with the palette that the two passes found.
    CODEC(codec, jpeg_new_colormap)(&decompressor);
    CODEC(codec, jpeg_start_output)(&decompressor, decompressor.input_scan_number);
    CODEC(codec, jpeg_finish_output)(&decompressor);
    CODEC(codec, jpeg_finish_decompress)(&decompressor);
}

// Turns, crops and re-encodes a file's coefficients.
Bytes Transform(const Codec &codec, const Bytes &file, JXFORM_CODE code, const char *crop, Record &record)
{
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    CODEC(codec, jcopy_markers_setup)(&decompressor, JCOPYOPT_ALL);
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    jpeg_transform_info info{};
    info.transform = code;
    info.trim = TRUE;
    record.AddNumber(CODEC(codec, jtransform_parse_crop_spec)(&info, crop));
    CODEC(codec, jtransform_request_workspace)(&decompressor, &info);
    record.AddNumber(CODEC(codec, jtransform_perfect_transform)(
        decompressor.image_width, decompressor.image_height, 8 * decompressor.max_h_samp_factor,
        8 * decompressor.max_v_samp_factor, code));
    jvirt_barray_ptr *coefficients = CODEC(codec, jpeg_read_coefficients)(&decompressor);
    Compressor compressor(codec);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    codec.Get<MemoryDestination>("jpeg_mem_dest_internal")(&compressor, &data, &size, JPOOL_PERMANENT);
    CODEC(codec, jpeg_copy_critical_parameters)(&decompressor, &compressor);
    jvirt_barray_ptr *turned =
        CODEC(codec, jtransform_adjust_parameters)(&decompressor, &compressor, coefficients, &info);
    CODEC(codec, jpeg_write_coefficients)(&compressor, turned);
    CODEC(codec, jcopy_markers_execute)(&decompressor, &compressor, JCOPYOPT_ALL);
    CODEC(codec, jtransform_execute_transform)(&decompressor, &compressor, coefficients, &info);
    CODEC(codec, jpeg_finish_compress)(&compressor);
    CODEC(codec, jpeg_finish_decompress)(&decompressor);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, std::free);
    record.Add(data, size);
    return {data, data + size};
}

// Raw planes in and out, tables by themselves, objects abandoned half-way.
void CodeRawPlanes(const Codec &codec, Random &random, Record &record)
{
    uint8_t samples[3][16][48];
    random.Fill(samples, sizeof(samples));
    JSAMPROW rows[3][16];
    JSAMPARRAY planes[3];
    for (int plane = 0; plane < 3; ++plane) {
        for (int row = 0; row < 16; ++row)
            rows[plane][row] = samples[plane][row];
        planes[plane] = rows[plane];
    }
    Compressor compressor(codec);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
    Configure(compressor, Image{48, 16, 3, {}}, {.space = JCS_YCbCr});
    CODEC(codec, jpeg_write_tables)(&compressor);
    compressor.raw_data_in = TRUE;
    CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
    record.AddValue(CODEC(codec, jpeg_write_raw_data)(&compressor, planes, 16));
    CODEC(codec, jpeg_finish_compress)(&compressor);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, std::free);
    record.Add(data, size);

    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, data, size);
    CODEC(codec, jpeg_read_header)(&decompressor, FALSE); // the tables
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    decompressor.raw_data_out = TRUE;
    CODEC(codec, jpeg_start_decompress)(&decompressor);
    record.AddValue(CODEC(codec, jpeg_read_raw_data)(&decompressor, planes, 16));
    record.Add(samples, sizeof(samples));
    CODEC(codec, jpeg_abort_decompress)(&decompressor);
    CODEC(codec, jpeg_abort_compress)(&compressor);
    CODEC(codec, jpeg_abort)(reinterpret_cast<j_common_ptr>(&compressor));
    CODEC(codec, jpeg_destroy)(reinterpret_cast<j_common_ptr>(&compressor));
    record.AddNumber(
        CODEC(codec, jpeg_alloc_quant_table)(reinterpret_cast<j_common_ptr>(&decompressor))->sent_table);
    record.AddNumber(
        CODEC(codec, jpeg_alloc_huff_table)(reinterpret_cast<j_common_ptr>(&decompressor))->sent_table);
}

// A file with errors in it: resynchronisation, warnings, failures.
void DecodeBroken(const Codec &codec, Bytes file, Random &random, Record &record)
{
    for (int i = 0; i < 12; ++i)
        file[300 + random.Below(static_cast<uint32_t>(file.size() - 300))] ^=
            static_cast<uint8_t>(1 + random.Below(255));
    try {
        std::vector<int> warnings;
        AddImage(record, Decode(codec, file, {}, &warnings));
        record.Add(warnings.data(), warnings.size() * sizeof(int));
    } catch (const Failure &failure) {
        record.AddValue(failure.code);
    }
}

// The place of a marker's code in a file.
size_t Find(const Bytes &file, uint8_t marker, size_t from)
{
    const uint8_t code[] = {0xFF, marker};
    return static_cast<size_t>(
        std::search(file.begin() + static_cast<ptrdiff_t>(from), file.end(), code, code + 2) - file.begin());
}

// The file up to its second scan, with quantisation tables of wide steps, of 16 bits, before that of the
// first.
Bytes CutAndCoarsened(const Bytes &file)
{
    constexpr uint8_t kTables = 0xDB, kScan = 0xDA;
    const size_t first = Find(file, kScan, 0);
    Bytes result(file.begin(), file.begin() + static_cast<ptrdiff_t>(first));
    for (uint8_t table = 0; table < 2; ++table) {
        result.insert(result.end(), {0xFF, kTables, 0, 131, static_cast<uint8_t>(0x10 + table)});
        for (int step = 0; step < 64; ++step)
            result.insert(result.end(), {0x75, 0x30}); // 30000
    }
    result.insert(result.end(), file.begin() + static_cast<ptrdiff_t>(first),
                  file.begin() + static_cast<ptrdiff_t>(Find(file, kScan, first + 2)));
    return result;
}

} // namespace

static void ExerciseCodec(const Bodies &bodies, Random &random, Record &record)
{
    const Codec codec = CodecOf(bodies);
    const Image image = TestImage(random.Next(), 60 + random.Below(60), 50 + random.Below(60), 3);
    Single("JPEG_Init", JPEG_Init)(ReadStream, WriteStream);
    EncodeWithMarkers(codec, image, {.quality = 88, .horizontal = 2, .vertical = 1}, record);
    DecodePart(codec, record);
    Single("JPEG_Init", JPEG_Init)(nullptr, nullptr);
    const Bytes marked = stream;
    for (const bool progressive : {false, true})
        for (const bool arithmetic : {false, true})
            for (const int profile : {JCP_FASTEST, JCP_MAX_COMPRESSION}) {
                const Bytes file = Encode(codec, image,
                                          {.quality = 80 + static_cast<int>(random.Below(20)),
                                           .profile = profile,
                                           .progressive = progressive,
                                           .arithmetic = arithmetic,
                                           .optimize = true,
                                           .trellisDc = true,
                                           .trellisQuantization = true,
                                           .restartRows = 1});
                record.Add(file.data(), file.size());
                for (const bool fancy : {false, true}) // the merged upsampler, and the other one
                    AddImage(record, Decode(codec, file, {.fancy = fancy}));
                AddImage(record, Decode(codec, file, {.space = JCS_RGB, .colours = 32, .twoPass = false}));
                for (int round = 0; round < bodies.Rounds(4); ++round)
                    DecodeBroken(codec, file, random, record);
                if (progressive) {
                    DecodeInPasses(codec, file, record);
                    // Smooths over the missing scans by sums that 32 bits can't hold.
                    AddImage(record, Decode(codec, CutAndCoarsened(file)));
                }
            }
    Bytes turned = marked;
    for (const JXFORM_CODE code : {JXFORM_ROT_90, JXFORM_FLIP_H, JXFORM_TRANSPOSE, JXFORM_ROT_180,
                                   JXFORM_FLIP_V, JXFORM_TRANSVERSE, JXFORM_ROT_270, JXFORM_NONE})
        turned = Transform(codec, turned, code, "32x32+0+0", record);
    CodeRawPlanes(codec, random, record);
}
TONEKIT_TIER_CASE(
    ExerciseCodec, "jcopy_markers_execute", "jcopy_markers_setup", "jget_arith_rates",
    "jinit_1pass_quantizer", "jinit_2pass_quantizer", "jinit_arith_decoder", "jinit_arith_encoder",
    "jinit_c_coef_controller", "jinit_c_main_controller", "jinit_c_master_control", "jinit_c_prep_controller",
    "jinit_color_converter", "jinit_color_deconverter", "jinit_compress_master", "jinit_d_coef_controller",
    "jinit_d_main_controller", "jinit_d_post_controller", "jinit_downsampler", "jinit_forward_dct",
    "jinit_huff_decoder", "jinit_huff_encoder", "jinit_input_controller", "jinit_inverse_dct",
    "jinit_marker_reader", "jinit_marker_writer", "jinit_master_decompress", "jinit_memory_mgr",
    "jinit_merged_upsampler", "jinit_phuff_decoder", "jinit_phuff_encoder", "jinit_upsampler",
    "jpeg_CreateCompress", "jpeg_CreateDecompress", "jpeg_abort", "jpeg_abort_compress",
    "jpeg_abort_decompress", "jpeg_add_quant_table", "jpeg_alloc_huff_table", "jpeg_alloc_quant_table",
    "jpeg_c_bool_param_supported", "jpeg_c_float_param_supported", "jpeg_c_get_bool_param",
    "jpeg_c_get_float_param", "jpeg_c_get_int_param", "jpeg_c_int_param_supported", "jpeg_c_set_bool_param",
    "jpeg_c_set_float_param", "jpeg_c_set_int_param", "jpeg_calc_jpeg_dimensions",
    "jpeg_calc_output_dimensions", "jpeg_consume_input", "jpeg_copy_critical_parameters",
    "jpeg_core_output_dimensions", "jpeg_crop_scanline", "jpeg_default_colorspace", "jpeg_default_qtables",
    "jpeg_destroy", "jpeg_destroy_compress", "jpeg_destroy_decompress", "jpeg_fill_bit_buffer",
    "jpeg_finish_compress", "jpeg_finish_decompress", "jpeg_finish_output", "jpeg_gen_optimal_table",
    "jpeg_has_multiple_scans", "jpeg_huff_decode", "jpeg_input_complete", "jpeg_make_c_derived_tbl",
    "jpeg_make_d_derived_tbl", "jpeg_mem_dest", "jpeg_mem_dest_internal", "jpeg_mem_src", "jpeg_new_colormap",
    "jpeg_read_coefficients", "jpeg_read_header", "jpeg_read_icc_profile", "jpeg_read_raw_data",
    "jpeg_read_scanlines", "jpeg_resync_to_restart", "jpeg_save_markers", "jpeg_set_colorspace",
    "jpeg_set_defaults", "jpeg_set_idct_method_selector", "jpeg_set_linear_quality",
    "jpeg_set_marker_processor", "jpeg_set_quality", "jpeg_simple_progression", "jpeg_skip_scanlines",
    "jpeg_start_compress", "jpeg_start_decompress", "jpeg_start_output", "jpeg_std_error", "jpeg_stdio_dest",
    "jpeg_stdio_src", "jpeg_suppress_tables", "jpeg_write_coefficients", "jpeg_write_icc_profile",
    "jpeg_write_m_byte", "jpeg_write_m_header", "jpeg_write_marker", "jpeg_write_raw_data",
    "jpeg_write_scanlines", "jpeg_write_tables", "jtransform_adjust_parameters",
    "jtransform_execute_transform", "jtransform_parse_crop_spec", "jtransform_perfect_transform",
    "jtransform_request_workspace", "quantize_trellis", "quantize_trellis_arith");

namespace {

const Image &BenchImage()
{
    static const Image image = TestImage(1, 1024, 768, 3);
    return image;
}

} // namespace

static void BenchBaselineEncoding(const Bodies &bodies)
{
    Encode(CodecOf(bodies), BenchImage(), {.quality = 90});
}
TONEKIT_TIER_BENCH(BenchBaselineEncoding, "jpeg_write_scanlines");

static void BenchDecoding(const Bodies &bodies)
{
    static const Bytes file = Encode(PlainCodec(), BenchImage(), {.quality = 90});
    Decode(CodecOf(bodies), file);
}
TONEKIT_TIER_BENCH(BenchDecoding, "jpeg_read_scanlines");

} // namespace tonekit::tiers
