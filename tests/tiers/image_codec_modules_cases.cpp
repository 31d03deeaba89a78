// image_codec_modules_cases.cpp: the JPEG codec's inner functions by their own names: the modules of an
// encoder and a decoder put together one by one, Huffman tables, bits, and the search for better
// coefficients.
#include "tests/support/codec_driver.h"
#include "tests/tiers/codec_of.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace tonekit::tiers {

using namespace codec;

namespace {

// Records of the codec that its public headers don't declare.
struct EncodingTable {
    unsigned int codes[256];
    char lengths[256];
};
struct DecodingTable {
    long largestCode[18];
    long valueOffset[18];
    JHUFF_TBL *table;
    int lookup[256];
};
struct BitReader {
    const JOCTET *next;
    size_t left;
    size_t bits;
    int bitsLeft;
    j_decompress_ptr cinfo;
};
struct ArithmeticRates {
    float dc[64][2];
    float ac[256][2];
    int dcLower, dcUpper, acK;
};

constexpr int kScanning = 101; // a compressor's state once rows may come
constexpr int kPreload = 203;  // a decompressor's once its modules are there

// Every module begins with the function that starts it.
template <class Module, class Object, class... Arguments>
void Start(Module *module, Object *object, Arguments... arguments)
{
    (*reinterpret_cast<void (**)(Object *, Arguments...)>(module))(object, arguments...);
}

// Makes a module that an object's member then points to.
template <class Object, class Module, class... Flag>
void Make(const Bodies &bodies, const char *name, Object *object, Module *Object::*member, Record &record,
          Flag... flag)
{
    object->*member = nullptr;
    bodies.Get<void(Object *, Flag...)>(name)(object, flag...);
    record.AddNumber(object->*member != nullptr);
}

// What jpeg_start_compress does, module by module.
void StartEncoder(const Bodies &bodies, Compressor &compressor, const Encoding &encoding, Record &record)
{
    using Object = jpeg_compress_struct;
    Object *object = &compressor;
    const boolean whole = object->num_scans > 1 || object->optimize_coding;
    CODEC(compressor.codec, jpeg_suppress_tables)(object, FALSE);
    object->err->reset_error_mgr(reinterpret_cast<j_common_ptr>(object));
    object->dest->init_destination(object);
    // Uses the record that is there from the start.
    bodies.Get<void(Object *, boolean)>("jinit_c_master_control")(object, FALSE);
    Make(bodies, "jinit_color_converter", object, &Object::cconvert, record);
    Make(bodies, "jinit_downsampler", object, &Object::downsample, record);
    Make(bodies, "jinit_c_prep_controller", object, &Object::prep, record, boolean{FALSE});
    Make(bodies, "jinit_forward_dct", object, &Object::fdct, record);
    Make(bodies,
         encoding.arithmetic    ? "jinit_arith_encoder"
         : encoding.progressive ? "jinit_phuff_encoder"
                                : "jinit_huff_encoder",
         object, &Object::entropy, record);
    Make(bodies, "jinit_c_coef_controller", object, &Object::coef, record, whole);
    Make(bodies, "jinit_c_main_controller", object, &Object::main, record, boolean{FALSE});
    Make(bodies, "jinit_marker_writer", object, &Object::marker, record);
    object->mem->realize_virt_arrays(reinterpret_cast<j_common_ptr>(object));
    Start(object->marker, object);
    Start(object->master, object);
    object->next_scanline = 0;
    object->global_state = kScanning;
}

Bytes EncodeByModules(const Bodies &bodies, const Image &image, const Encoding &encoding, Record &record)
{
    const Codec codec = CodecOf(bodies);
    Compressor compressor(codec);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
    Configure(compressor, image, encoding);
    StartEncoder(bodies, compressor, encoding, record);
    WriteRows(compressor, image);
    CODEC(codec, jpeg_finish_compress)(&compressor);
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, std::free);
    record.Add(data, size);
    return {data, data + size};
}

void ReadRows(Decompressor &decompressor, Record &record)
{
    auto &read = CODEC(decompressor.codec, jpeg_read_scanlines);
    Bytes row(size_t{decompressor.output_width} * static_cast<size_t>(decompressor.output_components));
    while (decompressor.output_scanline < decompressor.output_height) {
        JSAMPROW rows = row.data();
        read(&decompressor, &rows, 1);
        record.Add(row.data(), row.size());
    }
    CODEC(decompressor.codec, jpeg_finish_decompress)(&decompressor);
}

