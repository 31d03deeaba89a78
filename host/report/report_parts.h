// report_parts.h: the parts that conversion reports and file descriptions share.
#pragma once

#include "host/report/json.h"
#include "host/report/report.h"

#include <optional>
#include <string>

namespace tonekit::host {

// All but the path is null for a stream that could not be read, and what has to do with sample depth for a
// coder that has none.
Json StreamJson(const StreamReport &stream);
// Null where nothing was chosen, measured or looked for.
Json PartJson(const std::optional<FilePart> &part);
Json LevelJson(const std::optional<LevelReport> &level);
Json LimiterJson(const std::optional<LimiterReport> &limiter);
Json EncoderJson(const EncoderSettings &settings);
Json LoudnessJson(const std::optional<Loudness> &loudness);
Json DigestJson(const std::optional<Digest> &digest);
Json HdcdJson(const std::optional<HdcdFinding> &finding);
// Null for an empty one.
Json ErrorJson(const std::string &error);

// "44100 Hz, 16 bit, stereo", without the depth where the file has none
std::string FormatText(const StreamReport &stream);
// "-6.52 dB, peak 0.988647"
std::string LoudnessText(const Loudness &loudness);
// "no", "yes (no effect)", "yes" "from 0:00:01.500 to 0:00:03.000"
std::string PartText(const FilePart &part);
// "gain -3.20 dB, 1.50 dB less than wanted since the peak is at full scale"
std::string LevelText(const LevelReport &level);
// "turned down by 6.80 dB by the limiter from 0:12 on"
std::string LimiterText(const LimiterReport &limiter);
std::string HdcdText(HdcdFinding finding);
// A number with so many decimals and a point, in every locale.
std::string Decimal(double value, int decimals);

} // namespace tonekit::host
