// completeness_coded_test.cpp: how long the headers of further types say that their files are.
#include "host/libav/completeness_coded.h"
#include "host/system/memory_bytes.h"
#include "tests/host/number_bytes.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using namespace std::string_literals;
using test::Little;

// The objects of a header, which count a file of 1000 bytes; the one that does so comes after another.
std::string AsfHeader(uint64_t sizeOfFirst, uint32_t flags)
{
    const std::string first = std::string(16, 'x') + Little(sizeOfFirst, 8) + std::string(10, 'y');
    const std::string properties = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\0\xC0\x0C\x20\x53\x65"s +
                                   Little(104, 8) + std::string(16, 'f') + Little(1000, 8) +
                                   std::string(40, '\0') + Little(flags, 4) + std::string(12, '\0');
    const std::string objects = first + properties;
    return "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\0\xAA\0\x62\xCE\x6C"s + Little(30 + objects.size(), 8) +
           Little(2, 4) + "\1\2" + objects;
}

uint64_t EndOf(const std::string &content)
{
    MemoryBytes memory({reinterpret_cast<const unsigned char *>(content.data()), content.size()});
    HeaderBytes bytes(memory);
    return EndOfCodedType(bytes, 0);
}

uint64_t MissingFrom(const std::string &content)
{
    MemoryBytes memory({reinterpret_cast<const unsigned char *>(content.data()), content.size()});
    HeaderBytes bytes(memory);
    return MissingFromCodedType(bytes);
}

TEST(AsfFiles, AreAsLongAsAnObjectOfTheirHeaderSays)
{
    const std::string header = AsfHeader(34, 0);
    EXPECT_EQ(MissingFrom(header), 1000 - header.size());
    EXPECT_EQ(MissingFrom(header + std::string(1000 - header.size(), 'z')), 0u);
    EXPECT_EQ(MissingFrom(AsfHeader(34, 1)), 0u); // of a live stream, which nobody counts
    EXPECT_EQ(MissingFrom(AsfHeader(23, 0)), 0u); // smaller than itself
    EXPECT_EQ(MissingFrom(AsfHeader(100'000, 0)), 0u);
}

// A list of a name and so many bytes.
std::string AviPart(const std::string &name, size_t size)
{
    return "RIFF" + Little(size, 4) + name + std::string(size - 4, 'x');
}

TEST(AviFiles, AreAsLongAsTheirPartsSay)
{
    const std::string first = AviPart("AVI ", 100);
    EXPECT_EQ(MissingFrom(first), 0u);
    EXPECT_EQ(MissingFrom(first.substr(0, 107)), 1u);
    EXPECT_EQ(MissingFrom(first.substr(0, 12)), 96u);
    // After an odd size comes a byte that isn't counted.
    EXPECT_EQ(MissingFrom(AviPart("AVI ", 101)), 0u);
    EXPECT_EQ(MissingFrom(AviPart("AVI ", 101) + '\0' + AviPart("AVIX", 50).substr(0, 50)), 8u);
    const std::string all = first + AviPart("AVIX", 50) + AviPart("AVIX", 60);
    EXPECT_EQ(MissingFrom(all), 0u);
    EXPECT_EQ(MissingFrom(all.substr(0, all.size() - 5)), 5u);
    EXPECT_EQ(MissingFrom(all.substr(0, 108 + 30)), 28u);
    EXPECT_EQ(MissingFrom(first + AviPart("WAVE", 50).substr(0, 20)), 0u); // something else
    for (const uint64_t open : {0ULL, 0xFFFFFFFFULL}) {
        const std::string header = "RIFF" + Little(open, 4) + "AVI xxxx";
        EXPECT_EQ(MissingFrom(header), 0u);
        EXPECT_EQ(EndOf(header), 0u);
    }
    EXPECT_EQ(EndOf(all), 108u); // the first part
    EXPECT_EQ(MissingFrom("RIFF" + Little(50, 4) + "WAVE"), 0u);
}

} // namespace
} // namespace tonekit::host
