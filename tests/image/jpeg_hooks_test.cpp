// jpeg_hooks_test.cpp: the codec's stdio source and destination over the application's hooks.
#include "tests/support/codec_driver.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <tonekit/image.h>
#include <utility>
#include <tonekit/codec/jerror.h>

namespace tonekit::codec {
namespace {

// The calls of the hooks and what they returned. One stream at a time.
struct Stream {
    Bytes data;
    size_t position = 0;
    size_t most = 4096;          // elements returned by one call
    size_t failAfter = SIZE_MAX; // calls that succeed before writes fall short
    std::vector<size_t> counts;
    std::vector<void *> handles;
    bool wrongSize = false;
};
Stream stream;

size_t Read(void *buffer, size_t size, size_t count, void *handle)
{
    stream.counts.push_back(count);
    stream.handles.push_back(handle);
    stream.wrongSize |= size != 1;
    const size_t taken = std::min({count, stream.most, stream.data.size() - stream.position});
    std::copy_n(stream.data.begin() + static_cast<ptrdiff_t>(stream.position), taken,
                static_cast<unsigned char *>(buffer));
    stream.position += taken;
    return taken;
}

size_t Write(const void *buffer, size_t size, size_t count, void *handle)
{
    stream.counts.push_back(count);
    stream.handles.push_back(handle);
    stream.wrongSize |= size != 1;
    if (stream.counts.size() > stream.failAfter)
        return count - 1;
    const auto *bytes = static_cast<const uint8_t *>(buffer);
    stream.data.insert(stream.data.end(), bytes, bytes + count);
    return count;
}

class JpegHooks : public testing::Test {
protected:
    JpegHooks()
    {
        stream = Stream();
        JPEG_Init(Read, Write);
    }
    ~JpegHooks() override { JPEG_Init(nullptr, nullptr); }

    // Encodes to the write hook. Returns the code of the failure, or 0.
    int EncodeToHook(const Image &picture, void *handle = nullptr)
    {
        Compressor compressor(codec);
        CODEC(codec, jpeg_stdio_dest)(&compressor, static_cast<FILE *>(handle));
        Configure(compressor, picture, {});
        try {
            CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
            WriteRows(compressor, picture);
            CODEC(codec, jpeg_finish_compress)(&compressor);
        } catch (const Failure &failure) {
            text = failure.what();
            return failure.code;
        }
        return 0;
    }

    // Decodes from the read hook. Returns the code of the failure, or 0.
    int DecodeFromHook(void *handle = nullptr)
    {
        Decompressor decompressor(codec);
        CODEC(codec, jpeg_stdio_src)(&decompressor, static_cast<FILE *>(handle));
        int code = 0;
        try {
            decoded = DecodeFrom(decompressor, {});
        } catch (const Failure &failure) {
            code = failure.code;
            text = failure.what();
        }
        warnings = decompressor.errors.warnings;
        return code;
    }

