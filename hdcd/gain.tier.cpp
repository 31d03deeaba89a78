// gain.tier.cpp: scales samples, extends peaks and applies the gain ramp.
#include "frame/packed_samples.h"
#include "frame/tier.h"
#include "hdcd/entries.h"
#include "hdcd/gain_ramp.h"
#include "hdcd/hdcd_tables.h"

#include <emmintrin.h>
#ifdef __AVX2__
    #include <immintrin.h>
#endif

#include <cstddef>

namespace tonekit::TONEKIT_TIER {

namespace {

PackedInt32 *Packed(int32_t *samples)
{
    return reinterpret_cast<PackedInt32 *>(samples);
}

int32_t ShiftUp(int32_t sample, int shift)
{
    return static_cast<int32_t>(static_cast<uint32_t>(sample) << shift);
}

// The magnitudes from the level on come from the table. It is made for 16 bits; with 20 and 24 bits its
// values don't join those of the shift at the level, and that is how it is meant to be.
int32_t ExtendPeak(int32_t sample, int32_t level, int shift)
{
    const uint32_t bitsOfSample = static_cast<uint32_t>(sample);
    const uint32_t magnitude = sample < 0 ? 0 - bitsOfSample : bitsOfSample;
    if (magnitude < static_cast<uint32_t>(level))
        return ShiftUp(sample, shift);
    const uint32_t above = magnitude - static_cast<uint32_t>(level);
    const uint32_t peak = HdcdPeakTable[above < kHdcdLastPeak ? static_cast<int>(above) : kHdcdLastPeak];
    return static_cast<int32_t>(sample < 0 ? 0 - peak : peak);
}

// Rounds towards minus infinity.
int32_t Attenuate(int32_t sample, int32_t gain)
{
    return static_cast<int32_t>(int64_t{sample} * HdcdGainTable32[gain] >> 23);
}

void Scale(PackedInt32 *samples, int32_t count, ptrdiff_t stride, int32_t bits, bool extend)
{
    const int shift = 31 - bits;
    const int32_t level = HdcdPeakLevel(bits);
    for (int32_t i = 0; i < count; ++i, samples += stride)
        samples->value = extend ? ExtendPeak(samples->value, level, shift) : ShiftUp(samples->value, shift);
}

// Applies the ramp and sets the gain that it reaches. Returns the samples that it takes.
int32_t Ramp(PackedInt32 *samples, int32_t count, ptrdiff_t stride, int32_t *gain, int32_t target)
{
    const GainRamp ramp = RampTowards(*gain, target, count);
    int32_t step = *gain;
    for (int32_t i = 0; i < ramp.samples; ++i, samples += stride) {
        step += ramp.step;
        samples->value = Attenuate(samples->value, step);
    }
    *gain = ramp.reached;
    return ramp.samples;
}

void Hold(PackedInt32 *samples, int32_t count, ptrdiff_t stride, int32_t gain)
{
    if (gain == 0)
        return;
    for (int32_t i = 0; i < count; ++i, samples += stride)
        samples->value = Attenuate(samples->value, gain);
}

// Below: both channels at once, four samples to a vector.

// The shift as a template parameter: a shift by a count in a register costs twice as much.
template <int Shift>
void ScaleFlat(PackedInt32 *samples, size_t count)
{
    size_t i = 0;
#ifdef __AVX2__
    for (; count - i >= 64; i += 64) {
        auto *at = reinterpret_cast<__m256i *>(samples + i);
    #pragma GCC unroll 8
        for (int k = 0; k < 8; ++k)
            _mm256_storeu_si256(at + k, _mm256_slli_epi32(_mm256_loadu_si256(at + k), Shift));
    }
#else
    for (; count - i >= 32; i += 32) {
        auto *at = reinterpret_cast<__m128i *>(samples + i);
    #pragma GCC unroll 8
        for (int k = 0; k < 8; ++k)
            _mm_storeu_si128(at + k, _mm_slli_epi32(_mm_loadu_si128(at + k), Shift));
    }
#endif
    for (; i < count; ++i)
        samples[i].value = ShiftUp(samples[i].value, Shift);
}

void ScaleUp(PackedInt32 *samples, size_t count, int32_t bits)
{
    switch (bits) {
    case 16:
        return ScaleFlat<15>(samples, count);
    case 20:
        return ScaleFlat<11>(samples, count);
    default:
        return ScaleFlat<7>(samples, count);
    }
}

// ExtendPeak of four samples, whose distances above the level are given; those below it come out as rubbish.
__m128i ExtendPeaks(__m128i values, __m128i above)
{
    const __m128i last = _mm_set1_epi32(kHdcdLastPeak);
    const __m128i beyond = _mm_cmpgt_epi32(above, last);
    const __m128i below = _mm_srai_epi32(above, 31);
    const __m128i clamped = _mm_or_si128(_mm_and_si128(beyond, last), _mm_andnot_si128(beyond, above));
    alignas(16) int32_t index[4];
    _mm_store_si128(reinterpret_cast<__m128i *>(index), _mm_andnot_si128(below, clamped));
    alignas(16) uint32_t peak[4];
    for (int i = 0; i < 4; ++i)
        peak[i] = HdcdPeakTable[index[i]];
    const __m128i signs = _mm_srai_epi32(values, 31);
    const __m128i peaks = _mm_load_si128(reinterpret_cast<const __m128i *>(peak));
    return _mm_sub_epi32(_mm_xor_si128(peaks, signs), signs);
}

// Peaks are rare: where two frames have none, the table is left alone.
void ScaleWithPeaks(int32_t *samples, int32_t frames, int32_t bits, const int32_t *extend)
{
    const int32_t level = HdcdPeakLevel(bits);
    const int shift = 31 - bits;
    const int32_t left = extend[0] != 0 ? -1 : 0;
    const int32_t right = extend[1] != 0 ? -1 : 0;
    const __m128i extended = _mm_setr_epi32(left, right, left, right);
    const __m128i levels = _mm_set1_epi32(level);
    const __m128i shiftCount = _mm_cvtsi32_si128(shift);
    for (; frames >= 2; frames -= 2, samples += 4) {
        auto *at = reinterpret_cast<__m128i *>(samples);
        const __m128i values = _mm_loadu_si128(at);
        const __m128i signs = _mm_srai_epi32(values, 31);
        // The magnitude of the lowest number is its own bits again; less the level, it is far above it.
        const __m128i above = _mm_sub_epi32(_mm_sub_epi32(_mm_xor_si128(values, signs), signs), levels);
        const __m128i peaks = _mm_andnot_si128(_mm_srai_epi32(above, 31), extended);
        __m128i scaled = _mm_sll_epi32(values, shiftCount);
        if (_mm_movemask_epi8(peaks) != 0)
            scaled = _mm_or_si128(_mm_and_si128(peaks, ExtendPeaks(values, above)),
                                  _mm_andnot_si128(peaks, scaled));
        _mm_storeu_si128(at, scaled);
    }
    if (frames == 1)
        for (int i = 0; i < 2; ++i) {
            PackedInt32 &rest = Packed(samples)[i];
            rest.value = extend[i] != 0 ? ExtendPeak(rest.value, level, shift) : ShiftUp(rest.value, shift);
        }
}

void ScaleLinked(int32_t *samples, int32_t frames, const LinkedGain &gain)
{
    if (gain.bits[0] != gain.bits[1]) {
        for (int i = 0; i < 2; ++i)
            Scale(Packed(samples + i), frames, 2, gain.bits[i], gain.extend[i] != 0);
    } else if (gain.extend[0] == 0 && gain.extend[1] == 0) {
        ScaleUp(Packed(samples), 2 * static_cast<size_t>(frames), gain.bits[0]);
    } else {
        ScaleWithPeaks(samples, frames, gain.bits[0], gain.extend);
    }
}

// Holds both channels at the gain that they share. The signed product of a sample and a factor is that of the
// sample raised by 2^31, which is not negative, less 2^31 times the factor; bits 23 to 54 of it are kept.
void HoldLinked(int32_t *samples, int32_t frames, int32_t gain)
{
    if (gain == 0)
        return;
    const __m128i factor = _mm_set1_epi64x(HdcdGainTable32[gain]);
    const __m128i raise = _mm_slli_epi64(factor, 31);
    const __m128i signs = _mm_set1_epi32(INT32_MIN);
    const __m128i lowHalves = _mm_set1_epi64x(0xFFFFFFFF);
    for (; frames >= 2; frames -= 2, samples += 4) {
        auto *at = reinterpret_cast<__m128i *>(samples);
        const __m128i raised = _mm_xor_si128(_mm_loadu_si128(at), signs);
        const __m128i left = _mm_sub_epi64(_mm_mul_epu32(raised, factor), raise);
        const __m128i right = _mm_sub_epi64(_mm_mul_epu32(_mm_srli_epi64(raised, 32), factor), raise);
        _mm_storeu_si128(at, _mm_or_si128(_mm_and_si128(_mm_srli_epi64(left, 23), lowHalves),
                                          _mm_andnot_si128(lowHalves, _mm_slli_epi64(right, 9))));
    }
    Hold(Packed(samples), 2 * frames, 1, gain);
}

} // namespace

TONEKIT_INTERNAL_BODY(hdcd_envelope, int32_t,
                      (int32_t * samples, int32_t count, int32_t stride, int32_t bits, int32_t gain,
                       int32_t target_gain, int32_t extend))
{
    PackedInt32 *packed = Packed(samples);
    Scale(packed, count, stride, bits, extend != 0);
    const int32_t ramped = Ramp(packed, count, stride, &gain, target_gain);
    Hold(packed + static_cast<ptrdiff_t>(ramped) * stride, count - ramped, stride, gain);
    return gain;
}

TONEKIT_INTERNAL_BODY(EnvelopeLinked, void, (int32_t * samples, int32_t frames, LinkedGain *gain))
{
    ScaleLinked(samples, frames, *gain);
    int32_t ramped[2];
    for (int i = 0; i < 2; ++i)
        ramped[i] = Ramp(Packed(samples + i), frames, 2, &gain->gain[i], gain->target);
    // The channel whose ramp was shorter holds alone until the other one has caught up.
    const int32_t both = ramped[0] > ramped[1] ? ramped[0] : ramped[1];
    for (int i = 0; i < 2; ++i)
        Hold(Packed(samples + i + 2 * static_cast<ptrdiff_t>(ramped[i])), both - ramped[i], 2, gain->gain[i]);
    // Both have reached the target, unless no frame is left.
    HoldLinked(samples + 2 * static_cast<ptrdiff_t>(both), frames - both, gain->target);
}

} // namespace tonekit::TONEKIT_TIER
