// long_file_windows_test.cpp: TagLib counts in 31 bits on Windows, and files may be longer than that.
#include "host/tags/tag_reader.h"
#include "host/tags/tag_writer.h"
#include "tests/host/audio_files.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

TEST(TagsOfALongFile, AreLeftAloneWithAWarning)
{
    constexpr uintmax_t kSize = uintmax_t{3} << 30;
    test::TemporaryFolder folder;
    test::WriteSound(folder / "a.wav", test::Tone(SF_FORMAT_WAV | SF_FORMAT_PCM_16, 44100, 2, 100, 440));
    std::filesystem::resize_file(folder / "a.wav", kSize);
    std::vector<std::string> warnings;
    const TagBlockPointer block = NewTagBlock();
    ReadTags(folder / "a.wav", TagKind::Wav, {}, block.get(), warnings);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0], folder / "a.wav" + ": the file is too long for its tags to be read");

    ID3Helper_AddStr(block.get(), "TITLE", "Long");
    warnings.clear();
    WriteTags(folder / "a.wav", TagKind::Wav, block.get(), 0, "a.wav", warnings);
    EXPECT_EQ(warnings, std::vector<std::string>{"a.wav: the tags could not be written"});
    EXPECT_EQ(std::filesystem::file_size(folder / "a.wav"), kSize);
}

} // namespace
} // namespace tonekit::host
