// utf8_to_utf16.tier.cpp: writes the UTF-16 form of UTF-8 text.
#include "encode/compact_units.h"
#include "encode/lanes.h"
#include "encode/utf.h"
#include "encode/utf8_wide_blocks.h"
#include "frame/tier.h"

#include <cstdint>
#include <cstring>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr ptrdiff_t kBlock = 16;

inline uint32_t Load32(const uint8_t *bytes)
{
    uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
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
    const size_t left = static_cast<size_t>(at.end - in);
    const uint32_t lead = in[0];
    if (lead < 0x80) {
        *at.out++ = static_cast<tonekit_char16>(lead);
        at.in += 1;
        return true;
    }
    if (lead < 0xE0) {
        if (lead < 0xC2 || left < 2 || !IsContinuation(in[1]))
            return false;
        *at.out++ = static_cast<tonekit_char16>((lead & 0x1F) << 6 | (in[1] & 0x3F));
        at.in += 2;
        return true;
    }
    if (left < 3 || !IsContinuation(in[1]) || !IsContinuation(in[2]))
        return false;
    if (lead < 0xF0) {
        const uint32_t unit = (lead & 0xF) << 12 | (in[1] & 0x3Fu) << 6 | (in[2] & 0x3Fu);
        if (unit < 0x800 || (unit & 0xF800) == 0xD800)
            return false;
        *at.out++ = static_cast<tonekit_char16>(unit);
        at.in += 3;
        return true;
    }
    if (lead > 0xF4 || left < 4 || !IsContinuation(in[3]))
        return false;
    const uint32_t point = (lead & 7) << 18 | (in[1] & 0x3Fu) << 12 | (in[2] & 0x3Fu) << 6 | (in[3] & 0x3Fu);
    if (point < 0x10000 || point > 0x10FFFF)
        return false;
    at.out[0] = static_cast<tonekit_char16>(0xD7C0 + (point >> 10));
    at.out[1] = static_cast<tonekit_char16>(0xDC00 | (point & 0x3FF));
    at.out += 2;
    at.in += 4;
    return true;
}

// C2 to DF.
inline __m128i TwoByteLeads(__m128i bytes)
{
    return _mm_cmplt_epi8(_mm_add_epi8(bytes, _mm_set1_epi8(-0x42)), _mm_set1_epi8(-0x62));
}

// E0 to FF.
inline __m128i LongLeads(__m128i bytes)
{
    return _mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8(-0x20)), bytes);
}

inline __m128i Continuations(__m128i bytes)
{
    return _mm_cmplt_epi8(bytes, _mm_set1_epi8(-0x40));
}

// Sixteen bytes, and those one and two places before each.
struct Block {
    __m128i bytes;
    __m128i before;
    __m128i twoBefore;
};

// A block after others.
inline Block NextBlock(const uint8_t *bytes)
{
    return {Load128(bytes), Load128(bytes - 1), Load128(bytes - 2)};
}

// A block with zeros before it.
inline Block FirstBlock(const uint8_t *bytes)
{
    const __m128i block = Load128(bytes);
    return {block, _mm_slli_si128(block, 1), _mm_slli_si128(block, 2)};
}

// Leads at the end of a block whose characters go on in the next: bit 0 for its first byte, and so on.
struct Pending {
    uint32_t two = 0;   // bytes that follow the lead of two
    uint32_t three = 0; // bytes two places after the lead of three; what follows it is at half the bit
};

// Sixteen units, each where the last byte of its character is.
struct Units {
    __m128i lower; // their lower 8 bits
    __m128i upper;
    uint32_t dropped; // places of other bytes
    uint32_t strange; // bytes that belong to no well-formed character of up to three bytes
};

// Where characters of two bytes end, the lower 8 bits of their units, and those of three bytes; elsewhere the
// bytes.
inline __m128i LowerBits(const Block &block, __m128i continuations)
{
    const __m128i fromBefore = _mm_and_si128(_mm_slli_epi16(block.before, 6), _mm_set1_epi8(-0x40));
    const __m128i change = _mm_xor_si128(fromBefore, _mm_set1_epi8(-0x80));
    return _mm_xor_si128(block.bytes, _mm_and_si128(change, continuations));
}

