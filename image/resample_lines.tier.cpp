// resample_lines.tier.cpp: weighs the pixels of each line with the contribution list. Every byte is a sum of
// its own, in double and in list order; the speed comes from working four bytes and several lines side by
// side.
#include "image/resample_lines.h"

#include "frame/tier.h"

#include <cstring>
#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {

namespace {

// A register of doubles. The four bytes of a pixel fill one or two.
#ifdef __AVX__
typedef __m256d Register;
#else
typedef __m128d Register;
#endif
constexpr size_t kRegisters = 4 * sizeof(double) / sizeof(Register);

// Lines worked side by side: as many as keep their sums in registers.
constexpr size_t kLines = 8 / kRegisters;

// A pixel of kLines lines, as doubles.
struct alignas(Register) Slice {
    double values[kLines][4];
};

// Source positions whose pixels are held as doubles: several lists' worth, and no more than the first cache
// level.
constexpr size_t kSpan = 64;

struct Strip {
    Slice slices[kSpan];
};

[[gnu::always_inline]] inline void Widen(uint32_t pixel, double *values)
{
    const __m128i bytes = _mm_cvtsi32_si128(static_cast<int>(pixel));
#ifdef __AVX__
    _mm256_store_pd(values, _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(bytes)));
#else
    const __m128i zero = _mm_setzero_si128();
    const __m128i words = _mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero);
    _mm_store_pd(values, _mm_cvtepi32_pd(words));
    _mm_store_pd(values + 2, _mm_cvtepi32_pd(_mm_shuffle_epi32(words, _MM_SHUFFLE(3, 2, 3, 2))));
#endif
}

// total / sum + 0.5, truncated and clamped to a byte each. What the conversion can't hold, NaN and infinity
// included, becomes the lowest integer and so 0.
[[gnu::always_inline]] inline uint32_t Narrow(const double *totals, double sum)
{
#ifdef __AVX__
    const __m256d quotient = _mm256_div_pd(_mm256_load_pd(totals), _mm256_set1_pd(sum));
    const __m128i integers = _mm256_cvttpd_epi32(_mm256_add_pd(quotient, _mm256_set1_pd(0.5)));
#else
    const __m128d divisor = _mm_set1_pd(sum);
    const __m128d half = _mm_set1_pd(0.5);
    const __m128d low = _mm_add_pd(_mm_div_pd(_mm_load_pd(totals), divisor), half);
    const __m128d high = _mm_add_pd(_mm_div_pd(_mm_load_pd(totals + 2), divisor), half);
    const __m128i integers = _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
#endif
    const __m128i words = _mm_packs_epi32(integers, integers);
    return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
}

// Up to kLines neighbouring lines.
struct Group {
    const LinePass &pass;
    const uint32_t *source;
    uint32_t *target;
    size_t lines;
};

// Widens `count` positions from `first` on.
void Load(const Group &group, size_t first, size_t count, Strip &strip)
{
    const uint32_t *position = group.source + first * group.pass.source_step;
    const size_t line_step = group.pass.source_line_step;
    for (size_t p = 0; p < count; ++p, position += group.pass.source_step) {
        Slice &slice = strip.slices[p];
        if (group.lines == kLines) {
#pragma GCC unroll 8
            for (size_t line = 0; line < kLines; ++line)
                Widen(position[line * line_step], slice.values[line]);
        } else {
            for (size_t line = 0; line < group.lines; ++line)
                Widen(position[line * line_step], slice.values[line]);
        }
    }
}

[[gnu::always_inline]] inline Register Spread(double value)
{
#ifdef __AVX__
    return _mm256_set1_pd(value);
#else
    return _mm_set1_pd(value);
#endif
}

// Adds entries to the sums of all lines; `first` is the source position of the strip's first slice.
[[gnu::always_inline]] inline void Accumulate(const Strip &strip, size_t first, const int32_t *indices,
                                              const double *weights, size_t count, Slice &totals)
{
    constexpr size_t kSums = kLines * kRegisters;
    Register sums[kSums];
    std::memcpy(sums, &totals, sizeof(sums));
    for (size_t entry = 0; entry < count; ++entry) {
        const auto *pixels =
            reinterpret_cast<const Register *>(&strip.slices[static_cast<size_t>(indices[entry]) - first]);
        const Register weight = Spread(weights[entry]);
#pragma GCC unroll 8
        for (size_t i = 0; i < kSums; ++i)
            sums[i] += pixels[i] * weight;
    }
    std::memcpy(&totals, sums, sizeof(sums));
}

