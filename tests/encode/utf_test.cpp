// utf_test.cpp: UTF-8 and UTF-16, from one to the other.
#include "encode/utf.h"
#include "tests/encode/text_support.h"
#include "tests/reference/utf_model.h"
#include "tests/support/bodies.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using tonekit::Random;
using tonekit::Take;
using tonekit::TextAtPageEnd;
using tonekit::Utf16String;

Utf16String ToUnicode(const std::string &text)
{
    return Take(UNC_Utf8ToUnicode(text.c_str()));
}

std::string ToUtf8(const Utf16String &text)
{
    return Take(UNC_UnicodeToUtf8(text.c_str()));
}

// A character that is no surrogate: of the kinds that have one to four bytes, as the mask of kinds allows.
char32_t RandomCharacter(Random &random, unsigned kinds)
{
    for (;;) {
        const unsigned kind = random.Below(4);
        if (!(kinds >> kind & 1))
            continue;
        switch (kind) {
        case 0:
            return 1 + random.Below(0x7F);
        case 1:
            return 0x80 + random.Below(0x780);
        case 2: {
            const char32_t character = 0x800 + random.Below(0xF800);
            if (character >= 0xD800 && character < 0xE000)
                continue;
            return character;
        }
        default:
            return 0x10000 + random.Below(0x100000);
        }
    }
}

// Runs of one kind and mixed stretches.
std::vector<char32_t> RandomCharacters(Random &random, size_t count)
{
    const unsigned kinds = 1 + random.Below(15);
    std::vector<char32_t> characters(count);
    unsigned current = kinds;
    for (char32_t &character : characters) {
        if (random.Below(20) == 0)
            current = random.Below(3) == 0 ? kinds : kinds & (1u << random.Below(4));
        character = RandomCharacter(random, current != 0 ? current : kinds);
    }
    return characters;
}

struct BothForms {
    std::string utf8;
    Utf16String utf16;
};

BothForms FormsOf(const std::vector<char32_t> &characters)
{
    BothForms forms;
    for (const char32_t character : characters) {
        tonekit::reference::AppendUtf8(character, forms.utf8);
        tonekit::reference::AppendUtf16(character, forms.utf16);
    }
    return forms;
}

// The internal conversions of one body, by length.
struct Bodies {
    explicit Bodies(char letter)
        : measure(tonekit::Body<decltype(tonekit::Utf16Length)>("Utf16Length", letter)),
          countBytes(tonekit::Body<decltype(tonekit::Utf16BytesAsUtf8)>("Utf16BytesAsUtf8", letter)),
          toUtf8(tonekit::Body<decltype(tonekit::Utf16ToUtf8)>("Utf16ToUtf8", letter)),
          countUnits(tonekit::Body<decltype(tonekit::Utf8UnitsAsUtf16)>("Utf8UnitsAsUtf16", letter)),
          toUtf16(tonekit::Body<decltype(tonekit::Utf8ToUtf16)>("Utf8ToUtf16", letter))
    {}

    // Also proves that nothing is written after the room.
    std::string ToUtf8(const Utf16String &text) const
    {
        uint32_t bits;
        EXPECT_EQ(measure(text.c_str(), &bits), text.size());
        const size_t bytes = countBytes(text.data(), text.size(), bits);
        tonekit::GuardedBuffer out(bytes + 1, text.size() % 16);
        toUtf8(text.data(), text.size(), bits, out.As<char>());
        EXPECT_TRUE(out.Intact()) << text.size();
        return {out.As<char>(), bytes};
    }

    // The longest well-formed beginning.
    Utf16String ToUtf16(const std::string &text, size_t *taken) const
    {
        const size_t room = countUnits(text.data(), text.size()) + 1;
        tonekit::GuardedBuffer out(room * sizeof(tonekit_char16), 2 * (text.size() % 8));
        size_t units;
        *taken = toUtf16(text.data(), text.size(), out.As<tonekit_char16>(), room, &units);
        EXPECT_TRUE(out.Intact()) << testing::PrintToString(text);
        EXPECT_LT(units, room);
        return {out.As<tonekit_char16>(), units};
    }

