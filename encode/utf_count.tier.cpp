// utf_count.tier.cpp: counts the UTF-8 form of UTF-16 text, and the UTF-16 form of UTF-8 text.
#include "encode/lanes.h"
#include "encode/utf.h"
#include "frame/tier.h"
#include "frame/utf16.h"

#include <cstddef>
#include <cstdint>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr size_t kUnitBlock = 8; // units in a vector
constexpr size_t kTwoUnitBlocks = 2 * kUnitBlock;
constexpr ptrdiff_t kByteBlock = 16;

// All ones for each of eight units that is a high surrogate with a low one after it.
inline __m128i PairsIn(const tonekit_char16 *text)
{
    const __m128i shape = Splat(0xFC00);
    return _mm_and_si128(_mm_cmpeq_epi16(_mm_and_si128(Load128(text), shape), Splat(0xD800)),
                         _mm_cmpeq_epi16(_mm_and_si128(Load128(text + 1), shape), Splat(0xDC00)));
}

inline size_t CountPairs(const tonekit_char16 *text, size_t units)
{
    size_t pairs = 0;
    size_t i = 0;
    while (units - i > kUnitBlock) {
        const size_t blocks = (units - i - 1) / kUnitBlock;
        const size_t stop = i + kUnitBlock * (blocks < 255 ? blocks : 255);
        __m128i lanes = _mm_setzero_si128();
#pragma GCC unroll 4
        for (; i < stop; i += kUnitBlock)
            lanes = _mm_sub_epi16(lanes, PairsIn(text + i));
        pairs += SumOfBytes(lanes);
    }
    if (i > 0 && i + 1 < units) {
        const size_t left = units - 1 - i;
        const __m128i last = PairsIn(text + units - 1 - kUnitBlock);
        const __m128i lanes = _mm_and_si128(last, LastBytes(left * sizeof *text));
        return pairs + SumOfBytes(_mm_and_si128(lanes, Splat(1)));
    }
    for (; i + 1 < units; ++i)
        pairs += IsHighSurrogate(text[i]) && IsLowSurrogate(text[i + 1]);
    return pairs;
}

// How many bytes sixteen units have beyond one each, in a lane for each unit: one more from 0x80, one more
// from 0x800.
inline __m128i MoreBytes(const tonekit_char16 *text)
{
    const __m128i above7f =
        _mm_packs_epi16(_mm_srli_epi16(Load128(text), 7), _mm_srli_epi16(Load128(text + kUnitBlock), 7));
    const __m128i more = _mm_add_epi8(_mm_cmpgt_epi8(above7f, _mm_setzero_si128()),
                                      _mm_cmpgt_epi8(above7f, _mm_set1_epi8(0x0F)));
    return _mm_sub_epi8(_mm_setzero_si128(), more);
}

inline size_t CountMore(const tonekit_char16 *text, size_t units)
{
    size_t count = 0;
    size_t i = 0;
    while (units - i >= kTwoUnitBlocks) {
        const size_t blocks = (units - i) / kTwoUnitBlocks;
        const size_t stop = i + kTwoUnitBlocks * (blocks < 127 ? blocks : 127);
        __m128i lanes = _mm_setzero_si128();
#pragma GCC unroll 4
        for (; i < stop; i += kTwoUnitBlocks)
            lanes = _mm_add_epi8(lanes, MoreBytes(text + i));
        count += SumOfBytes(lanes);
    }
    if (i > 0 && i < units) {
        const __m128i last = MoreBytes(text + units - kTwoUnitBlocks);
        return count + SumOfBytes(_mm_and_si128(last, LastBytes(units - i)));
    }
    for (; i < units; ++i)
        count += static_cast<size_t>((text[i] >= 0x80) + (text[i] >= 0x800));
    return count;
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
inline __m128i LastOf(const char *end, ptrdiff_t count)
{
    return Select(LastBytes(static_cast<size_t>(count)), Load128(end - kByteBlock), _mm_set1_epi8(-0x80));
}

#if defined(__AVX2__)

using Lanes = __m256i;

inline Lanes LoadLanes(const char *bytes)
{
    return Load256(bytes);
}

inline __m256i AddUnits(__m256i lanes, __m256i bytes)
{
    const __m256i begins = _mm256_cmpgt_epi8(bytes, _mm256_set1_epi8(-0x41));
    const __m256i isLong = _mm256_cmpeq_epi8(_mm256_max_epu8(bytes, _mm256_set1_epi8(-0x10)), bytes);
    return _mm256_sub_epi8(_mm256_sub_epi8(lanes, begins), isLong);
}

inline size_t SumOfBytes(__m256i lanes)
{
    return SumOfBytes(_mm256_castsi256_si128(lanes)) + SumOfBytes(_mm256_extracti128_si256(lanes, 1));
}

#else

using Lanes = __m128i;

inline Lanes LoadLanes(const char *bytes)
{
    return Load128(bytes);
}

#endif

constexpr ptrdiff_t kLanes = sizeof(Lanes);
constexpr ptrdiff_t kAsciiBlock = 64;
constexpr ptrdiff_t kLongText = 2 * kAsciiBlock; // shorter ones are counted by single blocks

// Passes all whole blocks of ASCII at the beginning, whose bytes are a unit each.
inline const char *PassAscii(const char *text, const char *end)
{
    for (; end - text >= kAsciiBlock; text += kAsciiBlock) {
        Lanes all = LoadLanes(text);
        for (ptrdiff_t i = kLanes; i < kAsciiBlock; i += kLanes)
            all = Or(all, LoadLanes(text + i));
        if (ByteMask(all) != 0)
            break;
    }
    return text;
}

// Passes text by up to 126 vectors: a lane of the sums grows by at most 2 each time and may not overflow.
inline const char *PassVectors(const char *text, const char *end, size_t *units)
{
    const ptrdiff_t vectors = (end - text) / kLanes;
    const char *stop = text + kLanes * (vectors < 126 ? vectors : 126);
    Lanes sums = Lanes{};
#pragma GCC unroll 4
    for (; text < stop; text += kLanes)
        sums = AddUnits(sums, LoadLanes(text));
    *units += SumOfBytes(sums);
    return text;
}

} // namespace

TONEKIT_INTERNAL_BODY(Utf16BytesAsUtf8, size_t, (const tonekit_char16 *text, size_t units, uint32_t bits))
{
    // A unit is one byte, one more from 0x80, one more from 0x800; a pair of surrogates is 4, not 6.
    if (bits < 0x80)
        return units;
    const size_t bytes = units + CountMore(text, units);
    return bits < 0xD800 ? bytes : bytes - 2 * CountPairs(text, units);
}

TONEKIT_INTERNAL_BODY(Utf8UnitsAsUtf16, size_t, (const char *text, size_t bytes))
{
    const char *end = text + bytes;
    size_t units = 0;
    while (end - text >= kLongText) {
        const char *other = PassAscii(text, end);
        units += static_cast<size_t>(other - text);
        text = PassVectors(other, end, &units);
    }
    if (bytes >= static_cast<size_t>(kByteBlock)) {
        __m128i sums = _mm_setzero_si128();
#pragma GCC unroll 4
        for (; end - text >= kByteBlock; text += kByteBlock)
            sums = AddUnits(sums, Load128(text));
        if (text < end)
            sums = AddUnits(sums, LastOf(end, end - text));
        return units + SumOfBytes(sums);
    }
    for (; text < end; ++text) {
        const uint8_t byte = static_cast<uint8_t>(*text);
        units += !IsContinuation(byte);
        units += byte >= 0xF0;
    }
    return units;
}

} // namespace tonekit::TONEKIT_TIER
