// utf16_to_utf8.tier.cpp: writes the UTF-8 form of UTF-16 text.
#include "encode/compact_bytes.h"
#include "encode/lanes.h"
#include "encode/utf.h"
#include "frame/tier.h"
#include "frame/utf16.h"

#include <cstdint>
#include <cstring>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr size_t kBlock = 8; // units in a vector
constexpr size_t kTwoBlocks = 2 * kBlock;

struct Cursor {
    const tonekit_char16 *in;
    const tonekit_char16 *end;
    char *out;
};

// Takes one character, byte by byte.
inline void TakeCharacter(Cursor &at)
{
    uint32_t unit = *at.in++;
    const auto put = [&at](uint32_t byte) { *at.out++ = static_cast<char>(byte); };
    if (unit < 0x80) {
        put(unit);
        return;
    }
    if (unit < 0x800) {
        put(0xC0 | unit >> 6);
        put(0x80 | (unit & 0x3F));
        return;
    }
    if (IsHighSurrogate(unit) && at.in < at.end && IsLowSurrogate(*at.in)) {
        const uint32_t point = JoinSurrogates(unit, *at.in++);
        StoreBytes(at.out, 0x808080F0 | point >> 18 | (point >> 4 & 0x3F00) | (point << 10 & 0x3F0000) |
                               (point << 24 & 0x3F000000));
        at.out += 4;
        return;
    }
    if (IsHighSurrogate(unit) || IsLowSurrogate(unit))
        unit = 0xFFFD;
    put(0xE0 | unit >> 12);
    put(0x80 | (unit >> 6 & 0x3F));
    put(0x80 | (unit & 0x3F));
}

// Sixteen units below 0x800 as bytes.
struct Split {
    __m128i low;  // the lower 7 bits
    __m128i high; // the bits from 6 up, which are a lead's; 0x20 or more for units from 0x800 up
};

inline Split SplitSixteen(__m128i first, __m128i second)
{
    const __m128i low = Splat(0x7F);
    return {_mm_packus_epi16(_mm_and_si128(first, low), _mm_and_si128(second, low)),
            _mm_packus_epi16(_mm_srli_epi16(first, 6), _mm_srli_epi16(second, 6))};
}

// The units from 0x800 up.
inline uint32_t LongUnits(const Split &units)
{
    return ByteMask(_mm_adds_epu8(units.high, _mm_set1_epi8(0x60)));
}

// The bytes of sixteen units below 0x800, two for each. The second byte of ASCII is to be dropped.
struct TwoByteForms {
    __m128i lower;
    __m128i upper;
    uint32_t wide; // the units that keep both bytes
};

inline TwoByteForms MakeTwoByteForms(const Split &units)
{
    const __m128i wide = _mm_cmpgt_epi8(units.high, _mm_set1_epi8(1));
    const __m128i lead = _mm_and_si128(_mm_or_si128(units.high, _mm_set1_epi8(-0x40)), wide);
    const __m128i first = _mm_max_epu8(units.low, lead);
    const __m128i second = _mm_or_si128(_mm_and_si128(units.low, _mm_set1_epi8(0x3F)), _mm_set1_epi8(-0x80));
    return {_mm_unpacklo_epi8(first, second), _mm_unpackhi_epi8(first, second), ByteMask(wide)};
}

// Takes as many units, and one more if they end within a pair of surrogates.
inline void TakeCharacters(Cursor &at, size_t units)
{
    for (const tonekit_char16 *stop = at.in + units; at.in < stop;)
        TakeCharacter(at);
}

// The three bytes of four units from 0x800 up, first byte lowest, in 32-bit lanes.
inline __m128i ThreeByteForms(__m128i units)
{
    const __m128i middle = _mm_and_si128(_mm_slli_epi32(units, 2), _mm_set1_epi32(0x3F00));
    const __m128i last = _mm_and_si128(_mm_slli_epi32(units, 16), _mm_set1_epi32(0x3F0000));
    return _mm_or_si128(_mm_or_si128(_mm_srli_epi32(units, 12), middle),
                        _mm_or_si128(last, _mm_set1_epi32(0x8080E0)));
}

