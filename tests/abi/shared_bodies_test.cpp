// shared_bodies_test.cpp: which letters share a body, in the finished library.
#include "tests/support/bodies.h"
#include "tests/support/shared_library.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace tonekit {
namespace {

class SharedBodies : public testing::Test {
protected:
    void *Address(const std::string &name) const { return library_.Address(name); }

    // Letters grouped by body, such as "A=R=S=V L M=N=P".
    std::string Groups(const std::string &name) const
    {
        std::string text;
        std::map<void *, bool> seen;
        for (const char *first = kTierLetters; *first; ++first) {
            void *body = Address(name + "." + *first);
            EXPECT_NE(body, nullptr) << name << "." << *first;
            if (seen[body])
                continue;
            seen[body] = true;
            text += text.empty() ? "" : " ";
            for (const char *letter = first; *letter; ++letter)
                if (Address(name + "." + *letter) == body)
                    text += letter == first ? std::string(1, *letter) : std::string("=") + *letter;
        }
        return text;
    }

    SharedLibrary library_{TONEKIT_LIBRARY};
};

TEST_F(SharedBodies, ResampleHasSix)
{
    EXPECT_EQ(Groups("_ZN21CSampleRateConverter38ResampleEjb"), "A L M=N P R=S V");
}

TEST_F(SharedBodies, ChangeChannelOrderHasThree)
{
    EXPECT_EQ(Groups("ChangeChannelOrder"), "A=R=S=V L M=N=P");
}

// The same letters share as in the program's own table of bodies.
TEST_F(SharedBodies, EveryFunctionSharesAsTheDispatchListSays)
{
    int compared = 0;
    for (const char *name : DispatchedNames()) {
        if (!Address(std::string(name) + ".A"))
            continue;
        for (const char *one = kTierLetters; *one; ++one)
            for (const char *other = kTierLetters; *other; ++other)
                EXPECT_EQ(Address(std::string(name) + "." + *one) ==
                              Address(std::string(name) + "." + *other),
                          BodyAddress(name, *one) == BodyAddress(name, *other))
                    << name << " " << *one << " " << *other;
        ++compared;
    }
    EXPECT_GT(compared, 70);
}

TEST_F(SharedBodies, EntriesStandBesideTheirBodies)
{
    for (const char *name : {"ChangeChannelOrder", "SRC4_Init", "_ZN21CSampleRateConverter38ResampleEjb"})
        for (const char *letter = kTierLetters; *letter; ++letter)
            EXPECT_NE(Address(name), Address(std::string(name) + "." + *letter));
}

TEST_F(SharedBodies, BothConstructorNamesAreOneAddress)
{
    for (const std::string suffix : {"", ".A", ".L", ".M", ".N", ".P", ".R", ".S", ".V"}) {
        EXPECT_EQ(Address("_ZN21CSampleRateConverter3C1Ev" + suffix),
                  Address("_ZN21CSampleRateConverter3C2Ev" + suffix));
        EXPECT_EQ(Address("_ZN21CSampleRateConverter4C1Ev" + suffix),
                  Address("_ZN21CSampleRateConverter4C2Ev" + suffix));
        EXPECT_NE(Address("_ZN21CSampleRateConverter3C1Ev" + suffix),
                  Address("_ZN21CSampleRateConverter4C1Ev" + suffix));
    }
}

} // namespace
} // namespace tonekit
