// loudness_meter.cpp: feeds samples to the library's loudness measurement.
#include "host/processing/loudness_meter.h"

#include "host/processing/sample_guard.h"

#include <algorithm>
#include <cmath>
#include <new>

namespace tonekit::host {

LoudnessMeter::LoudnessMeter(bool truePeak, const AudioFormat &format, bool forAlbum)
    : truePeak_(truePeak), format_(format),
      state_(truePeak ? ReplayGain_Init_TruePeak(format.channels, format.rate)
                      : ReplayGain_Init(format.channels, format.rate)),
      albumPart_(forAlbum ? std::make_shared<AlbumPart>(format) : nullptr)
{
    CheckMemory();
}

// A measurement that is lost where the format can be measured was lost to a failed allocation.
void LoudnessMeter::CheckMemory() const
{
    constexpr uint32_t kMostChannels = 64;
    constexpr uint32_t kLeastRate = 100;
    constexpr uint32_t kMostRate = 2'822'400;
    const bool measurable =
        format_.channels <= kMostChannels && format_.rate >= kLeastRate && format_.rate <= kMostRate;
    if (measurable && std::isnan(ReplayGain_GetPeak(state_.get())))
        throw std::bad_alloc();
}

void LoudnessMeter::Take(const void *samples, uint32_t frames)
{
    constexpr uint32_t kPart = 8192; // frames; stays in the cache
    const auto *next = static_cast<const uint8_t *>(samples);
    values_.resize(size_t{kPart} * format_.channels);
    while (frames > 0) {
        const uint32_t part = std::min(frames, kPart);
        SamplesToDouble(format_.sample, next, values_.data(), size_t{part} * format_.channels);
        ReplayGain_Process(state_.get(), values_.data(), part);
        if (albumPart_)
            albumPart_->Take(values_.data(), part);
        next += size_t{part} * format_.FrameBytes();
        frames -= part;
    }
}

Loudness LoudnessMeter::Result() const
{
    CheckMemory();
    const double gain = ReplayGain_GetLoudness(state_.get());
    const double peak = ReplayGain_GetPeak(state_.get());
    if (peak > kLoudestSample)
        return {std::nullopt, std::nullopt, truePeak_};
    const auto known = [](double value) {
        return std::isnan(value) ? std::nullopt : std::optional<double>(value);
    };
    return {known(gain), known(peak), truePeak_};
}

} // namespace tonekit::host