// What the byte before gives to the upper 8 bits.
inline __m128i UpperBits(const Block &block, __m128i continuations)
{
    return _mm_and_si128(_mm_srli_epi16(block.before, 2), _mm_and_si128(continuations, _mm_set1_epi8(0x0F)));
}

// What the lead of three bytes adds to them; and which units are overlong or surrogates.
inline __m128i AddUpperBits(const Block &block, __m128i upper, uint32_t *bad)
{
    const __m128i lasts = LongLeads(block.twoBefore);
    const __m128i lead = _mm_and_si128(_mm_slli_epi16(block.twoBefore, 4), _mm_set1_epi8(-0x10));
    upper = _mm_or_si128(upper, _mm_and_si128(lead, lasts));
    const __m128i top = _mm_and_si128(upper, _mm_set1_epi8(-8));
    const __m128i overlong = _mm_and_si128(_mm_cmpeq_epi8(top, _mm_setzero_si128()), lasts);
    *bad = ByteMask(_mm_or_si128(overlong, _mm_cmpeq_epi8(top, _mm_set1_epi8(-0x28))));
    return upper;
}

// The bytes that are skipped, bit by bit, count as taken before.
[[gnu::always_inline]] inline Units Decode(const Block &block, uint32_t skipped, Pending &pending)
{
    const __m128i continuations = Continuations(block.bytes);
    const uint32_t wide = ByteMask(block.bytes) & ~skipped;
    const uint32_t two = ByteMask(TwoByteLeads(block.bytes)) & ~skipped;
    const uint32_t continued = ByteMask(continuations) & ~skipped;
    const uint32_t behindTwo = two << 1 | pending.two;
    Units units;
    units.lower = LowerBits(block, continuations);
    units.upper = UpperBits(block, continuations);
    units.dropped = two | skipped;
    units.strange = (wide ^ (two | continued)) | (continued ^ (behindTwo & 0xFFFF)) | pending.three;
    pending.two = behindTwo >> 16;
    if (units.strange == 0)
        return units;
    uint32_t bad;
    units.upper = AddUpperBits(block, units.upper, &bad);
    const uint32_t three = ByteMask(_mm_andnot_si128(_mm_cmpgt_epi8(block.bytes, _mm_set1_epi8(-0x11)),
                                                     LongLeads(block.bytes))) &
                           ~skipped;
    const uint32_t behindThree = three << 2 | pending.three;
    const uint32_t middles = behindThree >> 1;
    pending.three = behindThree >> 16;
    units.dropped |= three | (middles & 0xFFFF);
    units.strange = (wide ^ (two | three | continued)) |
                    (continued ^ ((behindTwo | behindThree | middles) & 0xFFFF)) | (bad & behindThree);
    return units;
}

// Stores the units before the first strange byte, and returns whether there is none. `bytes` is where the
// block begins.
[[gnu::always_inline]] inline bool Take(Cursor &at, const uint8_t *bytes, const Units &units)
{
    const uint32_t fromStrange = 0u - (units.strange & (0u - units.strange)); // that byte and all after it
    const uint32_t dropped = (units.dropped | fromStrange) & 0xFFFF;
    const __m128i lower = _mm_unpacklo_epi8(units.lower, units.upper);
    const __m128i upper = _mm_unpackhi_epi8(units.lower, units.upper);
    if (at.outEnd - at.out >= kCompactRoom) {
        at.out = StoreKept(at.out, lower, dropped & 0xFF);
        at.out = StoreKept(at.out, upper, dropped >> 8);
    } else {
        at.out = StoreKeptOnly(at.out, lower, dropped & 0xFF);
        at.out = StoreKeptOnly(at.out, upper, dropped >> 8);
    }
    at.in = bytes + (units.strange != 0 ? __builtin_ctz(units.strange) : kBlock);
    return units.strange == 0;
}

// Goes back over the bytes of a character that isn't taken as a whole. What is before `begin` has been taken.
inline void GoBackToLead(Cursor &at, const uint8_t *begin)
{
    if (at.in - begin >= 1 && at.in[-1] >= 0xC0)
        at.in -= 1;
    else if (at.in - begin >= 2 && at.in[-1] >= 0x80 && at.in[-2] >= 0xE0)
        at.in -= 2;
}

// Takes all whole blocks of ASCII at the beginning.
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

