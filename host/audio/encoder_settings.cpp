// encoder_settings.cpp: bit rates, qualities and compression levels in the terms of libsndfile.
#include "host/audio/encoder_settings.h"

#include "host/report/report_parts.h"

#include <algorithm>
#include <vector>

namespace tonekit::host {

namespace {

// libsndfile has one scale from 0 to 1 for all coders, from large to small files, and maps it to bit rates by
// these lines.
struct BitRateLine {
    double low;
    double high;
};

constexpr double kHighestLevel = 8; // of FLAC

BitRateLine OpusLine(uint32_t channels)
{
    return {6000.0 * channels, 256000.0 * channels};
}

BitRateLine Mp3Line(uint32_t rate)
{
    if (rate >= 32000)
        return {32000, 320000};
    return rate >= 16000 ? BitRateLine{8000, 160000} : BitRateLine{8000, 64000};
}

// The constant bit rates of MP3, in kbit/s.
std::vector<uint32_t> Mp3BitRates(uint32_t rate)
{
    if (rate >= 32000)
        return {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
    if (rate >= 16000)
        return {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
    return {8, 16, 24, 32, 40, 48, 56, 64};
}

std::string Kilobits(uint32_t bitRate)
{
    std::string text = Decimal(bitRate / 1000.0, 3);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
        text.pop_back();
    return text;
}

std::string Mp3Objection(const AudioFormat &format, uint32_t bitRate)
{
    std::string list;
    for (const uint32_t known : Mp3BitRates(format.rate)) {
        if (known * 1000 == bitRate)
            return "";
        list += (list.empty() ? "" : ", ") + std::to_string(known);
    }
    return "has no bit rate of " + Kilobits(bitRate) + " kbit/s at " + std::to_string(format.rate) +
           " Hz: choose one of " + list;
}

// A frame of 1024 samples has at most 6144 bits for each channel.
BitRateLine AacLine(const AudioFormat &format)
{
    return {8000.0 * format.channels, 6.0 * format.rate * format.channels};
}

std::string ObjectionTo(const AudioFormat &format, uint32_t bitRate, const BitRateLine &line)
{
    const auto [low, high] = line;
    if (bitRate >= low && bitRate <= high)
        return "";
    return "has bit rates from " + Decimal(low / 1000, 0) + " to " + Decimal(high / 1000, 0) +
           " kbit/s for " + std::to_string(format.channels) + " channels, and not " + Kilobits(bitRate);
}

double LevelOfBitRate(const Container &container, const AudioFormat &format, uint32_t bitRate)
{
    if (container.kind == ContainerKind::Opus) {
        const auto [low, high] = OpusLine(format.channels);
        return std::clamp((high - bitRate) / (high - low), 0.0, 1.0);
    }
    // The fraction of a kilobit is cut off there, so the middle of the wanted one is aimed at.
    const auto [low, high] = Mp3Line(format.rate);
    return std::clamp((high - bitRate - 500) / (high - low), 0.0, 1.0);
}

bool SetLevel(SNDFILE *handle, double level)
{
    return sf_command(handle, SFC_SET_COMPRESSION_LEVEL, &level, sizeof(level)) == SF_TRUE;
}

// What the command returns for a mode that is in force already isn't true.
bool SetMode(SNDFILE *handle, int mode)
{
    sf_command(handle, SFC_SET_BITRATE_MODE, &mode, sizeof(mode));
    return sf_command(handle, SFC_GET_BITRATE_MODE, nullptr, 0) == mode;
}

} // namespace

std::string Objection(const Container &container, const EncoderSettings &settings)
{
    using enum ContainerKind;
    const ContainerKind kind = container.kind;
    if (settings.bitRate && kind == Vorbis)
        return "has no bit rate to choose here: use --vbr";
    if (settings.vbrQuality && (kind == Opus || kind == Aac))
        return "has no VBR quality: use --bitrate";
    if (settings.bitRate && kind != Mp3 && kind != Opus && kind != Aac)
        return "has no bit rate to choose: leave --bitrate out";
    if (settings.vbrQuality && kind != Mp3 && kind != Vorbis)
        return "has no VBR quality: leave --vbr out";
    if (settings.compression && kind != Flac)
        return "has no compression level: leave --compression out";
    return "";
}

std::string BitRateObjection(const Container &container, const AudioFormat &format,
                             const EncoderSettings &settings)
{
    if (!settings.bitRate)
        return "";
    if (container.kind == ContainerKind::Mp3)
        return Mp3Objection(format, *settings.bitRate);
    const bool opus = container.kind == ContainerKind::Opus;
    return ObjectionTo(format, *settings.bitRate, opus ? OpusLine(format.channels) : AacLine(format));
}

bool ApplySettings(SNDFILE *handle, const Container &container, const AudioFormat &format,
                   const EncoderSettings &settings)
{
    const bool mp3 = container.kind == ContainerKind::Mp3;
    if (settings.compression)
        return SetLevel(handle, *settings.compression / kHighestLevel);
    if (settings.vbrQuality) {
        if (mp3 && !SetMode(handle, SF_BITRATE_MODE_VARIABLE))
            return false;
        // The coder of MP3 ends before a level of 1.
        return SetLevel(handle, std::min(1 - *settings.vbrQuality / 10, mp3 ? 0.999 : 1.0));
    }
    if (settings.bitRate) {
        if (mp3 && !SetMode(handle, SF_BITRATE_MODE_CONSTANT))
            return false;
        return SetLevel(handle, LevelOfBitRate(container, format, *settings.bitRate));
    }
    return true;
}

std::string NameOf(const EncoderSettings &settings)
{
    if (settings.bitRate)
        return Kilobits(*settings.bitRate) + " kbit/s";
    if (settings.vbrQuality) {
        std::string number = Decimal(*settings.vbrQuality, 1);
        if (number.ends_with(".0"))
            number.resize(number.size() - 2);
        return "VBR quality " + number;
    }
    return settings.compression ? "compression " + std::to_string(*settings.compression) : "";
}

} // namespace tonekit::host