    void ExpectWhole(const BothForms &forms) const
    {
        size_t taken;
        ASSERT_EQ(ToUtf8(forms.utf16), forms.utf8);
        ASSERT_EQ(ToUtf16(forms.utf8, &taken), forms.utf16);
        ASSERT_EQ(taken, forms.utf8.size());
    }

    decltype(tonekit::Utf16Length) *measure;
    decltype(tonekit::Utf16BytesAsUtf8) *countBytes;
    decltype(tonekit::Utf16ToUtf8) *toUtf8;
    decltype(tonekit::Utf8UnitsAsUtf16) *countUnits;
    decltype(tonekit::Utf8ToUtf16) *toUtf16;
};

// Texts as they are written: words of letters of one range, among ASCII as often as the share says.
struct Script {
    char32_t first;
    uint32_t letters;
    uint32_t percent;
    char32_t mark; // follows some words
};

constexpr Script kScripts[] = {
    {U'a', 26, 100, U'!'},              // English
    {U'a', 26, 100, U'\u2019'},         // English with curly apostrophes
    {U'\u00c0', 64, 8, U'\u201c'},      // German, French
    {U'\u0100', 128, 25, U'\u00e9'},    // Czech, Polish
    {U'\u1ea0', 90, 25, U'\u0111'},     // Vietnamese
    {U'\u0430', 32, 100, U'\u2014'},    // Russian
    {U'\u4e00', 20000, 100, U'\u3001'}, // Chinese
    {U'\u3042', 80, 60, U'\uff01'},     // Japanese among Latin
    {U'\U0001f600', 60, 100, U'x'},     // emoji
    {U'\U0001f600', 60, 5, U'\u00fc'},  // a few of them
};

std::vector<char32_t> Write(const Script &script, Random &random, size_t characters)
{
    std::vector<char32_t> text(characters);
    for (char32_t &character : text)
        if (random.Below(7) == 0)
            character = U' ';
        else if (random.Below(20) == 0)
            character = script.mark;
        else if (random.Below(100) < script.percent)
            character = script.first + random.Below(script.letters);
        else
            character = U'a' + random.Below(26);
    return text;
}

// Changes some bytes, or puts some in or takes some out.
std::string Mutate(std::string text, Random &random)
{
    for (unsigned faults = 1 + random.Below(3); faults > 0 && !text.empty(); --faults) {
        const size_t place = random.Below(static_cast<uint32_t>(text.size()));
        const char byte =
            static_cast<char>(random.Below(3) == 0 ? 0x80 + random.Below(128) : random.Below(256));
        switch (random.Below(4)) {
        case 0:
            text[place] = byte;
            break;
        case 1:
            text[place] = static_cast<char>(text[place] ^ (1 << random.Below(8)));
            break;
        case 2:
            text.insert(place, 1, byte);
            break;
        default:
            text.erase(place, 1);
        }
    }
    return text;
}

bool IsSurrogate(char32_t character)
{
    return character >= 0xD800 && character < 0xE000;
}

} // namespace

TEST(Utf, EveryCharacterBecomesItsFormAndComesBack)
{
    for (char32_t character = 1; character < 0x110000; ++character) {
        if (IsSurrogate(character))
            continue;
        const BothForms forms = FormsOf({character});
        ASSERT_EQ(ToUtf8(forms.utf16), forms.utf8) << static_cast<uint32_t>(character);
        ASSERT_EQ(ToUnicode(forms.utf8), forms.utf16) << static_cast<uint32_t>(character);
    }
}

// The same where whole blocks are converted at once.
TEST(Utf, EveryCharacterBecomesItsFormInLongerText)
{
    for (char32_t character = 1; character < 0x110000; character += character < 0x10000 ? 1 : 37) {
        if (IsSurrogate(character))
            continue;
        std::vector<char32_t> characters(15, U'x');
        characters.insert(characters.end(), 16, character);
        characters.insert(characters.end(), 19, U'y');
        const BothForms forms = FormsOf(characters);
        ASSERT_EQ(ToUtf8(forms.utf16), forms.utf8) << static_cast<uint32_t>(character);
        ASSERT_EQ(ToUnicode(forms.utf8), forms.utf16) << static_cast<uint32_t>(character);
    }
}

