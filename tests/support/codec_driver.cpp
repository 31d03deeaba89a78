// codec_driver.cpp: whole encodings and decodings with one build of the codec.
#include "tests/support/codec_driver.h"

#include "tests/support/bodies.h"
#include "tests/support/random.h"
#include "tests/support/shared_library.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <tonekit/codec/jerror.h>

namespace tonekit::codec {

Codec BodyCodec(char letter)
{
    return {std::string("body ") + letter, [letter](const char *name) { return BodyAddress(name, letter); }};
}

Codec PlainCodec()
{
    static const SharedLibrary library(TONEKIT_PLAIN_CODEC);
    return {"plain build", [](const char *name) { return library.Address(name); }};
}

std::vector<Codec> AllBodies()
{
    std::vector<Codec> codecs;
    std::set<void *> seen; // letters may share a body
    for (const char letter : RunnableLetters())
        if (seen.insert(BodyAddress("jpeg_CreateCompress", letter)).second)
            codecs.push_back(BodyCodec(letter));
    return codecs;
}

namespace {

[[noreturn]] void Throw(j_common_ptr cinfo)
{
    char text[JMSG_LENGTH_MAX];
    cinfo->err->format_message(cinfo, text);
    throw Failure(cinfo->err->msg_code, text);
}

void Note(j_common_ptr cinfo, int level)
{
    if (level < 0)
        static_cast<Errors *>(cinfo->err)->warnings.push_back(cinfo->err->msg_code);
}

void Silent(j_common_ptr) {}

} // namespace

Errors::Errors(const Codec &codec) : jpeg_error_mgr{}
{
    CODEC(codec, jpeg_std_error)(this);
    error_exit = Throw;
    emit_message = Note;
    output_message = Silent;
}

Compressor::Compressor(const Codec &used) : jpeg_compress_struct{}, codec(used), errors(used)
{
    err = &errors;
    CODEC(used, jpeg_CreateCompress)(this, JPEG_LIB_VERSION, sizeof(jpeg_compress_struct));
}

Compressor::~Compressor()
{
    CODEC(codec, jpeg_destroy_compress)(this);
}

Decompressor::Decompressor(const Codec &used) : jpeg_decompress_struct{}, codec(used), errors(used)
{
    err = &errors;
    CODEC(used, jpeg_CreateDecompress)(this, JPEG_LIB_VERSION, sizeof(jpeg_decompress_struct));
}

Decompressor::~Decompressor()
{
    CODEC(codec, jpeg_destroy_decompress)(this);
}

void Configure(Compressor &compressor, const Image &image, const Encoding &encoding)
{
    const Codec &codec = compressor.codec;
    compressor.image_width = image.width;
    compressor.image_height = image.height;
    compressor.input_components = image.components;
    compressor.in_color_space = encoding.space;
    CODEC(codec, jpeg_c_set_int_param)(&compressor, JINT_COMPRESS_PROFILE, encoding.profile);
    CODEC(codec, jpeg_set_defaults)(&compressor);
    if (encoding.stored != JCS_UNKNOWN)
        CODEC(codec, jpeg_set_colorspace)(&compressor, encoding.stored);
    if (encoding.coarse != 0)
        CODEC(codec, jpeg_set_linear_quality)(&compressor, encoding.coarse, FALSE);
    else
        CODEC(codec, jpeg_set_quality)(&compressor, encoding.quality, TRUE);
    compressor.comp_info[0].h_samp_factor = encoding.horizontal;
    compressor.comp_info[0].v_samp_factor = encoding.vertical;
    compressor.dct_method = encoding.transform;
    compressor.smoothing_factor = encoding.smoothing;
    compressor.restart_in_rows = encoding.restartRows;
    compressor.arith_code = encoding.arithmetic;
    if (encoding.arithmetic)
        compressor.optimize_coding = FALSE; // optimal Huffman codes, which arithmetic coding has no use for
    else if (encoding.optimize)
        compressor.optimize_coding = TRUE;
    if (encoding.profile == JCP_MAX_COMPRESSION) {
        const auto setBool = [&](J_BOOLEAN_PARAM parameter, bool value) {
            CODEC(codec, jpeg_c_set_bool_param)(&compressor, parameter, value);
        };
        setBool(JBOOLEAN_OPTIMIZE_SCANS, encoding.scans && encoding.progressive);
        setBool(JBOOLEAN_TRELLIS_QUANT_DC, encoding.trellisDc);
        setBool(JBOOLEAN_TRELLIS_EOB_OPT, encoding.trellisQuantization);
        setBool(JBOOLEAN_TRELLIS_Q_OPT, encoding.trellisQuantization);
        if (!encoding.progressive) {
            compressor.scan_info = nullptr;
            compressor.num_scans = 0;
        }
    }
    if (encoding.progressive)
        CODEC(codec, jpeg_simple_progression)(&compressor);
}

void WriteRows(Compressor &compressor, const Image &image)
{
    auto &write = CODEC(compressor.codec, jpeg_write_scanlines);
    while (compressor.next_scanline < compressor.image_height) {
        auto *row = const_cast<JSAMPROW>(image.samples.data() + compressor.next_scanline * image.RowBytes());
        write(&compressor, &row, 1);
    }
}

Bytes Encode(const Codec &codec, const Image &image, const Encoding &encoding)
{
    Compressor compressor(codec);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
    Configure(compressor, image, encoding);
    CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
    WriteRows(compressor, image);
    CODEC(codec, jpeg_finish_compress)(&compressor);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, std::free);
    return {data, data + size};
}

