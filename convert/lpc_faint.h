// lpc_faint.h: predictions that fade below what a float holds with all its bits. For tier units.
//
// Noise is hardly predictable: what is predicted from it falls to the smallest floats within some hundred
// samples. With those a processor takes a hundred times as long for a product. Here the same numbers, and the
// same roundings, are kept in doubles, where they are ordinary ones.
#pragma once
#include <cstddef>
#include <cstdint>

namespace tonekit::TONEKIT_TIER {
namespace {

// A stretch of samples is faint if all are smaller than this; a tap of it may be as small as 2^-22 before
// products lose bits.
constexpr float kFaint = 0x1p-104f;
constexpr int kMostFaintTaps = 64;
constexpr int kFaintBlock = 64;

// Rounds to the nearest float of all that are small: to a multiple of the least float. The sum with kStep
// has room for no more bits than that.
constexpr double kStep = 0x1.8p-97;
constexpr double kAllSmall = 0x1p-125;

[[gnu::always_inline]] inline double RoundedToFloat(double value)
{
    const bool small = __builtin_fabs(value) < kAllSmall;
    const double asFloat = static_cast<double>(static_cast<float>(small ? 1.0 : value));
    return small ? (value + kStep) - kStep : asFloat;
}

// The float of the same value, without a conversion of the kind that takes so long.
[[gnu::always_inline]] inline float FloatOf(double value)
{
    if (__builtin_fabs(value) >= kAllSmall)
        return static_cast<float>(value);
    const int64_t steps = __builtin_bit_cast(int64_t, value + kStep) - __builtin_bit_cast(int64_t, kStep);
    return __builtin_bit_cast(float, static_cast<uint32_t>(steps < 0 ? INT64_C(0x80000000) - steps : steps));
}

[[gnu::always_inline]] inline bool IsFaint(const float *samples, ptrdiff_t count)
{
    bool faint = true;
    for (ptrdiff_t i = 0; i < count; ++i)
        faint &= __builtin_fabsf(samples[i]) < kFaint;
    return faint;
}

// kAhead samples from next[0] on, as Predict does it.
template <int kAhead>
void PredictFaintAhead(double *next, const double *taps, ptrdiff_t used)
{
    double sums[size_t{kAhead}] = {};
    for (ptrdiff_t k = used - 1; k >= kAhead - 1; --k)
        for (int ahead = 0; ahead < kAhead; ++ahead)
            sums[ahead] = RoundedToFloat(sums[ahead] - RoundedToFloat(next[ahead - 1 - k] * taps[k]));
    for (int ahead = 0; ahead < kAhead; ++ahead) {
        double sum = sums[ahead];
        for (ptrdiff_t k = kAhead - 2; k >= 0; --k)
            sum = RoundedToFloat(sum - RoundedToFloat(next[ahead - 1 - k] * taps[k]));
        next[ahead] = sum;
    }
}

// Predicts up to `count` samples after a faint stretch, as long as they are faint themselves, and returns how
// many. None if there are more than kMostFaintTaps taps or unusually large ones.
template <int kAhead>
size_t PredictFaint(float *line, size_t count, const float *narrowTaps, ptrdiff_t used)
{
    if (used > kMostFaintTaps)
        return 0;
    double taps[kMostFaintTaps];
    for (ptrdiff_t k = 0; k < used; ++k) {
        taps[k] = static_cast<double>(narrowTaps[k]);
        if (!(__builtin_fabs(taps[k]) < 0x1p64))
            return 0;
    }
    double samples[kMostFaintTaps + kFaintBlock] = {};
    double *const next = samples + kMostFaintTaps;
    for (ptrdiff_t k = 1; k <= used; ++k)
        next[-k] = static_cast<double>(line[-k]);
    size_t done = 0;
    for (bool faint = true; faint && count - done >= kFaintBlock; done += kFaintBlock) {
        for (int i = 0; i < kFaintBlock; i += kAhead)
            PredictFaintAhead<kAhead>(next + i, taps, used);
        bool silent = true;
        for (size_t i = 0; i < kFaintBlock; ++i) {
            line[done + i] = FloatOf(next[i]);
            faint &= __builtin_fabs(next[i]) < static_cast<double>(kFaint);
            silent &= next[i] == 0.0;
            samples[i] = next[i];
        }
        if (silent) {
            // Nothing but zeros comes of zeros.
            for (size_t i = done; i < count; ++i)
                line[i] = 0.0f;
            return count;
        }
    }
    return done;
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
