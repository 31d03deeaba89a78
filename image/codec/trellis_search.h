/* trellis_search.h: the parts of the codec's trellis that take most of its time, four numbers at once. Every
 * sum and product is the one that the codec's own loops have, in their order, so the same coefficients come
 * out. jcdctmgr.c includes it, after the codec's own headers. */
#pragma once

#include <emmintrin.h>

/* A coefficient has up to ten bits; in fours. */
#define TRELLIS_SIZES 12

/* What a coefficient costs by the zeros before it and its bits, less one: the bits of its code and its own.
 * Infinite where the table has no code for it. */
typedef float trellis_rates[DCTSIZE2][TRELLIS_SIZES];

static void set_trellis_rates(trellis_rates rates, const c_derived_tbl *actbl)
{
    const int sixteen_zeros = actbl->ehufsi[0xf0];
    int zeros, size;

    for (zeros = 0; zeros < DCTSIZE2; zeros++) {
        const int runs = zeros >> 4;
        for (size = 1; size <= TRELLIS_SIZES; size++) {
            const int code = actbl->ehufsi[16 * (zeros & 15) + size];
            const int coded = code != 0 && (runs == 0 || sixteen_zeros != 0);
            rates[zeros][size - 1] = coded ? (float)(code + size + runs * sixteen_zeros) : __builtin_inff();
        }
    }
}

/* What a block's coefficients are before any is chosen, in natural order. */
typedef struct {
    int magnitude[DCTSIZE2];
    int quantized[DCTSIZE2];   /* to the nearest; at most what ten bits hold */
    float zero_dist[DCTSIZE2]; /* what zero in its place costs */
} trellis_block;

/* A quotient of numbers below 2^23 is never rounded up to a whole one, so its whole part is that of a
 * division of integers. */
static void set_trellis_block(trellis_block *block, const JCOEF *src, const int *steps, float lambda,
                              const float *lambda_tbl)
{
    const float most = (1 << MAX_COEF_BITS) - 1;
    int z;

    for (z = 0; z < DCTSIZE2; z++) {
        const int magnitude = src[z] < 0 ? -src[z] : src[z];
        const float quotient = (float)(magnitude + (steps[z] >> 1)) / (float)steps[z];
        block->magnitude[z] = magnitude;
        block->quantized[z] = (int)(quotient < most ? quotient : most);
        block->zero_dist[z] = (float)(magnitude * magnitude) * lambda * lambda_tbl[z];
    }
}

/* The coefficients so far that aren't zero, and the place before the first: where a run of zeros can begin.
 */
typedef struct {
    int count;
    int at[DCTSIZE2];
    float zero_dist[DCTSIZE2]; /* of all places up to it */
    float cost[DCTSIZE2];
} trellis_starts;

static inline void add_trellis_start(trellis_starts *starts, int at, float zero_dist, float cost)
{
    starts->at[starts->count] = at;
    starts->zero_dist[starts->count] = zero_dist;
    starts->cost[starts->count++] = cost;
}

/* The cheapest way to code the coefficient at i: the first of its sizes, and the first of the starts before
 * that, with the least cost. Returns the size less one, or -1 if nothing is below *cost; else sets *cost and
 * *start. `dist` has what each size's coefficient is off, and anything up to the next four. */
static inline int search_trellis(const trellis_starts *starts, const trellis_rates rates, const float *dist,
                                 int sizes, int i, float zero_dist_before, float *cost, int *start)
{
    float before[DCTSIZE2];
    float least[TRELLIS_SIZES];
    int from[TRELLIS_SIZES];
    int s, k, best = -1;

    for (s = 0; s < starts->count; s++)
        before[s] = zero_dist_before - starts->zero_dist[s] + starts->cost[s];
    for (k = 0; k < sizes; k += 4) {
        const __m128 off = _mm_loadu_ps(dist + k);
        __m128 least4 = _mm_set1_ps(*cost);
        __m128i from4 = _mm_setzero_si128();
        for (s = 0; s < starts->count; s++) {
            const __m128 rate = _mm_loadu_ps(&rates[i - 1 - starts->at[s]][k]);
            const __m128 sum = _mm_add_ps(_mm_add_ps(rate, off), _mm_set1_ps(before[s]));
            const __m128i less = _mm_castps_si128(_mm_cmplt_ps(sum, least4));
            least4 = _mm_min_ps(sum, least4);
            from4 = _mm_or_si128(_mm_and_si128(less, _mm_set1_epi32(starts->at[s])),
                                 _mm_andnot_si128(less, from4));
        }
        _mm_storeu_ps(least + k, least4);
        _mm_storeu_si128((__m128i *)(from + k), from4);
    }
    for (k = 0; k < sizes; k++) {
        if (least[k] < *cost || (best >= 0 && least[k] == *cost && from[k] < *start)) {
            best = k;
            *cost = least[k];
            *start = from[k];
        }
    }
    return best;
}
