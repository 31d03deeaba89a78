// utf16_to_utf8.tier.cpp: counts and writes the UTF-8 form of UTF-16 text.
#include "encode/text_lanes.h"
#include "encode/utf.h"
#include "frame/tier.h"
#include <cstdint>
#include <cstring>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr std::size_t kBlock = 8; // units in a vector

// All ones where no bit of mask is set.
inline __m128i Without(__m128i units, uint16_t mask)
{
    return _mm_cmpeq_epi16(_mm_and_si128(units, Splat(mask)), _mm_setzero_si128());
}

inline bool IsHigh(uint32_t unit)
{
    return (unit & 0xfc00) == 0xd800;
}

inline bool IsLow(uint32_t unit)
{
    return (unit & 0xfc00) == 0xdc00;
}

inline void StoreBytes(char *out, uint32_t word)
{
    std::memcpy(out, &word, sizeof word);
}

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
        put(0xc0 | unit >> 6);
        put(0x80 | (unit & 0x3f));
        return;
    }
    if (IsHigh(unit) && at.in < at.end && IsLow(*at.in)) {
        const uint32_t point = ((unit - 0xd7c0) << 10) + (*at.in++ & 0x3ffu);
        StoreBytes(at.out, 0x808080f0 | point >> 18 | (point >> 4 & 0x3f00) | (point << 10 & 0x3f0000) |
                               (point << 24 & 0x3f000000));
        at.out += 4;
        return;
    }
    if (IsHigh(unit) || IsLow(unit))
        unit = 0xfffd;
    put(0xe0 | unit >> 12);
    put(0x80 | (unit >> 6 & 0x3f));
    put(0x80 | (unit & 0x3f));
}

// The bytes of eight units below 0x800 in 16-bit lanes, first byte lowest; the second byte of ASCII is 0.
inline __m128i TwoByteForms(__m128i units, __m128i ascii)
{
    const __m128i lead = _mm_srli_epi16(units, 6);
    const __m128i rest = _mm_slli_epi16(_mm_and_si128(units, Splat(0x3f)), 8);
    const __m128i pair = _mm_or_si128(_mm_or_si128(lead, rest), Splat(0x80c0));
    return Select(ascii, units, pair);
}

constexpr std::size_t kRunAhead = 8; // bytes that a block's last store may write behind its last character

#ifdef __SSSE3__

// For each set of ASCII units among eight: the bytes of their forms that stay, and how many these are.
struct CompactTable {
    uint8_t bytes[256][16];
    uint8_t kept[256];

    constexpr void Keep(unsigned ascii, unsigned from)
    {
        bytes[ascii][kept[ascii]++] = static_cast<uint8_t>(from);
    }
};

#else

// For each set of ASCII units among eight: where a byte takes the one, two or four bytes up, in three steps
// one after the other, and how many bytes stay. (Eight ASCII units come another way.)
struct CompactTable {
    uint8_t fromOneUp[256][16];
    uint8_t fromTwoUp[256][16];
    uint8_t fromFourUp[256][16];
    uint8_t kept[256];

    constexpr void Keep(unsigned ascii, unsigned from)
    {
        const unsigned distance = from - kept[ascii]++;
        if (distance & 1)
            fromOneUp[ascii][from -= 1] = 0xff;
        if (distance & 2)
            fromTwoUp[ascii][from -= 2] = 0xff;
        if (distance & 4)
            fromFourUp[ascii][from -= 4] = 0xff;
    }
};

#endif

constexpr CompactTable MakeCompactTable()
{
    CompactTable table{};
    for (unsigned ascii = 0; ascii < 256; ascii++)
        for (unsigned byte = 0; byte < 16; byte++)
            if (byte % 2 == 0 || !(ascii >> byte / 2 & 1))
                table.Keep(ascii, byte);
    return table;
}

alignas(16) constexpr CompactTable kCompact = MakeCompactTable();

#ifdef __SSSE3__

inline __m128i Compact(__m128i forms, uint32_t ascii)
{
    return _mm_shuffle_epi8(forms, Load128(kCompact.bytes[ascii]));
}

#else

inline __m128i Compact(__m128i forms, uint32_t ascii)
{
    forms = Blend(forms, _mm_srli_si128(forms, 1), kCompact.fromOneUp[ascii]);
    forms = Blend(forms, _mm_srli_si128(forms, 2), kCompact.fromTwoUp[ascii]);
    return Blend(forms, _mm_srli_si128(forms, 4), kCompact.fromFourUp[ascii]);
}

#endif

inline char *StoreTwoByteForms(char *out, __m128i forms, __m128i ascii)
{
    const uint32_t lanes = ByteMask(_mm_packs_epi16(ascii, _mm_setzero_si128()));
    Store128(out, Compact(forms, lanes));
    return out + kCompact.kept[lanes];
}