TEST(Utf, SurrogatePairIsOneSequenceOfFourBytes)
{
    EXPECT_EQ(ToUtf8(UTF16("\U0001D11E")), "\xf0\x9d\x84\x9e");
    EXPECT_EQ(ToUnicode("\xf0\x9d\x84\x9e"), (Utf16String{0xD834, 0xDD1E}));
    EXPECT_EQ(ToUtf8(UTF16("\U00010000")), "\xf0\x90\x80\x80");
    EXPECT_EQ(ToUtf8(UTF16("\U0010FFFF")), "\xf4\x8f\xbf\xbf");
}

TEST(Utf, SurrogateWithoutItsPartnerIsReplaced)
{
    const std::string replaced = "\xef\xbf\xbd";
    EXPECT_EQ(ToUtf8({0xD800}), replaced);
    EXPECT_EQ(ToUtf8({0xDBFF}), replaced);
    EXPECT_EQ(ToUtf8({0xDC00}), replaced);
    EXPECT_EQ(ToUtf8({0xDFFF}), replaced);
    EXPECT_EQ(ToUtf8({UTF16('a'), 0xD800, UTF16('b')}), "a" + replaced + "b");
    EXPECT_EQ(ToUtf8({0xDC00, 0xD800}), replaced + replaced);
    EXPECT_EQ(ToUtf8({0xD800, 0xD800, 0xDC00}), replaced + "\xf0\x90\x80\x80");
    EXPECT_EQ(ToUtf8({0xD800, 0xDC00, 0xDC00}), "\xf0\x90\x80\x80" + replaced);
}

TEST(Utf, LoneSurrogateIsReplacedAtEveryPlace)
{
    for (const tonekit_char16 filler : {UTF16('x'), UTF16('\u00e9'), UTF16('\u4e2d')})
        for (size_t length = 1; length < 40; ++length)
            for (size_t place = 0; place < length; ++place)
                for (const tonekit_char16 surrogate : {tonekit_char16{0xD900}, tonekit_char16{0xDE00}}) {
                    Utf16String text(length, filler);
                    text[place] = surrogate;
                    ASSERT_EQ(ToUtf8(text), tonekit::reference::Utf16ToUtf8(text)) << length << ' ' << place;
                }
}

TEST(Utf, PairsAreFoundAtEveryPlace)
{
    for (size_t length = 0; length < 40; ++length)
        for (size_t place = 0; place <= length; ++place) {
            Utf16String text(length, UTF16('x'));
            text.insert(place, UTF16("\U0001F600\U0001F601\U0001F602\U0001F603\U0001F604"));
            ASSERT_EQ(ToUtf8(text), tonekit::reference::Utf16ToUtf8(text)) << length << ' ' << place;
        }
}

