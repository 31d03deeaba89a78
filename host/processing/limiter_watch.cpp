// limiter_watch.cpp: looks for the first frame that is too loud, and reads the limiter's gain.
#include "host/processing/limiter_watch.h"

#include <cmath>

namespace tonekit::host {

void LimiterWatch::Look(const void *samples, uint32_t frames)
{
    if (!first_ && converter_.CanLimit()) {
        values_.resize(size_t{frames} * format_.channels);
        SamplesToDouble(format_.sample, samples, values_.data(), values_.size());
        for (uint32_t i = 0; i < frames && !first_; ++i) {
            if (converter_.MixExceedsFullScale(&values_[size_t{i} * format_.channels]))
                first_ = frames_ + i;
        }
    }
    frames_ += frames;
}

std::optional<LimiterReport> LimiterWatch::Found() const
{
    const double gain = converter_.LimiterGain();
    if (gain >= 1)
        return std::nullopt;
    const auto start = static_cast<double>(first_.value_or(0)) / format_.rate;
    return LimiterReport{20 * std::log10(gain), start, static_cast<double>(frames_) / format_.rate - start};
}

} // namespace tonekit::host