// The three bytes of four units from 0x800 up, first byte lowest, in 32-bit lanes.
inline __m128i ThreeByteForms(__m128i units)
{
    const __m128i middle = _mm_and_si128(_mm_slli_epi32(units, 2), _mm_set1_epi32(0x3f00));
    const __m128i last = _mm_and_si128(_mm_slli_epi32(units, 16), _mm_set1_epi32(0x3f0000));
    return _mm_or_si128(_mm_or_si128(_mm_srli_epi32(units, 12), middle),
                        _mm_or_si128(last, _mm_set1_epi32(0x8080e0)));
}

inline void StoreTwelveBytes(char *out, __m128i forms)
{
    const __m128i low = _mm_set1_epi64x(0xffffffff);
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

// One to three bytes for each of four units that are no surrogates.
inline char *StoreMixedFour(char *out, __m128i units)
{
    const __m128i two = _mm_cmpgt_epi32(units, _mm_set1_epi32(0x7f));
    const __m128i three = _mm_cmpgt_epi32(units, _mm_set1_epi32(0x7ff));
    const __m128i low = _mm_slli_epi32(_mm_and_si128(units, _mm_set1_epi32(0x3f)), 8);
    const __m128i pair = _mm_or_si128(_mm_or_si128(_mm_srli_epi32(units, 6), low), _mm_set1_epi32(0x80c0));
    const __m128i forms = Select(three, ThreeByteForms(units), Select(two, pair, units));
    const __m128i lengths = _mm_sub_epi32(_mm_sub_epi32(_mm_set1_epi32(1), two), three);
    alignas(16) uint32_t words[4];
    alignas(16) uint32_t advances[4];
    Store128(words, forms);
    Store128(advances, lengths);
#pragma GCC unroll 4
    for (std::size_t i = 0; i < 4; i++) {
        StoreBytes(out, words[i]);
        out += advances[i];
    }
    return out;
}

inline void TakeMixedBlock(Cursor &at, __m128i units)
{
    at.out = StoreMixedFour(at.out, _mm_unpacklo_epi16(units, _mm_setzero_si128()));
    at.out = StoreMixedFour(at.out, _mm_unpackhi_epi16(units, _mm_setzero_si128()));
    at.in += kBlock;
}

// Four pairs of surrogates, in 32-bit lanes; false, and nothing taken, if one of them is something else.
inline bool TakeFourPairs(Cursor &at, __m128i pairs)
{
    const __m128i shape = _mm_and_si128(pairs, _mm_set1_epi32(static_cast<int>(0xfc00fc00)));
    if (ByteMask(_mm_cmpeq_epi32(shape, _mm_set1_epi32(static_cast<int>(0xdc00d800)))) != 0xffff)
        return false;
    const __m128i high = _mm_slli_epi32(_mm_and_si128(pairs, _mm_set1_epi32(0x3ff)), 10);
    const __m128i low = _mm_and_si128(_mm_srli_epi32(pairs, 16), _mm_set1_epi32(0x3ff));
    const __m128i point = _mm_add_epi32(_mm_or_si128(high, low), _mm_set1_epi32(0x10000));
    const __m128i second = _mm_and_si128(_mm_srli_epi32(point, 4), _mm_set1_epi32(0x3f00));
    const __m128i third = _mm_and_si128(_mm_slli_epi32(point, 10), _mm_set1_epi32(0x3f0000));
    const __m128i fourth = _mm_and_si128(_mm_slli_epi32(point, 24), _mm_set1_epi32(0x3f000000));
    const __m128i lead =
        _mm_or_si128(_mm_srli_epi32(point, 18), _mm_set1_epi32(static_cast<int>(0x808080f0)));
    Store128(at.out, _mm_or_si128(_mm_or_si128(lead, second), _mm_or_si128(third, fourth)));
    at.in += kBlock;
    at.out += 2 * kBlock;
    return true;
}

inline std::size_t CountPairs(const tonekit_char16 *text, std::size_t units)
{
    std::size_t pairs = 0;
    std::size_t i = 0;
    while (units - i > kBlock) {
        const std::size_t blocks = (units - i - 1) / kBlock;
        const std::size_t stop = i + kBlock * (blocks < 255 ? blocks : 255);
        __m128i lanes = _mm_setzero_si128();
#pragma GCC unroll 4
        for (; i < stop; i += kBlock) {
            const __m128i high =
                _mm_cmpeq_epi16(_mm_and_si128(Load128(text + i), Splat(0xfc00)), Splat(0xd800));
            const __m128i low =
                _mm_cmpeq_epi16(_mm_and_si128(Load128(text + i + 1), Splat(0xfc00)), Splat(0xdc00));
            lanes = _mm_sub_epi16(lanes, _mm_and_si128(high, low));
        }
        pairs += SumOfBytes(lanes);
    }
    for (; i + 1 < units; i++)
        pairs += IsHigh(text[i]) && IsLow(text[i + 1]);
    return pairs;
}

inline void NarrowAscii(Cursor &at)
{
    constexpr std::ptrdiff_t kTwoBlocks = 2 * kBlock;
#pragma GCC unroll 4
    for (; at.end - at.in >= kTwoBlocks; at.in += kTwoBlocks, at.out += kTwoBlocks)
        Store128(at.out, _mm_packus_epi16(Load128(at.in), Load128(at.in + kBlock)));
}

// The units held back, one byte each at least, and the scratch byte make room for the block's last store.
inline bool HasBlock(const Cursor &at)
{
    return at.end - at.in >= static_cast<std::ptrdiff_t>(kBlock + kRunAhead - 1);
}

// Eight units below 0x800.
inline void TakeTwoByteBlock(Cursor &at, __m128i units)
{
    const __m128i ascii = _mm_cmplt_epi16(units, Splat(0x80));
    if (ByteMask(ascii) == 0xffff) {
        StoreHalf(at.out, _mm_packus_epi16(units, units));
        at.out += kBlock;
    } else {
        at.out = StoreTwoByteForms(at.out, TwoByteForms(units, ascii), ascii);
    }
    at.in += kBlock;
}

inline void TakeTwoByteText(Cursor &at)
{
    while (HasBlock(at))
        TakeTwoByteBlock(at, Load128(at.in));
}

inline void TakeAnyText(Cursor &at)
{
    while (HasBlock(at)) {
        const __m128i block = Load128(at.in);
        const __m128i top = _mm_and_si128(block, Splat(0xf800));
        const uint32_t below800 = ByteMask(_mm_cmpeq_epi16(top, _mm_setzero_si128()));
        if (below800 == 0xffff) {
            TakeTwoByteBlock(at, block);
        } else if (ByteMask(_mm_cmpeq_epi16(top, Splat(0xd800))) != 0) {
            if (!TakeFourPairs(at, block))
                for (const tonekit_char16 *stop = at.in + kBlock; at.in < stop;)
                    TakeCharacter(at);
        } else if (below800 == 0) {
            TakeThreeByteBlock(at, block);
        } else {
            TakeMixedBlock(at, block);
        }
    }
}

// How many bytes the units have beyond one each: one more from 0x80, one more from 0x800.
inline std::size_t CountMore(const tonekit_char16 *text, std::size_t units)
{
    const __m128i sign = Splat(0x8000); // makes the signed comparison an unsigned one
    std::size_t count = 0;
    std::size_t i = 0;
    while (units - i >= kBlock) {
        const std::size_t blocks = (units - i) / kBlock;
        const std::size_t stop = i + kBlock * (blocks < 127 ? blocks : 127);
        __m128i lanes = _mm_setzero_si128();
#pragma GCC unroll 4
        for (; i < stop; i += kBlock) {
            const __m128i block = _mm_xor_si128(Load128(text + i), sign);
            lanes = _mm_sub_epi16(lanes, _mm_cmpgt_epi16(block, Splat(0x807f)));
            lanes = _mm_sub_epi16(lanes, _mm_cmpgt_epi16(block, Splat(0x87ff)));
        }
        count += SumOfBytes(lanes);
    }
    for (; i < units; i++)
        count += (text[i] >= 0x80) + (text[i] >= 0x800);
    return count;
}

} // namespace

TONEKIT_INTERNAL_BODY(Utf16BytesAsUtf8, std::size_t,
                      (const tonekit_char16 *text, std::size_t units, uint32_t bits))
{
    // A unit is one byte, one more from 0x80, one more from 0x800; a pair of surrogates is 4, not 6.
    if (bits < 0x80)
        return units;
    const std::size_t bytes = units + CountMore(text, units);
    return bits < 0xd800 ? bytes : bytes - 2 * CountPairs(text, units);
}

TONEKIT_INTERNAL_BODY(Utf16ToUtf8, void,
                      (const tonekit_char16 *text, std::size_t units, uint32_t bits, char *out))
{
    Cursor at{text, text + units, out};
    if (bits < 0x80)
        NarrowAscii(at);
    else if (bits < 0x800)
        TakeTwoByteText(at);
    else
        TakeAnyText(at);
    while (at.in < at.end)
        TakeCharacter(at);
}

} // namespace tonekit::TONEKIT_TIER
