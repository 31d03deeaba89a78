// utf8_to_utf16.tier.cpp: counts and writes the UTF-16 form of UTF-8 text.
#include "encode/text_lanes.h"
#include "encode/utf.h"
#include "frame/tier.h"
#include <cstdint>
#include <cstring>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr std::ptrdiff_t kBlock = 16;

inline uint32_t Load32(const uint8_t *bytes)
{
    uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline bool IsContinuation(uint8_t byte)
{
    return (byte & 0xc0) == 0x80;
}

struct Cursor {
    const uint8_t *in;
    const uint8_t *end;
    tonekit_char16 *out;
    tonekit_char16 *outEnd;
};

// Takes one character; false, and nothing taken, if it is ill-formed.
inline bool TakeCharacter(Cursor &at)
{
    const uint8_t *in = at.in;
    const std::size_t left = static_cast<std::size_t>(at.end - in);
    const uint32_t lead = in[0];
    if (lead < 0x80) {
        *at.out++ = static_cast<tonekit_char16>(lead);
        at.in += 1;
        return true;
    }
    if (lead < 0xe0) {
        if (lead < 0xc2 || left < 2 || !IsContinuation(in[1]))
            return false;
        *at.out++ = static_cast<tonekit_char16>((lead & 0x1f) << 6 | (in[1] & 0x3f));
        at.in += 2;
        return true;
    }
    if (left < 3 || !IsContinuation(in[1]) || !IsContinuation(in[2]))
        return false;
    if (lead < 0xf0) {
        const uint32_t unit = (lead & 0xf) << 12 | (in[1] & 0x3fu) << 6 | (in[2] & 0x3fu);
        if (unit < 0x800 || (unit & 0xf800) == 0xd800)
            return false;
        *at.out++ = static_cast<tonekit_char16>(unit);
        at.in += 3;
        return true;
    }
    if (lead > 0xf4 || left < 4 || !IsContinuation(in[3]))
        return false;
    const uint32_t point = (lead & 7) << 18 | (in[1] & 0x3fu) << 12 | (in[2] & 0x3fu) << 6 | (in[3] & 0x3fu);
    if (point < 0x10000 || point > 0x10ffff)
        return false;
    at.out[0] = static_cast<tonekit_char16>(0xd7c0 + (point >> 10));
    at.out[1] = static_cast<tonekit_char16>(0xdc00 | (point & 0x3ff));
    at.out += 2;
    at.in += 4;
    return true;
}

// C2 to DF, the leads of two-byte characters; as signed bytes they are -0x3e to -0x21.
inline __m128i TwoByteLeads(__m128i bytes)
{
    return _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(-0x3f)),
                         _mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x20)));
}

inline __m128i Continuations(__m128i bytes)
{
    return _mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x40));
}

constexpr std::ptrdiff_t kCompactRoom = 16; // units that two stores of eight lanes may touch

#ifdef __SSSE3__

// For each set of lanes to drop from eight: the bytes of those that stay, and how many lanes these are.
struct CompactTable {
    uint8_t bytes[256][16];
    uint8_t kept[256];

    constexpr void Keep(unsigned dropped, unsigned lane)
    {
        const unsigned to = kept[dropped]++;
        bytes[dropped][2 * to] = static_cast<uint8_t>(2 * lane);
        bytes[dropped][2 * to + 1] = static_cast<uint8_t>(2 * lane + 1);
    }
};

#else

// For each set of lanes to drop from eight: where a lane takes the unit of the one, two or four lanes up, in
// three steps one after the other, and how many units stay.
struct CompactTable {
    uint16_t fromOneUp[256][8];
    uint16_t fromTwoUp[256][8];
    uint16_t fromFourUp[256][8];
    uint8_t kept[256];

    constexpr void Keep(unsigned dropped, unsigned lane)
    {
        const unsigned distance = lane - kept[dropped]++;
        if (distance & 1)
            fromOneUp[dropped][lane -= 1] = 0xffff;
        if (distance & 2)
            fromTwoUp[dropped][lane -= 2] = 0xffff;
        if (distance & 4)
            fromFourUp[dropped][lane -= 4] = 0xffff;
    }
};

