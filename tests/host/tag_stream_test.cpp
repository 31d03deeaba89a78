// tag_stream_test.cpp: inserting into and removing from files, held against the same steps on a string.
#include "host/tags/tag_stream.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace tonekit::host {
namespace {

using test::TemporaryFolder;

constexpr size_t kMiB = size_t{1} << 20; // what the stream moves at a time

std::string Letters(size_t size, uint32_t seed)
{
    std::mt19937 random(seed);
    std::string text;
    for (size_t i = 0; i < size; ++i)
        text += static_cast<char>(random());
    return text;
}

TagLib::ByteVector Bytes(const std::string &text)
{
    return TagLib::ByteVector(text.data(), static_cast<unsigned int>(text.size()));
}

TEST(TagStream, InsertsInPlaceOfAnyLengthIntoFilesOfAnyLength)
{
    TemporaryFolder folder;
    for (const size_t size : {size_t{0}, size_t{1}, size_t{100}, kMiB - 1, kMiB, kMiB + 1, 2 * kMiB + 1}) {
        const std::string old = Letters(size, 1);
        for (const size_t start : {size_t{0}, std::min<size_t>(size, 10), size}) {
            for (const size_t replaced : {size_t{0}, std::min<size_t>(size - start, 30)}) {
                for (const size_t length : {size_t{0}, size_t{7}, size_t{30}, size_t{5000}}) {
                    std::string expected = old;
                    const std::string inserted = Letters(length, 2);
                    test::WriteText(folder / "a", expected);
                    expected.replace(start, replaced, inserted);
                    TagStream stream((folder / "a"), TagStream::Access::Change);
                    stream.insert(Bytes(inserted), start, replaced);
                    stream.Close();
                    EXPECT_FALSE(stream.error());
                    ASSERT_TRUE(test::ReadText(folder / "a") == expected)
                        << size << " bytes, " << length << " for " << replaced << " at " << start;
                }
            }
        }
    }
}

TEST(TagStream, RemovesUpToTheEnd)
{
    TemporaryFolder folder;
    for (const size_t length : {size_t{0}, size_t{1}, kMiB, kMiB + 90, 3 * kMiB}) {
        std::string expected = Letters(2 * kMiB + 101, 3);
        test::WriteText(folder / "a", expected);
        expected.erase(100, length);
        TagStream stream((folder / "a"), TagStream::Access::Change);
        stream.removeBlock(100, length);
        stream.Close();
        ASSERT_TRUE(test::ReadText(folder / "a") == expected) << length;
    }
}

TEST(TagStream, ReadsNoMoreThanThereIs)
{
    TemporaryFolder folder;
    test::WriteText(folder / "a", "0123456789");
    TagStream stream((folder / "a"), TagStream::Access::Read);
    stream.seek(-4, TagLib::IOStream::End);
    EXPECT_EQ(stream.readBlock(0x7FFFFFFF), TagLib::ByteVector("6789"));
    EXPECT_EQ(stream.tell(), 10);
    EXPECT_TRUE(stream.readBlock(5).isEmpty());
    stream.seek(100, TagLib::IOStream::Beginning);
    EXPECT_TRUE(stream.readBlock(5).isEmpty());
    stream.seek(-200, TagLib::IOStream::Current);
    EXPECT_EQ(stream.tell(), 0);
}

// Reads of any size between changes, all of which a string has too.
TEST(TagStream, ReadsWhatIsThereNow)
{
    TemporaryFolder folder;
    std::mt19937 random(11);
    std::string expected = Letters(20000, 4);
    test::WriteText(folder / "a", expected);
    TagStream stream((folder / "a"), TagStream::Access::Change);
    const auto below = [&](size_t end) { return static_cast<size_t>(random() % end); };
    for (int i = 0; i < 3000; ++i) {
        const size_t place = below(expected.size() + 2);
        const size_t size = below(i % 7 == 0 ? 9000 : 20);
        stream.seek(static_cast<long>(place), TagLib::IOStream::Beginning);
        const std::string read = place < expected.size() ? expected.substr(place, size) : "";
        ASSERT_EQ(stream.readBlock(size), Bytes(read)) << "read " << i;
        const size_t change = std::min(place, expected.size());
        const std::string letters = Letters(size, static_cast<uint32_t>(random()));
        if (i % 5 == 0) {
            stream.seek(static_cast<long>(change), TagLib::IOStream::Beginning);
            stream.writeBlock(Bytes(letters));
            expected.replace(change, std::min(letters.size(), expected.size() - change), letters);
        } else if (i % 11 == 0) {
            stream.insert(Bytes(letters), change, std::min<size_t>(7, expected.size() - change));
            expected.replace(change, std::min<size_t>(7, expected.size() - change), letters);
        } else if (i % 13 == 0) {
            stream.removeBlock(change, size);
            expected.erase(change, size);
        } else if (i % 101 == 0 && expected.size() > 5000) {
            stream.truncate(5000);
            expected.resize(5000);
        }
    }
    stream.Close();
    EXPECT_FALSE(stream.error());
    EXPECT_TRUE(test::ReadText(folder / "a") == expected);
}

TEST(TagStream, KeepsTheErrorOfAFileThatIsntThere)
{
    TemporaryFolder folder;
    TagStream stream((folder / "none"), TagStream::Access::Read);
    EXPECT_FALSE(stream.isOpen());
    EXPECT_EQ(stream.error(), std::errc::no_such_file_or_directory);
}

} // namespace
} // namespace tonekit::host
