// sample_guard.cpp: looks for samples beyond a coder's reach, and mends them in a copy.
#include "host/processing/sample_guard.h"

#include "host/report/report_parts.h"

#include <algorithm>
#include <cmath>

namespace tonekit::host {

namespace {

// Without a way out in the middle, so that compilers make vector instructions of it. A comparison with what
// is no number is false.
template <class Sample>
bool AllWithin(const Sample *samples, size_t count, Sample loudest)
{
    size_t within = 0;
    for (size_t i = 0; i < count; ++i)
        within += std::abs(samples[i]) <= loudest ? 1u : 0u;
    return within == count;
}

std::string Samples(uint64_t count, const std::string &that)
{
    return std::to_string(count) + (count == 1 ? " sample " : " samples ") + that;
}

} // namespace

template <class Sample>
const void *SampleGuard::GuardedFloats(const Sample *samples, size_t count)
{
    const auto loudest = static_cast<Sample>(loudest_);
    if (AllWithin(samples, count, loudest))
        return samples;
    const auto *bytes = reinterpret_cast<const uint8_t *>(samples);
    copy_.assign(bytes, bytes + count * sizeof(Sample));
    auto *mended = reinterpret_cast<Sample *>(copy_.data());
    for (size_t i = 0; i < count; ++i) {
        if (std::abs(mended[i]) <= loudest)
            continue;
        const bool finite = std::isfinite(mended[i]);
        mended[i] = finite ? std::copysign(loudest, mended[i]) : Sample{0};
        (finite ? clamped_ : silenced_)++;
    }
    return mended;
}

const void *SampleGuard::Guarded(const void *samples, size_t count)
{
    if (format_ == SampleFormat::Float32)
        return GuardedFloats(static_cast<const float *>(samples), count);
    if (format_ == SampleFormat::Float64)
        return GuardedFloats(static_cast<const double *>(samples), count);
    return samples;
}

std::string GuardText(uint64_t silenced, uint64_t clamped, double loudest)
{
    std::string text;
    if (silenced > 0)
        text = Samples(silenced, silenced == 1 ? "that is no finite number became 0"
                                               : "that are no finite numbers became 0");
    if (clamped > 0)
        text += (text.empty() ? "" : ", ") +
                Samples(clamped, "louder than " + Decimal(loudest, 1) + " became that");
    return text;
}

} // namespace tonekit::host
