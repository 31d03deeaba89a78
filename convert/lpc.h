// lpc.h: predicts audio beyond both ends of a stretch by linear prediction.
#pragma once
#include <cstdint>

namespace tonekit {

extern "C" {

// Fills a[0] to a[order - 1] with the prediction coefficients for the autocorrelation r[0] to r[order],
// lightly damped, and returns how many are in use: the rest is 0. A next sample is minus the sum of a[k]
// times the sample k + 1 places before it. A silent or nearly silent r gives the one coefficient -1.0, which
// holds the last sample. Order 0 is treated like silence and needs room for that one coefficient; a negative
// order is returned as it is, with `a` untouched.
int32_t LevinsonDurbin(const double *r, double *a, int32_t order);

// `samples` is the first of `length` interleaved frames in a buffer that has room for `before` frames ahead
// of them and `after` frames after them. Both stretches are predicted from the frames, each channel by
// itself, and stay within +-10.0; a NaN in the frames may spread to them. What a prediction reads beyond the
// frames is 0. Throws what the library's allocator throws, with nothing written. No frames, or an order below
// 0, predict zeros.
void LpcExtrapolateFloat(float *samples, uint32_t length, int32_t channels, int32_t order, uint32_t before,
                         uint32_t after);
void LpcExtrapolateDouble(double *samples, uint32_t length, int32_t channels, int32_t order, uint32_t before,
                          uint32_t after);
}

} // namespace tonekit
