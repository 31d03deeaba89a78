// audio_writer.cpp: audio files through libsndfile, sample for sample.
#include "host/audio_writer.h"

#include "host/aiff_lengths.h"
#include "host/channel_layout.h"
#include "host/failure.h"
#include "host/peak_time.h"

#include <cstring>
#include <utility>

namespace tonekit::host {

namespace {

// The loudspeakers of each channel count in the converter's order, for the header of WAV files.
void NameLoudspeakers(SoundStream &stream, uint32_t channels)
{
    static const std::vector<int> layouts[9] = {
        {},
        {},
        {},
        {},
        {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT},
        {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_REAR_LEFT,
         SF_CHANNEL_MAP_REAR_RIGHT},
        {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_LFE,
         SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT},
        {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_LFE,
         SF_CHANNEL_MAP_REAR_CENTER, SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT},
        {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_LFE,
         SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT, SF_CHANNEL_MAP_SIDE_LEFT,
         SF_CHANNEL_MAP_SIDE_RIGHT},
    };
    if (channels > 8 || layouts[channels].empty())
        return;
    std::vector<int> map = layouts[channels];
    stream.Call([&](SNDFILE *handle) {
        return sf_command(handle, SFC_SET_CHANNEL_MAP_INFO, map.data(),
                          static_cast<int>(map.size() * sizeof(int)));
    });
}

} // namespace

AudioWriter::AudioWriter(File file, const std::string &shownName, const Container &container,
                         const AudioFormat &format, const EncoderSettings &settings)
    : shownName_(shownName), format_(format), kind_(container.kind),
      vorbisOrder_(container.kind == ContainerKind::Vorbis || container.kind == ContainerKind::Opus),
      bytesLeft_(container.byteLimit ? container.byteLimit : UINT64_MAX)
{
    stream_.file() = std::move(file);
    SF_INFO info{};
    info.samplerate = static_cast<int>(format.rate);
    info.channels = static_cast<int>(format.channels);
    info.format = SoundFileFormat(container, format);
    stream_.Start(SFM_WRITE, info);
    CheckStored(0, 0);
    if (!stream_.handle())
        Fail(std::string(container.name) + " can't be written (" + SoundFileError(nullptr) + ")");
    // The peak chunk carries the time of day, so that equal runs would give unequal files.
    sf_command(stream_.handle(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    if (!stream_.Call([&](SNDFILE *handle) { return ApplySettings(handle, container, format, settings); }))
        Fail(std::string(container.name) + " can't be written with " + NameOf(settings));
    if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX)
        NameLoudspeakers(stream_, format.channels);
}

void AudioWriter::Fail(const std::string &what) const
{
    throw Failure(shownName_ + ": " + what);
}

void AudioWriter::CheckStored(sf_count_t stored, uint32_t frames) const
{
    if (stream_.error())
        Fail("writing failed: " + stream_.error().message());
    if (stored != static_cast<sf_count_t>(frames))
        Fail("writing failed (" + SoundFileError(stream_.handle()) + ")");
}

template <class Sample>
sf_count_t AudioWriter::Stored(sf_count_t (*write)(SNDFILE *, const Sample *, sf_count_t),
                               const Sample *samples, uint32_t frames)
{
    return stream_.Call([&](SNDFILE *handle) { return write(handle, samples, frames); });
}

void AudioWriter::Write(const void *samples, uint32_t frames)
{
    const uint64_t size = uint64_t{frames} * format_.FrameBytes();
    if (size > bytesLeft_)
        Fail("the samples don't fit into 4 GiB: choose w64, rf64, caf or flac");
    bytesLeft_ -= size;
    if (vorbisOrder_ && format_.channels > 2) {
        const auto *bytes = static_cast<const uint8_t *>(samples);
        turned_.assign(bytes, bytes + size_t{frames} * format_.FrameBytes());
        ToVorbisOrder(turned_.data(), frames, format_);
        samples = turned_.data();
    }

    const size_t count = size_t{frames} * format_.channels;
    const auto *bytes = static_cast<const uint8_t *>(samples);
    sf_count_t stored = 0;
    switch (format_.sample) {
    case SampleFormat::Int8:
        wide_.resize(count);
        for (size_t i = 0; i < count; i++)
            wide_[i] = static_cast<int32_t>(static_cast<uint32_t>(bytes[i] ^ 0x80) << 24);
        stored = Stored(sf_writef_int, wide_.data(), frames);
        break;
    case SampleFormat::Int16:
        stored = Stored(sf_writef_short, static_cast<const short *>(samples), frames);
        break;
    case SampleFormat::Int24:
        wide_.resize(count);
        for (size_t i = 0; i < count; i++, bytes += 3)
            wide_[i] = static_cast<int32_t>(uint32_t{bytes[0]} << 8 | uint32_t{bytes[1]} << 16 |
                                            uint32_t{bytes[2]} << 24);
        stored = Stored(sf_writef_int, wide_.data(), frames);
        break;
    case SampleFormat::Int32:
        stored = Stored(sf_writef_int, static_cast<const int *>(samples), frames);
        break;
    case SampleFormat::Float32:
        stored = Stored(sf_writef_float, static_cast<const float *>(samples), frames);
        break;
    case SampleFormat::Float64:
        stored = Stored(sf_writef_double, static_cast<const double *>(samples), frames);
        break;
    }
    CheckStored(stored, frames);
    frames_ += frames;
}

void AudioWriter::Finish()
{
    stream_.Stop();
    if (kind_ == ContainerKind::Aiff && !stream_.error())
        stream_.Note(MendAiffLengths(stream_.file(), frames_, format_.FrameBytes()));
    if (kind_ == ContainerKind::Rf64 && !stream_.error())
        stream_.Note(ClearPeakTime(stream_.file()));
    stream_.Finish();
    CheckStored(0, 0);
}

} // namespace tonekit::host