// Takes the place of each module that jpeg_start_decompress has chosen, before anything has been decoded.
void DecodeByModules(const Bodies &bodies, const Bytes &file, bool merged, bool arithmetic, Record &record)
{
    const Codec codec = CodecOf(bodies);
    Decompressor decompressor(codec);
    using Object = jpeg_decompress_struct;
    Object *object = &decompressor;
    Make(bodies, "jinit_marker_reader", object, &Object::marker, record);
    CODEC(codec, jpeg_mem_src)(object, file.data(), file.size());
    CODEC(codec, jpeg_read_header)(object, TRUE);
    object->do_fancy_upsampling = !merged;
    bodies.Get<void(Object *)>("jinit_master_decompress")(object);
    object->global_state = kPreload;
    CODEC(codec, jpeg_start_decompress)(object);
    if (merged) {
        Make(bodies, "jinit_merged_upsampler", object, &Object::upsample, record);
    } else {
        Make(bodies, "jinit_color_deconverter", object, &Object::cconvert, record);
        Make(bodies, "jinit_upsampler", object, &Object::upsample, record);
    }
    Make(bodies, "jinit_d_post_controller", object, &Object::post, record, boolean{FALSE});
    Make(bodies, "jinit_inverse_dct", object, &Object::idct, record);
    Make(bodies, arithmetic ? "jinit_arith_decoder" : "jinit_huff_decoder", object, &Object::entropy, record);
    Make(bodies, "jinit_d_coef_controller", object, &Object::coef, record, boolean{FALSE});
    Make(bodies, "jinit_d_main_controller", object, &Object::main, record, boolean{FALSE});
    Start(object->entropy, object);
    Start(object->coef, object);
    Start(object->master, object);
    ReadRows(decompressor, record);
}

void DecodeWithQuantizer(const Bodies &bodies, const Bytes &file, bool twoPass, Record &record)
{
    const Codec codec = CodecOf(bodies);
    Decompressor decompressor(codec);
    using Object = jpeg_decompress_struct;
    Object *object = &decompressor;
    CODEC(codec, jpeg_mem_src)(object, file.data(), file.size());
    CODEC(codec, jpeg_read_header)(object, TRUE);
    object->quantize_colors = TRUE;
    object->desired_number_of_colors = 50;
    object->two_pass_quantize = twoPass;
    CODEC(codec, jpeg_start_decompress)(object);
    Make(bodies, twoPass ? "jinit_2pass_quantizer" : "jinit_1pass_quantizer", object, &Object::cquantize,
         record);
    Start(object->cquantize, object, boolean{FALSE});
    ReadRows(decompressor, record);
}

// The progress of each coefficient, before any scan.
void RecordProgress(const Bodies &bodies, const Bytes &file, Record &record)
{
    const Codec codec = CodecOf(bodies);
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    Make(bodies, "jinit_phuff_decoder", static_cast<j_decompress_ptr>(&decompressor),
         &jpeg_decompress_struct::entropy, record);
    record.Add(decompressor.coef_bits,
               static_cast<size_t>(decompressor.num_components) * sizeof *decompressor.coef_bits);
    CODEC(codec, jpeg_start_decompress)(&decompressor);
    ReadRows(decompressor, record);
}

} // namespace

static void ExerciseModules(const Bodies &bodies, Random &random, Record &record)
{
    for (int round = 0; round < 6; ++round) {
        const Image image = TestImage(random.Next(), 30 + random.Below(90), 20 + random.Below(60), 3);
        for (const bool arithmetic : {false, true}) {
            const Bytes file = EncodeByModules(bodies, image, {.arithmetic = arithmetic}, record);
            for (const bool merged : {false, true})
                DecodeByModules(bodies, file, merged, arithmetic, record);
        }
        const Bytes progressive = EncodeByModules(bodies, image, {.progressive = true}, record);
        RecordProgress(bodies, progressive, record);
        for (const bool twoPass : {false, true})
            DecodeWithQuantizer(bodies, progressive, twoPass, record);
    }
}
TONEKIT_TIER_CASE(ExerciseModules, "jinit_1pass_quantizer", "jinit_2pass_quantizer", "jinit_arith_decoder",
                  "jinit_arith_encoder", "jinit_c_coef_controller", "jinit_c_main_controller",
                  "jinit_c_master_control", "jinit_c_prep_controller", "jinit_color_converter",
                  "jinit_color_deconverter", "jinit_d_coef_controller", "jinit_d_main_controller",
                  "jinit_d_post_controller", "jinit_downsampler", "jinit_forward_dct", "jinit_huff_decoder",
                  "jinit_huff_encoder", "jinit_inverse_dct", "jinit_marker_reader", "jinit_marker_writer",
                  "jinit_master_decompress", "jinit_merged_upsampler", "jinit_phuff_decoder",
                  "jinit_phuff_encoder", "jinit_upsampler");