// Takes characters of up to three bytes, block by block, up to the last whole block or a longer character or
// what is ill-formed; in the latter cases false. Also stops before a block of three-byte characters only.
inline bool TakeBlocks(Cursor &at)
{
    const uint8_t *begin = at.in;
    Pending pending;
    uint64_t recent = 1; // which of the last 64 bytes aren't ASCII
    bool good = Take(at, begin, Decode(FirstBlock(begin), 0, pending));
    while (good && at.end - at.in >= kBlock) {
        const Block block = NextBlock(at.in);
        const uint32_t wide = ByteMask(block.bytes);
        if (wide == 0xFFFF && pending.three == 0 && (*at.in & 0xF0) == 0xE0)
            break;
        good = Take(at, at.in, Decode(block, 0, pending));
        // Single blocks of ASCII gain less than it costs to guess wrong whether one comes.
        recent = recent << 16 | wide;
        if (recent == 0)
            TakeAscii(at);
    }
    GoBackToLead(at, begin);
    return good;
}

// Takes characters of up to three bytes, thirty-two bytes at a time, as long as all are well-formed; false if
// not even the first are, or there is no room to store them. Also stops before three-byte characters only.
inline bool TakeWideBlocks(Cursor &at)
{
#ifdef __AVX2__
    const uint8_t *const begin = at.in;
    if (at.end - begin < kWideBlock || at.outEnd - at.out < kWideRoom)
        return false;
    WidePending pending;
    uint32_t wideBefore = 1;
    for (WideBlock block = FirstWideBlock(begin);; block = NextWideBlock(at.in)) {
        const WideUnits units = DecodeWide(block, pending);
        if (units.strange)
            break;
        at.out = StoreWide(at.out, units);
        at.in += kWideBlock;
        const uint32_t wide = ByteMask(block.bytes);
        if ((wide | wideBefore) == 0)
            TakeAscii(at);
        wideBefore = wide;
        if (at.end - at.in < kWideBlock || at.outEnd - at.out < kWideRoom)
            break;
        if (wide == 0xFFFFFFFF && (*at.in & 0xF0) == 0xE0)
            break;
    }
    GoBackToLead(at, begin);
    return at.in != begin;
#else
    static_cast<void>(at);
    return false;
#endif
}

// Takes what is left after the blocks, which is less than one, from a block that begins earlier; up to a
// longer character or what is ill-formed.
inline void TakeLastBlock(Cursor &at)
{
    const uint8_t *const begin = at.in;
    const uint8_t *const block = at.end - kBlock;
    const ptrdiff_t taken = begin - block;
    if (ByteMask(Load128(block)) == 0) {
        Widen(Load128(block), at.out - taken); // ASCII that has been taken comes out in its place again
        at.out += kBlock - taken;
        at.in = at.end;
        return;
    }
    Pending pending;
    Take(at, block, Decode(FirstBlock(block), (1u << taken) - 1, pending));
    GoBackToLead(at, begin);
}

// Bytes 0 to 2 of each 32-bit lane are a three-byte character, if all goes well.
inline __m128i GatherFour(const uint8_t *in)
{
    const auto lane = [in](int i) { return _mm_cvtsi32_si128(static_cast<int>(Load32(in + 3 * i))); };
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(lane(0), lane(1)), _mm_unpacklo_epi32(lane(2), lane(3)));
}

inline __m128i DecodeFour(__m128i lanes)
{
    const __m128i first = _mm_slli_epi32(_mm_and_si128(lanes, _mm_set1_epi32(0xF)), 12);
    const __m128i second = _mm_and_si128(_mm_srli_epi32(lanes, 2), _mm_set1_epi32(0xFC0));
    const __m128i third = _mm_and_si128(_mm_srli_epi32(lanes, 16), _mm_set1_epi32(0x3F));
    const __m128i unit = _mm_or_si128(_mm_or_si128(first, second), third);
    return _mm_srai_epi32(_mm_slli_epi32(unit, 16), 16); // as the signed pack wants it
}