#endif

constexpr CompactTable MakeCompactTable()
{
    CompactTable table{};
    for (unsigned dropped = 0; dropped < 256; dropped++)
        for (unsigned lane = 0; lane < 8; lane++)
            if (!(dropped >> lane & 1))
                table.Keep(dropped, lane);
    return table;
}

alignas(16) constexpr CompactTable kCompact = MakeCompactTable();

#ifdef __SSSE3__

inline __m128i Compact(__m128i units, uint32_t dropped)
{
    return _mm_shuffle_epi8(units, Load128(kCompact.bytes[dropped]));
}

#else

inline __m128i Compact(__m128i units, uint32_t dropped)
{
    units = Blend(units, _mm_srli_si128(units, 2), kCompact.fromOneUp[dropped]);
    units = Blend(units, _mm_srli_si128(units, 4), kCompact.fromTwoUp[dropped]);
    return Blend(units, _mm_srli_si128(units, 8), kCompact.fromFourUp[dropped]);
}

#endif

// Stores eight units without the dropped ones.
inline tonekit_char16 *StoreCompacted(tonekit_char16 *out, __m128i units, uint32_t dropped)
{
    Store128(out, Compact(units, dropped));
    return out + kCompact.kept[dropped];
}

// Takes characters of one or two bytes, block by block, up to one that is longer or ill-formed, or the last
// whole block, or as far as there is room. A character's unit is made where its last byte stands.
inline void TakeTwoByteBlocks(Cursor &at)
{
    const uint8_t *begin = at.in;
    uint32_t strange = 0; // bytes that belong to no such character
    while (strange == 0 && at.end - at.in >= kBlock && at.outEnd - at.out >= kCompactRoom) {
        const __m128i bytes = Load128(at.in);
        const __m128i before = at.in == begin ? _mm_slli_si128(bytes, 1) : Load128(at.in - 1);
        const __m128i leads = TwoByteLeads(bytes);
        const __m128i continuations = Continuations(bytes);
        const __m128i misplaced = _mm_xor_si128(continuations, TwoByteLeads(before));
        const __m128i others =
            _mm_andnot_si128(_mm_or_si128(leads, continuations), bytes); // in their top bits
        strange = ByteMask(_mm_or_si128(misplaced, others));
        if ((ByteMask(bytes) | strange) == 0) {
            Widen(bytes, at.out);
            at.out += kBlock;
            at.in += kBlock;
            continue;
        }
        const __m128i upper =
            _mm_and_si128(_mm_and_si128(_mm_srli_epi16(before, 2), _mm_set1_epi8(7)), continuations);
        const __m128i pair = _mm_or_si128(_mm_and_si128(_mm_slli_epi16(before, 6), _mm_set1_epi8(-0x40)),
                                          _mm_and_si128(bytes, _mm_set1_epi8(0x3f)));
        const __m128i lower = Select(continuations, pair, bytes);
        const uint32_t fromStrange = 0u - (strange & (0u - strange)); // that byte and all behind it
        const uint32_t dropped = (ByteMask(leads) | fromStrange) & 0xffff;
        at.out = StoreCompacted(at.out, _mm_unpacklo_epi8(lower, upper), dropped & 0xff);
        at.out = StoreCompacted(at.out, _mm_unpackhi_epi8(lower, upper), dropped >> 8);
        at.in += strange != 0 ? __builtin_ctz(strange) : kBlock;
    }
    if (at.in > begin && at.in[-1] >= 0xc0)
        at.in--; // leads a character that has not been taken
}

// Bytes 0 to 2 of each 32-bit lane are a three-byte character, if all goes well.
inline __m128i GatherFour(const uint8_t *in)
{
    const auto lane = [in](int i) { return _mm_cvtsi32_si128(static_cast<int>(Load32(in + 3 * i))); };
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(lane(0), lane(1)), _mm_unpacklo_epi32(lane(2), lane(3)));
}