static void ExerciseHuffmanTables(const Bodies &bodies, Random &random, Record &record)
{
    const Codec codec = CodecOf(bodies);
    Compressor compressor(codec);
    Decompressor decompressor(codec);
    Bytes source(3000);
    CODEC(codec, jpeg_mem_src)(&decompressor, source.data(), source.size());
    for (int round = 0; round < 30; ++round) {
        long frequencies[257] = {};
        for (int symbol = 0; symbol < 256; ++symbol)
            frequencies[symbol] = random.Below(3) ? static_cast<long>(random.Below(5000)) : 0;
        JHUFF_TBL table{};
        bodies.Get<void(j_compress_ptr, JHUFF_TBL *, long *)>("jpeg_gen_optimal_table")(&compressor, &table,
                                                                                        frequencies);
        record.Add(table.bits, sizeof table.bits);
        record.Add(table.huffval, sizeof table.huffval);
        compressor.ac_huff_tbl_ptrs[0] = decompressor.ac_huff_tbl_ptrs[0] = &table;
        EncodingTable *encoding = nullptr;
        bodies.Get<void(j_compress_ptr, boolean, int, EncodingTable **)>("jpeg_make_c_derived_tbl")(
            &compressor, FALSE, 0, &encoding);
        record.Add(encoding, sizeof *encoding);
        DecodingTable *decoding = nullptr;
        bodies.Get<void(j_decompress_ptr, boolean, int, DecodingTable **)>("jpeg_make_d_derived_tbl")(
            &decompressor, FALSE, 0, &decoding);
        for (int length = 1; length <= 17; ++length)
            record.AddNumber(decoding->largestCode[length]);
        record.Add(decoding->lookup, sizeof decoding->lookup);
        // Random bits, without the byte that begins a marker.
        for (uint8_t &byte : source)
            byte = static_cast<uint8_t>(random.Below(255));
        BitReader reader = {source.data(), source.size(), 0, 0, &decompressor};
        for (int code = 0; code < 1000; ++code) {
            if (reader.bitsLeft < 25)
                record.AddNumber(bodies.Get<boolean(BitReader *, size_t, int, int)>("jpeg_fill_bit_buffer")(
                    &reader, reader.bits, reader.bitsLeft, 25));
            record.AddNumber(bodies.Get<int(BitReader *, size_t, int, DecodingTable *, int)>(
                "jpeg_huff_decode")(&reader, reader.bits, reader.bitsLeft, decoding, 1));
            record.AddNumber(reader.bitsLeft);
        }
        record.AddNumber(static_cast<int64_t>(reader.left));
        compressor.ac_huff_tbl_ptrs[0] = decompressor.ac_huff_tbl_ptrs[0] = nullptr;
    }
}
TONEKIT_TIER_CASE(ExerciseHuffmanTables, "jpeg_fill_bit_buffer", "jpeg_gen_optimal_table", "jpeg_huff_decode",
                  "jpeg_make_c_derived_tbl", "jpeg_make_d_derived_tbl");

namespace {

constexpr JDIMENSION kBlocks = 40;

// Blocks as they come from the forward transform, eight times too large.
struct Coefficients {
    explicit Coefficients(Random &random)
    {
        for (auto &block : source)
            for (uint32_t i = 0; i < 64; ++i)
                block[i] = static_cast<JCOEF>(static_cast<int>(random.Below(8000 / (1 + i))) -
                                              static_cast<int>(4000 / (1 + i)));
        for (int i = 0; i < 64; ++i) {
            table.quantval[i] = static_cast<UINT16>(3 + i);
            norm[i] = 1.0 / (1 + i);
        }
    }
    JBLOCK source[kBlocks];
    JBLOCK quantized[kBlocks] = {};
    JQUANT_TBL table{};
    double norm[64];
    JCOEF lastDc = 0;
};

void RecordSearch(const Coefficients &coefficients, Record &record)
{
    record.Add(coefficients.quantized, sizeof coefficients.quantized);
    record.AddValue(coefficients.lastDc);
}

} // namespace

