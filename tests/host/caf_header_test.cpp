// caf_header_test.cpp: CAF files with long chunks before their samples, from files and pipes.
#include "host/audio/audio_reader.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <array>
#include <gtest/gtest.h>

namespace tonekit::host::test {
namespace {

using namespace std::string_literals;

std::string Chunk(const std::string &name, size_t size)
{
    std::string header = name + std::string(8, '\0');
    for (size_t i = 0; i < 4; ++i)
        header[8 + i] = static_cast<char>(size >> (24 - 8 * i));
    return header + std::string(size, 'x');
}

// A CAF file of 100 frames of 16 bit stereo, with this between its description and its samples.
class LongCafHeader : public testing::Test {
protected:
    void SetUp() override
    {
        WriteSound(folder_ / "a", sound_);
        file_ = ReadText(folder_ / "a");
        data_ = file_.find("data");
        ASSERT_NE(data_, std::string::npos);
    }

    void Write(const std::string &chunks, bool open)
    {
        std::string data = file_.substr(data_);
        if (open)
            data.replace(4, 8, 8, '\xFF');
        WriteText(folder_ / "b", file_.substr(0, 52) + chunks + data);
    }

    AudioReader Opened(bool pipe) const
    {
        if (!pipe)
            return AudioReader(PathFromUtf8(folder_ / "b"));
        File file;
        EXPECT_FALSE(file.OpenToRead(PathFromUtf8(folder_ / "b")));
        return AudioReader(std::move(file), "stream");
    }

    void ExpectSamples(AudioReader &reader) const
    {
        std::array<int16_t, 400> samples{};
        ASSERT_EQ(reader.Read(samples.data(), 200), 100u);
        for (size_t i = 0; i < 200; ++i)
            ASSERT_EQ(samples[i], sound_.samples[i] >> 16) << i;
    }

    TemporaryFolder folder_;
    const Sound sound_ = Noise(SF_FORMAT_CAF | SF_FORMAT_PCM_16, 44100, 2, 100);
    std::string file_;
    size_t data_ = 0;
};

TEST_F(LongCafHeader, IsReadToTheSample)
{
    for (const size_t size : {0u, 40000u, 51000u, 51136u, 51137u, 60000u, 110000u, 4u << 20}) {
        for (const bool open : {false, true}) {
            Write(Chunk("free", size), open);
            for (const bool pipe : {false, true}) {
                SCOPED_TRACE(std::to_string(size) + (open ? " open" : "") + (pipe ? " pipe" : ""));
                AudioReader reader = Opened(pipe);
                ExpectSamples(reader);
                if (!pipe) {
                    reader.Rewind();
                    ExpectSamples(reader);
                }
            }
        }
    }
}

TEST_F(LongCafHeader, KeepsWhatReadersNeed)
{
    Write(Chunk("free", 30000) + Chunk("pakt", 30000) + Chunk("uuid", 30000), false);
    for (const bool pipe : {false, true}) {
        AudioReader reader = Opened(pipe);
        ExpectSamples(reader);
    }
}

TEST_F(LongCafHeader, IsRefusedWhereAllOfItIsNeeded)
{
    std::string many;
    for (int i = 0; i < 10001; ++i)
        many += Chunk("free", 0);
    for (const std::string &chunks : {Chunk("pakt", 60000), many}) {
        Write(chunks, false);
        for (const bool pipe : {false, true}) {
            try {
                Opened(pipe);
                ADD_FAILURE() << chunks.size();
            } catch (const Failure &failure) {
                // A reader of a pipe doesn't go through so many chunks.
                const std::string what =
                    pipe && chunks == many ? "stream: " : "has too much before its samples";
                EXPECT_NE(std::string(failure.what()).find(what), std::string::npos) << failure.what();
            }
        }
    }
}

} // namespace
} // namespace tonekit::host::test
