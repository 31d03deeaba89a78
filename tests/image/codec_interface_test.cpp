// codec_interface_test.cpp: what the codec is built with and without, its memory and errors, and the calls
// beyond plain coding: profiles, parts of an image, lossless transformation.
#include "tests/support/bodies.h"
#include "tests/support/codec_driver.h"
#include "tests/support/environment.h"
#include "tests/support/failing_malloc.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <tonekit/codec/jerror.h>
#include <tonekit/codec/transupp.h>

namespace tonekit::codec {
namespace {

using Memory = std::unique_ptr<unsigned char, decltype(&std::free)>;

class CodecInterface : public testing::TestWithParam<char> {
protected:
    const Codec codec = BodyCodec(GetParam());
    const Image image = TestImage(1, 160, 128, 3);
};

std::vector<char> DistinctLetters()
{
    std::vector<char> letters;
    for (const Codec &body : AllBodies())
        letters.push_back(body.Label().back());
    return letters;
}
INSTANTIATE_TEST_SUITE_P(Bodies, CodecInterface, testing::ValuesIn(DistinctLetters()));

TEST_P(CodecInterface, NoVectorKernelIsThere)
{
    int kernels = 0;
    for (const char *name : DispatchedNames()) {
        if (std::strncmp(name, "jsimd_", 6) != 0)
            continue;
        ++kernels;
        if (std::strstr(name, "_can_") || std::strcmp(name, "jsimd_encode_mcu_AC_refine_prepare") == 0) {
            EXPECT_EQ(codec.Get<int()>(name)(), 0) << name;
        } else if (std::strcmp(name, "jsimd_huff_encode_one_block") == 0) {
            EXPECT_EQ(codec.Get<void *()>(name)(), nullptr);
        } else {
            codec.Get<void()>(name)();
        }
    }
    EXPECT_EQ(kernels, 66);
}

TEST_P(CodecInterface, MemoryIsTheHeapAloneAndGrantsWhatIsAsked)
{
    Decompressor object(codec);
    auto *common = reinterpret_cast<j_common_ptr>(&object);
    EXPECT_EQ(codec.Get<long(j_common_ptr)>("jpeg_mem_init")(common), 0);
    auto &available = codec.Get<size_t(j_common_ptr, size_t, size_t, size_t)>("jpeg_mem_available");
    EXPECT_EQ(object.mem->max_memory_to_use, 0);
    EXPECT_EQ(available(common, 10, size_t{1} << 40, 5), size_t{1} << 40);
    object.mem->max_memory_to_use = 1000;
    EXPECT_EQ(available(common, 10, 5000, 300), 700u);
    EXPECT_EQ(available(common, 10, 5000, 1000), 0u);
    try {
        codec.Get<void(j_common_ptr, void *, long)>("jpeg_open_backing_store")(common, nullptr, 1);
        ADD_FAILURE() << "a temporary file";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code, 51);
        EXPECT_STREQ(failure.what(), "Backing store not supported");
    }
}

TEST_P(CodecInterface, NoEnvironmentVariableLimitsTheMemory)
{
    SetVariable("JPEGMEM", "1");
    const Decompressor object(codec);
    RemoveVariable("JPEGMEM");
    EXPECT_EQ(object.mem->max_memory_to_use, 0);
}

TEST_P(CodecInterface, OtherVersionsAreRefused)
{
    Errors errors(codec);
    for (const int version : {62, 70, 79, 81}) {
        jpeg_decompress_struct decompress{};
        jpeg_compress_struct compress{};
        decompress.err = &errors;
        compress.err = &errors;
        const std::string expected =
            "Wrong JPEG library version: library is 80, caller expects " + std::to_string(version);
        for (const bool compressing : {false, true})
            try {
                if (compressing)
                    CODEC(codec, jpeg_CreateCompress)(&compress, version, sizeof(compress));
                else
                    CODEC(codec, jpeg_CreateDecompress)(&decompress, version, sizeof(decompress));
                ADD_FAILURE() << "created";
            } catch (const Failure &failure) {
                EXPECT_EQ(failure.code, JERR_BAD_LIB_VERSION);
                EXPECT_EQ(failure.what(), expected);
            }
    }
}

TEST_P(CodecInterface, TheStandardErrorManagerEndsTheProcess)
{
    jpeg_error_mgr manager;
    EXPECT_EQ(CODEC(codec, jpeg_std_error)(&manager), &manager);
    EXPECT_EQ(manager.last_jpeg_message, 130);
    EXPECT_STREQ(manager.jpeg_message_table[43], "Empty input file");
    jpeg_decompress_struct object{};
    object.err = &manager;
    EXPECT_EXIT(CODEC(codec, jpeg_CreateDecompress)(&object, 62, sizeof(object)), testing::ExitedWithCode(1),
                "Wrong JPEG library version: library is 80, caller expects 62");
}

TEST_P(CodecInterface, ProfilesOfAnySizeComeBack)
{
    for (const size_t size : {1u, 100u, 65519u, 65520u, 200000u}) {
        Bytes profile(size);
        for (size_t i = 0; i < size; ++i)
            profile[i] = static_cast<uint8_t>(i * 7 + i / 256);
        Compressor compressor(codec);
        unsigned char *data = nullptr;
        unsigned long bytes = 0;
        CODEC(codec, jpeg_mem_dest)(&compressor, &data, &bytes);
        Configure(compressor, image, {});
        CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
        CODEC(codec, jpeg_write_icc_profile)(&compressor, profile.data(), static_cast<unsigned>(size));
        WriteRows(compressor, image);
        CODEC(codec, jpeg_finish_compress)(&compressor);
        const Memory owner(data, std::free);

        Decompressor decompressor(codec);
        CODEC(codec, jpeg_mem_src)(&decompressor, data, bytes);
        CODEC(codec, jpeg_save_markers)(&decompressor, JPEG_APP0 + 2, 0xFFFF);
        CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
        JOCTET *read = nullptr;
        unsigned length = 0;
        ASSERT_TRUE(CODEC(codec, jpeg_read_icc_profile)(&decompressor, &read, &length)) << size;
        const Memory readOwner(read, std::free);
        EXPECT_EQ(Bytes(read, read + length), profile);
    }
}

TEST_P(CodecInterface, APartDecodesLikeThePartOfTheWhole)
{
    const Bytes file = Encode(codec, image, {.horizontal = 1, .vertical = 1});
    const Image whole = Decode(codec, file);
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    CODEC(codec, jpeg_start_decompress)(&decompressor);
    JDIMENSION left = 37, width = 50;
    CODEC(codec, jpeg_crop_scanline)(&decompressor, &left, &width);
    EXPECT_EQ(left, 32u); // a whole block
    EXPECT_EQ(width, 55u);
    EXPECT_EQ(CODEC(codec, jpeg_skip_scanlines)(&decompressor, 29), 29u);
    for (uint32_t y = 29; y < 100; ++y) {
        Bytes row(width * 3);
        JSAMPROW rows = row.data();
        ASSERT_EQ(CODEC(codec, jpeg_read_scanlines)(&decompressor, &rows, 1), 1u);
        const uint8_t *expected = whole.samples.data() + (y * whole.width + left) * 3;
        ASSERT_EQ(row, Bytes(expected, expected + row.size())) << y;
    }
}

// Applies a lossless transformation to a file.
Bytes Transformed(const Codec &codec, const Bytes &file, JXFORM_CODE code, const char *crop = nullptr)
{
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    CODEC(codec, jpeg_read_header)(&decompressor, TRUE);
    jpeg_transform_info info{};
    info.transform = code;
    EXPECT_TRUE(!crop || CODEC(codec, jtransform_parse_crop_spec)(&info, crop));
    EXPECT_TRUE(CODEC(codec, jtransform_request_workspace)(&decompressor, &info));
    jvirt_barray_ptr *coefficients = CODEC(codec, jpeg_read_coefficients)(&decompressor);
    Compressor compressor(codec);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
    CODEC(codec, jpeg_copy_critical_parameters)(&decompressor, &compressor);
    jvirt_barray_ptr *turned =
        CODEC(codec, jtransform_adjust_parameters)(&decompressor, &compressor, coefficients, &info);
    CODEC(codec, jpeg_write_coefficients)(&compressor, turned);
    CODEC(codec, jtransform_execute_transform)(&decompressor, &compressor, coefficients, &info);
    CODEC(codec, jpeg_finish_compress)(&compressor);
    CODEC(codec, jpeg_finish_decompress)(&decompressor);
    const Memory owner(data, std::free);
    return {data, data + size};
}

// The pixel of the result at x, y comes from where(x, y) of the original.
template <class Where>
Image Moved(const Image &from, uint32_t width, uint32_t height, Where where)
{
    Image to{width, height, from.components, {}};
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const auto [fromX, fromY] = where(x, y);
            const auto *pixel = from.samples.data() + (fromY * from.width + fromX) * 3;
            to.samples.insert(to.samples.end(), pixel, pixel + 3);
        }
    return to;
}

