// base64.tier.cpp: Base64 of RFC 4648 with the standard alphabet.
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

constexpr char kAlphabet[65] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The six bits of each character where they belong among the three bytes of its group, first byte lowest, for
// each of the four places in which it may be.
struct Symbols {
    static constexpr uint32_t kNone = 0xFF000000;
    uint32_t bits[4][256];

    constexpr Symbols() : bits()
    {
        for (int place = 0; place < 4; ++place) {
            for (uint32_t &none : bits[place])
                none = kNone;
            for (uint32_t value = 0; value < 64; ++value)
                bits[place][static_cast<unsigned char>(kAlphabet[value])] =
                    __builtin_bswap32(value << (18 - 6 * place) << 8);
        }
    }
};
constexpr Symbols kSymbols;

inline uint32_t BitsOf(char character, int place)
{
    return kSymbols.bits[place][static_cast<unsigned char>(character)];
}

inline bool IsSymbol(char character)
{
    return BitsOf(character, 0) != Symbols::kNone;
}

// The two characters of each twelve bits, the first in the low byte.
struct Pairs {
    uint16_t of[4096];

    constexpr Pairs() : of()
    {
        for (int i = 0; i < 4096; ++i)
            of[i] = static_cast<uint16_t>(kAlphabet[i >> 6] | kAlphabet[i & 63] << 8);
    }
};
constexpr Pairs kPairs;

struct Base64 {
    static inline void EncodeGroup(const uint8_t *three, char *four)
    {
        const uint32_t bits = uint32_t{three[0]} << 16 | uint32_t{three[1]} << 8 | three[2];
        const uint32_t characters = kPairs.of[bits >> 12] | uint32_t{kPairs.of[bits & 0xFFF]} << 16;
        __builtin_memcpy(four, &characters, sizeof characters);
    }

    static inline void DecodeGroup(const char *four, uint8_t *three)
    {
        const uint32_t bits =
            BitsOf(four[0], 0) | BitsOf(four[1], 1) | BitsOf(four[2], 2) | BitsOf(four[3], 3);
        const auto firstTwo = static_cast<uint16_t>(bits);
        __builtin_memcpy(three, &firstTwo, sizeof firstTwo);
        three[2] = static_cast<uint8_t>(bits >> 16);
    }

#if defined(__SSSE3__)

    template <class Lanes>
    static inline Lanes Each8(int value)
    {
        return InEachLane<Lanes>(_mm_set1_epi8(static_cast<char>(value)));
    }

    template <class Lanes>
    static inline Lanes Each32(int value)
    {
        return InEachLane<Lanes>(_mm_set1_epi32(value));
    }

    // Each group b0 b1 b2 takes two 16-bit halves, b0:b1 and b1:b2 with the first on top.
    static inline __m128i Spread()
    {
        return _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
    }

    // Each half holds two six-bit values, which go to a byte of their own: a multiplication is a shift, by
    // other bits for one half than for the other. A character is its value plus a distance, which depends on
    // the run of the alphabet: 0 capitals, 1 small letters, 2 to 11 digits, 12 plus, 13 slash.
    template <class Lanes>
    static inline Lanes Encoded(Lanes spread)
    {
        const Lanes even = MultiplyHigh16(And(spread, Each32<Lanes>(0x0FC0FC00)), Each32<Lanes>(0x04000040));
        const Lanes odd = MultiplyLow16(And(spread, Each32<Lanes>(0x003F03F0)), Each32<Lanes>(0x01000010));
        const Lanes values = Or(even, odd);
        const Lanes beyondCapitals = Greater8(values, Each8<Lanes>(25)); // -1 where it is so
        const Lanes run = Subtract8(SubtractSaturated8(values, Each8<Lanes>(51)), beyondCapitals);
        const Lanes distances = InEachLane<Lanes>(
            _mm_setr_epi8('A', 'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                          '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 0, 0));
        return Add8(values, Shuffle8(distances, run));
    }

    // A place in a table for each character: its high digit and a number that depends on the low digit, which
    // the average makes of ofLowDigit and of bit 3. Bits of the next character are above the four that a
    // shuffle takes for a place.
    template <class Lanes>
    static inline Lanes Places(Lanes characters, __m128i ofLowDigit)
    {
        return Average8(Shuffle8(InEachLane<Lanes>(ofLowDigit), characters), ShiftRight16<3>(characters));
    }

