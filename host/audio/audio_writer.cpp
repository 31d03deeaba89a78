// audio_writer.cpp: audio files through libsndfile, sample for sample.
#include "host/audio/audio_writer.h"

#include "host/audio/aiff_lengths.h"
#include "host/audio/channel_layout.h"
#include "host/audio/peak_time.h"
#include "host/audio/stream_header.h"
#include "host/system/failure.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace tonekit::host {

namespace {

// Those of each channel count in the converter's order, or others, for the header of WAV files.
void NameLoudspeakers(SoundStream &stream, uint32_t channels, Loudspeakers others)
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
    std::vector<int> map = SoundFileMapOf(others);
    if (others == 0 && channels <= 8)
        map = layouts[channels];
    if (map.size() != channels)
        return;
    stream.Call([&](SNDFILE *handle) {
        return sf_command(handle, SFC_SET_CHANNEL_MAP_INFO, map.data(),
                          static_cast<int>(map.size() * sizeof(int)));
    });
}

bool HasVorbisOrder(const Container &container)
{
    return container.kind == ContainerKind::Vorbis || container.kind == ContainerKind::Opus;
}

// LAME keeps a frame free for numbers that are known at the end. In a pipe it would be heard as silence.
void DropEmptyFrame(std::vector<unsigned char> &mp3)
{
    static constexpr unsigned kKilobits[2][16] = {
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0}};
    static constexpr unsigned kRates[4] = {44100, 48000, 32000, 0};
    if (mp3.size() < 4 || mp3[0] != 0xFF || mp3[1] >> 5 != 7)
        return;
    const unsigned version = mp3[1] >> 3 & 3; // 3: MPEG 1, 2: 2, 0: 2.5
    const unsigned rate = kRates[mp3[2] >> 2 & 3] / (version == 3 ? 1 : version == 2 ? 2 : 4);
    const unsigned bits = kKilobits[version == 3][mp3[2] >> 4] * 1000;
    if (rate == 0)
        return;
    const size_t size = (version == 3 ? 144 : 72) * bits / rate + (mp3[2] >> 1 & 1);
    if (size < 5 || size > mp3.size())
        return;
    const auto end = mp3.begin() + static_cast<ptrdiff_t>(size);
    if (std::all_of(mp3.begin() + 4, end, [](unsigned char byte) { return byte == 0; }))
        mp3.erase(mp3.begin(), end);
}

} // namespace

AudioWriter::AudioWriter(File file, const std::string &shownName, const Container &container,
                         const AudioFormat &format, const EncoderSettings &settings,
                         Loudspeakers loudspeakers)
    : shownName_(shownName), format_(format), container_(container), loudspeakers_(loudspeakers),
      vorbisOrder_(HasVorbisOrder(container)), asTheyAre_(HoldsAsTheyAre(container, format.sample)),
      bytesLeft_(container.byteLimit ? container.byteLimit : UINT64_MAX)
{
    stream_.file() = std::move(file);
    Start(settings);
}

AudioWriter::AudioWriter(std::unique_ptr<PipeOutput> pipe, const std::string &shownName,
                         const Container &container, const AudioFormat &format,
                         const EncoderSettings &settings, std::optional<uint64_t> frames,
                         Loudspeakers loudspeakers)
    : shownName_(shownName), pipe_(std::move(pipe)), promisedFrames_(frames), format_(format),
      container_(container), loudspeakers_(loudspeakers), vorbisOrder_(HasVorbisOrder(container)),
      asTheyAre_(HoldsAsTheyAre(container, format.sample)), bytesLeft_(UINT64_MAX)
{
    if (container.kind == ContainerKind::Aiff && !frames)
        Fail("AIFF says its length first, which isn't known here: choose wav, au or flac");
    stream_.Use(pipe_.get());
    Start(settings);
}