inline __m128i DecodeFour(__m128i lanes)
{
    const __m128i first = _mm_slli_epi32(_mm_and_si128(lanes, _mm_set1_epi32(0xf)), 12);
    const __m128i second = _mm_and_si128(_mm_srli_epi32(lanes, 2), _mm_set1_epi32(0xfc0));
    const __m128i third = _mm_and_si128(_mm_srli_epi32(lanes, 16), _mm_set1_epi32(0x3f));
    const __m128i unit = _mm_or_si128(_mm_or_si128(first, second), third);
    return _mm_srai_epi32(_mm_slli_epi32(unit, 16), 16); // as the signed pack wants it
}

// Takes eight three-byte characters; false, and nothing taken, if there aren't as many in front.
inline bool TakeEightThreeByte(Cursor &at)
{
    if (at.end - at.in < 25) // which is where the last of eight loads of 4 bytes, 3 bytes apart, ends
        return false;
    const __m128i low = GatherFour(at.in);
    const __m128i high = GatherFour(at.in + 12);
    const __m128i shape = _mm_set1_epi32(0x00c0c0f0);
    const __m128i wanted = _mm_set1_epi32(0x008080e0);
    const __m128i shaped = _mm_and_si128(_mm_cmpeq_epi32(_mm_and_si128(low, shape), wanted),
                                         _mm_cmpeq_epi32(_mm_and_si128(high, shape), wanted));
    const __m128i units = _mm_packs_epi32(DecodeFour(low), DecodeFour(high));
    const __m128i top = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xf800)));
    const __m128i bad = _mm_or_si128(_mm_cmpeq_epi16(top, _mm_setzero_si128()),
                                     _mm_cmpeq_epi16(top, _mm_set1_epi16(static_cast<short>(0xd800))));
    if (_mm_movemask_epi8(_mm_andnot_si128(bad, shaped)) != 0xffff)
        return false;
    Store128(at.out, units);
    at.in += 24;
    at.out += 8;
    return true;
}

// Takes four four-byte characters; false, and nothing taken, if there aren't as many in front.
inline bool TakeFourFourByte(Cursor &at, __m128i bytes)
{
    const __m128i shape = _mm_and_si128(bytes, _mm_set1_epi32(static_cast<int>(0xc0c0c0f8)));
    const __m128i shaped = _mm_cmpeq_epi32(shape, _mm_set1_epi32(static_cast<int>(0x808080f0)));
    const __m128i first = _mm_slli_epi32(_mm_and_si128(bytes, _mm_set1_epi32(7)), 18);
    const __m128i second = _mm_slli_epi32(_mm_and_si128(bytes, _mm_set1_epi32(0x3f00)), 4);
    const __m128i third = _mm_and_si128(_mm_srli_epi32(bytes, 10), _mm_set1_epi32(0xfc0));
    const __m128i fourth = _mm_and_si128(_mm_srli_epi32(bytes, 24), _mm_set1_epi32(0x3f));
    const __m128i point = _mm_or_si128(_mm_or_si128(first, second), _mm_or_si128(third, fourth));
    const __m128i offset = _mm_sub_epi32(point, _mm_set1_epi32(0x10000)); // 20 bits, if all is well
    const __m128i inRange = _mm_cmpeq_epi32(_mm_srli_epi32(offset, 20), _mm_setzero_si128());
    if (ByteMask(_mm_and_si128(shaped, inRange)) != 0xffff)
        return false;
    const __m128i low = _mm_slli_epi32(_mm_and_si128(offset, _mm_set1_epi32(0x3ff)), 16);
    const __m128i pairs = _mm_or_si128(_mm_srli_epi32(offset, 10), low);
    Store128(at.out, _mm_or_si128(pairs, _mm_set1_epi32(static_cast<int>(0xdc00d800))));
    at.in += 16;
    at.out += 8;
    return true;
}

// Takes all whole blocks of ASCII in front.
inline void TakeAscii(Cursor &at)
{
    for (; at.end - at.in >= 2 * kBlock; at.in += 2 * kBlock, at.out += 2 * kBlock) {
        const __m128i first = Load128(at.in);
        const __m128i second = Load128(at.in + kBlock);
        if (ByteMask(_mm_or_si128(first, second)) != 0)
            break;
        Widen(first, at.out);
        Widen(second, at.out + kBlock);
    }
    if (at.end - at.in < kBlock || ByteMask(Load128(at.in)) != 0)
        return;
    Widen(Load128(at.in), at.out);
    at.in += kBlock;
    at.out += kBlock;
}

