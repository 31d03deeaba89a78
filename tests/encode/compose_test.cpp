// compose_test.cpp: characters and combining marks joined to precomposed characters.
#include "encode/compose.h"
#include "encode/composition_table.h"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace {

std::u16string Composed(const std::u16string &text)
{
    std::u16string out(text.size(), u'#');
    out.resize(tonekit::Compose(text.data(), text.size(), out.data()));
    return out;
}

bool MayCompose(const std::u16string &text)
{
    uint32_t bits = 0;
    for (const char16_t unit : text)
        bits |= unit;
    return tonekit::MayCompose(text.data(), text.size(), bits);
}

std::u16string TextOf(std::initializer_list<char32_t> characters)
{
    std::u16string text;
    for (const char32_t character : characters) {
        if (character >= 0x10000) {
            text += static_cast<char16_t>(0xD7C0 + (character >> 10));
            text += static_cast<char16_t>(0xDC00 | (character & 0x3FF));
        } else {
            text += static_cast<char16_t>(character);
        }
    }
    return text;
}

} // namespace

TEST(Compose, JoinsALetterAndItsMark)
{
    EXPECT_EQ(Composed(u"e\u0301"), u"\u00e9");
    EXPECT_EQ(Composed(u"xe\u0301y"), u"x\u00e9y");
    EXPECT_EQ(Composed(u"A\u030a"), u"\u00c5");
    EXPECT_EQ(Composed(u"\u0438\u0306"), u"\u0439");
    EXPECT_EQ(Composed(u"\u304b\u3099"), u"\u304c");
    EXPECT_EQ(Composed(u"\u0928\u093c"), u"\u0929");
}

TEST(Compose, TakesMarksInTurn)
{
    EXPECT_EQ(Composed(u"e\u0302\u0301"), u"\u1ebf");
    EXPECT_EQ(Composed(u"u\u0308\u0304"), u"\u01d6");
    EXPECT_EQ(Composed(u"e\u0301\u0301"), u"\u00e9\u0301");
    EXPECT_EQ(Composed(u"q\u0301e\u0301"), u"q\u0301\u00e9");
}

TEST(Compose, LeavesTheRestAlone)
{
    EXPECT_EQ(Composed(u""), u"");
    EXPECT_EQ(Composed(u"abc"), u"abc");
    EXPECT_EQ(Composed(u"\u0301e"), u"\u0301e");
    EXPECT_EQ(Composed(u"q\u0301"), u"q\u0301");
    EXPECT_EQ(Composed(u"e \u0301"), u"e \u0301");
    EXPECT_EQ(Composed(u"\u00e9"), u"\u00e9");
    EXPECT_EQ(Composed(u"\u0915\u093c"), u"\u0915\u093c"); // excluded from composition
    EXPECT_EQ(Composed(u"\u1100\u1161"), u"\u1100\u1161"); // letters, no marks
    EXPECT_EQ(Composed(u"\U0001F600\u0301"), u"\U0001F600\u0301");
}

TEST(Compose, JoinsCharactersAboveTheFirstPlane)
{
    EXPECT_EQ(Composed(u"\U00011099\U000110BA"), u"\U0001109A");
    EXPECT_EQ(Composed(u"\U000115B8\U000115AF"), u"\U000115BA");
}

TEST(Compose, ReplacesSurrogatesWithoutPartners)
{
    EXPECT_EQ(Composed({0xD800}), u"\ufffd");
    EXPECT_EQ(Composed({0xDC00, u'e', 0x301, 0xD800}), u"\ufffd\u00e9\ufffd");
    EXPECT_EQ(Composed(u"\U0001F600"), u"\U0001F600");
}

TEST(Compose, EveryPairOfTheTableIsJoinedAndAnnounced)
{
    for (size_t i = 0; i < tonekit::kCompositionCount; ++i) {
        const tonekit::Composition &one = tonekit::kCompositions[i];
        const std::u16string text = TextOf({one.base, one.mark});
        EXPECT_EQ(Composed(text), TextOf({one.composed}));
        EXPECT_TRUE(MayCompose(text));
        EXPECT_GE(one.mark, 0x300u);
    }
}

TEST(Compose, TableAscends)
{
    EXPECT_GT(tonekit::kCompositionCount, 900u);
    for (size_t i = 1; i < tonekit::kCompositionCount; ++i) {
        const tonekit::Composition &a = tonekit::kCompositions[i - 1];
        const tonekit::Composition &b = tonekit::kCompositions[i];
        EXPECT_TRUE(a.mark < b.mark || (a.mark == b.mark && a.base < b.base)) << i;
    }
}

TEST(Compose, TextsWithoutMarksAreSeenQuickly)
{
    EXPECT_FALSE(MayCompose(u""));
    EXPECT_FALSE(MayCompose(u"plain \u00fc\u00f1\u02ff"));
    EXPECT_FALSE(MayCompose(u"\u043f\u0440\u0438\u0432\u0435\u0442"));
    EXPECT_FALSE(MayCompose(u"\u65e5\u672c"));
    EXPECT_TRUE(MayCompose({0xD800}));
}
