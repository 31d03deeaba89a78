// sample_guard.cpp: looks for samples beyond a coder's reach, and mends them in a copy.
#include "host/processing/sample_guard.h"

#include "host/report/report_parts.h"

#include <algorithm>
#include <cmath>
#include <limits>

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

template <class Sample>
uint64_t CountLoud(const Sample *samples, size_t count)
{
    if (AllWithin(samples, count, Sample{1}))
        return 0;
    return static_cast<uint64_t>(std::count_if(samples, samples + count, [](Sample sample) {
        return std::isfinite(sample) && std::abs(sample) > 1;
    }));
}

std::string Samples(uint64_t count, const std::string &that)
{
    return std::to_string(count) + (count == 1 ? " sample " : " samples ") + that;
}

} // namespace

uint64_t LouderThanFullScale(SampleFormat format, const void *samples, size_t count)
{
    if (format == SampleFormat::Float32)
        return CountLoud(static_cast<const float *>(samples), count);
    if (format == SampleFormat::Float64)
        return CountLoud(static_cast<const double *>(samples), count);
    return 0;
}

SampleGuard::SampleGuard(SampleFormat format, double loudest)
    : format_(format),
      loudest_(format == SampleFormat::Float32 ? std::min<double>(loudest, std::numeric_limits<float>::max())
                                               : loudest)
{}

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

std::string GuardText(uint64_t silenced, uint64_t clamped, double loudest, uint64_t clipped, bool mixed)
{
    std::string text;
    const auto add = [&](const std::string &part) { text += (text.empty() ? "" : ", ") + part; };
    if (silenced > 0)
        add(Samples(silenced, silenced == 1 ? "that is no finite number became 0"
                                            : "that are no finite numbers became 0"));
    if (clamped > 0)
        add(Samples(clamped, "louder than " + Decimal(loudest, 1) + " became that"));
    if (clipped > 0)
        add(Samples(clipped, (mixed ? "of the mix " : "of the input ") +
                                 std::string(clipped == 1 ? "was louder than full scale and is clipped"
                                                          : "were louder than full scale and are clipped")));
    return text;
}

std::string FarTooLoudText(uint64_t clamped)
{
    if (clamped == 0)
        return "";
    return Samples(clamped, clamped == 1 ? "of the input was louder than 600 dB and became that"
                                         : "of the input were louder than 600 dB and became that");
}

} // namespace tonekit::host
