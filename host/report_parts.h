// report_parts.h: the parts that conversion reports and file descriptions share.
#pragma once

#include "host/json.h"
#include "host/report.h"

#include <string>
#include <vector>

namespace tonekit::host {

void AddStream(JsonWriter &json, const char *name, const StreamReport &stream);
// The same without an object around it.
void AddStreamMembers(JsonWriter &json, const StreamReport &stream);
void AddWarnings(JsonWriter &json, const std::vector<std::string> &warnings);
// Nothing where no setting was chosen.
void AddEncoder(JsonWriter &json, const EncoderSettings &settings);
void AddLoudness(JsonWriter &json, const Loudness &loudness);
void AddDigest(JsonWriter &json, const Digest &digest);
void AddHdcd(JsonWriter &json, HdcdFinding finding);

// "44100 Hz, 16 bit, stereo", without the depth where the file has none
std::string FormatText(const StreamReport &stream);
// "-6.52 dB, peak 0.988647"
std::string LoudnessText(const Loudness &loudness);
// "no", "yes (no effect)", "yes"
std::string HdcdText(HdcdFinding finding);
// A number with so many decimals and a point, in every locale.
std::string Decimal(double value, int decimals);

} // namespace tonekit::host
