// lpc.tier.cpp: predicts audio beyond both ends of a stretch, from the stretch's autocorrelation.
#include "convert/lpc.h"

#include "convert/lpc_faint.h"
#include "convert/row.h"
#include "frame/allocator.h"
#include "frame/tier.h"

#include <cstddef>

namespace tonekit::TONEKIT_TIER {
namespace {

// Lags whose sums grow side by side: nine registers of the tier. Two such groups hold the 33 sums of order
// 32 in the baseline, and one does in the wide tiers.
constexpr int kLagGroup = 9 * LaneWidth<double>(8);

// Samples of a channel predicted side by side.
constexpr int kAhead = 8;

// Channels taken side by side, so that one computes while the other waits for its last sample.
constexpr int kTogether = 2;

// Samples that are windowed at a time, so that they stay in the first-level cache.
constexpr size_t kPiece = 1024;

// What one channel needs.
template <class T>
struct Analysis {
    double *r; // the sums of whole groups of lags
    double *a;
    double *piece; // windowed samples; what idle lags read after them doesn't matter
    T *narrowTaps;
    T *line;      // the latest samples before a prediction; the prediction from line[taps] on
    int32_t used; // taps
};

// The memory of one call, in one allocation, because nothing would give back the first of two if the second
// failed.
template <class T>
struct Scratch {
    size_t taps; // room for coefficients: the order, at least 1
    size_t sums; // lags of whole groups
    Analysis<T> channel[kTogether];

