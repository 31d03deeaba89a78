// utf16_length.tier.cpp: finds the end of UTF-16 text, and sees on the way which bits its units have.
#include "encode/utf.h"
#include "frame/tier.h"

#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace tonekit::TONEKIT_TIER {
namespace {

constexpr size_t kVector = 8; // units
constexpr size_t kBlock = 2 * kVector;

struct Block {
    __m128i low;
    __m128i high;
};

// The blocks are aligned, so each lies within one page, and reading one that holds some of the text touches
// no page that the text does not touch. A sanitizer can't know that.
__attribute__((no_sanitize("address", "thread"))) inline Block LoadAligned(const tonekit_char16 *block)
{
    return {_mm_load_si128(reinterpret_cast<const __m128i *>(block)),
            _mm_load_si128(reinterpret_cast<const __m128i *>(block + kVector))};
}

inline __m128i Zeros(__m128i units)
{
    return _mm_cmpeq_epi16(units, _mm_setzero_si128());
}

// The units that are zero, bit by bit.
inline uint32_t ZeroUnits(const Block &block)
{
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(Zeros(block.low), Zeros(block.high))));
}

inline __m128i Or(const Block &block)
{
    return _mm_or_si128(block.low, block.high);
}

inline uint32_t OrOfLanes(__m128i lanes)
{
    lanes = _mm_or_si128(lanes, _mm_unpackhi_epi64(lanes, lanes));
    const uint64_t four = static_cast<uint64_t>(_mm_cvtsi128_si64(lanes));
    const uint32_t two = static_cast<uint32_t>(four | four >> 32);
    return (two | two >> 16) & 0xFFFF;
}

// The block's units from one place to before another; the rest becomes zero.
inline Block Between(const Block &block, size_t from, size_t to)
{
    alignas(16) static const uint16_t kWindow[3 * kBlock] = {
        0,      0,      0,      0,      0,      0,      0,      0,      0,      0,      0,
        0,      0,      0,      0,      0,      0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF,
        0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    const auto window = [](size_t place) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i *>(kWindow + place));
    };
    return {_mm_and_si128(_mm_and_si128(block.low, window(kBlock - from)), window(2 * kBlock - to)),
            _mm_and_si128(_mm_and_si128(block.high, window(kBlock - from + kVector)),
                          window(2 * kBlock - to + kVector))};
}

inline bool HasZero(const Block &one, const Block &other)
{
    const __m128i zeros = _mm_or_si128(_mm_or_si128(Zeros(one.low), Zeros(one.high)),
                                       _mm_or_si128(Zeros(other.low), Zeros(other.high)));
    return _mm_movemask_epi8(zeros) != 0;
}

// Passes pairs of blocks up to one that has the zero, if a pair is aligned here. One block at a time is as
// quick only where the linker happens to place the loop well.
inline const tonekit_char16 *PassPairs(const tonekit_char16 *at, __m128i *all)
{
    if (reinterpret_cast<uintptr_t>(at) % (2 * sizeof(Block)) != 0)
        return at;
    for (;; at += 2 * kBlock) {
        const Block one = LoadAligned(at);
        const Block other = LoadAligned(at + kBlock);
        if (HasZero(one, other))
            return at;
        *all = _mm_or_si128(*all, _mm_or_si128(Or(one), Or(other)));
    }
}

// For text at an odd address, where units lie across the blocks.
size_t LengthUnitByUnit(const tonekit_char16 *text, uint32_t *bits)
{
    size_t units = 0;
    uint32_t seen = 0;
    for (;; ++units) {
        tonekit_char16 unit;
        std::memcpy(&unit, text + units, sizeof unit);
        if (unit == 0)
            break;
        seen |= unit;
    }
    *bits = seen;
    return units;
}

} // namespace

TONEKIT_INTERNAL_BODY(Utf16Length, size_t, (const tonekit_char16 *text, uint32_t *bits))
{
    const uintptr_t address = reinterpret_cast<uintptr_t>(text);
    if (address % sizeof *text != 0)
        return LengthUnitByUnit(text, bits);
    size_t from = address / sizeof *text % kBlock;
    const tonekit_char16 *at = text - from;
    Block block = LoadAligned(at);
    uint32_t zeros = ZeroUnits(block) >> from << from;
    __m128i all = _mm_setzero_si128();
    while (zeros == 0) {
        all = _mm_or_si128(all, Or(from == 0 ? block : Between(block, from, kBlock)));
        from = 0;
        at = PassPairs(at + kBlock, &all);
        block = LoadAligned(at);
        zeros = ZeroUnits(block);
    }
    const size_t to = static_cast<size_t>(__builtin_ctz(zeros));
    *bits = OrOfLanes(_mm_or_si128(all, Or(Between(block, from, to))));
    return static_cast<size_t>(at - text) + to;
}

} // namespace tonekit::TONEKIT_TIER