static void ExerciseTrellis(const Bodies &bodies, Random &random, Record &record)
{
    const Codec codec = CodecOf(bodies);
    const Image image = TestImage(7, 64, 48, 3);
    for (const bool arithmetic : {false, true})
        for (int round = 0; round < 5; ++round) {
            const Encoding encoding = {.profile = JCP_MAX_COMPRESSION,
                                       .arithmetic = arithmetic,
                                       .trellisDc = round % 2 == 1,
                                       .trellisQuantization = round == 4};
            Compressor compressor(codec);
            unsigned char *data = nullptr;
            unsigned long size = 0;
            CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
            Configure(compressor, image, encoding);
            CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
            compressor.Ss = 1;
            compressor.Se = 63;
            Coefficients c(random);
            if (arithmetic) {
                WriteRows(compressor, image);
                ArithmeticRates rates;
                std::memset(&rates, 0, sizeof rates);
                bodies.Get<void(j_compress_ptr, int, int, ArithmeticRates *)>("jget_arith_rates")(
                    &compressor, 0, 0, &rates);
                record.AddValue(rates);
                bodies.Get<void(j_compress_ptr, ArithmeticRates *, JBLOCKROW, JBLOCKROW, JDIMENSION,
                                JQUANT_TBL *, double *, double *, JCOEF *, JBLOCKROW, JBLOCKROW)>(
                    "quantize_trellis_arith")(&compressor, &rates, c.quantized, c.source, kBlocks, &c.table,
                                              c.norm, c.norm, &c.lastDc, nullptr, nullptr);
            } else {
                EncodingTable *tables[2] = {};
                const auto make = bodies.Get<void(j_compress_ptr, boolean, int, EncodingTable **)>(
                    "jpeg_make_c_derived_tbl");
                make(&compressor, TRUE, 0, &tables[0]);
                make(&compressor, FALSE, 0, &tables[1]);
                bodies.Get<void(j_compress_ptr, EncodingTable *, EncodingTable *, JBLOCKROW, JBLOCKROW,
                                JDIMENSION, JQUANT_TBL *, double *, double *, JCOEF *, JBLOCKROW, JBLOCKROW)>(
                    "quantize_trellis")(&compressor, tables[0], tables[1], c.quantized, c.source, kBlocks,
                                        &c.table, c.norm, c.norm, &c.lastDc, nullptr, nullptr);
            }
            RecordSearch(c, record);
            CODEC(codec, jpeg_abort_compress)(&compressor);
            std::free(data);
        }
}
TONEKIT_TIER_CASE(ExerciseTrellis, "jget_arith_rates", "quantize_trellis", "quantize_trellis_arith");

static void ExerciseColourSpacesAndRestarts(const Bodies &bodies, Random &random, Record &record)
{
    const Codec codec = CodecOf(bodies);
    Compressor compressor(codec);
    compressor.input_components = 3;
    compressor.in_color_space = JCS_RGB;
    CODEC(codec, jpeg_set_defaults)(&compressor);
    const auto recordSpace = [&] {
        record.AddNumber(compressor.jpeg_color_space);
        record.AddNumber(compressor.num_components);
        for (int i = 0; i < compressor.num_components; ++i)
            record.AddNumber(1000 * compressor.comp_info[i].component_id +
                             100 * compressor.comp_info[i].h_samp_factor +
                             10 * compressor.comp_info[i].quant_tbl_no + compressor.comp_info[i].dc_tbl_no);
    };
    for (const J_COLOR_SPACE space : {JCS_GRAYSCALE, JCS_RGB, JCS_YCbCr, JCS_CMYK, JCS_YCCK, JCS_EXT_BGRX}) {
        compressor.in_color_space = space;
        CODEC(codec, jpeg_default_colorspace)(&compressor);
        recordSpace();
        if (space != JCS_EXT_BGRX) {
            CODEC(codec, jpeg_set_colorspace)(&compressor, space);
            recordSpace();
        }
    }
    const Bytes file = Encode(codec, TestImage(3, 64, 64, 3), {.restartRows = 1});
    for (int round = 0; round < 64; ++round) {
        Decompressor decompressor(codec);
        CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
        CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
        decompressor.unread_marker = round % 8 == 7 ? 0xC4 : 0xD0 + round % 8;
        record.AddNumber(CODEC(codec, jpeg_resync_to_restart)(&decompressor, round / 8));
        record.AddNumber(decompressor.unread_marker);
        record.AddNumber(static_cast<int64_t>(decompressor.src->bytes_in_buffer));
    }
    jpeg_decompress_struct bare{};
    Errors errors(codec);
    bare.err = &errors;
    auto *common = reinterpret_cast<j_common_ptr>(&bare);
    bodies.Get<void(j_common_ptr)>("jinit_memory_mgr")(common);
    const JSAMPARRAY rows = bare.mem->alloc_sarray(common, JPOOL_IMAGE, 100, 50);
    for (int row = 0; row < 50; ++row)
        random.Fill(rows[row], 100);
    record.Add(rows[49], 100);
    record.AddNumber(bare.mem->max_memory_to_use);
    record.AddNumber(bare.mem->max_alloc_chunk);
    bare.mem->self_destruct(common);
    record.AddNumber(!bare.mem);
}
TONEKIT_TIER_CASE(ExerciseColourSpacesAndRestarts, "jinit_memory_mgr", "jpeg_default_colorspace",
                  "jpeg_resync_to_restart", "jpeg_set_colorspace");

} // namespace tonekit::tiers
