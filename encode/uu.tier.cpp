// uu.tier.cpp: the UU packing, which keeps the low six bits of each byte in place and gathers the top bits
// after them.
#include "encode/groups.h"
#include "encode/lanes.h"
#include "frame/allocator.h"
#include "frame/tier.h"

#include <cstddef>
#include <immintrin.h>
#include <tonekit/encode.h>

namespace tonekit::TONEKIT_TIER {

namespace {

constexpr uint32_t kDone = 0;
constexpr uint32_t kRefused = 0xFFFFFFFF;
constexpr char kFirstCharacter = 0x20;

struct UU {
    // count bytes, 1 to 3, as count characters and the one that gathers their top bits.
    static inline void EncodeBytes(const uint8_t *bytes, size_t count, char *characters)
    {
        uint32_t gathered = 0;
        for (size_t i = 0; i < count; ++i) {
            characters[i] = static_cast<char>(kFirstCharacter + (bytes[i] & 63));
            gathered |= uint32_t{bytes[i]} >> 6 << (4 - 2 * i);
        }
        characters[count] = static_cast<char>(kFirstCharacter + gathered);
    }

    // And back. The characters may be any: their high bits stay in the bytes.
    static inline void DecodeBytes(const char *characters, size_t count, uint8_t *bytes)
    {
        const uint32_t gathered = static_cast<uint8_t>(characters[count] - kFirstCharacter);
        for (size_t i = 0; i < count; ++i)
            bytes[i] = static_cast<uint8_t>(static_cast<uint32_t>(characters[i] - kFirstCharacter) |
                                            (gathered << (2 + 2 * i) & 0xC0));
    }

    // Three bytes at once, in one word. A product moves the top bits of all three to the fourth byte: t0 by
    // 28, t1 by 18 and t2 by 8; what else it makes stays below or falls off the top.
    static inline void EncodeGroup(const uint8_t *three, char *four)
    {
        const uint32_t bytes = three[0] | uint32_t{three[1]} << 8 | uint32_t{three[2]} << 16;
        const uint32_t top = bytes >> 6 & 0x00030303;
        const uint32_t gathered = top * (1u << 28 | 1u << 18 | 1u << 8) & 0x3F000000;
        const uint32_t characters = ((bytes & 0x003F3F3F) | gathered) + 0x20202020;
        __builtin_memcpy(four, &characters, sizeof characters);
    }

    // The subtraction must not borrow from byte to byte: with every top bit set there is nothing to borrow,
    // and the top bits are put right afterwards. A product moves the gathered bits up to the tops of the
    // bytes.
    static inline void DecodeGroup(const char *four, uint8_t *three)
    {
        constexpr uint32_t kTops = 0x80808080;
        uint32_t characters;
        __builtin_memcpy(&characters, four, sizeof characters);
        const uint32_t values = ((characters | kTops) - 0x20202020) ^ (~characters & kTops);
        const uint32_t moved = (values >> 24) * (1u << 2 | 1u << 12 | 1u << 22) & 0x00C0C0C0;
        const uint32_t bytes = values | moved;
        three[0] = static_cast<uint8_t>(bytes);
        three[1] = static_cast<uint8_t>(bytes >> 8);
        three[2] = static_cast<uint8_t>(bytes >> 16);
    }

#if defined(__SSSE3__)

    template <class Lanes>
    static inline Lanes Each32(int value)
    {
        return InEachLane<Lanes>(_mm_set1_epi32(value));
    }

    static inline __m128i Spread()
    {
        return _mm_setr_epi8(0, 1, 2, -128, 3, 4, 5, -128, 6, 7, 8, -128, 9, 10, 11, -128);
    }