    // The way back: of characters of the alphabet, the high digit determines the distance, in the place after
    // it, but for those that end in F, among them the slash, which shares 0x2_ with plus: seven places on.
    template <class Lanes>
    static inline Lanes Decoded(Lanes characters)
    {
        const Lanes places =
            Places(characters, _mm_setr_epi8(1, 1, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 12));
        const Lanes distances =
            InEachLane<Lanes>(_mm_setr_epi8(0, 0, 0, 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a',
                                            63 - '/', 0, -'A', 0, 26 - 'a', 0, 0));
        const Lanes values = Add8(characters, Shuffle8(distances, places));
        const Lanes pairs = MultiplyAdd8(values, Each32<Lanes>(0x01400140));  // first << 6 | second
        const Lanes groups = MultiplyAdd16(pairs, Each32<Lanes>(0x00011000)); // first << 12 | second
        return Shuffle8(
            groups, InEachLane<Lanes>(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1)));
    }

    // The top bit of each character that isn't of the alphabet. The low digit decides with which others it
    // shares a place, so that each place has a least character, or none, and all below it are outside: 0 to 9
    // are two places after the high digit, A one, B five, C to F three. From 0x80 on, the character has the
    // top bit itself and keeps it.
    template <class Lanes>
    static inline Lanes Outside(Lanes characters)
    {
        constexpr char kNone = -128;
        const Lanes places =
            Places(characters, _mm_setr_epi8(3, 3, 3, 3, 3, 3, 3, 3, 2, 2, 0, 8, 4, 4, 4, 4));
        const Lanes least =
            InEachLane<Lanes>(_mm_setr_epi8(kNone, kNone, kNone, kNone, kNone, -'/', -'A', -'+', -'a', -'K',
                                            kNone, -'k', kNone, kNone, kNone, kNone));
        return AddSaturated8(characters, Shuffle8(least, places));
    }

#else

    static inline __m128i Bits(__m128i lanes, int mask)
    {
        return _mm_and_si128(lanes, _mm_set1_epi32(mask));
    }

    // A distance for the values beyond a limit.
    static inline __m128i Beyond(__m128i values, int limit, int distance)
    {
        return _mm_and_si128(_mm_cmpgt_epi8(values, _mm_set1_epi8(static_cast<char>(limit))),
                             _mm_set1_epi8(static_cast<char>(distance)));
    }

    // Each of the six bits goes from its byte of the group, the first being the lowest, to a byte of its own.
    // A character is its value plus a distance, which changes from run to run of the alphabet.
    static inline __m128i Encoded(__m128i groups)
    {
        const __m128i first = Bits(_mm_srli_epi32(groups, 2), 0x3F);
        const __m128i second =
            _mm_or_si128(Bits(_mm_slli_epi32(groups, 12), 0x3000), Bits(_mm_srli_epi32(groups, 4), 0x0F00));
        const __m128i third = _mm_or_si128(Bits(_mm_slli_epi32(groups, 10), 0x3C0000),
                                           Bits(_mm_srli_epi32(groups, 6), 0x030000));
        const __m128i fourth = Bits(_mm_slli_epi32(groups, 8), 0x3F000000);
        const __m128i values = _mm_or_si128(_mm_or_si128(first, second), _mm_or_si128(third, fourth));
        const __m128i letters = _mm_add_epi8(Beyond(values, 25, 'a' - 26 - 'A'), _mm_set1_epi8('A'));
        const __m128i digits = Beyond(values, 51, '0' - 52 - ('a' - 26));
        const __m128i signs = _mm_add_epi8(Beyond(values, 61, '+' - 62 - ('0' - 52)),
                                           Beyond(values, 62, '/' - 63 - ('+' - 62)));
        return _mm_add_epi8(_mm_add_epi8(values, letters), _mm_add_epi8(digits, signs));
    }

#endif
};

#if defined(__SSSE3__)

// The characters outside the alphabet, bit by bit.
inline uint32_t OutsideIn16(const char *text)
{
    return ByteMask(Base64::Outside(Load128(text)));
}

#else

// All ones for each character from first to last. Moved to the top of the signed numbers, the range needs one
// comparison.
inline __m128i InRange(__m128i characters, char first, char last)
{
    const __m128i moved = _mm_add_epi8(characters, _mm_set1_epi8(static_cast<char>(127 - last)));
    return _mm_cmpgt_epi8(moved, _mm_set1_epi8(static_cast<char>(126 - (last - first))));
}

