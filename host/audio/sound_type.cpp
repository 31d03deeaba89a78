// sound_type.cpp: what libsndfile's numbers of types and of codings mean.
#include "host/audio/sound_type.h"

#include <sndfile.h>

namespace tonekit::host {

SampleFormat FormatOfSubtype(int subtype)
{
    switch (subtype) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_DPCM_8:
        return SampleFormat::Int8;
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_DWVW_24:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
        return SampleFormat::Int24;
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_DWVW_N:
    case SF_FORMAT_ALAC_32:
        return SampleFormat::Int32;
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
        return SampleFormat::Float32;
    case SF_FORMAT_DOUBLE:
        return SampleFormat::Float64;
    default: // 16 bits and all the telephone and game coders, which decode to 16
        return SampleFormat::Int16;
    }
}

bool IsLossy(int subtype)
{
    switch (subtype) {
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
        return true;
    default:
        return false;
    }
}

TagKind TagKindOf(int format)
{
    switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_WAV:
    case SF_FORMAT_WAVEX:
        return TagKind::Wav;
    case SF_FORMAT_AIFF:
        return TagKind::Aiff;
    case SF_FORMAT_FLAC:
        return TagKind::Flac;
    case SF_FORMAT_OGG:
        return (format & SF_FORMAT_SUBMASK) == SF_FORMAT_OPUS ? TagKind::Opus : TagKind::Vorbis;
    case SF_FORMAT_MPEG:
        return TagKind::Mpeg;
    default:
        return TagKind::None;
    }
}

bool SeeksExactly(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
    case SF_FORMAT_PCM_16:
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
        return true;
    default:
        return false;
    }
}

std::string NameOfPart(int format)
{
    SF_FORMAT_INFO info{};
    info.format = format;
    sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof(info));
    const std::string name = info.name ? info.name : "unknown";
    // The makers of a format follow it in brackets.
    return name.substr(0, name.find(" ("));
}

std::string NameOfType(int format)
{
    switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_VORBIS:
        return "Ogg Vorbis";
    case SF_FORMAT_OPUS:
        return "Opus";
    case SF_FORMAT_MPEG_LAYER_I:
        return "MP1";
    case SF_FORMAT_MPEG_LAYER_II:
        return "MP2";
    case SF_FORMAT_MPEG_LAYER_III:
        return "MP3";
    default:
        // The header that names the loudspeakers makes no other type of file.
        return (format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX ? "WAV"
                                                                : NameOfPart(format & SF_FORMAT_TYPEMASK);
    }
}

} // namespace tonekit::host