inline void StoreTwelveBytes(char *out, __m128i forms)
{
    const __m128i low = _mm_set1_epi64x(0xFFFFFFFF);
    const __m128i sixes =
        _mm_or_si128(_mm_and_si128(forms, low), _mm_srli_epi64(_mm_andnot_si128(low, forms), 8));
    StoreHalf(out, sixes);
    StoreHalf(out + 6, _mm_unpackhi_epi64(sixes, sixes));
}

// Units from 0x800 up that are no surrogates.
inline void TakeThreeByteBlock(Cursor &at, __m128i units)
{
    StoreTwelveBytes(at.out, ThreeByteForms(_mm_unpacklo_epi16(units, _mm_setzero_si128())));
    StoreTwelveBytes(at.out + 12, ThreeByteForms(_mm_unpackhi_epi16(units, _mm_setzero_si128())));
    at.out += 3 * kBlock;
    at.in += kBlock;
}

// Units of any kinds but surrogates, as forms of three bytes of which some are to be dropped.
template <class Lanes>
struct MixedForms {
    Lanes first;    // the first two bytes of each form
    Lanes third;    // the third byte, for units from 0x800 up
    Lanes ascii;    // which units are ASCII: of their forms the first byte stays
    Lanes below800; // and which are below 0x800: the first two bytes stay
};

template <class Lanes>
inline MixedForms<Lanes> MakeMixedForms(Lanes units)
{
    const auto all = [](uint16_t value) { return InEachLane<Lanes>(Splat(value)); };
    const Lanes ascii = Equal16(And(units, all(0xFF80)), all(0));
    const Lanes below800 = Equal16(And(units, all(0xF800)), all(0));
    const Lanes low = Or(And(units, all(0x3F)), all(0x80));
    const Lanes two = Or(Or(ShiftRight16<6>(units), ShiftLeft16<8>(low)), all(0xC0));
    const Lanes middle = And(ShiftLeft16<2>(units), all(0x3F00));
    const Lanes three = Or(Or(ShiftRight16<12>(units), middle), all(0x80E0));
    return {Select(below800, Select(ascii, units, two), three), low, ascii, below800};
}

#ifdef __SSSE3__

// By the kinds of four units, a pair of bits for each, the lower one for ASCII and the upper one for those
// below 0x800: the bytes of their forms that stay, and how many these are.
struct KindsTable {
    uint8_t bytes[256][16];
    uint8_t kept[256];
};

constexpr KindsTable MakeKindsTable()
{
    KindsTable table{};
    for (unsigned kinds = 0; kinds < 256; ++kinds)
        for (unsigned unit = 0; unit < 4; ++unit) {
            const unsigned bytes = (kinds >> 2 * unit & 1) != 0 ? 1 : (kinds >> 2 * unit & 2) != 0 ? 2 : 3;
            for (unsigned byte = 0; byte < bytes; ++byte)
                table.bytes[kinds][table.kept[kinds]++] = static_cast<uint8_t>(4 * unit + byte);
        }
    return table;
}

alignas(16) constexpr KindsTable kKinds = MakeKindsTable();

// Stores the first three to twelve bytes, and at most kRunAhead bytes after them.
inline void StoreTwelve(char *out, __m128i bytes)
{
    StoreHalf(out, bytes);
    StoreBytes(out + 8, static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(bytes, 8))));
}

// The forms of four units without gaps.
inline __m128i CloseGaps(__m128i forms, uint32_t kinds)
{
    return _mm_shuffle_epi8(forms, Load128(kKinds.bytes[kinds]));
}

// For each of the units a pair of bits, as the table has them.
template <class Lanes>
inline uint32_t KindsOf(const MixedForms<Lanes> &forms)
{
    return ByteMask(And(forms.below800, Or(forms.ascii, InEachLane<Lanes>(Splat(0xFF00)))));
}

