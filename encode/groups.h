// groups.h: runs a code that turns groups of three bytes into four characters, and back, over any length.
//
// For tier units only. What a code brings along:
//   EncodeGroup(three, four)   one group
//   DecodeGroup(four, three)   and back
//   Spread()                   which of 12 bytes each of 16 places needs, or -128 for none
//   Encoded(lanes)             of the bytes so spread in each lane, the 16 characters; without SSSE3 of four
//                              groups, each in the lower three bytes of a 32-bit lane, and anything above
//                              them
//   Decoded(lanes)             of each lane's 16 characters, the 12 bytes, and anything after them
// Nothing before or after data and text is read or written.
#pragma once

#include "encode/lanes.h"

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr size_t kGroupBytes = 3;
constexpr size_t kGroupCharacters = 4;

#if defined(__SSSE3__)

inline void Store12(uint8_t *to, __m128i lane)
{
    StoreHalf(to, lane);
    const int last = _mm_cvtsi128_si32(_mm_srli_si128(lane, 8));
    __builtin_memcpy(to + 8, &last, sizeof last);
}

constexpr ptrdiff_t kLaneRead = 16; // bytes that are read to encode 12

template <class Code>
inline void EncodeLane(const uint8_t *data, char *text)
{
    Store128(text, Code::Encoded(Shuffle8(Load128(data), Code::Spread())));
}

#else

constexpr ptrdiff_t kLaneRead = 13;

inline __m128i LoadGroup(const uint8_t *data)
{
    int group;
    __builtin_memcpy(&group, data, sizeof group);
    return _mm_cvtsi32_si128(group);
}

template <class Code>
inline void EncodeLane(const uint8_t *data, char *text)
{
    const __m128i low = _mm_unpacklo_epi32(LoadGroup(data), LoadGroup(data + 3));
    const __m128i high = _mm_unpacklo_epi32(LoadGroup(data + 6), LoadGroup(data + 9));
    Store128(text, Code::Encoded(_mm_unpacklo_epi64(low, high)));
}

#endif

#if defined(__AVX2__)

// One load fetches 12 bytes for each lane, with four before that have been encoded already and four after.
template <class Code>
inline void EncodeTwoLanes(const uint8_t *data, char *text)
{
    const __m128i places = Code::Spread();
    const __m128i placesBehindFour = _mm_add_epi8(places, _mm_set1_epi8(4));
    const __m256i spread = _mm256_inserti128_si256(_mm256_castsi128_si256(placesBehindFour), places, 1);
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(data - 4));
    const __m256i characters = Code::Encoded(Shuffle8(bytes, spread));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(text), characters);
}

#endif

// Encodes the whole groups of data. Returns the bytes that were taken; their characters are 4/3 as many.
template <class Code>
inline size_t EncodeGroups(const uint8_t *data, size_t length, char *text)
{
    const uint8_t *from = data;
    const uint8_t *const end = data + length;
#if defined(__AVX2__)
    if (end - from >= 12 + 28) {
        EncodeLane<Code>(from, text);
        from += 12;
        text += 16;
        for (; end - from >= 24 + 28; from += 2 * 24, text += 2 * 32) {
            EncodeTwoLanes<Code>(from, text);
            EncodeTwoLanes<Code>(from + 24, text + 32);
        }
        if (end - from >= 28) {
            EncodeTwoLanes<Code>(from, text);
            from += 24;
            text += 32;
        }
    }
#endif
    for (; end - from >= kLaneRead; from += 12, text += 16)
        EncodeLane<Code>(from, text);
    for (; end - from >= 3; from += 3, text += 4)
        Code::EncodeGroup(from, text);
    return static_cast<size_t>(from - data);
}

#if defined(__AVX2__)

// Stores 32 bytes, of which 24 are right. The others are overwritten by what follows, at least 12 characters.
template <class Code>
inline void DecodeTwoLanes(const char *text, uint8_t *data)
{
    const __m256i lanes = Code::Decoded(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(text)));
    const __m256i joined = _mm256_permutevar8x32_epi32(lanes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(data), joined);
}

#endif

// Decodes the whole groups of text. Returns the characters that were taken; their bytes are 3/4 as many.
template <class Code>
inline size_t DecodeGroups(const char *text, size_t length, uint8_t *data)
{
    const char *from = text;
    const char *const end = text + length;
#if defined(__AVX2__)
    for (; end - from >= 32 + 44; from += 2 * 32, data += 2 * 24) {
        DecodeTwoLanes<Code>(from, data);
        DecodeTwoLanes<Code>(from + 32, data + 24);
    }
    if (end - from >= 44) {
        DecodeTwoLanes<Code>(from, data);
        from += 32;
        data += 24;
    }
#endif
#if defined(__SSSE3__)
    for (; end - from >= 16; from += 16, data += 12)
        Store12(data, Code::Decoded(Load128(from)));
#endif
    for (; end - from >= 4; from += 4, data += 3)
        Code::DecodeGroup(from, data);
    return static_cast<size_t>(from - text);
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
