// mix_plain.tier.cpp: applies a channel matrix to frames.
#include "convert/mix.h"
#include "convert/mix_columns.h"
#include "convert/row.h"
#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {
namespace {

// Rows is the number of rows where it is known beforehand, or 0.
template <class T, int Columns, int Rows>
void MixFrames(const T (*matrix)[8], uint32_t rows, uint32_t inputChannels, const T *input, T *output,
               uint32_t frames)
{
    const uint32_t rowCount = Rows != 0 ? Rows : rows;
    for (; frames != 0; --frames, input += inputChannels, output += Columns) {
        auto sums = Row<T, Columns>::Load(matrix[0]).Times(input[0]);
        for (uint32_t i = 1; i < rowCount; ++i)
            sums = sums.Plus(Row<T, Columns>::Load(matrix[i]).Times(input[i]));
        sums.Store(output);
    }
}

#if defined(__AVX__)
[[gnu::always_inline]] inline __m256d LeftSamples(__m256d frames)
{
    return _mm256_movedup_pd(frames);
}
[[gnu::always_inline]] inline __m256d RightSamples(__m256d frames)
{
    return _mm256_permute_pd(frames, 0xF);
}
[[gnu::always_inline]] inline __m256 LeftSamples(__m256 frames)
{
    return _mm256_moveldup_ps(frames);
}
[[gnu::always_inline]] inline __m256 RightSamples(__m256 frames)
{
    return _mm256_movehdup_ps(frames);
}
#else
[[gnu::always_inline]] inline __m128d LeftSamples(__m128d frame)
{
    return _mm_unpacklo_pd(frame, frame);
}
[[gnu::always_inline]] inline __m128d RightSamples(__m128d frame)
{
    return _mm_unpackhi_pd(frame, frame);
}
[[gnu::always_inline]] inline __m128 LeftSamples(__m128 frames)
{
    return _mm_shuffle_ps(frames, frames, 0xA0);
}
[[gnu::always_inline]] inline __m128 RightSamples(__m128 frames)
{
    return _mm_shuffle_ps(frames, frames, 0xF5);
}
#endif

// Stereo to stereo, the mix of nearly every conversion: as many frames at a time as a register holds.
template <class T>
void MixStereo(const T (*matrix)[8], uint32_t inputChannels, const T *input, T *output, uint32_t frames)
{
    using Samples = Lanes<T, LaneWidth<T>(8)>;
    constexpr uint32_t kWidth = LaneWidth<T>(8);
    constexpr uint32_t kFrames = kWidth / 2;
    T repeated[2][kWidth];
    for (uint32_t i = 0; i < kWidth; ++i) {
        repeated[0][i] = matrix[0][i % 2];
        repeated[1][i] = matrix[1][i % 2];
    }
    const auto fromLeft = Samples::Load(repeated[0]);
    const auto fromRight = Samples::Load(repeated[1]);
    uint32_t done = 0;
    for (; frames - done >= kFrames; done += kFrames, input += kWidth, output += kWidth) {
        const auto samples = Samples::Load(input);
        const Samples sums{Add(Multiply(fromLeft.value, LeftSamples(samples.value)),
                               Multiply(fromRight.value, RightSamples(samples.value)))};
        sums.Store(output);
    }
    MixFrames<T, 2, 2>(matrix, 2, inputChannels, input, output, frames - done);
}

// Layouts that no matrix was made for: 0.0 in the columns that a matrix does not have, and everywhere without
// rows.
template <class T>
void MixBeyondMatrix(const T (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                     const T *input, T *output, uint32_t frames)
{
    for (; frames != 0; --frames, input += inputChannels, output += columns) {
        for (uint32_t o = 0; o < columns; ++o) {
            T sum = 0;
            if (o < 8 && rows != 0)
                sum = Multiply(matrix[0][o], input[0]);
            for (uint32_t i = 1; o < 8 && i < rows; ++i)
                sum = Add(sum, Multiply(matrix[i][o], input[i]));
            output[o] = sum;
        }
    }
}

template <class T>
[[gnu::always_inline]] inline void MixPlain(const T (*matrix)[8], uint32_t rows, uint32_t inputChannels,
                                            uint32_t columns, const T *input, T *output, uint32_t frames)
{
    if (rows == 0 || columns > 8)
        return MixBeyondMatrix(matrix, rows, inputChannels, columns, input, output, frames);
    if (rows == 2 && columns == 2 && inputChannels == 2)
        return MixStereo(matrix, inputChannels, input, output, frames);
    WithColumns(columns, [=]<int Columns>() {
        if (rows == 1)
            MixFrames<T, Columns, 1>(matrix, rows, inputChannels, input, output, frames);
        else if (rows == 2)
            MixFrames<T, Columns, 2>(matrix, rows, inputChannels, input, output, frames);
        else
            MixFrames<T, Columns, 0>(matrix, rows, inputChannels, input, output, frames);
    });
}

} // namespace

TONEKIT_INTERNAL_BODY(MixPlainDouble, void,
                      (const double (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                       const double *input, double *output, uint32_t frames))
{
    MixPlain(matrix, rows, inputChannels, columns, input, output, frames);
}

TONEKIT_INTERNAL_BODY(MixPlainFloat, void,
                      (const float (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                       const float *input, float *output, uint32_t frames))
{
    MixPlain(matrix, rows, inputChannels, columns, input, output, frames);
}

} // namespace tonekit::TONEKIT_TIER