// Stores eight units that are no surrogates, and kRunAhead bytes after the last character at most.
inline void TakeMixedBlock(Cursor &at, __m128i units)
{
    const auto forms = MakeMixedForms(units);
    const uint32_t kinds = KindsOf(forms);
    const __m128i upper = CloseGaps(InterleaveUpper16(forms.first, forms.third), kinds >> 8);
    Store128(at.out, CloseGaps(InterleaveLower16(forms.first, forms.third), kinds & 0xFF));
    at.out += kKinds.kept[kinds & 0xFF];
    StoreTwelve(at.out, upper);
    at.out += kKinds.kept[kinds >> 8];
    at.in += kBlock;
}

    #ifdef __AVX2__

// The same for sixteen units, whichever are the long ones.
inline void TakeMixedBlocks(Cursor &at, uint32_t)
{
    const auto forms = MakeMixedForms(Load256(at.in));
    const uint32_t kinds = KindsOf(forms);
    const __m256i even = InterleaveLower16(forms.first, forms.third); // units 0 to 3, and 8 to 11
    const __m256i odd = InterleaveUpper16(forms.first, forms.third);  // units 4 to 7, and 12 to 15
    Store128(at.out, CloseGaps(_mm256_castsi256_si128(even), kinds & 0xFF));
    at.out += kKinds.kept[kinds & 0xFF];
    Store128(at.out, CloseGaps(_mm256_castsi256_si128(odd), kinds >> 8 & 0xFF));
    at.out += kKinds.kept[kinds >> 8 & 0xFF];
    Store128(at.out, CloseGaps(_mm256_extracti128_si256(even, 1), kinds >> 16 & 0xFF));
    at.out += kKinds.kept[kinds >> 16 & 0xFF];
    StoreTwelve(at.out, CloseGaps(_mm256_extracti128_si256(odd, 1), kinds >> 24));
    at.out += kKinds.kept[kinds >> 24];
    at.in += kTwoBlocks;
}

    #else

// The same for sixteen units, whichever are the long ones: that can't be foretold, and a mixed block costs no
// more than a wrong guess.
inline void TakeMixedBlocks(Cursor &at, uint32_t)
{
    TakeMixedBlock(at, Load128(at.in));
    TakeMixedBlock(at, Load128(at.in));
}

    #endif

#else

// Four such forms in 32-bit lanes, put together two by two.
inline __m128i JoinPairs(__m128i forms, __m128i scales)
{
    const __m128i low = _mm_set1_epi64x(0xFFFFFFFF);
    const __m128i second = _mm_mul_epu32(_mm_srli_epi64(forms, 32), scales);
    return _mm_or_si128(_mm_and_si128(forms, low), _mm_slli_epi64(second, 8));
}

// For each set of eight: how many of its members are among the first two, four, six and eight, a byte each.
struct MembersTable {
    uint32_t members[256];
};

constexpr MembersTable MakeMembersTable()
{
    MembersTable table{};
    for (uint32_t set = 0; set < 256; ++set)
        for (uint32_t member = 0; member < 8; ++member)
            if (set >> member & 1)
                table.members[set] += 0x01010101u << 8 * (member / 2);
    return table;
}

constexpr MembersTable kMembers = MakeMembersTable();

// Stores eight units that are no surrogates, and 6 bytes after the last character at most.
inline void TakeMixedBlock(Cursor &at, __m128i units)
{
    const auto forms = MakeMixedForms(units);
    const __m128i third = _mm_andnot_si128(forms.below800, forms.third);
    // A form that follows goes 8 bits up for each byte of the one before: here without the first byte's.
    const __m128i scale =
        _mm_and_si128(forms.below800, _mm_xor_si128(Splat(0x100), _mm_and_si128(forms.ascii, Splat(0x101))));
    const __m128i scaleAbove = _mm_andnot_si128(forms.below800, Splat(1));
    const __m128i lower =
        JoinPairs(_mm_unpacklo_epi16(forms.first, third), _mm_unpacklo_epi16(scale, scaleAbove));
    const __m128i upper =
        JoinPairs(_mm_unpackhi_epi16(forms.first, third), _mm_unpackhi_epi16(scale, scaleAbove));

    const uint32_t sets = ByteMask(_mm_packs_epi16(forms.ascii, forms.below800));
    const uint32_t ends = 0x18120C06 - kMembers.members[sets & 0xFF] - kMembers.members[sets >> 8];
    StoreHalf(at.out, lower);
    StoreUpperHalf(at.out + (ends & 0xFF), lower);
    StoreHalf(at.out + (ends >> 8 & 0xFF), upper);
    StoreUpperHalf(at.out + (ends >> 16 & 0xFF), upper);
    at.out += ends >> 24;
    at.in += kBlock;
}