void AudioWriter::Start(const EncoderSettings &settings)
{
    SF_INFO info{};
    info.samplerate = static_cast<int>(format_.rate);
    info.channels = static_cast<int>(format_.channels);
    info.format = SoundFileFormat(container_, format_);
    stream_.Start(SFM_WRITE, info);
    CheckStored(0, 0);
    if (!stream_.handle())
        Fail(std::string(container_.name) + " can't be written (" + SoundFileError(nullptr) + ")");
    // The peak chunk carries the time of day, so that equal runs would write unequal files.
    sf_command(stream_.handle(), SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    if (!stream_.Call([&](SNDFILE *handle) { return ApplySettings(handle, container_, format_, settings); }))
        Fail(std::string(container_.name) + " can't be written with " + NameOf(settings));
    if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX)
        NameLoudspeakers(stream_, format_.channels, loudspeakers_);
}

// What the coder has written so far begins with all of its header.
void AudioWriter::ReleasePipe()
{
    if (container_.kind == ContainerKind::Mp3)
        DropEmptyFrame(pipe_->held());
    SetSizes(pipe_->held(), container_, format_, promisedFrames_);
    stream_.Note(pipe_->Release());
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

// The frames that libsndfile has taken of as many bytes.
sf_count_t AudioWriter::StoredBytes(const void *samples, uint64_t size)
{
    const sf_count_t stored = stream_.Call(
        [&](SNDFILE *handle) { return sf_write_raw(handle, samples, static_cast<sf_count_t>(size)); });
    return stored / static_cast<sf_count_t>(format_.FrameBytes());
}

sf_count_t AudioWriter::StoredSamples(const void *samples, uint32_t frames)
{
    const size_t count = size_t{frames} * format_.channels;
    const auto *bytes = static_cast<const uint8_t *>(samples);
    switch (format_.sample) {
    case SampleFormat::Int8:
        wide_.resize(count);
        for (size_t i = 0; i < count; ++i)
            wide_[i] = static_cast<int32_t>(static_cast<uint32_t>(bytes[i] ^ 0x80) << 24);
        return Stored(sf_writef_int, wide_.data(), frames);
    case SampleFormat::Int16:
        return Stored(sf_writef_short, static_cast<const short *>(samples), frames);
    case SampleFormat::Int24:
        wide_.resize(count);
        for (size_t i = 0; i < count; ++i, bytes += 3)
            wide_[i] = static_cast<int32_t>(uint32_t{bytes[0]} << 8 | uint32_t{bytes[1]} << 16 |
                                            uint32_t{bytes[2]} << 24);
        return Stored(sf_writef_int, wide_.data(), frames);
    case SampleFormat::Int32:
        return Stored(sf_writef_int, static_cast<const int *>(samples), frames);
    case SampleFormat::Float32:
        return Stored(sf_writef_float, static_cast<const float *>(samples), frames);
    case SampleFormat::Float64:
        return Stored(sf_writef_double, static_cast<const double *>(samples), frames);
    }
    return 0;
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

    const sf_count_t stored = asTheyAre_ ? StoredBytes(samples, size) : StoredSamples(samples, frames);
    if (pipe_ && !pipe_->released() && stored > 0)
        ReleasePipe();
    CheckStored(stored, frames);
    frames_ += frames;
}

void AudioWriter::FinishPipe()
{
    if (!pipe_->released())
        ReleasePipe();
    // Padding, and what else comes after samples, would be taken for samples where the header has no end.
    if (!container_.lossy && container_.kind != ContainerKind::Flac && !promisedFrames_) {
        stream_.Call([](SNDFILE *handle) { return sf_write_sync(handle), 0; });
        pipe_->End();
    }
    stream_.Stop();
    stream_.Note(pipe_->Close());
    CheckStored(0, 0);
    if (promisedFrames_ && *promisedFrames_ != frames_)
        Fail("the header has said " + std::to_string(*promisedFrames_) + " frames, and there are " +
             std::to_string(frames_));
}

void AudioWriter::Finish()
{
    if (pipe_)
        return FinishPipe();
    stream_.Stop();
    if (container_.kind == ContainerKind::Aiff && !stream_.error())
        stream_.Note(MendAiffLengths(stream_.file(), frames_, format_.FrameBytes()));
    if (container_.kind == ContainerKind::Rf64 && !stream_.error())
        stream_.Note(ClearPeakTime(stream_.file()));
    stream_.Finish();
    CheckStored(0, 0);
}

} // namespace tonekit::host