TEST_P(CodecInterface, CoefficientsCopyWithoutLoss)
{
    for (const bool progressive : {false, true})
        for (const bool arithmetic : {false, true}) {
            const Bytes file = Encode(codec, image, {.progressive = progressive, .arithmetic = arithmetic});
            EXPECT_EQ(Decode(codec, Transformed(codec, file, JXFORM_NONE)), Decode(codec, file));
        }
}

TEST_P(CodecInterface, TransformationsMovePixels)
{
    const Bytes file = Encode(codec, image, {.quality = 95, .horizontal = 1, .vertical = 1});
    const Image whole = Decode(codec, file);
    const uint32_t width = whole.width, height = whole.height;
    using Point = std::pair<uint32_t, uint32_t>;
    const auto expect = [&](JXFORM_CODE code, uint32_t newWidth, uint32_t newHeight, auto where) {
        const Image turned = Decode(codec, Transformed(codec, file, code));
        ASSERT_EQ(turned.width, newWidth);
        ASSERT_EQ(turned.height, newHeight);
        // The transform back from coefficients rounds a turned block a little differently.
        EXPECT_GT(PeakSignalToNoise(turned, Moved(whole, newWidth, newHeight, where)), 45.0) << code;
    };
    expect(JXFORM_FLIP_H, width, height, [=](uint32_t x, uint32_t y) { return Point(width - 1 - x, y); });
    expect(JXFORM_FLIP_V, width, height, [=](uint32_t x, uint32_t y) { return Point(x, height - 1 - y); });
    expect(JXFORM_ROT_180, width, height,
           [=](uint32_t x, uint32_t y) { return Point(width - 1 - x, height - 1 - y); });
    expect(JXFORM_TRANSPOSE, height, width, [=](uint32_t x, uint32_t y) { return Point(y, x); });
    expect(JXFORM_TRANSVERSE, height, width,
           [=](uint32_t x, uint32_t y) { return Point(width - 1 - y, height - 1 - x); });
    expect(JXFORM_ROT_90, height, width, [=](uint32_t x, uint32_t y) { return Point(y, height - 1 - x); });
    expect(JXFORM_ROT_270, height, width, [=](uint32_t x, uint32_t y) { return Point(width - 1 - y, x); });
}