// Eight units that are no surrogates.
inline void TakeHalf(Cursor &at, uint32_t isLong)
{
    const __m128i units = Load128(at.in);
    if (isLong != 0) {
        TakeMixedBlock(at, units);
        return;
    }
    const TwoByteForms forms = MakeTwoByteForms(SplitSixteen(units, _mm_setzero_si128()));
    at.out = StoreTwoByteForms(at.out, forms.lower, forms.wide);
    at.in += kBlock;
}

// Sixteen of them.
inline void TakeMixedBlocks(Cursor &at, uint32_t isLong)
{
    TakeHalf(at, isLong & 0xFF);
    TakeHalf(at, isLong >> 8);
}

#endif

// Four pairs of surrogates, in 32-bit lanes; false, and nothing taken, if one of them is something else.
inline bool TakeFourPairs(Cursor &at, __m128i pairs)
{
    const __m128i shape = _mm_and_si128(pairs, _mm_set1_epi32(static_cast<int>(0xFC00FC00)));
    if (ByteMask(_mm_cmpeq_epi32(shape, _mm_set1_epi32(static_cast<int>(0xDC00D800)))) != 0xFFFF)
        return false;
    const __m128i high = _mm_slli_epi32(_mm_and_si128(pairs, _mm_set1_epi32(0x3FF)), 10);
    const __m128i low = _mm_and_si128(_mm_srli_epi32(pairs, 16), _mm_set1_epi32(0x3FF));
    const __m128i point = _mm_add_epi32(_mm_or_si128(high, low), _mm_set1_epi32(0x10000));
    const __m128i second = _mm_and_si128(_mm_srli_epi32(point, 4), _mm_set1_epi32(0x3F00));
    const __m128i third = _mm_and_si128(_mm_slli_epi32(point, 10), _mm_set1_epi32(0x3F0000));
    const __m128i fourth = _mm_and_si128(_mm_slli_epi32(point, 24), _mm_set1_epi32(0x3F000000));
    const __m128i lead =
        _mm_or_si128(_mm_srli_epi32(point, 18), _mm_set1_epi32(static_cast<int>(0x808080F0)));
    Store128(at.out, _mm_or_si128(_mm_or_si128(lead, second), _mm_or_si128(third, fourth)));
    at.in += kBlock;
    at.out += 2 * kBlock;
    return true;
}

// Takes sixteen units at a time; of text that may have others, as long as all of them are ASCII.
template <bool isAscii>
inline void NarrowAscii(Cursor &at)
{
#pragma GCC unroll 4
    for (; at.end - at.in >= static_cast<ptrdiff_t>(kTwoBlocks); at.in += kTwoBlocks, at.out += kTwoBlocks) {
        const __m128i first = Load128(at.in);
        const __m128i second = Load128(at.in + kBlock);
        const __m128i more = _mm_and_si128(_mm_or_si128(first, second), Splat(0xFF80));
        if (!isAscii && ByteMask(_mm_cmpeq_epi16(more, _mm_setzero_si128())) != 0xFFFF)
            return;
        Store128(at.out, _mm_packus_epi16(first, second));
    }
}

// The units held back, one byte each at least, and the scratch byte make room for the block's last store.
inline bool Has(const Cursor &at, size_t units)
{
    return at.end - at.in >= static_cast<ptrdiff_t>(units) + kRunAhead - 1;
}

// Eight units, some of which are surrogates.
inline void TakePairsBlock(Cursor &at, __m128i units)
{
    if (!TakeFourPairs(at, units))
        TakeCharacters(at, kBlock);
}

inline uint32_t Surrogates(__m128i units)
{
    return ByteMask(_mm_cmpeq_epi16(_mm_and_si128(units, Splat(0xF800)), Splat(0xD800)));
}

