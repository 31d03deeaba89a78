// container.cpp: the table of audio files that the program writes.
#include "host/audio/container.h"

#include <algorithm>
#include <cctype>
#include <sndfile.h>

namespace tonekit::host {

namespace {

// Sizes in these headers have 32 bits; the margin leaves room for headers and tags.
constexpr uint64_t kFourGiB = (uint64_t{1} << 32) - (uint64_t{16} << 20);
constexpr uint32_t kAnyRate = 2'000'000;

// Full scale is 1. LAME's assertions end the process some way beyond 10^6, and the spectrum of what is far
// louder than music drowns in itself; +24 dB is more than any mix needs. libopus clips at 2 by itself.
constexpr double kLoudest = 16;
constexpr double kLoudestOfOpus = 2;

constexpr int kMp3 = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III;

std::vector<Container> MakeTable()
{
    using enum SampleFormat;
    const std::vector<SampleFormat> all = {Int8, Int16, Int24, Int32, Float32, Float64};
    const std::vector<SampleFormat> flac = {Int8, Int16, Int24};
    const std::vector<SampleFormat> coded = {Float32};
    const std::vector<uint32_t> mp3Rates = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};
    const std::vector<SampleFormat> alac = {Int16, Int24};
    const std::vector<uint32_t> aacRates = {8000,  11025, 12000, 16000, 22050, 24000,
                                            32000, 44100, 48000, 64000, 88200, 96000};
    const std::vector<uint32_t> opusRates = {8000, 12000, 16000, 24000, 48000};
    constexpr int kVorbis = SF_FORMAT_OGG | SF_FORMAT_VORBIS;
    constexpr int kRaw = SF_FORMAT_RAW | SF_ENDIAN_LITTLE;
    constexpr int kRawBig = static_cast<int>(SF_FORMAT_RAW) | static_cast<int>(SF_ENDIAN_BIG);
    constexpr int kOpus = SF_FORMAT_OGG | SF_FORMAT_OPUS;
    using Kind = ContainerKind;
    using Tags = TagKind;
    // clang-format off
    return {
        {Kind::Wav,    "WAV",        {"wav", "wave"},         SF_FORMAT_WAV,  all,    false, Tags::Wav,    kFourGiB, 8, {},        kAnyRate},
        {Kind::Flac,   "FLAC",       {"flac"},                SF_FORMAT_FLAC, flac,   false, Tags::Flac,   0,        8, {},        655350},
        {Kind::Mp3,    "MP3",        {"mp3"},                 kMp3,           coded,  true,  Tags::Mpeg,   0,        2, mp3Rates,  48000, kLoudest},
        {Kind::Vorbis, "Ogg Vorbis", {"ogg", "oga"},          kVorbis,        coded,  true,  Tags::Vorbis, 0,        8, {},        192000, kLoudest},
        {Kind::Opus,   "Opus",       {"opus"},                kOpus,          coded,  true,  Tags::Opus,   0,        8, opusRates, 48000, kLoudestOfOpus},
        {Kind::W64,    "W64",        {"w64"},                 SF_FORMAT_W64,  all,    false, Tags::None,   0,        8, {},        kAnyRate},
        {Kind::Rf64,   "RF64",       {"rf64"},                SF_FORMAT_RF64, all,    false, Tags::None,   0,        8, {},        kAnyRate},
        {Kind::Caf,    "CAF",        {"caf"},                 SF_FORMAT_CAF,  all,    false, Tags::None,   0,        8, {},        kAnyRate},
        {Kind::Aiff,   "AIFF",       {"aiff", "aif", "aifc"}, SF_FORMAT_AIFF, all,    false, Tags::Aiff,   kFourGiB, 8, {},        kAnyRate},
        {Kind::Au,     "AU",         {"au", "snd"},           SF_FORMAT_AU,   all,    false, Tags::None,   kFourGiB, 8, {},        kAnyRate},
        {Kind::Raw,    "raw",        {"raw", "pcm"},          kRaw,           all,    false, Tags::None,   0,        8, {},        kAnyRate},
        {Kind::RawBig, "raw-be",     {"raw-be"},              kRawBig,        all,    false, Tags::None,   0,        8, {},        kAnyRate},
        {Kind::Aac,    "M4A (AAC)",  {"m4a", "m4b"},          0,              coded,  true,  Tags::Mp4,    0,        6, aacRates,  96000, kLoudest, "aac"},
        {Kind::Alac,   "M4A (ALAC)", {"m4a", "m4b"},          0,              alac,   false, Tags::Mp4,    0,        6, {},        384000, 0, "alac"},
    };
    // clang-format on
}

// The lowest byte of a sample comes first in the WAV family and in raw, and samples of 8 bits are unsigned
// there as the library's are; elsewhere it is the other way round, and libsndfile does the step between.
bool HasOwnOrder(ContainerKind kind)
{
    return kind == ContainerKind::Wav || kind == ContainerKind::Rf64 || kind == ContainerKind::W64 ||
           kind == ContainerKind::Raw;
}

int Subtype(ContainerKind kind, SampleFormat format)
{
    switch (format) {
    case SampleFormat::Int8:
        return HasOwnOrder(kind) ? SF_FORMAT_PCM_U8 : SF_FORMAT_PCM_S8;
    case SampleFormat::Int16:
        return SF_FORMAT_PCM_16;
    case SampleFormat::Int24:
        return SF_FORMAT_PCM_24;
    case SampleFormat::Int32:
        return SF_FORMAT_PCM_32;
    case SampleFormat::Float32:
        return SF_FORMAT_FLOAT;
    case SampleFormat::Float64:
        return SF_FORMAT_DOUBLE;
    }
    return 0;
}

std::string Lower(std::string_view text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return lower;
}

std::string ListOfRates(const std::vector<uint32_t> &rates)
{
    std::string text;
    for (const uint32_t rate : rates)
        text += (text.empty() ? "" : rate == rates.back() ? " or " : ", ") + std::to_string(rate);
    return text;
}

} // namespace

