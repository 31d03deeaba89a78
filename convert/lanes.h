// lanes.h: neighbouring samples in one register, and what kernels compute with them. For tier units.
//
// An operation has one name for single samples and for registers of each width. All loads and stores of
// registers are of samples at any address.
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

// The widest registers of the tier. A FloatVector and an IntVector hold kLanes samples, a DoubleVector half
// as many; two of them go with one of the others.
#if defined(__AVX__)
using FloatVector = __m256;
using DoubleVector = __m256d;
using IntVector = __m256i;
#else
using FloatVector = __m128;
using DoubleVector = __m128d;
using IntVector = __m128i;
#endif
constexpr uint32_t kLanes = LaneWidth<float>(8);

[[gnu::always_inline]] inline FloatVector LoadFloats(const float *samples)
{
    return Lanes<float, kLanes>::Load(samples).value;
}

[[gnu::always_inline]] inline DoubleVector LoadDoubles(const double *samples)
{
    return Lanes<double, kLanes / 2>::Load(samples).value;
}

// x * scale + term, for a scale that is a power of two from 1 on and a term below it. The product is exact:
// it keeps x's bits, and where it overflows, so does the sum. So fusing both leaves the bits the same.
[[gnu::always_inline]] inline FloatVector ScaledPlus(FloatVector x, float scale, FloatVector term)
{
#if defined(__FMA__)
    return _mm256_fmadd_ps(x, _mm256_set1_ps(scale), term);
#else
    return x * scale + term;
#endif
}
[[gnu::always_inline]] inline DoubleVector ScaledPlus(DoubleVector x, double scale, DoubleVector term)
{
#if defined(__FMA__)
    return _mm256_fmadd_pd(x, _mm256_set1_pd(scale), term);
#else
    return x * scale + term;
#endif
}

// Next, once for each width:
// - LoadDoubles of floats.
// - SignedHalf: 0.5 with the sign of x, the half that rounds away from zero.
// - AtMost and AtLeast. The instructions give their second operand where one of the two is a NaN, so a NaN
//   stays as it is.
// - Truncate: towards zero; a NaN and what 32 bits do not hold become kOutOfRange.
constexpr int32_t kOutOfRange = INT32_MIN;

#if defined(__AVX__)

[[gnu::always_inline]] inline DoubleVector LoadDoubles(const float *samples)
{
    return _mm256_cvtps_pd(Lanes<float, 4>::Load(samples).value);
}
[[gnu::always_inline]] inline FloatVector SignedHalf(FloatVector x)
{
    return _mm256_blendv_ps(_mm256_set1_ps(0.5f), _mm256_set1_ps(-0.5f), x);
}
[[gnu::always_inline]] inline DoubleVector SignedHalf(DoubleVector x)
{
    return _mm256_blendv_pd(_mm256_set1_pd(0.5), _mm256_set1_pd(-0.5), x);
}
[[gnu::always_inline]] inline FloatVector AtMost(float limit, FloatVector y)
{
    return _mm256_min_ps(_mm256_set1_ps(limit), y);
}
[[gnu::always_inline]] inline DoubleVector AtMost(double limit, DoubleVector y)
{
    return _mm256_min_pd(_mm256_set1_pd(limit), y);
}
[[gnu::always_inline]] inline FloatVector AtLeast(float limit, FloatVector y)
{
    return _mm256_max_ps(_mm256_set1_ps(limit), y);
}
[[gnu::always_inline]] inline DoubleVector AtLeast(double limit, DoubleVector y)
{
    return _mm256_max_pd(_mm256_set1_pd(limit), y);
}
[[gnu::always_inline]] inline FloatVector Narrow(DoubleVector low, DoubleVector high)
{
    return _mm256_set_m128(_mm256_cvtpd_ps(high), _mm256_cvtpd_ps(low));
}
[[gnu::always_inline]] inline IntVector Truncate(FloatVector y)
{
    return _mm256_cvttps_epi32(y);
}
[[gnu::always_inline]] inline IntVector Truncate(DoubleVector low, DoubleVector high)
{
    return _mm256_set_m128i(_mm256_cvttpd_epi32(high), _mm256_cvttpd_epi32(low));
}

#else

[[gnu::always_inline]] inline DoubleVector LoadDoubles(const float *samples)
{
    return _mm_cvtps_pd(Lanes<float, 2>::Load(samples).value);
}
[[gnu::always_inline]] inline FloatVector SignedHalf(FloatVector x)
{
    return _mm_or_ps(_mm_and_ps(x, _mm_set1_ps(-0.0f)), _mm_set1_ps(0.5f));
}
[[gnu::always_inline]] inline DoubleVector SignedHalf(DoubleVector x)
{
    return _mm_or_pd(_mm_and_pd(x, _mm_set1_pd(-0.0)), _mm_set1_pd(0.5));
}
[[gnu::always_inline]] inline FloatVector AtMost(float limit, FloatVector y)
{
    return _mm_min_ps(_mm_set1_ps(limit), y);
}
[[gnu::always_inline]] inline DoubleVector AtMost(double limit, DoubleVector y)
{
    return _mm_min_pd(_mm_set1_pd(limit), y);
}
[[gnu::always_inline]] inline FloatVector AtLeast(float limit, FloatVector y)
{
    return _mm_max_ps(_mm_set1_ps(limit), y);
}
[[gnu::always_inline]] inline DoubleVector AtLeast(double limit, DoubleVector y)
{
    return _mm_max_pd(_mm_set1_pd(limit), y);
}
[[gnu::always_inline]] inline FloatVector Narrow(DoubleVector low, DoubleVector high)
{
    return _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
}
[[gnu::always_inline]] inline IntVector Truncate(FloatVector y)
{
    return _mm_cvttps_epi32(y);
}
[[gnu::always_inline]] inline IntVector Truncate(DoubleVector low, DoubleVector high)
{
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
}

#endif

} // namespace tonekit::TONEKIT_TIER
