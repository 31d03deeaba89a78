// level.cpp: gains that loudness or peaks ask for.
#include "host/processing/level.h"

#include <algorithm>
#include <cmath>

namespace tonekit::host {

namespace {

double DecibelsOf(double factor)
{
    return 20 * std::log10(factor);
}

// Lowers a change so that the peak stays below full scale.
void Limit(LevelReport &change, const Options &options, const Plan &plan, double peak)
{
    if (peak <= 0)
        return;
    const double highest = DecibelsOf(PeakCeiling(plan, options.ditherMode) / peak);
    change.peakLimited = change.gain > highest;
    change.gain = std::min(change.gain, highest);
}

} // namespace

double FactorOf(double decibels)
{
    return std::pow(10, decibels / 20);
}

MeasuredLevel MeasuredLevel::OfAlbum(const std::vector<std::shared_ptr<const MeasuredLevel>> &files)
{
    MeasuredLevel album;
    std::vector<const AlbumPart *> parts;
    for (const auto &file : files) {
        album.peak = std::max(album.peak, file->peak);
        parts.push_back(file->albumPart.get());
    }
    if (const std::optional<double> gain = AlbumPart::GainOf(parts))
        album.loudness = kReplayGainReference - *gain;
    return album;
}

bool NeedsMeasurement(const Options &options, const Plan &plan)
{
    return options.normalize || (options.mixLevel == MixLevel::Auto && plan.MixesDown());
}

LevelReport LevelFor(const Options &options, const Plan &plan, const MeasuredLevel *measured)
{
    LevelReport change;
    change.gain = change.wanted = options.gain;
    if (!measured)
        return change;
    change.loudness = measured->loudness;
    if (options.normalize && measured->loudness)
        change.gain = change.wanted = *options.normalize - *measured->loudness;
    // A mix that stays below full scale is left alone, up to its last bit.
    if (options.normalize || measured->peak * FactorOf(change.gain) > 1)
        Limit(change, options, plan, measured->peak);
    return change;
}

double PeakCeiling(const Plan &plan, DitherMode mode)
{
    if (IsFloat(plan.target.sample))
        return 1 - 0x1p-20; // more than rounding to floats adds
    // Rounding and noise of the modes without shaping reach two steps, between the samples less than twice
    // that.
    const bool shaped = plan.dither && mode == DitherMode::Shaped;
    const double steps = plan.dither ? (shaped ? 24 : 4) : 2;
    return 1 - steps * std::ldexp(1.0, 1 - static_cast<int>(BitsOf(plan.target.sample)));
}

} // namespace tonekit::host