inline uint32_t OutsideIn16(const char *text)
{
    const __m128i characters = Load128(text);
    const __m128i letters = InRange(_mm_or_si128(characters, _mm_set1_epi8(0x20)), 'a', 'z');
    const __m128i slashOrDigits = InRange(characters, '/', '9');
    const __m128i plus = _mm_cmpeq_epi8(characters, _mm_set1_epi8('+'));
    return ByteMask(_mm_or_si128(_mm_or_si128(letters, slashOrDigits), plus)) ^ 0xFFFF;
}

#endif

inline size_t FirstOf(uint32_t bits)
{
    return static_cast<size_t>(__builtin_ctz(bits));
}

// How many characters of the alphabet the text begins with.
inline size_t LeadingSymbols(const char *text, size_t length)
{
    size_t at = 0;
#if defined(__AVX2__)
    for (; length - at >= 64; at += 64) {
        const __m256i first = Base64::Outside(Load256(text + at));
        const __m256i second = Base64::Outside(Load256(text + at + 32));
        if (ByteMask(Or(first, second)) != 0)
            break;
    }
#endif
    for (; length - at >= 16; at += 16)
        if (const uint32_t outside = OutsideIn16(text + at))
            return at + FirstOf(outside);
    if (at < length && length >= 16) {
        const uint32_t outside = OutsideIn16(text + length - 16); // none of those seen before
        return outside != 0 ? length - 16 + FirstOf(outside) : length;
    }
    while (at < length && IsSymbol(text[at]))
        ++at;
    return at;
}

inline bool AllSymbolsOrPadding(const char *text, size_t length)
{
    for (size_t i = 0; i < length; ++i)
        if (text[i] != '=' && !IsSymbol(text[i]))
            return false;
    return true;
}

// One or two bytes: two or three characters, and padding up to four.
inline void EncodeRest(const uint8_t *data, size_t length, char *text)
{
    const uint8_t padded[3] = {data[0], length == 2 ? data[1] : uint8_t{0}, 0};
    Base64::EncodeGroup(padded, text);
    text[3] = '=';
    if (length == 1)
        text[2] = '=';
}

// Two or three characters: one or two bytes. Returns their number.
inline size_t DecodeRest(const char *text, size_t length, uint8_t *data)
{
    if (length < 2)
        return 0;
    const char padded[4] = {text[0], text[1], length == 3 ? text[2] : 'A', 'A'};
    uint8_t three[3];
    Base64::DecodeGroup(padded, three);
    __builtin_memcpy(data, three, 1);
    if (length == 3)
        data[1] = three[1];
    return length - 1;
}

} // namespace

TONEKIT_BODY(BASE64Encode, uint32_t, (const void *data, uint32_t length, char **text))
{
    // The size of the text is reckoned in signed 32 bits, which hold length * 8 up to here.
    constexpr uint32_t kTooLong = 1u << 28;
    if (length == 0 || length >= kTooLong || !data)
        return kRefused;
    char *const result = static_cast<char *>(Allocate(length * 8 / 6 + 16));
    const auto *const bytes = static_cast<const uint8_t *>(data);
    const size_t taken = EncodeGroups<Base64>(bytes, length, result);
    char *end = result + taken / kGroupBytes * kGroupCharacters;
    if (taken != length) {
        EncodeRest(bytes + taken, length - taken, end);
        end += kGroupCharacters;
    }
    *end = 0;
    *text = result;
    return kDone;
}

TONEKIT_BODY(BASE64Decode, uint32_t, (const char *text, void **data, uint32_t *length))
{
    if (!text || !*text)
        return kRefused;
    const size_t textLength = __builtin_strlen(text);
    const size_t symbols = LeadingSymbols(text, textLength);
    if (!AllSymbolsOrPadding(text + symbols, textLength - symbols) || symbols / 4 * 3 > 0xFFFFFFFD)
        return kRefused;
    auto *const result = static_cast<uint8_t *>(Allocate(textLength * 6 / 8 + 16));
    const size_t taken = DecodeGroups<Base64>(text, symbols, result);
    const size_t whole = taken / kGroupCharacters * kGroupBytes;
    *length = static_cast<uint32_t>(whole + DecodeRest(text + taken, symbols - taken, result + whole));
    *data = result;
    return kDone;
}

} // namespace tonekit::TONEKIT_TIER
