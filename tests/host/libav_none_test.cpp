// libav_none_test.cpp: what a program says that is built without libavformat.
#include "host/open_source.h"
#include "host/system/failure.h"
#include "tests/host/temporary_folder.h"

#include <gtest/gtest.h>

namespace tonekit::host {
namespace {

using test::TemporaryFolder;
using test::WriteText;

std::string RefusalOf(const std::string &name)
{
    try {
        OpenAudioFile(name, "a");
        return "";
    } catch (const Failure &failure) {
        return failure.what();
    }
}

TEST(WithoutLibav, ARefusedTypeSaysWhatIsMissing)
{
    const TemporaryFolder folder;
    const std::string zeros(100, '\0');
    const std::string adts = std::string("\xFF\xF1\x50\x80\x01\x1F\xFC\x00", 8);
    for (const std::string &beginning :
         {std::string("\0\0\0\x20", 4) + "ftypM4A ", std::string("wvpk"), std::string("MAC \x96\x0F"),
          std::string("DSD "), std::string("FRM8"), std::string("TTA1"), std::string("\x1A\x45\xDF\xA3"),
          std::string("ID3\4\0\0\0\0\0\3\0\0\0wvpk", 17), adts + adts}) {
        WriteText(folder / "a", beginning + zeros);
        EXPECT_EQ(RefusalOf(folder / "a"),
                  "a: needs libavformat, and this program is built without: install libavformat-dev "
                  "libavcodec-dev libavutil-dev and build again");
    }
}

TEST(WithoutLibav, OtherFilesAreRefusedAsEver)
{
    const TemporaryFolder folder;
    for (const char *text : {"nothing that is known", "\xFF\xFB\x50\x80 no audio", "wvp"}) {
        WriteText(folder / "a", text);
        EXPECT_NE(RefusalOf(folder / "a").find("a: not an audio file that can be read ("), std::string::npos)
            << RefusalOf(folder / "a");
    }
}

} // namespace
} // namespace tonekit::host
