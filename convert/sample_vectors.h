// sample_vectors.h: the vector registers of a tier, under names that do not depend on their width.
//
// Included by tier units only. A FloatVector and an IntVector hold kLanes samples, a DoubleVector half as
// many; two of them go with one of the others. The minimum and maximum instructions give their second operand
// where one of the two is a NaN: AtMost and AtLeast leave a NaN as it is.
#pragma once

#include "frame/tier.h"

#include <immintrin.h>

#include "convert/packed_samples.h"

namespace tonekit::TONEKIT_TIER {

namespace {

#ifdef __AVX__

constexpr uint32_t kLanes = 8;
using FloatVector = __m256;
using DoubleVector = __m256d;
using IntVector = __m256i;

inline FloatVector LoadFloats(const float *samples)
{
    return _mm256_loadu_ps(samples);
}

inline DoubleVector LoadDoubles(const double *samples)
{
    return _mm256_loadu_pd(samples);
}

inline DoubleVector LoadDoubles(const float *samples)
{
    return _mm256_cvtps_pd(_mm_loadu_ps(samples));
}

inline void StoreFloats(PackedFloat32 *samples, FloatVector vector)
{
    _mm256_storeu_ps(reinterpret_cast<float *>(samples), vector);
}

// The half that rounds away from zero: 0.5 with the sign of x.
inline FloatVector SignedHalf(FloatVector x)
{
    return _mm256_blendv_ps(_mm256_set1_ps(0.5f), _mm256_set1_ps(-0.5f), x);
}

inline DoubleVector SignedHalf(DoubleVector x)
{
    return _mm256_blendv_pd(_mm256_set1_pd(0.5), _mm256_set1_pd(-0.5), x);
}

// x * scale + term, for a scale that is a power of two from 1 on and a term below it. The product is exact:
// it keeps x's bits, and where it overflows, so does the sum. So fusing both gives the same bits.
inline FloatVector ScaledPlus(FloatVector x, float scale, FloatVector term)
{
    #ifdef __FMA__
    return _mm256_fmadd_ps(x, _mm256_set1_ps(scale), term);
    #else
    return x * scale + term;
    #endif
}

inline DoubleVector ScaledPlus(DoubleVector x, double scale, DoubleVector term)
{
    #ifdef __FMA__
    return _mm256_fmadd_pd(x, _mm256_set1_pd(scale), term);
    #else
    return x * scale + term;
    #endif
}

inline FloatVector AtMost(float limit, FloatVector y)
{
    return _mm256_min_ps(_mm256_set1_ps(limit), y);
}

inline DoubleVector AtMost(double limit, DoubleVector y)
{
    return _mm256_min_pd(_mm256_set1_pd(limit), y);
}

inline FloatVector AtLeast(float limit, FloatVector y)
{
    return _mm256_max_ps(_mm256_set1_ps(limit), y);
}

inline DoubleVector AtLeast(double limit, DoubleVector y)
{
    return _mm256_max_pd(_mm256_set1_pd(limit), y);
}

inline FloatVector Narrow(DoubleVector low, DoubleVector high)
{
    return _mm256_set_m128(_mm256_cvtpd_ps(high), _mm256_cvtpd_ps(low));
}

// Towards zero; a NaN and what 32 bits do not hold become kOutOfRange.
inline IntVector Truncate(FloatVector y)
{
    return _mm256_cvttps_epi32(y);
}

inline IntVector Truncate(DoubleVector low, DoubleVector high)
{
    return _mm256_set_m128i(_mm256_cvttpd_epi32(high), _mm256_cvttpd_epi32(low));
}

#else

constexpr uint32_t kLanes = 4;
using FloatVector = __m128;
using DoubleVector = __m128d;
using IntVector = __m128i;

inline FloatVector LoadFloats(const float *samples)
{
    return _mm_loadu_ps(samples);
}

inline DoubleVector LoadDoubles(const double *samples)
{
    return _mm_loadu_pd(samples);
}

inline DoubleVector LoadDoubles(const float *samples)
{
    return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(samples))));
}

inline void StoreFloats(PackedFloat32 *samples, FloatVector vector)
{
    _mm_storeu_ps(reinterpret_cast<float *>(samples), vector);
}

inline FloatVector SignedHalf(FloatVector x)
{
    return _mm_or_ps(_mm_and_ps(x, _mm_set1_ps(-0.0f)), _mm_set1_ps(0.5f));
}

inline DoubleVector SignedHalf(DoubleVector x)
{
    return _mm_or_pd(_mm_and_pd(x, _mm_set1_pd(-0.0)), _mm_set1_pd(0.5));
}

inline FloatVector ScaledPlus(FloatVector x, float scale, FloatVector term)
{
    return x * scale + term;
}

inline DoubleVector ScaledPlus(DoubleVector x, double scale, DoubleVector term)
{
    return x * scale + term;
}

inline FloatVector AtMost(float limit, FloatVector y)
{
    return _mm_min_ps(_mm_set1_ps(limit), y);
}

inline DoubleVector AtMost(double limit, DoubleVector y)
{
    return _mm_min_pd(_mm_set1_pd(limit), y);
}

inline FloatVector AtLeast(float limit, FloatVector y)
{
    return _mm_max_ps(_mm_set1_ps(limit), y);
}

inline DoubleVector AtLeast(double limit, DoubleVector y)
{
    return _mm_max_pd(_mm_set1_pd(limit), y);
}

inline FloatVector Narrow(DoubleVector low, DoubleVector high)
{
    return _mm_movelh_ps(_mm_cvtpd_ps(low), _mm_cvtpd_ps(high));
}

inline IntVector Truncate(FloatVector y)
{
    return _mm_cvttps_epi32(y);
}

inline IntVector Truncate(DoubleVector low, DoubleVector high)
{
    return _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
}

#endif

constexpr int32_t kOutOfRange = INT32_MIN;

} // namespace

} // namespace tonekit::TONEKIT_TIER
