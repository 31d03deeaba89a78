// row.h: a row of neighbouring values in as few registers as hold them. For tier units.
#pragma once

#include "convert/lanes.h"

namespace tonekit::TONEKIT_TIER {

// sums + from[...] * factors, in those orders. One statement, because compilers left to themselves keep the
// products of many registers waiting and run out of registers for the sums.
#define TONEKIT_ADD_PRODUCT(type, unaligned, element, instructions)                                          \
    [[gnu::always_inline]] inline type AddProduct(type sums, const element *from, type factors)              \
    {                                                                                                        \
        type product;                                                                                        \
        asm(instructions                                                                                     \
            : [sums] "+x"(sums), [product] "=&x"(product)                                                    \
            : [from] "m"(*reinterpret_cast<const unaligned *>(from)), [factors] "x"(factors));               \
        return sums;                                                                                         \
    }
#if defined(__AVX__)
TONEKIT_ADD_PRODUCT(__m256d, __m256d_u, double,
                    "vmovupd %[from], %[product]\n\t"
                    "vmulpd %[factors], %[product], %[product]\n\t"
                    "vaddpd %[product], %[sums], %[sums]")
#else
TONEKIT_ADD_PRODUCT(__m128d, __m128d_u, double,
                    "movupd %[from], %[product]\n\t"
                    "mulpd %[factors], %[product]\n\t"
                    "addpd %[product], %[sums]")
#endif
#undef TONEKIT_ADD_PRODUCT

// The same in one rounding, where the tier can: equal if each product is exact and no sum is a NaN.
#if defined(__FMA__)
constexpr bool kFuses = true;
[[gnu::always_inline]] inline __m256d AddExactProduct(__m256d sums, const double *from, __m256d factors)
{
    return _mm256_fmadd_pd(_mm256_loadu_pd(from), factors, sums);
}
#else
constexpr bool kFuses = false;
template <class Register>
[[gnu::always_inline]] inline Register AddExactProduct(Register sums, const double *from, Register factors)
{
    return AddProduct(sums, from, factors);
}
#endif

// N neighbouring values in as few registers as hold them.
template <class T, int N>
struct Row {
    static constexpr int kHead = LaneWidth<T>(N);
    Lanes<T, kHead> head;
    Row<T, N - kHead> tail;

    [[gnu::always_inline]] static Row Load(const T *from)
    {
        return {Lanes<T, kHead>::Load(from), Row<T, N - kHead>::Load(from + kHead)};
    }
    [[gnu::always_inline]] void Store(T *to) const
    {
        head.Store(to);
        tail.Store(to + kHead);
    }
    [[gnu::always_inline]] Row Times(T sample) const
    {
        return {{Multiply(head.value, Lanes<T, kHead>::Spread(sample).value)}, tail.Times(sample)};
    }
    [[gnu::always_inline]] Row Plus(const Row &term) const
    {
        return {{Add(head.value, term.head.value)}, tail.Plus(term.tail)};
    }
    [[gnu::always_inline]] Row PlusProduct(const T *from, T factor) const
    {
        return {{AddProduct(head.value, from, Lanes<T, kHead>::Spread(factor).value)},
                tail.PlusProduct(from + kHead, factor)};
    }
    [[gnu::always_inline]] Row PlusExactProduct(const T *from, T factor) const
    {
        return {{AddExactProduct(head.value, from, Lanes<T, kHead>::Spread(factor).value)},
                tail.PlusExactProduct(from + kHead, factor)};
    }
    [[gnu::always_inline]] Row Minus(const Row &term) const
    {
        return {{head.value - term.head.value}, tail.Minus(term.tail)};
    }
    // The magnitudes of this row where they are larger than `peaks`; a NaN is never larger.
    [[gnu::always_inline]] Row Peaks(const Row &peaks) const
    {
        return {{LargerMagnitude(head.value, peaks.head.value)}, tail.Peaks(peaks.tail)};
    }
    [[gnu::always_inline]] bool AnyAbove(T limit) const
    {
        // Without a branch.
        return (unsigned{AnyLaneAbove(head.value, limit)} | unsigned{tail.AnyAbove(limit)}) != 0;
    }
};

template <class T>
struct Row<T, 0> {
    [[gnu::always_inline]] static Row Load(const T *) { return {}; }
    [[gnu::always_inline]] void Store(T *) const {}
    [[gnu::always_inline]] Row Times(T) const { return {}; }
    [[gnu::always_inline]] Row Plus(const Row &) const { return {}; }
    [[gnu::always_inline]] Row PlusProduct(const T *, T) const { return {}; }
    [[gnu::always_inline]] Row PlusExactProduct(const T *, T) const { return {}; }
    [[gnu::always_inline]] Row Minus(const Row &) const { return {}; }
    [[gnu::always_inline]] Row Peaks(const Row &) const { return {}; }
    [[gnu::always_inline]] bool AnyAbove(T) const { return false; }
};

} // namespace tonekit::TONEKIT_TIER