TEST_P(CodecInterface, FourQuarterTurnsAreNone)
{
    const Bytes file = Encode(codec, image, {});
    Bytes turned = file;
    for (int i = 0; i < 4; ++i)
        turned = Transformed(codec, turned, JXFORM_ROT_90);
    EXPECT_EQ(Decode(codec, turned), Decode(codec, file));
}

TEST_P(CodecInterface, CropsKeepWholeBlocksExactly)
{
    const Bytes file = Encode(codec, image, {.horizontal = 1, .vertical = 1});
    const Image cropped = Decode(codec, Transformed(codec, file, JXFORM_NONE, "64x48+32+24"));
    EXPECT_EQ(cropped, Moved(Decode(codec, file), 64, 48,
                             [](uint32_t x, uint32_t y) { return std::pair(x + 32, y + 24); }));
}

// The n-th allocation fails, which the memory manager may get over by asking for less. Says whether it came
// to that.
template <class Work>
bool FailOne(uint64_t n, int &failures, Work work)
{
    FailAllocation(n);
    try {
        work();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code, JERR_OUT_OF_MEMORY) << n;
        ++failures;
    }
    const bool failed = AllocationHasFailed();
    AllowAllocations();
    return failed;
}

TEST_P(CodecInterface, EveryFailingAllocationIsGotOverOrEndsInTheErrorPath)
{
    const Image small = TestImage(2, 48, 40, 3);
    const Encoding encoding = {.progressive = true};
    const Bytes file = Encode(codec, small, encoding);
    const Image decoded = Decode(codec, file);
    const int64_t before = LiveAllocations();
    int failures = 0;
    const auto encode = [&] {
        unsigned char *data = nullptr;
        unsigned long size = 0;
        const std::unique_ptr<unsigned char *, void (*)(unsigned char **)> owner(
            &data, [](auto *p) { std::free(*p); });
        Compressor compressor(codec);
        CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
        Configure(compressor, small, encoding);
        CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
        WriteRows(compressor, small);
        CODEC(codec, jpeg_finish_compress)(&compressor);
        EXPECT_EQ(Bytes(data, data + size), file);
    };
    uint64_t n = 1;
    while (FailOne(n, failures, encode))
        ++n;
    EXPECT_GT(n, 10u);
    for (n = 1; FailOne(n, failures, [&] { EXPECT_EQ(Decode(codec, file), decoded); });)
        ++n;
    EXPECT_GT(n, 5u);
    EXPECT_GT(failures, 5);
    EXPECT_EQ(LiveAllocations(), before);
}

} // namespace
} // namespace tonekit::codec