const std::vector<Container> &Containers()
{
    static const std::vector<Container> table = MakeTable();
    return table;
}

const Container &ContainerOf(ContainerKind kind)
{
    const auto &table = Containers();
    return *std::find_if(table.begin(), table.end(), [&](const Container &row) { return row.kind == kind; });
}

const Container *ContainerByExtension(std::string_view extension)
{
    const std::string lower = Lower(extension);
    for (const Container &row : Containers()) {
        if (std::find(row.extensions.begin(), row.extensions.end(), lower) != row.extensions.end())
            return &row;
    }
    return nullptr;
}

const Container *ContainerByType(std::string_view type)
{
    const auto &table = Containers();
    const std::string lower = Lower(type);
    const auto row = std::find_if(table.begin(), table.end(),
                                  [&](const Container &container) { return TypeNameOf(container) == lower; });
    return row != table.end() ? &*row : ContainerByExtension(type);
}

SampleFormat ClosestFormat(const Container &container, SampleFormat wanted)
{
    const auto &formats = container.formats;
    const auto place = std::lower_bound(formats.begin(), formats.end(), wanted);
    return place != formats.end() ? *place : formats.back();
}

uint32_t ClosestRate(const Container &container, uint32_t wanted)
{
    const auto &rates = container.rates;
    if (rates.empty())
        return wanted;
    const auto place = std::lower_bound(rates.begin(), rates.end(), wanted);
    return place != rates.end() ? *place : rates.back();
}

std::string Objection(const Container &container, const AudioFormat &format)
{
    if (format.channels > container.maxChannels)
        return "holds at most " + std::to_string(container.maxChannels) + " channels: add --channels " +
               std::to_string(container.maxChannels);
    // Four loudspeakers of it are three in front and one behind.
    if (container.kind == ContainerKind::Alac && format.channels == 4)
        return "has no 4.0 with two rear loudspeakers: add --channels 2, 5 or 6";
    const auto &rates = container.rates;
    if (!rates.empty() && std::find(rates.begin(), rates.end(), format.rate) == rates.end())
        return "can't hold " + std::to_string(format.rate) + " Hz: add --rate with " + ListOfRates(rates);
    if (format.rate > container.maxRate)
        return "can't hold " + std::to_string(format.rate) + " Hz: its limit is " +
               std::to_string(container.maxRate);
    const auto &formats = container.formats;
    if (std::find(formats.begin(), formats.end(), format.sample) == formats.end())
        return container.lossy ? "has no sample format of its own: leave --bits out"
                               : "can't hold " + NameOf(format.sample) + " samples: its finest are " +
                                     NameOf(formats.back());
    return "";
}

bool HoldsAsTheyAre(const Container &container, SampleFormat format)
{
    return HasOwnOrder(container.kind) && format != SampleFormat::Float32 && format != SampleFormat::Float64;
}

int SoundFileFormat(const Container &container, const AudioFormat &format)
{
    if (container.lossy)
        return container.soundFileMajor;
    // More than two channels ask for the WAV header that names the loudspeakers.
    const bool extensible = container.kind == ContainerKind::Wav && format.channels > 2;
    return (extensible ? SF_FORMAT_WAVEX : container.soundFileMajor) | Subtype(container.kind, format.sample);
}

} // namespace tonekit::host