    Scratch(int32_t channels, int32_t order, size_t before, size_t after)
    {
        const size_t together = channels < kTogether ? 1 : kTogether;
        taps = order > 1 ? static_cast<size_t>(order) : 1;
        sums = (taps + kLagGroup) / kLagGroup * kLagGroup;
        const size_t predicted = before > after ? before : after;
        const size_t piece = kPiece + sums;
        const size_t doubles = sums + taps + piece;
        const size_t narrow = taps + taps + predicted;
        auto *wide =
            static_cast<double *>(Allocate(together * (doubles * sizeof(double) + narrow * sizeof(T))));
        T *rest = reinterpret_cast<T *>(wide + together * doubles);
        for (size_t i = 0; i < together; ++i, wide += doubles, rest += narrow) {
            channel[i] = {wide, wide + sums, wide + sums + taps, rest, rest + taps, 0};
            for (size_t j = 0; j < piece; ++j)
                channel[i].piece[j] = 0.0;
        }
    }
    ~Scratch() { Release(channel[0].r); }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
};

// Some channels of the frames, ahead of, in and after the analysed stretch.
template <class T>
struct Channels {
    T *first; // of the stretch
    ptrdiff_t stride;
    [[gnu::always_inline]] T &At(ptrdiff_t frame, int channel) const
    {
        return first[frame * stride + channel];
    }
};

// Frames first to end of the stretch under a Welch window: an upturned parabola, 0 just beyond both ends. A
// narrow counter has a vector conversion to floats.
template <int kChannels, class Counter, class T>
[[gnu::always_inline]] inline void Window(const T *frames, size_t stride, size_t length, size_t first,
                                          size_t end, double *one, double *other)
{
    const T half = static_cast<T>(static_cast<float>(length + 1) * 0.5f);
    const T *frame = frames + first * stride;
    const auto count = static_cast<Counter>(end - first);
    for (Counter i = 0; i < count; ++i) {
        const T u = (static_cast<T>(static_cast<Counter>(first) + i + 1) - half) / half;
        const T window = 1 - u * u;
        one[i] = static_cast<double>(frame[static_cast<size_t>(i) * stride] * window);
        if (kChannels == 2)
            other[i] = static_cast<double>(frame[static_cast<size_t>(i) * stride + 1] * window);
    }
}

// Puts them at an offset in the channels' pieces.
template <int kChannels, class T>
void WindowPiece(const Channels<T> &frames, size_t length, size_t first, size_t end,
                 const Analysis<T> *channels, size_t offset)
{
    const auto stride = static_cast<size_t>(frames.stride);
    double *const one = channels[0].piece + offset;
    double *const other = channels[kChannels - 1].piece + offset;
    if (end >= INT32_MAX)
        Window<kChannels, size_t>(frames.first, stride, length, first, end, one, other);
    else if (stride == kChannels)
        Window<kChannels, int32_t>(frames.first, kChannels, length, first, end, one, other);
    else
        Window<kChannels, int32_t>(frames.first, stride, length, first, end, one, other);
}

// Whether sums of products of these stay as they are.
bool AllZero(const double *x, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        if (x[i] != 0.0)
            return false;
    return true;
}

// Adds x[i + lag] * x[i] to the sum of each lag, for i from 0 to count - 1.
template <bool kExactProducts>
void AddProducts(const double *x, size_t count, size_t lags, double *sums)
{
    for (size_t first = 0; first < lags; first += kLagGroup) {
        auto group = Row<double, kLagGroup>::Load(sums + first);
        for (size_t i = 0; i < count; ++i) {
            if (kExactProducts)
                group = group.PlusExactProduct(x + i + first, x[i]);
            else
                group = group.PlusProduct(x + i + first, x[i]);
        }
        group.Store(sums + first);
    }
}

// The same for the last samples, which fewer and fewer lags have a term for.
void AddLastProducts(const double *x, size_t count, size_t lags, double *sums)
{
    for (size_t lag = 0; lag < lags; ++lag)
        for (size_t i = 0; i + lag < count; ++i)
            sums[lag] = Add(sums[lag], Multiply(x[i + lag], x[i]));
}

// r[lag] is the sum over i of x[i + lag] * x[i], in ascending order of i, x being the windowed stretch.
template <bool kExactProducts, int kChannels, class T>
void Autocorrelate(const Channels<T> &frames, size_t length, size_t order, const Scratch<T> &scratch)
{
    const Analysis<T> *const channels = scratch.channel;
    for (int c = 0; c < kChannels; ++c)
        for (size_t lag = 0; lag < scratch.sums; ++lag)
            channels[c].r[lag] = 0.0;
    const size_t common = length > order ? length - order : 0; // samples that all lags have a term for
    size_t windowed = 0;
    size_t count = 0;
    for (size_t first = 0;; first += kPiece) {
        count = common - first < kPiece ? common - first : kPiece;
        // The last samples of a piece are the first ones of the next.
        const size_t kept = windowed - first;
        const size_t needed = first + count + order < length ? first + count + order : length;
        if (first != 0)
            for (int c = 0; c < kChannels; ++c)
                __builtin_memmove(channels[c].piece, channels[c].piece + kPiece, kept * sizeof(double));
        WindowPiece<kChannels>(frames, length, windowed, needed, channels, kept);
        windowed = needed;
        for (int c = 0; c < kChannels; ++c)
            if (!AllZero(channels[c].piece, needed - first))
                AddProducts<kExactProducts>(channels[c].piece, count, scratch.sums, channels[c].r);
        if (first + count == common)
            break;
    }
    for (int c = 0; c < kChannels; ++c)
        AddLastProducts(channels[c].piece + count, length - common, order + 1, channels[c].r);
}

template <class T>
bool AnyNaN(const Analysis<T> &channel, size_t lags)
{
    bool any = false;
    for (size_t lag = 0; lag < lags; ++lag)
        any |= channel.r[lag] != channel.r[lag];
    return any;
}

// The coefficients of each channel. Products of samples that were floats are exact, so that one rounding of
// product and sum is the same as two. Of several NaNs, though, a fused operation may keep another than the
// sum does.
template <int kChannels, class T>
void Analyse(const Channels<T> &frames, size_t length, int32_t order, Scratch<T> &scratch)
{
    if (order >= 0) {
        constexpr bool kExactProducts = kFuses && sizeof(T) == sizeof(float);
        const auto farthest = static_cast<size_t>(order);
        Autocorrelate<kExactProducts, kChannels>(frames, length, farthest, scratch);
        if (kExactProducts && (AnyNaN(scratch.channel[0], farthest + 1) ||
                               AnyNaN(scratch.channel[kChannels - 1], farthest + 1)))
            Autocorrelate<false, kChannels>(frames, length, farthest, scratch);
    }
    for (int c = 0; c < kChannels; ++c) {
        Analysis<T> &channel = scratch.channel[c];
        channel.used = LevinsonDurbin(channel.r, channel.a, order);
        for (int32_t k = 0; k < channel.used; ++k)
            channel.narrowTaps[k] = static_cast<T>(channel.a[k]);
    }
}

template <class T>
[[gnu::always_inline]] inline T Limited(T value)
{
    // In this form a NaN stays.
    value = T(10) < value ? T(10) : value;
    return T(-10) > value ? T(-10) : value;
}

// Writes `count` samples from line[0] on; the latest samples before them end at line[-1], at least as many as
// taps. Each is minus the sum of taps[k] * line[-1 - k], from the oldest sample to the latest.
template <class T>
void Predict(T *line, size_t count, const T *taps, ptrdiff_t used)
{
    for (size_t done = 0; done < count; ++done, ++line) {
        T sum = 0;
        for (ptrdiff_t k = used - 1; k >= 0; --k)
            sum = sum - Multiply(line[-1 - k], taps[k]);
        *line = Limited(sum);
    }
}

// The same, kAhead samples of each of some lines, with at least as many taps. The neighbours go through the
// oldest samples side by side, which all of them know already.
template <int kLines, class T>
void PredictAhead(T *const *lines, const T *const *taps, ptrdiff_t used)
{
    Row<T, kAhead> sums[size_t{kLines}] = {};
    for (ptrdiff_t k = used - 1; k >= kAhead - 1; --k)
        for (int i = 0; i < kLines; ++i)
            sums[i] = sums[i].Minus(Row<T, kAhead>::Load(lines[i] - 1 - k).Times(taps[i][k]));
    T sum[size_t{kLines}][kAhead];
    T recent[size_t{kLines}][kAhead - 1 + kAhead];
    for (int i = 0; i < kLines; ++i) {
        sums[i].Store(sum[i]);
        for (int k = 0; k < kAhead - 1; ++k)
            recent[i][k] = lines[i][k - (kAhead - 1)];
    }
#pragma GCC unroll 8
    for (int ahead = 0; ahead < kAhead; ++ahead)
        for (int i = 0; i < kLines; ++i) {
            T next = sum[i][ahead];
#pragma GCC unroll 8
            for (int k = kAhead - 2; k >= 0; --k)
                next = next - Multiply(recent[i][kAhead - 2 + ahead - k], taps[i][k]);
            recent[i][kAhead - 1 + ahead] = Limited(next);
        }
    for (int i = 0; i < kLines; ++i)
        for (int ahead = 0; ahead < kAhead; ++ahead)
            lines[i][ahead] = recent[i][kAhead - 1 + ahead];
}

// The same for one line and any number of samples and taps.
template <class T>
void PredictLine(T *line, size_t count, const T *taps, ptrdiff_t used)
{
    size_t done = 0;
    if (used >= kAhead)
        while (count - done >= kAhead) {
            if constexpr (sizeof(T) == sizeof(float))
                if (IsFaint(line + done - used, used)) {
                    const size_t faint = PredictFaint<kAhead>(line + done, count - done, taps, used);
                    done += faint;
                    if (faint != 0)
                        continue;
                }
            T *const next = line + done;
            PredictAhead<1>(&next, &taps, used);
            done += kAhead;
        }
    Predict(line + done, count - done, taps, used);
}

template <int kLines, class T>
void PredictLines(const Analysis<T> *channels, size_t taps, size_t count)
{
    T *lines[size_t{kLines}];
    const T *factors[size_t{kLines}];
    for (int i = 0; i < kLines; ++i) {
        lines[i] = channels[i].line + taps;
        factors[i] = channels[i].narrowTaps;
    }
    // Together as long as it is worthwhile, then one after the other.
    const ptrdiff_t used = channels[0].used;
    size_t done = 0;
    bool together = used >= kAhead && used == channels[kLines - 1].used;
    while (together && count - done >= kAhead) {
        PredictAhead<kLines>(lines, factors, used);
        done += kAhead;
        for (int i = 0; i < kLines; ++i) {
            lines[i] += kAhead;
            if constexpr (sizeof(T) == sizeof(float))
                together &= !IsFaint(lines[i] - kAhead, kAhead);
        }
    }
    for (int i = 0; i < kLines; ++i)
        PredictLine(lines[i], count - done, factors[i], channels[i].used);
}

template <int kChannels, class T>
void ExtrapolateChannels(Channels<T> frames, size_t length, int32_t order, size_t before, size_t after,
                         Scratch<T> &scratch)
{
    Analyse<kChannels>(frames, length, order, scratch);
    const auto taps = static_cast<ptrdiff_t>(scratch.taps);
    const auto end = static_cast<ptrdiff_t>(length);
    if (after != 0) {
        for (int i = 0; i < kChannels; ++i)
            for (ptrdiff_t k = 0; k < taps; ++k)
                scratch.channel[i].line[taps - 1 - k] = k < end ? frames.At(end - 1 - k, i) : T(0);
        PredictLines<kChannels>(scratch.channel, scratch.taps, after);
        for (int i = 0; i < kChannels; ++i)
            for (size_t j = 0; j < after; ++j)
                frames.At(end + static_cast<ptrdiff_t>(j), i) = scratch.channel[i].line[scratch.taps + j];
    }
    if (before != 0) {
        // The same coefficients serve backwards in time. Of a stretch shorter than the order, they reach the
        // prediction after it.
        const ptrdiff_t known = end + static_cast<ptrdiff_t>(after);
        for (int i = 0; i < kChannels; ++i)
            for (ptrdiff_t k = 0; k < taps; ++k)
                scratch.channel[i].line[taps - 1 - k] = k < known ? frames.At(k, i) : T(0);
        PredictLines<kChannels>(scratch.channel, scratch.taps, before);
        for (int i = 0; i < kChannels; ++i)
            for (size_t j = 0; j < before; ++j)
                frames.At(-1 - static_cast<ptrdiff_t>(j), i) = scratch.channel[i].line[scratch.taps + j];
    }
}

template <class T>
[[gnu::always_inline]] inline void Extrapolate(T *samples, size_t length, int32_t channels, int32_t order,
                                               size_t before, size_t after)
{
    Scratch<T> scratch(channels, order, before, after);
    int32_t c = 0;
    for (; channels - c >= kTogether; c += kTogether)
        ExtrapolateChannels<kTogether>(Channels<T>{samples + c, channels}, length, order, before, after,
                                       scratch);
    if (c < channels)
        ExtrapolateChannels<1>(Channels<T>{samples + c, channels}, length, order, before, after, scratch);
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