Image DecodeFrom(Decompressor &decompressor, const Decoding &decoding)
{
    const Codec &codec = decompressor.codec;
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    if (decoding.space != JCS_UNKNOWN)
        decompressor.out_color_space = decoding.space;
    decompressor.dct_method = decoding.transform;
    decompressor.scale_num = decoding.scale;
    decompressor.scale_denom = 8;
    decompressor.do_fancy_upsampling = decoding.fancy;
    decompressor.do_block_smoothing = decoding.smoothing;
    decompressor.quantize_colors = decoding.colours > 0;
    decompressor.desired_number_of_colors = decoding.colours;
    decompressor.two_pass_quantize = decoding.twoPass;
    decompressor.dither_mode = decoding.dither;
    CODEC(codec, jpeg_start_decompress)(&decompressor);
    Image image{decompressor.output_width, decompressor.output_height, decompressor.output_components, {}};
    image.samples.resize(image.RowBytes() * image.height);
    auto &read = CODEC(codec, jpeg_read_scanlines);
    while (decompressor.output_scanline < decompressor.output_height) {
        JSAMPROW row = image.samples.data() + decompressor.output_scanline * image.RowBytes();
        read(&decompressor, &row, 1);
    }
    if (decoding.colours > 0) {
        Image painted{image.width, image.height, decompressor.out_color_components, {}};
        for (const uint8_t index : image.samples)
            for (int i = 0; i < painted.components; ++i)
                painted.samples.push_back(decompressor.colormap[i][index]);
        image = painted;
    }
    CODEC(codec, jpeg_finish_decompress)(&decompressor);
    return image;
}

Image Decode(const Codec &codec, const Bytes &file, const Decoding &decoding, std::vector<int> *warnings)
{
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    const Image image = DecodeFrom(decompressor, decoding);
    if (warnings)
        *warnings = decompressor.errors.warnings;
    return image;
}

Bytes ReadFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

Bytes PhotographFile()
{
    return ReadFile("/usr/share/matplotlib/mpl-data/sample_data/grace_hopper.jpg"); // python-matplotlib-data
}

Image TestImage(uint64_t seed, uint32_t width, uint32_t height, int components)
{
    Random random(seed);
    Image image{width, height, components, {}};
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            for (int component = 0; component < components; ++component) {
                const double slope = 4.0 * x / (1 + component) + 2.0 * y;
                const double wave = 60.0 * std::sin(0.002 * x * y + component);
                const double noise = (x / 16 + y / 16) % 3 == 0 ? 80.0 * (random.Uniform() - 0.5) : 0.0;
                const double edge = (x / 23 + y / 17) % 5 == 0 ? 255.0 : 0.0;
                image.samples.push_back(static_cast<uint8_t>(
                    std::clamp(std::fmod(slope, 200.0) + wave + noise + edge, 0.0, 255.0)));
            }
    return image;
}

double PeakSignalToNoise(const Image &one, const Image &other)
{
    if (one.samples.size() != other.samples.size())
        return 0.0;
    double squares = 0.0;
    for (size_t i = 0; i < one.samples.size(); ++i) {
        const double difference = static_cast<double>(one.samples[i]) - other.samples[i];
        squares += difference * difference;
    }
    if (squares == 0.0)
        return INFINITY;
    return 10.0 * std::log10(255.0 * 255.0 * static_cast<double>(one.samples.size()) / squares);
}

} // namespace tonekit::codec