    const Codec codec = BodyCodec('A');
    const Image image = TestImage(1, 200, 150, 3);
    Image decoded;
    std::vector<int> warnings;
    std::string text;
};

TEST_F(JpegHooks, TheFileThatComesOutIsTheOneMadeInMemory)
{
    EXPECT_EQ(EncodeToHook(image), 0);
    EXPECT_EQ(stream.data, Encode(codec, image, {}));
    EXPECT_FALSE(stream.wrongSize);
    EXPECT_EQ(DecodeFromHook(), 0);
    EXPECT_EQ(decoded, Decode(codec, stream.data));
    EXPECT_TRUE(warnings.empty());
    EXPECT_FALSE(stream.wrongSize);
}

TEST_F(JpegHooks, ReadsAskFor4096BytesOnly)
{
    stream.data = Encode(codec, image, {});
    EXPECT_EQ(DecodeFromHook(), 0);
    EXPECT_GT(stream.counts.size(), 1u);
    for (const size_t count : stream.counts)
        EXPECT_EQ(count, 4096u);
}

TEST_F(JpegHooks, WritesHave4096BytesButForTheRest)
{
    EXPECT_EQ(EncodeToHook(image), 0);
    ASSERT_GT(stream.counts.size(), 2u);
    for (size_t i = 0; i + 1 < stream.counts.size(); ++i)
        EXPECT_EQ(stream.counts[i], 4096u);
    EXPECT_EQ(stream.counts.back(), stream.data.size() % 4096);
}

TEST_F(JpegHooks, AMultipleOf4096BytesHasNoLastWrite)
{
    // A comment pads the file to two buffers exactly.
    const Image small = TestImage(2, 16, 16, 3);
    const size_t bare = Encode(codec, small, {}).size();
    const Bytes comment(2 * 4096 - bare - 4, 'x');
    Compressor compressor(codec);
    CODEC(codec, jpeg_stdio_dest)(&compressor, nullptr);
    Configure(compressor, small, {});
    CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
    CODEC(codec, jpeg_write_marker)
    (&compressor, JPEG_COM, comment.data(), static_cast<unsigned>(comment.size()));
    WriteRows(compressor, small);
    CODEC(codec, jpeg_finish_compress)(&compressor);
    EXPECT_EQ(stream.data.size(), 8192u);
    EXPECT_EQ(stream.counts, std::vector<size_t>({4096, 4096}));
}

TEST_F(JpegHooks, AHandleOfAnyValueReachesThemUnchanged)
{
    const Image small = TestImage(3, 24, 24, 3);
    for (void *handle :
         {static_cast<void *>(nullptr), reinterpret_cast<void *>(1), reinterpret_cast<void *>(UINTPTR_MAX)}) {
        stream = Stream();
        EXPECT_EQ(EncodeToHook(small, handle), 0);
        EXPECT_EQ(DecodeFromHook(handle), 0);
        ASSERT_EQ(stream.handles.size(), 2u);
        EXPECT_EQ(stream.handles, std::vector<void *>(2, handle));
    }
}

TEST_F(JpegHooks, AnyCountAboveZeroIsDataEnough)
{
    const Bytes file = Encode(codec, image, {.progressive = true});
    const Image expected = Decode(codec, file);
    for (const size_t most : {1u, 2u, 7u, 4095u}) {
        stream = Stream();
        stream.data = file;
        stream.most = most;
        EXPECT_EQ(DecodeFromHook(), 0);
        EXPECT_EQ(decoded, expected) << most;
        EXPECT_TRUE(warnings.empty());
    }
}

TEST_F(JpegHooks, AnEmptyFileIsError43)
{
    EXPECT_EQ(DecodeFromHook(), 43);
    EXPECT_EQ(text, "Empty input file");
    EXPECT_EQ(stream.counts.size(), 1u);
}

TEST_F(JpegHooks, NoReadHookIsAnEmptyFile)
{
    stream.data = Encode(codec, image, {});
    JPEG_Init(nullptr, Write);
    EXPECT_EQ(DecodeFromHook(), 43);
    EXPECT_TRUE(stream.counts.empty());
}

TEST_F(JpegHooks, TenBytesAndThenNoneGiveAWarningAndAnEndMarker)
{
    stream.data = Encode(codec, image, {});
    stream.data.resize(10);
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr);
    jpeg_source_mgr *source = decompressor.src;
    source->init_source(&decompressor);
    EXPECT_TRUE(source->fill_input_buffer(&decompressor));
    EXPECT_EQ(Bytes(source->next_input_byte, source->next_input_byte + source->bytes_in_buffer), stream.data);
    EXPECT_TRUE(decompressor.errors.warnings.empty());
    EXPECT_TRUE(source->fill_input_buffer(&decompressor));
    EXPECT_EQ(decompressor.errors.warnings, std::vector<int>({123}));
    ASSERT_EQ(source->bytes_in_buffer, 2u);
    EXPECT_EQ(source->next_input_byte[0], 0xFF);
    EXPECT_EQ(source->next_input_byte[1], 0xD9);
    char message[JMSG_LENGTH_MAX];
    decompressor.err->format_message(reinterpret_cast<j_common_ptr>(&decompressor), message);
    EXPECT_STREQ(message, "Premature end of JPEG file");
}

TEST_F(JpegHooks, ACutFileDecodesToItsEndWithWarnings)
{
    stream.data = Encode(codec, image, {});
    stream.data.resize(stream.data.size() / 2);
    EXPECT_EQ(DecodeFromHook(), 0);
    EXPECT_EQ(decoded.height, image.height);
    EXPECT_NE(std::count(warnings.begin(), warnings.end(), 123), 0);
}

TEST_F(JpegHooks, TheNextImageOfOneStreamMayBeginInTheBuffer)
{
    const Image second = TestImage(4, 40, 30, 3);
    const Bytes one = Encode(codec, image, {}), two = Encode(codec, second, {});
    stream.data = one;
    stream.data.insert(stream.data.end(), two.begin(), two.end());
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr);
    EXPECT_EQ(DecodeFrom(decompressor, {}), Decode(codec, one));
    EXPECT_EQ(DecodeFrom(decompressor, {}), Decode(codec, two));
    // Then the stream is empty, at the start of an image.
    try {
        DecodeFrom(decompressor, {});
        ADD_FAILURE() << "decoded nothing";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code, 43);
    }
}

TEST_F(JpegHooks, SkippingGoesOverFillBuffer)
{
    stream.data.resize(10000);
    for (size_t i = 0; i < stream.data.size(); ++i)
        stream.data[i] = static_cast<uint8_t>(i % 251);
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr);
    jpeg_source_mgr *source = decompressor.src;
    source->init_source(&decompressor);
    source->skip_input_data(&decompressor, 0);
    source->skip_input_data(&decompressor, -5);
    EXPECT_TRUE(stream.counts.empty());
    source->skip_input_data(&decompressor, 5000);
    EXPECT_EQ(stream.counts.size(), 2u);
    EXPECT_EQ(*source->next_input_byte, 5000 % 251);
    EXPECT_EQ(source->bytes_in_buffer, 8192u - 5000);
    source->skip_input_data(&decompressor, 6000); // past the end: made-up end markers are skipped too
    EXPECT_NE(decompressor.errors.warnings.size(), 0u);
}

