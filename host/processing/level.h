// level.h: decides by how much a file's sound becomes louder or softer.
#pragma once

#include "host/command_line/options.h"
#include "host/plan.h"
#include "host/processing/album_loudness.h"
#include "host/report/report.h"

#include <memory>
#include <optional>
#include <vector>

namespace tonekit::host {

constexpr double kReplayGainReference = -18; // LUFS

// What a file, or an album, would be at its own level: mixed and at the output's rate, with no limiter.
struct MeasuredLevel {
    std::optional<double> loudness; // LUFS; none for silence or less than the measurement needs
    double peak = 0;                // linear; between the samples where the loudness was asked for
    std::shared_ptr<AlbumPart> albumPart = nullptr; // of a file whose album is to be measured

    // That of an album: its gated loudness and its highest peak.
    static MeasuredLevel OfAlbum(const std::vector<std::shared_ptr<const MeasuredLevel>> &files);
};

// Whether a file of this plan has to be measured before its gain is known.
bool NeedsMeasurement(const Options &options, const Plan &plan);

// The change that the options ask for. `measured` is null where nothing has to be measured.
LevelReport LevelFor(const Options &options, const Plan &plan, const MeasuredLevel *measured);

// The loudest peak that stays below full scale in the samples of a plan, their rounding and dither with it.
double PeakCeiling(const Plan &plan, DitherMode mode);

// dB to a factor.
double FactorOf(double decibels);

} // namespace tonekit::host
