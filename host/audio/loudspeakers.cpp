// loudspeakers.cpp: sets of loudspeakers and their names.
#include "host/audio/loudspeakers.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <numeric>
#include <sndfile.h>

namespace tonekit::host {

namespace {

struct Place {
    int soundFile; // libsndfile's number
    const char *name;
};

// By their numbers in the header of WAV files.
constexpr Place kPlaces[] = {{SF_CHANNEL_MAP_LEFT, "front left"},
                             {SF_CHANNEL_MAP_RIGHT, "front right"},
                             {SF_CHANNEL_MAP_CENTER, "front centre"},
                             {SF_CHANNEL_MAP_LFE, "LFE"},
                             {SF_CHANNEL_MAP_REAR_LEFT, "rear left"},
                             {SF_CHANNEL_MAP_REAR_RIGHT, "rear right"},
                             {SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER, "left of centre"},
                             {SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER, "right of centre"},
                             {SF_CHANNEL_MAP_REAR_CENTER, "rear centre"},
                             {SF_CHANNEL_MAP_SIDE_LEFT, "side left"},
                             {SF_CHANNEL_MAP_SIDE_RIGHT, "side right"},
                             {SF_CHANNEL_MAP_TOP_CENTER, "top centre"},
                             {SF_CHANNEL_MAP_TOP_FRONT_LEFT, "top front left"},
                             {SF_CHANNEL_MAP_TOP_FRONT_CENTER, "top front centre"},
                             {SF_CHANNEL_MAP_TOP_FRONT_RIGHT, "top front right"},
                             {SF_CHANNEL_MAP_TOP_REAR_LEFT, "top rear left"},
                             {SF_CHANNEL_MAP_TOP_REAR_CENTER, "top rear centre"},
                             {SF_CHANNEL_MAP_TOP_REAR_RIGHT, "top rear right"}};

constexpr Loudspeakers kFront = 0x3;
constexpr Loudspeakers kCentre = 0x4;
constexpr Loudspeakers kLow = 0x8;
constexpr Loudspeakers kRear = 0x30;
constexpr Loudspeakers kRearCentre = 0x100;
constexpr Loudspeakers kSide = 0x600;

// The converter's, by channel count, with the surround channels at the side. It names no three.
constexpr Loudspeakers kConverters[9] = {0,
                                         0,
                                         0,
                                         0,
                                         kFront | kSide,
                                         kFront | kCentre | kSide,
                                         kFront | kCentre | kLow | kSide,
                                         kFront | kCentre | kLow | kRearCentre | kSide,
                                         kFront | kCentre | kLow | kRear | kSide};

constexpr int kRearCentreNumber = 8;
constexpr Loudspeakers kSixOneRear = kFront | kCentre | kLow | kRear | kRearCentre;

// The number of a loudspeaker that libsndfile calls so; -1 if WAV files have no number for it.
int NumberOf(int soundFile)
{
    if (soundFile == SF_CHANNEL_MAP_FRONT_LEFT)
        return 0;
    if (soundFile == SF_CHANNEL_MAP_FRONT_RIGHT)
        return 1;
    if (soundFile == SF_CHANNEL_MAP_FRONT_CENTER)
        return 2;
    const auto *const place = std::find_if(std::begin(kPlaces), std::end(kPlaces),
                                           [&](const Place &row) { return row.soundFile == soundFile; });
    return place != std::end(kPlaces) ? static_cast<int>(place - std::begin(kPlaces)) : -1;
}

} // namespace

Loudspeakers UnlikeConverter(Loudspeakers loudspeakers, uint32_t channels)
{
    if (loudspeakers == 0 || channels <= 2 || channels >= std::size(kConverters) ||
        static_cast<uint32_t>(std::popcount(loudspeakers)) != channels)
        return 0;
    const bool rearOnly = (loudspeakers & kRear) == kRear && (loudspeakers & kSide) == 0;
    const Loudspeakers atTheSide = rearOnly ? (loudspeakers & ~kRear) | kSide : loudspeakers;
    const bool alike = loudspeakers == kConverters[channels] || atTheSide == kConverters[channels];
    return alike ? 0 : loudspeakers;
}

bool CanBeMixed(Loudspeakers unlike)
{
    return unlike == 0 || unlike == (kFront | kLow);
}

bool NeedNoNames(Loudspeakers unlike)
{
    return unlike == 0 || unlike == (kFront | kCentre);
}

std::string NamesOf(Loudspeakers loudspeakers)
{
    std::string names;
    for (int i = 0; i < 64; ++i) {
        if ((loudspeakers >> i & 1) == 0)
            continue;
        names += names.empty() ? "" : ", ";
        names += i < static_cast<int>(std::size(kPlaces)) ? kPlaces[i].name : "another";
    }
    return names;
}

std::vector<int> SoundFileMapOf(Loudspeakers loudspeakers)
{
    std::vector<int> map;
    for (size_t i = 0; i < std::size(kPlaces); ++i) {
        if (loudspeakers >> i & 1)
            map.push_back(kPlaces[i].soundFile);
    }
    return map;
}

std::optional<NamedChannels> FromNumbers(const std::vector<int> &numbers)
{
    NamedChannels channels;
    for (const int number : numbers) {
        const bool known = number >= 0 && number < 64;
        if (!known || (channels.loudspeakers >> number & 1))
            return std::nullopt;
        channels.loudspeakers |= Loudspeakers{1} << number;
    }
    channels.order.resize(numbers.size());
    std::iota(channels.order.begin(), channels.order.end(), uint8_t{0});
    const auto rankOf = [&](uint8_t channel) {
        const bool early = channels.loudspeakers == kSixOneRear && numbers[channel] == kRearCentreNumber;
        return early ? 7 : 2 * numbers[channel]; // between the LFE and the first rear channel
    };
    std::sort(channels.order.begin(), channels.order.end(),
              [&](uint8_t a, uint8_t b) { return rankOf(a) < rankOf(b); });
    return channels;
}

std::optional<NamedChannels> FromSoundFileMap(const std::vector<int> &map)
{
    std::vector<int> numbers;
    for (const int soundFile : map)
        numbers.push_back(NumberOf(soundFile));
    return FromNumbers(numbers);
}

} // namespace tonekit::host
