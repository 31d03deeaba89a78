// mix_limited.tier.cpp: applies a channel matrix to frames, with a gain that falls at peaks and never rises.
#include "convert/mix.h"
#include "convert/mix_columns.h"
#include "convert/row.h"
#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {
namespace {

// The rule itself, term by term: the gain may fall between two neighbouring terms. Row 0 is not tested; a sum
// left above the limit is tested again at every later row.
template <class T>
void LimitFrame(const T (*matrix)[8], uint32_t rows, uint32_t columns, const T *input, T *output, T &gain)
{
    for (uint32_t o = 0; o < columns; ++o)
        output[o] = o < 8 && rows != 0 ? Multiply(Multiply(matrix[0][o], input[0]), gain) : T(0);
    for (uint32_t i = 1; i < rows; ++i) {
        for (uint32_t o = 0; o < columns && o < 8; ++o) {
            output[o] = Add(output[o], Multiply(Multiply(matrix[i][o], input[i]), gain));
            const T magnitude = static_cast<T>(__builtin_fabs(output[o]));
            if (magnitude > T(1)) {
                const double ratio = static_cast<double>(magnitude) / static_cast<double>(gain);
                gain = static_cast<T>(1.0 / ratio);
            }
        }
    }
}

// Nearly every frame leaves the gain alone, and then its terms are independent of one another: form them side
// by side, and go through the rule only if one of the sums on the way turns out to have been above the limit.
template <class T, int Columns>
void LimitFrames(const T (*matrix)[8], uint32_t rows, uint32_t inputChannels, const T *input, T *output,
                 uint32_t frames, T *gain)
{
    T now = *gain;
    for (; frames != 0; --frames, input += inputChannels, output += Columns) {
        auto sums = Row<T, Columns>::Load(matrix[0]).Times(input[0]).Times(now);
        Row<T, Columns> peaks{};
        for (uint32_t i = 1; i < rows; ++i) {
            sums = sums.Plus(Row<T, Columns>::Load(matrix[i]).Times(input[i]).Times(now));
            peaks = sums.Peaks(peaks);
        }
        if (peaks.AnyAbove(T(1)))
            LimitFrame(matrix, rows, Columns, input, output, now);
        else
            sums.Store(output);
    }
    *gain = now;
}

template <class T>
[[gnu::always_inline]] inline void MixLimited(const T (*matrix)[8], uint32_t rows, uint32_t inputChannels,
                                              uint32_t columns, const T *input, T *output, uint32_t frames,
                                              T *gain)
{
    if (rows == 0 || columns > 8) {
        for (; frames != 0; --frames, input += inputChannels, output += columns)
            LimitFrame(matrix, rows, columns, input, output, *gain);
        return;
    }
    WithColumns(columns, [=]<int Columns>() {
        LimitFrames<T, Columns>(matrix, rows, inputChannels, input, output, frames, gain);
    });
}

} // namespace

TONEKIT_INTERNAL_BODY(MixLimitedDouble, void,
                      (const double (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                       const double *input, double *output, uint32_t frames, double *gain))
{
    MixLimited(matrix, rows, inputChannels, columns, input, output, frames, gain);
}

TONEKIT_INTERNAL_BODY(MixLimitedFloat, void,
                      (const float (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                       const float *input, float *output, uint32_t frames, float *gain))
{
    MixLimited(matrix, rows, inputChannels, columns, input, output, frames, gain);
}

} // namespace tonekit::TONEKIT_TIER