// Eight units, some of which are from 0x800 up; not all of them if isMixed. A call would keep the cursor in
// memory, where each block waits for the one before.
[[gnu::always_inline]] inline void TakeLongBlock(Cursor &at, bool isMixed)
{
    const __m128i units = Load128(at.in);
    if (Surrogates(units) != 0)
        TakePairsBlock(at, units);
    else if (isMixed)
        TakeMixedBlock(at, units);
    else
        TakeThreeByteBlock(at, units);
}

// Sixteen units, some of which are from 0x800 up; or as many and one more if they end within a pair of
// surrogates.
inline void TakeLongBlocks(Cursor &at, uint32_t isLong)
{
    const tonekit_char16 *const middle = at.in + kBlock;
    const __m128i first = Load128(at.in);
    const __m128i second = Load128(middle);
    if ((Surrogates(first) | Surrogates(second)) != 0) {
        TakeLongBlock(at, true);
        if (at.in == middle)
            TakeLongBlock(at, true);
    } else if (isLong == 0xFFFF) {
        TakeThreeByteBlock(at, first);
        TakeThreeByteBlock(at, second);
    } else {
        TakeMixedBlocks(at, isLong);
    }
}

inline void TakeBlocks(Cursor &at)
{
    uint64_t recent = 1; // which of the last 64 units aren't ASCII
    while (Has(at, kTwoBlocks)) {
        const Split units = SplitSixteen(Load128(at.in), Load128(at.in + kBlock));
        const uint32_t isLong = LongUnits(units);
        if (isLong == 0) {
            const TwoByteForms forms = MakeTwoByteForms(units);
            at.out = StoreTwoByteForms(at.out, forms.lower, forms.wide & 0xFF);
            at.out = StoreTwoByteForms(at.out, forms.upper, forms.wide >> 8);
            at.in += kTwoBlocks;
            // Single blocks of ASCII gain less than it costs to guess wrong whether one comes.
            recent = recent << 16 | forms.wide;
            if (recent == 0)
                NarrowAscii<false>(at);
        } else {
            TakeLongBlocks(at, isLong);
        }
    }
    while (Has(at, kBlock)) {
        const uint32_t isLong = LongUnits(SplitSixteen(Load128(at.in), _mm_setzero_si128()));
        if (isLong == 0)
            break;
        TakeLongBlock(at, isLong != 0xFF);
    }
}

// Takes the units up to the end of a block of eight, some of which may have been taken before, if all of the
// block are below 0x800. Writes no byte after it.
inline bool TakeUpToEndOf(const tonekit_char16 *block, Cursor &at)
{
    const Split units = SplitSixteen(Load128(block), _mm_setzero_si128());
    if (LongUnits(units) != 0)
        return false;
    const TwoByteForms forms = MakeTwoByteForms(units);
    const uint32_t wideBefore = forms.wide & ((1u << (at.in - block)) - 1);
    at.out -= (at.in - block) + kCompact.kept[wideBefore] - static_cast<ptrdiff_t>(kBlock);
    at.out = StoreTwoByteFormsOnly(at.out, forms.lower, forms.wide);
    at.in = block + kBlock;
    return true;
}

inline void TakeRest(Cursor &at, bool hasBlockBefore)
{
    while (at.end - at.in >= static_cast<ptrdiff_t>(kBlock))
        if (!TakeUpToEndOf(at.in, at) && !TakeFourPairs(at, Load128(at.in)))
            TakeCharacters(at, kBlock);
    if (at.in < at.end && hasBlockBefore && TakeUpToEndOf(at.end - kBlock, at))
        return;
    while (at.in < at.end)
        TakeCharacter(at);
}

} // namespace

TONEKIT_INTERNAL_BODY(Utf16ToUtf8, void, (const tonekit_char16 *text, size_t units, uint32_t bits, char *out))
{
    Cursor at{text, text + units, out};
    if (bits < 0x80)
        NarrowAscii<true>(at);
    else
        TakeBlocks(at);
    TakeRest(at, units >= kBlock);
}

} // namespace tonekit::TONEKIT_TIER
