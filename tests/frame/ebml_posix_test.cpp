// ebml_posix_test.cpp: UTF-16 paths become UTF-8 file names, byte for byte.
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <tonekit/frame.h>

namespace {

TEST(EbmlPaths, EveryCharacterHasItsUtf8Form)
{
    const struct {
        std::u16string path;
        std::string name;
    } rows[] = {
        {u"\u007F", "\x7F"},
        {u"\u0080", "\xC2\x80"},
        {u"\u07FF", "\xDF\xBF"},
        {u"\u0800", "\xE0\xA0\x80"},
        {u"\uD7FF", "\xED\x9F\xBF"},
        {u"\uE000", "\xEE\x80\x80"},
        {u"\uFFFF", "\xEF\xBF\xBF"},
        {u"\U00010000", "\xF0\x90\x80\x80"},
        {u"\U0010FFFF", "\xF4\x8F\xBF\xBF"},
        // A surrogate without its partner is U+FFFD, and takes nothing with it.
        {{0xD800}, "\xEF\xBF\xBD"},
        {{0xDBFF, u'x'}, "\xEF\xBF\xBDx"},
        {{0xDC00}, "\xEF\xBF\xBD"},
        {{0xDFFF, u'x'}, "\xEF\xBF\xBDx"},
        {{0xDC00, 0xD800}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {{0xD800, 0xD800, 0xDC00}, "\xEF\xBF\xBD\xF0\x90\x80\x80"},
        {{0xD800, 0xE000}, "\xEF\xBF\xBD\xEE\x80\x80"},
    };
    const std::filesystem::path folder = std::filesystem::path(testing::TempDir()) / "ebml_paths";
    std::filesystem::create_directories(folder);
    for (const auto &row : rows) {
        const std::string file = (folder / (row.name + ".mkv")).string();
        std::ofstream(file, std::ios::binary) << "\x1A\x45\xDF\xA3";
        EXPECT_EQ(DetectEbml((folder.u16string() + u"/" + row.path + u".mkv").c_str()), 1u) << row.name;
        std::filesystem::remove(file);
    }
    std::filesystem::remove_all(folder);
}

} // namespace