// Takes the eight bytes in front if they are ASCII.
inline void TakeEightAscii(Cursor &at)
{
    if (at.end - at.in < 8)
        return;
    const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(at.in));
    if (ByteMask(bytes) != 0)
        return;
    Store128(at.out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    at.in += 8;
    at.out += 8;
}

// Takes a character, and some more as long as they have three bytes or four; false if one is ill-formed.
inline bool TakeRun(Cursor &at)
{
    const uint8_t *stop = at.end - at.in > 24 ? at.in + 24 : at.end;
    do {
        if (!TakeCharacter(at))
            return false;
    } while (at.in < stop && *at.in >= 0xe0);
    return true;
}

// How many units the characters that begin in these bytes have, added to the lanes: one for each byte that is
// no continuation, and one more for F0 and up.
inline __m128i AddUnits(__m128i lanes, __m128i bytes)
{
    const __m128i begins = _mm_cmpgt_epi8(bytes, _mm_set1_epi8(-0x41));
    const __m128i isLong = _mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8(-0x10)), bytes);
    return _mm_sub_epi8(_mm_sub_epi8(lanes, begins), isLong);
}

// The last count bytes of the block that ends at end; the others become continuations, which count as
// nothing.
inline __m128i LastBytes(const char *end, std::ptrdiff_t count)
{
    alignas(16) static const uint8_t kWindow[2 * kBlock] = {
        0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,    0,
        0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    return Select(Load128(kWindow + count), Load128(end - kBlock), _mm_set1_epi8(-0x80));
}

} // namespace

TONEKIT_INTERNAL_BODY(Utf8UnitsAsUtf16, std::size_t, (const char *text, std::size_t bytes))
{
    const char *end = text + bytes;
    std::size_t units = 0;
    while (end - text >= kBlock) {
        // A lane grows by at most 2 a block and is emptied before it can overflow.
        const std::ptrdiff_t blocks = (end - text) / kBlock;
        const char *stop = text + kBlock * (blocks < 126 ? blocks : 126);
        __m128i lanes = _mm_setzero_si128();
#pragma GCC unroll 4
        for (; text < stop; text += kBlock)
            lanes = AddUnits(lanes, Load128(text));
        if (end - text < kBlock) {
            lanes = AddUnits(lanes, LastBytes(end, end - text));
            text = end;
        }
        units += SumOfBytes(lanes);
    }
    for (; text < end; text++) {
        const uint8_t byte = static_cast<uint8_t>(*text);
        units += !IsContinuation(byte);
        units += byte >= 0xf0;
    }
    return units;
}

TONEKIT_INTERNAL_BODY(Utf8ToUtf16, std::size_t,
                      (const char *text, std::size_t bytes, tonekit_char16 *out, std::size_t room,
                       std::size_t *units))
{
    const uint8_t *begin = reinterpret_cast<const uint8_t *>(text);
    Cursor at{begin, begin + bytes, out, out + room};
    bool wellFormed = true;
    while (wellFormed && at.end - at.in >= kBlock) {
        const __m128i block = Load128(at.in);
        if (ByteMask(block) == 0) {
            TakeAscii(at);
        } else if (*at.in >= 0xf0) {
            wellFormed = TakeFourFourByte(at, block) || TakeRun(at);
        } else if (*at.in < 0xe0 || !TakeEightThreeByte(at)) {
            TakeTwoByteBlocks(at);
            wellFormed = at.in == at.end || TakeRun(at);
        }
    }
    if (wellFormed)
        TakeEightAscii(at);
    while (wellFormed && at.in < at.end)
        wellFormed = TakeCharacter(at);
    *units = static_cast<std::size_t>(at.out - out);
    return static_cast<std::size_t>(at.in - begin);
}

} // namespace tonekit::TONEKIT_TIER