TEST_F(JpegHooks, AShortWriteIsError38AtThatPoint)
{
    for (const size_t calls : {0u, 1u, 2u}) {
        stream = Stream();
        stream.failAfter = calls;
        EXPECT_EQ(EncodeToHook(image), 38);
        EXPECT_EQ(text, "Output file write error --- out of disk space?");
        EXPECT_EQ(stream.counts.size(), calls + 1);
    }
    // The last write, of the rest.
    stream = Stream();
    stream.failAfter = 0;
    EXPECT_EQ(EncodeToHook(TestImage(5, 8, 8, 3)), 38);
    EXPECT_LT(stream.counts[0], 4096u);
}

TEST_F(JpegHooks, NoWriteHookIsError38AtTheFirstWrite)
{
    JPEG_Init(Read, nullptr);
    EXPECT_EQ(EncodeToHook(TestImage(6, 8, 8, 3)), 38);
    EXPECT_EQ(EncodeToHook(image), 38);
    EXPECT_TRUE(stream.counts.empty());
}

TEST_F(JpegHooks, HooksAreReadAnewAtEachCall)
{
    Compressor compressor(codec);
    CODEC(codec, jpeg_stdio_dest)(&compressor, nullptr);
    Configure(compressor, image, {});
    JPEG_Init(nullptr, nullptr); // nothing is written yet
    CODEC(codec, jpeg_start_compress)(&compressor, TRUE);
    JPEG_Init(nullptr, Write);
    WriteRows(compressor, image);
    CODEC(codec, jpeg_finish_compress)(&compressor);
    EXPECT_EQ(stream.data, Encode(codec, image, {}));
}

TEST_F(JpegHooks, ACountBeyondTheBufferIsCutToIt)
{
    JPEG_Init(
        [](void *buffer, size_t, size_t count, void *) -> size_t {
            std::memset(buffer, 0, count);
            return SIZE_MAX;
        },
        nullptr);
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr);
    decompressor.src->init_source(&decompressor);
    EXPECT_TRUE(decompressor.src->fill_input_buffer(&decompressor));
    EXPECT_EQ(decompressor.src->bytes_in_buffer, 4096u);
}

TEST_F(JpegHooks, AnObjectWithAnotherKindOfManagerIsRefused)
{
    const Bytes file = Encode(codec, image, {});
    Decompressor decompressor(codec);
    CODEC(codec, jpeg_mem_src)(&decompressor, file.data(), file.size());
    try {
        CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr);
        ADD_FAILURE() << "source taken over";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code, JERR_BUFFER_SIZE);
    }
    Compressor compressor(codec);
    unsigned char *data = nullptr;
    unsigned long size = 0;
    CODEC(codec, jpeg_mem_dest)(&compressor, &data, &size);
    try {
        CODEC(codec, jpeg_stdio_dest)(&compressor, nullptr);
        ADD_FAILURE() << "destination taken over";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code, JERR_BUFFER_SIZE);
    }
    std::free(data);
}

// Memory with a finished source in it for the next record, and none for what comes after that.
jpeg_source_mgr *nextRecord = nullptr;

void *OneRecordAlone(j_common_ptr cinfo, int, size_t)
{
    if (!nextRecord)
        cinfo->err->error_exit(cinfo);
    return std::exchange(nextRecord, nullptr);
}

TEST_F(JpegHooks, ASourceThatGotNoBufferIsRefusedLater)
{
    Decompressor whole(codec);
    CODEC(codec, jpeg_stdio_src)(&whole, nullptr);
    ASSERT_NE(whole.src->init_source, nullptr);
    nextRecord = whole.src;
    Decompressor decompressor(codec);
    const auto allocate = std::exchange(decompressor.mem->alloc_small, OneRecordAlone);
    EXPECT_THROW(CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr), Failure);
    decompressor.mem->alloc_small = allocate;
    ASSERT_NE(decompressor.src, nullptr);
    try {
        CODEC(codec, jpeg_stdio_src)(&decompressor, nullptr);
        ADD_FAILURE() << "a source without a buffer taken for a finished one";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.code, JERR_BUFFER_SIZE);
    }
}

TEST_F(JpegHooks, AnObjectMayBeSetUpAgainByAnyBody)
{
    Decompressor decompressor(codec);
    Compressor compressor(codec);
    for (const Codec &body : AllBodies()) {
        CODEC(body, jpeg_stdio_src)(&decompressor, nullptr);
        CODEC(body, jpeg_stdio_dest)(&compressor, nullptr);
    }
    jpeg_stdio_src(&decompressor, nullptr);
    jpeg_stdio_dest(&compressor, nullptr);
    EXPECT_EQ(decompressor.src->bytes_in_buffer, 0u);
    EXPECT_EQ(decompressor.src->resync_to_restart, jpeg_resync_to_restart);
}

} // namespace
} // namespace tonekit::codec