TEST(Utf, IllFormedPartsAreReplacedOnePerMaximalPart)
{
    const struct {
        const char *text;
        Utf16String expected;
    } cases[] = {
        {"\x80", UTF16("\uFFFD")},
        {"\xbf", UTF16("\uFFFD")},
        {"\xc0", UTF16("\uFFFD")},
        {"\xc1", UTF16("\uFFFD")},
        {"\xf5", UTF16("\uFFFD")},
        {"\xff", UTF16("\uFFFD")},
        {"\xfe\xfe\xff\xff", UTF16("\uFFFD\uFFFD\uFFFD\uFFFD")},
        // overlong forms
        {"\xc0\xaf\xe0\x80\xbf\xf0\x81\x82\x41", UTF16("\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA")},
        {"\xe0\x9f\xbf", UTF16("\uFFFD\uFFFD\uFFFD")},
        {"\xf0\x8f\xbf\xbf", UTF16("\uFFFD\uFFFD\uFFFD\uFFFD")},
        // surrogates
        {"\xed\xa0\x80\xed\xbf\xbf\xed\xaf\x41", UTF16("\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA")},
        // above U+10FFFF
        {"\xf4\x90\x80\x80", UTF16("\uFFFD\uFFFD\uFFFD\uFFFD")},
        {"\xf4\x91\x92\x93\xff\x41\x80\xbf\x42", UTF16("\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA\uFFFD\uFFFDB")},
        {"\xf8\x88\x80\x80\x80", UTF16("\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD")},
        // cut characters
        {"\xe1\x80\xe2\xf0\x91\x92\xf1\xbf\x41", UTF16("\uFFFD\uFFFD\uFFFD\uFFFDA")},
        {"\xc3", UTF16("\uFFFD")},
        {"\xe4\xb8", UTF16("\uFFFD")},
        {"\xf0\x9f", UTF16("\uFFFD")},
        {"\xf0\x9f\x98", UTF16("\uFFFD")},
        {"\xf0\x9f\x98\x41", UTF16("\uFFFDA")},
        {"\xc3\xc3\xa9", UTF16("\uFFFD\u00e9")},
        {"\xe4\xb8\xe4\xb8\xad", UTF16("\uFFFD\u4e2d")},
        // well-formed ones at the limits
        {"\xc2\x80", UTF16("\u0080")},
        {"\xe0\xa0\x80", UTF16("\u0800")},
        {"\xed\x9f\xbf", UTF16("\uD7FF")},
        {"\xee\x80\x80", UTF16("\uE000")},
        {"\xef\xbf\xbf", UTF16("\uFFFF")},
    };
    for (const auto &one : cases)
        EXPECT_EQ(ToUnicode(one.text), one.expected) << testing::PrintToString(std::string(one.text));
}