    // The top bits of the three bytes, in place 4, 2 and 0 of the fourth: times 16, 4 and 1, then added.
    template <class Lanes>
    static inline Lanes Encoded(Lanes spread)
    {
        const Lanes top = And(ShiftRight16<6>(spread), Each32<Lanes>(0x00030303));
        const Lanes pairs = MultiplyAdd8(top, Each32<Lanes>(0x00010410));
        const Lanes gathered = MultiplyAdd16(pairs, Each32<Lanes>(0x00010001));
        const Lanes sixBits = Or(And(spread, Each32<Lanes>(0x003F3F3F)), ShiftLeft32<24>(gathered));
        return Add8(sixBits, Each32<Lanes>(0x20202020));
    }

    // The gathered bits g are brought into both 16-bit halves. There a product moves them up to the tops of
    // the bytes: g << 2 and g << 12 for the first two, g << 6 for the third.
    template <class Lanes>
    static inline Lanes Decoded(Lanes characters)
    {
        const Lanes values = Subtract8(characters, Each32<Lanes>(0x20202020));
        const Lanes gathered = Shuffle8(
            values,
            InEachLane<Lanes>(_mm_setr_epi8(3, -1, 3, -1, 7, -1, 7, -1, 11, -1, 11, -1, 15, -1, 15, -1)));
        const Lanes moved = MultiplyLow16(gathered, Each32<Lanes>(0x00401004));
        const Lanes bytes = Or(values, And(moved, Each32<Lanes>(0x00C0C0C0)));
        return Shuffle8(
            bytes, InEachLane<Lanes>(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
    }

#else

    // What is shifted in place but belongs elsewhere falls below the gathered bits.
    static inline __m128i Encoded(__m128i groups)
    {
        const __m128i top = _mm_and_si128(_mm_srli_epi32(groups, 6), _mm_set1_epi32(0x00030303));
        const __m128i moved = _mm_or_si128(_mm_or_si128(_mm_slli_epi32(top, 28), _mm_slli_epi32(top, 18)),
                                           _mm_slli_epi32(top, 8));
        const __m128i gathered = _mm_and_si128(moved, _mm_set1_epi32(0x3F000000));
        const __m128i sixBits = _mm_and_si128(groups, _mm_set1_epi32(0x003F3F3F));
        return _mm_add_epi8(_mm_or_si128(sixBits, gathered), _mm_set1_epi8(0x20));
    }

#endif
};

} // namespace

TONEKIT_BODY(UUEncode, uint32_t, (const void *data, int32_t length, char **text))
{
    const auto *const bytes = static_cast<const uint8_t *>(data);
    const size_t count = length > 0 && data ? static_cast<size_t>(length) : 0;
    const size_t rest = count % kGroupBytes;
    const size_t restCharacters = rest ? rest + 1 : 0;
    const size_t textLength = count / kGroupBytes * kGroupCharacters + restCharacters;
    char *const result = static_cast<char *>(Allocate(textLength + 1));
    EncodeGroups<UU>(bytes, count, result);
    if (rest)
        UU::EncodeBytes(bytes + count - rest, rest, result + textLength - restCharacters);
    result[textLength] = 0;
    *text = result;
    return kDone;
}

TONEKIT_BODY(UUDecode, uint32_t, (const char *text, void **data, uint32_t *length))
{
    if (!text || !*text)
        return kRefused;
    const size_t textLength = __builtin_strlen(text);
    const size_t rest = textLength % kGroupCharacters;
    const size_t wholeBytes = textLength / kGroupCharacters * kGroupBytes;
    const size_t bytes = wholeBytes + (rest ? rest - 1 : 0);
    if (bytes > 0xFFFFFFFF)
        return kRefused;
    auto *const result = static_cast<uint8_t *>(Allocate(wholeBytes + (rest ? rest : 1)));
    DecodeGroups<UU>(text, textLength, result);
    if (rest)
        UU::DecodeBytes(text + textLength - rest, rest - 1, result + wholeBytes);
    *data = result;
    *length = static_cast<uint32_t>(bytes);
    return kDone;
}

} // namespace tonekit::TONEKIT_TIER
