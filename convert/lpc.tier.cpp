// lpc.tier.cpp: predicts audio beyond both ends of a stretch, from the stretch's autocorrelation.
#include "convert/lpc.h"
#include "convert/lanes.h"
#include "frame/allocator.h"
#include "frame/tier.h"
#include <cstddef>

namespace tonekit::TONEKIT_TIER {
namespace {

// Lags whose sums grow side by side: nine registers of the tier. Two such groups hold the 33 sums of order 32
// in the baseline, and one does in the wide tiers.
constexpr int kLagGroup = 9 * LaneWidth<double>(8);

// Samples predicted side by side.
constexpr int kAhead = 8;

// The memory of one call, in one allocation, because nothing would give back the first of two if the second
// failed.
template <class T>
struct Scratch {
    size_t taps;      // room for coefficients: the order, at least 1
    size_t predicted; // room for predictions
    double *r;
    double *a;
    double *stretch; // one windowed channel, with zeros behind it for the last group's idle lags
    T *window;
    T *narrowTaps;
    T *line; // the latest samples before a prediction, then the prediction

    Scratch(size_t length, int32_t order, size_t before, size_t after)
    {
        taps = order > 1 ? static_cast<size_t>(order) : 1;
        predicted = before > after ? before : after;
        const size_t doubles = (taps + 1) + taps + (length + kLagGroup);
        r = static_cast<double *>(
            Allocate(doubles * sizeof(double) + (length + taps + taps + predicted + kAhead) * sizeof(T)));
        a = r + taps + 1;
        stretch = a + taps;
        window = reinterpret_cast<T *>(stretch + length + kLagGroup);
        narrowTaps = window + length;
        line = narrowTaps + taps;
    }
};

// A Welch window: an upturned parabola, 0 just beyond both ends. Its halves mirror each other to the bit as
// long as a float counts half frames exactly, which saves half of the divisions.
template <class T>
void FillWindow(T *window, size_t length)
{
    constexpr size_t kExactLength = size_t{1} << 22;
    const T half = static_cast<T>(static_cast<float>(length + 1) * 0.5f);
    const size_t formed = length < kExactLength ? (length + 1) / 2 : length;
    for (size_t i = 0; i < formed; ++i) {
        const T u = (static_cast<T>(i + 1) - half) / half;
        window[i] = 1 - u * u;
    }
    for (size_t i = formed; i < length; ++i)
        window[i] = window[length - 1 - i];
}

// r[first] and on, as far as the group and the order go: the sum over i of x[i + lag] * x[i], for each lag in
// ascending order of i. The group's sums run side by side as long as all of them have a term.
void SumLagGroup(const double *x, size_t length, size_t first, size_t end, double *r)
{
    double sums[kLagGroup];
    auto group = Row<double, kLagGroup>{};
    const size_t common = length > end - 1 ? length - (end - 1) : 0;
    for (size_t i = 0; i < common; ++i)
        group = group.PlusProduct(x + i + first, x[i]);
    group.Store(sums);
    for (size_t lag = first; lag < end; ++lag) {
        double sum = sums[lag - first];
        for (size_t i = common; i + lag < length; ++i)
            sum = Add(sum, Multiply(x[i + lag], x[i]));
        r[lag] = sum;
    }
}

void Autocorrelate(const double *x, size_t length, int32_t order, double *r)
{
    if (order < 0)
        return;
    const size_t lags = static_cast<size_t>(order) + 1;
    for (size_t first = 0; first < lags; first += kLagGroup)
        SumLagGroup(x, length, first, lags - first < kLagGroup ? lags : first + kLagGroup, r);
}

template <class T>
[[gnu::always_inline]] inline T Limited(T value)
{
    // In this form a NaN stays.
    value = T(10) < value ? T(10) : value;
    return T(-10) > value ? T(-10) : value;
}

// Writes `count` samples from line[0] on; the latest samples before them end at line[-1], at least as many as
// taps. Each is minus the sum of taps[k] * line[-1 - k], from the oldest sample to the latest. A few
// neighbours go through the oldest samples side by side, which all of them know already.
template <class T>
void Predict(T *line, size_t count, const T *taps, ptrdiff_t used)
{
    size_t done = 0;
    if (used >= kAhead) {
        for (; count - done >= kAhead; done += kAhead, line += kAhead) {
            auto sums = Row<T, kAhead>{};
            for (ptrdiff_t k = used - 1; k >= kAhead - 1; --k)
                sums = sums.Minus(Row<T, kAhead>::Load(line - 1 - k).Times(taps[k]));
            sums.Store(line);
            for (int ahead = 0; ahead < kAhead; ++ahead) {
                T sum = line[ahead];
                for (ptrdiff_t k = kAhead - 2; k >= 0; --k)
                    sum = sum - Multiply(line[ahead - 1 - k], taps[k]);
                line[ahead] = Limited(sum);
            }
        }
    }
    for (; done < count; ++done, ++line) {
        T sum = 0;
        for (ptrdiff_t k = used - 1; k >= 0; --k)
            sum = sum - Multiply(line[-1 - k], taps[k]);
        *line = Limited(sum);
    }
}

// One channel of the frames, ahead of, in and behind the analysed stretch.
template <class T>
struct Channel {
    T *first; // of the stretch
    ptrdiff_t stride;
    [[gnu::always_inline]] T &operator[](size_t frame) const
    {
        return first[static_cast<ptrdiff_t>(frame) * stride];
    }
    // The frames ahead of the stretch, the nearest first.
    [[gnu::always_inline]] T &Ahead(size_t frame) const
    {
        return first[(-1 - static_cast<ptrdiff_t>(frame)) * stride];
    }
};

template <class T>
void ExtrapolateChannel(Channel<T> channel, size_t length, int32_t order, size_t before, size_t after,
                        const Scratch<T> &scratch)
{
    for (size_t i = 0; i < length; ++i)
        scratch.stretch[i] = static_cast<double>(channel[i] * scratch.window[i]);
    Autocorrelate(scratch.stretch, length, order, scratch.r);
    const int32_t used = LevinsonDurbin(scratch.r, scratch.a, order);
    for (int32_t k = 0; k < used; ++k)
        scratch.narrowTaps[k] = static_cast<T>(scratch.a[k]);

    T *const line = scratch.line + scratch.taps;
    if (after != 0) {
        for (size_t k = 0; k < scratch.taps; ++k)
            line[-1 - static_cast<ptrdiff_t>(k)] = k < length ? channel[length - 1 - k] : T(0);
        Predict(line, after, scratch.narrowTaps, used);
        for (size_t j = 0; j < after; ++j)
            channel[length + j] = line[j];
    }
    if (before != 0) {
        // The same coefficients serve backwards in time. Of a stretch shorter than the order, they reach the
        // prediction behind it.
        for (size_t k = 0; k < scratch.taps; ++k)
            line[-1 - static_cast<ptrdiff_t>(k)] = k < length + after ? channel[k] : T(0);
        Predict(line, before, scratch.narrowTaps, used);
        for (size_t j = 0; j < before; ++j)
            channel.Ahead(j) = line[j];
    }
}

template <class T>
[[gnu::always_inline]] inline void Extrapolate(T *samples, size_t length, int32_t channels, int32_t order,
                                               size_t before, size_t after)
{
    const Scratch<T> scratch(length, order, before, after);
    FillWindow(scratch.window, length);
    for (size_t i = 0; i < kLagGroup; ++i)
        scratch.stretch[length + i] = 0.0;
    for (int32_t c = 0; c < channels; ++c)
        ExtrapolateChannel(Channel<T>{samples + c, channels}, length, order, before, after, scratch);
    Release(scratch.r);
}

} // namespace

TONEKIT_INTERNAL_BODY(LpcExtrapolateFloat, void,
                      (float *samples, uint32_t length, int32_t channels, int32_t order, uint32_t before,
                       uint32_t after))
{
    Extrapolate(samples, length, channels, order, before, after);
}

TONEKIT_INTERNAL_BODY(LpcExtrapolateDouble, void,
                      (double *samples, uint32_t length, int32_t channels, int32_t order, uint32_t before,
                       uint32_t after))
{
    Extrapolate(samples, length, channels, order, before, after);
}

} // namespace tonekit::TONEKIT_TIER