[[gnu::always_inline]] inline void Store(const Group &group, size_t output, const Slice &totals)
{
    uint32_t *pixel = group.target + output * group.pass.target_step;
    const size_t line_step = group.pass.target_line_step;
    const double sum = group.pass.list->sums[output];
    if (group.lines == kLines) {
#pragma GCC unroll 8
        for (size_t line = 0; line < kLines; ++line)
            pixel[line * line_step] = Narrow(totals.values[line], sum);
    } else {
        for (size_t line = 0; line < group.lines; ++line)
            pixel[line * line_step] = Narrow(totals.values[line], sum);
    }
}

// One output position whose list spans more positions than a strip holds.
void RunLongList(const Group &group, size_t output, Strip &strip)
{
    const ContributionList &list = *group.pass.list;
    const int32_t *indices = list.indices + output * list.stride;
    const double *weights = list.weights + output * list.stride;
    const auto count = static_cast<size_t>(list.counts[output]);
    Slice totals = {};
    for (size_t entry = 0; entry < count;) {
        const auto first = static_cast<size_t>(indices[entry]);
        size_t end = entry + 1;
        while (end < count && static_cast<size_t>(indices[end]) < first + kSpan)
            ++end;
        Load(group, first, static_cast<size_t>(indices[end - 1]) - first + 1, strip);
        Accumulate(strip, first, indices + entry, weights + entry, end - entry, totals);
        entry = end;
    }
    Store(group, output, totals);
}

// Source positions that an output position's list covers: [first, end), empty for an empty list.
struct Range {
    size_t first;
    size_t end;
};

Range ListRange(const ContributionList &list, size_t output)
{
    const auto count = static_cast<size_t>(list.counts[output]);
    if (count == 0)
        return {0, 0};
    const int32_t *indices = list.indices + output * list.stride;
    return {static_cast<size_t>(indices[0]), static_cast<size_t>(indices[count - 1]) + 1};
}

// Works output positions from `output` on whose lists fit into one strip together. Returns the first one
// left.
size_t RunBlock(const Group &group, size_t output, Strip &strip)
{
    const ContributionList &list = *group.pass.list;
    const auto positions = static_cast<size_t>(list.positions);
    Range block = ListRange(list, output);
    if (block.end - block.first > kSpan) {
        RunLongList(group, output, strip);
        return output + 1;
    }
    size_t end = output + 1;
    for (; end < positions; ++end) {
        const Range range = ListRange(list, end);
        if (range.first == range.end)
            continue;
        if (block.first == block.end)
            block = {range.first, range.first};
        if (range.first < block.first || range.end > block.first + kSpan)
            break;
        block.end = range.end > block.end ? range.end : block.end;
    }
    Load(group, block.first, block.end - block.first, strip);
    for (; output < end; ++output) {
        Slice totals = {};
        Accumulate(strip, block.first, list.indices + output * list.stride,
                   list.weights + output * list.stride, static_cast<size_t>(list.counts[output]), totals);
        Store(group, output, totals);
    }
    return end;
}

} // namespace

TONEKIT_INTERNAL_BODY(ResampleLines, void, (const LinePass *pass))
{
    Strip strip;
    std::memset(&strip, 0, sizeof(strip)); // a last group of fewer lines sums zeros in the rest
    const auto positions = static_cast<size_t>(pass->list->positions);
    for (size_t line = 0; line < pass->lines; line += kLines) {
        const size_t left = pass->lines - line;
        const Group group = {*pass, pass->source + line * pass->source_line_step,
                             pass->target + line * pass->target_line_step, left < kLines ? left : kLines};
        for (size_t output = 0; output < positions;)
            output = RunBlock(group, output, strip);
    }
}

} // namespace tonekit::TONEKIT_TIER