// Takes eight three-byte characters; false, and nothing taken, if there aren't as many there.
inline bool TakeEightThreeByte(Cursor &at)
{
    if (at.end - at.in < 25) // which is where the last of eight loads of 4 bytes, 3 bytes apart, ends
        return false;
    const __m128i low = GatherFour(at.in);
    const __m128i high = GatherFour(at.in + 12);
    const __m128i shape = _mm_set1_epi32(0x00C0C0F0);
    const __m128i wanted = _mm_set1_epi32(0x008080E0);
    const __m128i shaped = _mm_and_si128(_mm_cmpeq_epi32(_mm_and_si128(low, shape), wanted),
                                         _mm_cmpeq_epi32(_mm_and_si128(high, shape), wanted));
    const __m128i units = _mm_packs_epi32(DecodeFour(low), DecodeFour(high));
    const __m128i top = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800)));
    const __m128i bad = _mm_or_si128(_mm_cmpeq_epi16(top, _mm_setzero_si128()),
                                     _mm_cmpeq_epi16(top, _mm_set1_epi16(static_cast<short>(0xD800))));
    if (_mm_movemask_epi8(_mm_andnot_si128(bad, shaped)) != 0xFFFF)
        return false;
    Store128(at.out, units);
    at.in += 24;
    at.out += 8;
    return true;
}

// Takes four four-byte characters; false, and nothing taken, if there aren't as many there.
inline bool TakeFourFourByte(Cursor &at, __m128i bytes)
{
    const __m128i shape = _mm_and_si128(bytes, _mm_set1_epi32(static_cast<int>(0xC0C0C0F8)));
    const __m128i shaped = _mm_cmpeq_epi32(shape, _mm_set1_epi32(static_cast<int>(0x808080F0)));
    const __m128i first = _mm_slli_epi32(_mm_and_si128(bytes, _mm_set1_epi32(7)), 18);
    const __m128i second = _mm_slli_epi32(_mm_and_si128(bytes, _mm_set1_epi32(0x3F00)), 4);
    const __m128i third = _mm_and_si128(_mm_srli_epi32(bytes, 10), _mm_set1_epi32(0xFC0));
    const __m128i fourth = _mm_and_si128(_mm_srli_epi32(bytes, 24), _mm_set1_epi32(0x3F));
    const __m128i point = _mm_or_si128(_mm_or_si128(first, second), _mm_or_si128(third, fourth));
    const __m128i offset = _mm_sub_epi32(point, _mm_set1_epi32(0x10000)); // 20 bits, if all is well
    const __m128i inRange = _mm_cmpeq_epi32(_mm_srli_epi32(offset, 20), _mm_setzero_si128());
    if (ByteMask(_mm_and_si128(shaped, inRange)) != 0xFFFF)
        return false;
    const __m128i low = _mm_slli_epi32(_mm_and_si128(offset, _mm_set1_epi32(0x3FF)), 16);
    const __m128i pairs = _mm_or_si128(_mm_srli_epi32(offset, 10), low);
    Store128(at.out, _mm_or_si128(pairs, _mm_set1_epi32(static_cast<int>(0xDC00D800))));
    at.in += 16;
    at.out += 8;
    return true;
}

// Takes a character, and some more as long as they have three bytes or four; false if one is ill-formed.
inline bool TakeRun(Cursor &at)
{
    const uint8_t *stop = at.end - at.in > 24 ? at.in + 24 : at.end;
    do {
        if (!TakeCharacter(at))
            return false;
    } while (at.in < stop && *at.in >= 0xE0);
    return true;
}

} // namespace

TONEKIT_INTERNAL_BODY(Utf8ToUtf16, size_t,
                      (const char *text, size_t bytes, tonekit_char16 *out, size_t room, size_t *units))
{
    const uint8_t *begin = reinterpret_cast<const uint8_t *>(text);
    Cursor at{begin, begin + bytes, out, out + room};
    bool wellFormed = true;
    while (wellFormed && at.end - at.in >= kBlock) {
        const __m128i block = Load128(at.in);
        if (ByteMask(block) == 0)
            TakeAscii(at);
        else if (*at.in >= 0xF0)
            wellFormed = TakeFourFourByte(at, block) || TakeRun(at);
        else if ((*at.in < 0xE0 || !TakeEightThreeByte(at)) && !TakeWideBlocks(at))
            wellFormed = TakeBlocks(at) || TakeRun(at);
    }
    if (wellFormed && at.in < at.end && bytes >= static_cast<size_t>(kBlock))
        TakeLastBlock(at);
    while (wellFormed && at.in < at.end)
        wellFormed = TakeCharacter(at);
    *units = static_cast<size_t>(at.out - out);
    return static_cast<size_t>(at.in - begin);
}

} // namespace tonekit::TONEKIT_TIER
