// lanes.h: neighbouring samples in one register, with sums and products whose operand order is fixed. For
// tier units.
//
// A processor that multiplies or adds two NaNs answers with the first of them. Compilers take both operations
// to be commutative and order the operands as registers fall, differently from tier to tier, so plain code
// would yield NaNs that differ in their bits. Multiply and Add below keep the written order in every body.
#pragma once
#include <cstdint>
#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {

#if defined(__AVX__)
    #define TONEKIT_ORDERED(function, type, mnemonic)                                                        \
        [[gnu::always_inline]] inline type function(type first, type second)                                 \
        {                                                                                                    \
            type result;                                                                                     \
            asm("v" mnemonic " %2, %1, %0" : "=x"(result) : "x"(first), "xm"(second));                       \
            return result;                                                                                   \
        }
#else
    #define TONEKIT_ORDERED(function, type, mnemonic)                                                        \
        [[gnu::always_inline]] inline type function(type first, type second)                                 \
        {                                                                                                    \
            asm(mnemonic " %1, %0" : "+x"(first) : "x"(second));                                             \
            return first;                                                                                    \
        }
#endif
TONEKIT_ORDERED(Multiply, double, "mulsd")
TONEKIT_ORDERED(Multiply, float, "mulss")
TONEKIT_ORDERED(Multiply, __m128d, "mulpd")
TONEKIT_ORDERED(Multiply, __m128, "mulps")
TONEKIT_ORDERED(Add, double, "addsd")
TONEKIT_ORDERED(Add, float, "addss")
TONEKIT_ORDERED(Add, __m128d, "addpd")
TONEKIT_ORDERED(Add, __m128, "addps")
#if defined(__AVX__)
TONEKIT_ORDERED(Multiply, __m256d, "mulpd")
TONEKIT_ORDERED(Multiply, __m256, "mulps")
TONEKIT_ORDERED(Add, __m256d, "addpd")
TONEKIT_ORDERED(Add, __m256, "addps")
#endif
#undef TONEKIT_ORDERED

// N neighbouring samples of type T. Half a register's floats carry zeros after them, which never reach
// memory.
template <class T, int N>
struct Lanes;

#define TONEKIT_LANES(type, count, registerType, load, store, spread)                                        \
    template <>                                                                                              \
    struct Lanes<type, count> {                                                                              \
        registerType value;                                                                                  \
        [[gnu::always_inline]] static Lanes Load(const type *from) { return {load}; }                        \
        [[gnu::always_inline]] static Lanes Spread(type sample) { return {spread}; }                         \
        [[gnu::always_inline]] void Store(type *to) const { store; }                                         \
    };
TONEKIT_LANES(double, 1, double, *from, *to = value, sample)
TONEKIT_LANES(float, 1, float, *from, *to = value, sample)
TONEKIT_LANES(double, 2, __m128d, _mm_loadu_pd(from), _mm_storeu_pd(to, value), _mm_set1_pd(sample))
TONEKIT_LANES(float, 2, __m128, _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(from))),
              _mm_storel_epi64(reinterpret_cast<__m128i *>(to), _mm_castps_si128(value)), _mm_set1_ps(sample))
TONEKIT_LANES(float, 4, __m128, _mm_loadu_ps(from), _mm_storeu_ps(to, value), _mm_set1_ps(sample))
#if defined(__AVX__)
TONEKIT_LANES(double, 4, __m256d, _mm256_loadu_pd(from), _mm256_storeu_pd(to, value), _mm256_set1_pd(sample))
TONEKIT_LANES(float, 8, __m256, _mm256_loadu_ps(from), _mm256_storeu_ps(to, value), _mm256_set1_ps(sample))
#endif
#undef TONEKIT_LANES

// The widest Lanes of this tier that holds at most `count` samples.
template <class T>
constexpr int LaneWidth(int count)
{
#if defined(__AVX__)
    int width = 32 / sizeof(T);
#else
    int width = 16 / sizeof(T);
#endif
    while (width > count)
        width /= 2;
    return width;
}

// The magnitude of `sum` where it is larger than `peak`, else `peak`; a NaN is never larger.
[[gnu::always_inline]] inline double LargerMagnitude(double sum, double peak)
{
    const double magnitude = __builtin_fabs(sum);
    return magnitude > peak ? magnitude : peak;
}
[[gnu::always_inline]] inline float LargerMagnitude(float sum, float peak)
{
    const float magnitude = __builtin_fabsf(sum);
    return magnitude > peak ? magnitude : peak;
}
[[gnu::always_inline]] inline __m128d LargerMagnitude(__m128d sums, __m128d peaks)
{
    return _mm_max_pd(_mm_andnot_pd(_mm_set1_pd(-0.0), sums), peaks);
}
[[gnu::always_inline]] inline __m128 LargerMagnitude(__m128 sums, __m128 peaks)
{
    return _mm_max_ps(_mm_andnot_ps(_mm_set1_ps(-0.0f), sums), peaks);
}

[[gnu::always_inline]] inline bool AnyLaneAbove(double peak, double limit)
{
    return peak > limit;
}
[[gnu::always_inline]] inline bool AnyLaneAbove(float peak, float limit)
{
    return peak > limit;
}
[[gnu::always_inline]] inline bool AnyLaneAbove(__m128d peaks, double limit)
{
    return _mm_movemask_pd(_mm_cmpgt_pd(peaks, _mm_set1_pd(limit))) != 0;
}
[[gnu::always_inline]] inline bool AnyLaneAbove(__m128 peaks, float limit)
{
    return _mm_movemask_ps(_mm_cmpgt_ps(peaks, _mm_set1_ps(limit))) != 0;
}

#if defined(__AVX__)
[[gnu::always_inline]] inline __m256d LargerMagnitude(__m256d sums, __m256d peaks)
{
    return _mm256_max_pd(_mm256_andnot_pd(_mm256_set1_pd(-0.0), sums), peaks);
}
[[gnu::always_inline]] inline __m256 LargerMagnitude(__m256 sums, __m256 peaks)
{
    return _mm256_max_ps(_mm256_andnot_ps(_mm256_set1_ps(-0.0f), sums), peaks);
}
[[gnu::always_inline]] inline bool AnyLaneAbove(__m256d peaks, double limit)
{
    return _mm256_movemask_pd(_mm256_cmp_pd(peaks, _mm256_set1_pd(limit), _CMP_GT_OQ)) != 0;
}
[[gnu::always_inline]] inline bool AnyLaneAbove(__m256 peaks, float limit)
{
    return _mm256_movemask_ps(_mm256_cmp_ps(peaks, _mm256_set1_ps(limit), _CMP_GT_OQ)) != 0;
}
#endif

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