TEST(Utf, IllFormedTextEqualsTheModel)
{
    for (unsigned first = 1; first < 256; ++first)
        for (unsigned second = 1; second < 256; ++second) {
            const std::string text = {static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(ToUnicode(text), tonekit::reference::Utf8ToUtf16(text));
        }
    Random random(11);
    for (int round = 0; round < 60000; ++round) {
        std::string text = FormsOf(RandomCharacters(random, random.Below(60))).utf8;
        for (unsigned faults = random.Below(4); faults > 0 && !text.empty(); --faults) {
            const size_t place = random.Below(static_cast<uint32_t>(text.size()));
            const char byte = static_cast<char>(1 + random.Below(255));
            switch (random.Below(3)) {
            case 0:
                text[place] = byte;
                break;
            case 1:
                text.insert(place, 1, byte);
                break;
            default:
                text.erase(place, 1);
            }
        }
        ASSERT_EQ(ToUnicode(text), tonekit::reference::Utf8ToUtf16(text)) << testing::PrintToString(text);
    }
}

TEST(Utf, RandomBytesEqualTheModel)
{
    Random random(12);
    for (int round = 0; round < 20000; ++round) {
        std::string text(random.Below(80), 0);
        for (char &byte : text)
            byte = static_cast<char>(1 + random.Below(255));
        ASSERT_EQ(ToUnicode(text), tonekit::reference::Utf8ToUtf16(text)) << testing::PrintToString(text);
    }
}

TEST(Utf, RandomUnitsEqualTheModel)
{
    Random random(13);
    for (int round = 0; round < 60000; ++round) {
        Utf16String text(random.Below(80), 0);
        const uint32_t surrogates = round % 2 ? 0xD800 : 0;
        for (tonekit_char16 &unit : text)
            unit = static_cast<tonekit_char16>(surrogates == 0 ? 1 + random.Below(0xFFFF)
                                                               : surrogates | random.Below(0x800));
        ASSERT_EQ(ToUtf8(text), tonekit::reference::Utf16ToUtf8(text));
    }
}

TEST(Utf, RandomTextComesBackFromBothForms)
{
    Random random(14);
    for (int round = 0; round < 40000; ++round) {
        const size_t length = random.Below(round % 100 == 0 ? 5000 : 100);
        const BothForms forms = FormsOf(RandomCharacters(random, length));
        ASSERT_EQ(ToUtf8(forms.utf16), forms.utf8);
        ASSERT_EQ(ToUnicode(forms.utf8), forms.utf16);
    }
}

TEST(Utf, LongTextsOfOneKindComeBack)
{
    for (const char32_t character : {U'A', U'\u00e9', U'\u043f', U'\u4e2d', U'\U0001f600'})
        for (const size_t length : {1000u, 4095u, 5000u, 100000u}) {
            const BothForms forms = FormsOf(std::vector<char32_t>(length, character));
            EXPECT_TRUE(ToUtf8(forms.utf16) == forms.utf8) << length;
            EXPECT_TRUE(ToUnicode(forms.utf8) == forms.utf16) << length;
        }
}

TEST(Utf, EveryLengthOfEveryScriptInEveryBody)
{
    for (const char letter : tonekit::RunnableLetters()) {
        const Bodies bodies(letter);
        Random random(17);
        for (const Script &script : kScripts)
            for (size_t length = 0; length <= 200; ++length)
                for (int round = 0; round < 3; ++round)
                    ASSERT_NO_FATAL_FAILURE(bodies.ExpectWhole(FormsOf(Write(script, random, length))))
                        << letter << ' ' << length;
    }
}

// A character of each size at each place of ASCII and of other text, so that it lies across every border of
// blocks.
TEST(Utf, OneOtherCharacterAtEveryPlaceInEveryBody)
{
    for (const char letter : tonekit::RunnableLetters()) {
        const Bodies bodies(letter);
        for (const char32_t filler : {U'x', U'\u00e9', U'\u4e2d', U'\U0001f600'})
            for (const char32_t other : {U'y', U'\u07ff', U'\u0800', U'\uffff', U'\U00010000'})
                for (const size_t length : {1u, 7u, 8u, 15u, 16u, 17u, 23u, 24u, 31u, 40u, 80u})
                    for (size_t place = 0; place < length; ++place) {
                        std::vector<char32_t> text(length, filler);
                        text[place] = other;
                        ASSERT_NO_FATAL_FAILURE(bodies.ExpectWhole(FormsOf(text)))
                            << letter << ' ' << length << ' ' << place;
                    }
    }
}

// Counts the units of texts in each body. Each byte that is no continuation begins one, and one of F0 and up
// two, whatever is around them; nothing after the last is read.
class UnitCounts {
public:
    UnitCounts()
    {
        for (const char letter : tonekit::RunnableLetters())
            bodies_.push_back({letter, Bodies(letter).countUnits});
    }

    void Expect(const std::string &text)
    {
        size_t expected = 0;
        for (const char character : text) {
            const auto byte = static_cast<unsigned char>(character);
            expected += byte >= 0xF0 ? 2 : byte < 0x80 || byte >= 0xC0 ? 1 : 0;
        }
        ASSERT_LE(text.size(), pages_.size());
        char *const begin = reinterpret_cast<char *>(pages_.End()) - text.size();
        std::copy(text.begin(), text.end(), begin);
        for (const auto &[letter, count] : bodies_)
            ASSERT_EQ(count(begin, text.size()), expected) << letter << ' ' << text.size();
    }

private:
    std::vector<std::pair<char, decltype(tonekit::Utf8UnitsAsUtf16) *>> bodies_;
    tonekit::GuardedPages pages_{32768};
};

TEST(Utf, UnitsAreCountedInTextOfEveryLengthInEveryBody)
{
    UnitCounts counts;
    Random random(20);
    for (size_t length = 0; length <= 320; ++length) {
        std::string text(length, 'x');
        ASSERT_NO_FATAL_FAILURE(counts.Expect(text));
        for (const char byte : {'\x7f', '\x80', '\xbf', '\xc2', '\xef', '\xf0', '\xff'})
            ASSERT_NO_FATAL_FAILURE(counts.Expect(std::string(length, byte)));
        for (size_t i = length; i-- > 0;) {
            text[i] = static_cast<char>(0x80 + random.Below(128)); // ASCII up to here
            if (i % 16 == 15 || i < 2 || i + 2 > length) {
                ASSERT_NO_FATAL_FAILURE(counts.Expect(text)) << i;
            }
        }
    }
}

// As long as sums of bytes within a vector need to be emptied, more than once.
TEST(Utf, UnitsAreCountedInLongTextInEveryBody)
{
    UnitCounts counts;
    for (const char *part : {"\xf4", "x", "\xbf", "x\xf4", "\xf4\x80\x80\x80x"})
        for (const size_t length : {2015u, 2016u, 2017u, 4031u, 4032u, 4033u, 4095u, 4096u, 8191u, 12345u}) {
            std::string text;
            while (text.size() < length)
                text += part;
            ASSERT_NO_FATAL_FAILURE(counts.Expect(text));
            ASSERT_NO_FATAL_FAILURE(counts.Expect(std::string(64, 'x') + text)); // after ASCII
            ASSERT_NO_FATAL_FAILURE(counts.Expect(text + std::string(200, 'x') + text));
        }
}

TEST(Utf, TheWellFormedBeginningEndsBeforeEveryFaultAtEveryPlace)
{
    const char *const faults[] = {"\x80",
                                  "\xbf",
                                  "\xc0\x80",
                                  "\xc1\xbf",
                                  "\xc3",
                                  "\xc3\xc3\xa9",
                                  "\xe4",
                                  "\xe4\xb8",
                                  "\xe4\xb8\xc3",
                                  "\xe0\x9f\xbf",
                                  "\xed\xa0\x80",
                                  "\xe4\xe4\xb8\xad",
                                  "\xe4\xc3\xa9",
                                  "\xf0\x9f",
                                  "\xf0\x9f\x98",
                                  "\xf0\x8f\xbf\xbf",
                                  "\xf4\x90\x80\x80",
                                  "\xff"};
    for (const char letter : tonekit::RunnableLetters()) {
        const Bodies bodies(letter);
        Random random(18);
        for (const Script &script : kScripts)
            for (const char *fault : faults)
                for (size_t before = 0; before < 50; ++before) {
                    const BothForms begin = FormsOf(Write(script, random, before));
                    const std::string end = FormsOf(Write(script, random, random.Below(40))).utf8;
                    // What ends the text may not make the fault whole.
                    size_t taken;
                    ASSERT_EQ(bodies.ToUtf16(begin.utf8 + fault + "x" + end, &taken), begin.utf16);
                    ASSERT_EQ(taken, begin.utf8.size())
                        << letter << testing::PrintToString(std::string(fault));
                    ASSERT_EQ(bodies.ToUtf16(begin.utf8 + fault, &taken), begin.utf16);
                    ASSERT_EQ(taken, begin.utf8.size())
                        << letter << testing::PrintToString(std::string(fault));
                }
    }
}

TEST(Utf, TheWellFormedBeginningOfMutatedTextIsTakenInEveryBody)
{
    for (const char letter : tonekit::RunnableLetters()) {
        const Bodies bodies(letter);
        Random random(19);
        for (int round = 0; round < 10000; ++round) {
            const Script &script = kScripts[random.Below(std::size(kScripts))];
            const std::string text = Mutate(FormsOf(Write(script, random, random.Below(300))).utf8, random);
            Utf16String expected = tonekit::reference::Utf8ToUtf16(text);
            if (const size_t fault = expected.find(tonekit_char16{0xFFFD}); fault != Utf16String::npos)
                expected.resize(fault);
            size_t taken;
            ASSERT_EQ(bodies.ToUtf16(text, &taken), expected) << letter << testing::PrintToString(text);
            ASSERT_EQ(taken, tonekit::reference::Utf16ToUtf8(expected).size()) << letter;
        }
    }
}

TEST(Utf, SurrogatesAmongEveryScriptEqualTheModelInEveryBody)
{
    for (const char letter : tonekit::RunnableLetters()) {
        const Bodies bodies(letter);
        Random random(20);
        for (int round = 0; round < 10000; ++round) {
            const Script &script = kScripts[random.Below(std::size(kScripts))];
            Utf16String text = FormsOf(Write(script, random, 1 + random.Below(200))).utf16;
            for (unsigned surrogates = random.Below(4); surrogates > 0; --surrogates)
                text[random.Below(static_cast<uint32_t>(text.size()))] =
                    static_cast<tonekit_char16>(0xD800 + random.Below(0x800));
            ASSERT_EQ(bodies.ToUtf8(text), tonekit::reference::Utf16ToUtf8(text)) << letter;
        }
    }
}

TEST(Utf, NothingIsReadBehindTheTerminatorsPage)
{
    Random random(15);
    for (int round = 0; round < 600; ++round) {
        const BothForms forms = FormsOf(RandomCharacters(random, random.Below(100)));
        TextAtPageEnd<char> bytes(forms.utf8);
        TextAtPageEnd<tonekit_char16> units(forms.utf16);
        EXPECT_EQ(Take(UNC_Utf8ToUnicode(bytes.Get())), forms.utf16);
        EXPECT_EQ(Take(UNC_UnicodeToUtf8(units.Get())), forms.utf8);
    }
}

TEST(Utf, LengthIsFoundFromEveryAddressAndTellsTheBits)
{
    alignas(64) tonekit_char16 units[192];
    for (size_t start = 0; start < 40; ++start)
        for (size_t length = 0; length < 140; ++length)
            for (size_t place = 0; place < length; ++place) {
                std::fill(std::begin(units), std::end(units), tonekit_char16{0xFFFF});
                std::fill_n(units + start, length, tonekit_char16{0x0100});
                units[start + length] = 0;
                units[start + place] = 0x4001;
                uint32_t bits = 1;
                ASSERT_EQ(tonekit::Utf16Length(units + start, &bits), length);
                ASSERT_EQ(bits, length == 1 ? 0x4001u : 0x4101u);
            }
    uint32_t bits = 1;
    EXPECT_EQ(tonekit::Utf16Length(UTF16(""), &bits), 0u);
    EXPECT_EQ(bits, 0u);
}

TEST(Utf, LengthIsFoundFromAnOddAddress)
{
    for (size_t length = 0; length < 70; ++length) {
        tonekit::GuardedBuffer bytes(2 * length + 2, 1);
        std::fill_n(bytes.data(), 2 * length, uint8_t{0x21});
        std::fill_n(bytes.data() + 2 * length, 2, uint8_t{0});
        uint32_t bits = 1;
        ASSERT_EQ(tonekit::Utf16Length(bytes.As<tonekit_char16>(), &bits), length);
        ASSERT_EQ(bits, length == 0 ? 0u : 0x2121u);
    }
}

// The conversions by length write no further than they say, also where the count is only an upper limit.
TEST(Utf, OutputStaysWithinItsRoom)
{
    Random random(16);
    for (int round = 0; round < 20000; ++round) {
        BothForms forms = FormsOf(RandomCharacters(random, random.Below(70)));
        std::string &utf8 = forms.utf8;
        if (random.Below(2) && !utf8.empty())
            utf8[random.Below(static_cast<uint32_t>(utf8.size()))] =
                static_cast<char>(0x80 + random.Below(128));
        const size_t room = tonekit::Utf8UnitsAsUtf16(utf8.data(), utf8.size());
        tonekit::GuardedBuffer out((room + 1) * sizeof(tonekit_char16), 2 * random.Below(8));
        size_t units;
        const size_t taken =
            tonekit::Utf8ToUtf16(utf8.data(), utf8.size(), out.As<tonekit_char16>(), room + 1, &units);
        ASSERT_TRUE(out.Intact());
        ASSERT_LE(units, room);
        ASSERT_EQ(Utf16String(out.As<tonekit_char16>(), units),
                  tonekit::reference::Utf8ToUtf16(utf8.substr(0, taken)));

        const Utf16String &utf16 = forms.utf16;
        uint32_t bits;
        ASSERT_EQ(tonekit::Utf16Length(utf16.c_str(), &bits), utf16.size());
        const size_t bytes = tonekit::Utf16BytesAsUtf8(utf16.data(), utf16.size(), bits);
        tonekit::GuardedBuffer narrow(bytes + 1, random.Below(16));
        tonekit::Utf16ToUtf8(utf16.data(), utf16.size(), bits, narrow.As<char>());
        ASSERT_TRUE(narrow.Intact());
        ASSERT_EQ(std::string(narrow.As<char>(), bytes), tonekit::reference::Utf16ToUtf8(utf16));
    }
}
