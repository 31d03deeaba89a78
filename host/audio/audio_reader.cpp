// audio_reader.cpp: audio files through libsndfile, sample for sample.
#include "host/audio/audio_reader.h"

#include "host/audio/caf_header.h"
#include "host/audio/channel_layout.h"
#include "host/audio/completeness.h"
#include "host/audio/completeness_rare.h"
#include "host/audio/header_bytes.h"
#include "host/audio/header_channels.h"
#include "host/audio/id3_size.h"
#include "host/audio/mpeg_streams.h"
#include "host/audio/sound_type.h"
#include "host/audio/streamed_type.h"
#include "host/system/input_path.h"
#include "host/system/memory_bytes.h"
#include "host/system/memory_limit.h"
#include "host/system/paths.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <system_error>
#include <tonekit/convert.h>
#include <utility>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

constexpr int kMostChannels = 8;

const Container *ContainerWithSame(int format, const AudioFormat &audio)
{
    const auto plain = [](int full) {
        const int part = full & (SF_FORMAT_TYPEMASK | SF_FORMAT_SUBMASK);
        return (part & SF_FORMAT_TYPEMASK) == SF_FORMAT_WAVEX ? (part & SF_FORMAT_SUBMASK) | SF_FORMAT_WAV
                                                              : part;
    };
    for (const Container &container : Containers()) {
        if (container.soundFileMajor != 0 && Objection(container, audio).empty() &&
            plain(SoundFileFormat(container, audio)) == plain(format))
            return &container;
    }
    return nullptr;
}

} // namespace

AudioReader::AudioReader(const fs::path &path) : AudioReader(path, Utf8Name(path)) {}

AudioReader::AudioReader(const fs::path &path, const std::string &shownName)
    : path_(path), shownName_(shownName)
{
    CheckPath();
    OpenFile();
}

AudioReader::AudioReader(File stream, const std::string &shownName)
    : AudioReader(std::make_unique<PipeInput>(std::move(stream), MemoryLimit()), shownName)
{}

AudioReader::AudioReader(std::unique_ptr<PipeInput> pipe, const std::string &shownName)
    : shownName_(shownName), pipe_(std::move(pipe))
{
    OpenPipe();
}

void AudioReader::Fail(const std::string &what) const
{
    // What was waiting for the other end of a pipe ends with an error of the system.
    if (InterruptNoted())
        throw Interrupted();
    throw Failure(shownName_ + ": " + what);
}

// What came may be short because reading was interrupted.
void AudioReader::FailUnknown(const std::string &more) const
{
    if (InterruptNoted())
        throw Interrupted();
    throw UnknownType(shownName_ + ": not an audio file that can be read" + more);
}

void AudioReader::FailTooLong() const
{
    Fail("has too much before its samples to be read");
}

void AudioReader::CheckPath() const
{
    const std::string reason = ReasonNotToRead(path_);
    if (!reason.empty())
        Fail(reason);
}

void AudioReader::OpenFile()
{
    if (const std::error_code error = stream_.file().OpenToRead(path_))
        Fail(error.message());
    uint64_t size = 0;
    if (const std::error_code error = stream_.file().Size(size))
        Fail(error.message());
    if (size == 0)
        Fail("the file is empty");
    CheckComplete();
    MendHeader(size);
    if (!pipe_) {
        PrepareMpeg();
        FindLinks();
    }
    Start();
    MeasureLinks();
    if (pipe_)
        pipe_->KeepNoMore();
}

// Where the encoder noted no length, libmpg123 takes one from the file's size and the first frame, which is
// wrong wherever frames differ in size, and libsndfile reads no further. A stream without an end leaves no
// size to guess from. The position is the start of the stream, before and after; another tag may be there.
void AudioReader::PrepareMpeg()
{
    try {
        HeaderBytes bytes(stream_.file(), stream_.start());
        const bool tagged = bytes.Has(0, "ID3");
        const Streaming streaming = StreamingOf(stream_.file(), stream_.start());
        if (tagged || streaming == Streaming::Mpeg)
            stream_.Use(nullptr, false);
        // After a second tag libsndfile needs the length, and finds MPEG audio without a search.
        if (!tagged && (streaming == Streaming::Mpeg || streaming == Streaming::Unknown))
            stream_.HideLength();
        if (tagged || streaming == Streaming::Mpeg || streaming == Streaming::Unknown)
            FindMpegStreams();
        if (const std::error_code error = stream_.file().SeekTo(stream_.start()))
            throw std::system_error(error);
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
}

// libsndfile reads as many frames as the first encoder noted, and libmpg123 none of another kind than the
// first; neither says so.
void AudioReader::FindMpegStreams()
{
    MpegStreams streams = StreamsOfMpeg(stream_.file(), stream_.start());
    linksDiffer_ = streams.differ;
    if (!streams.wrong.empty())
        warnings_.push_back(shownName_ + ": " + streams.wrong);
    if (streams.starts.size() > 1) {
        starts_ = std::move(streams.starts);
        stream_.EndAt(starts_[1]);
    }
    if (!streams.patches.empty()) {
        patched_ = std::make_unique<PatchedBytes>(stream_.file(), std::move(streams.patches));
        stream_.Use(patched_.get(), stream_.endIsKnown());
    }
}

// libsndfile reads RF64 and CAF only with sizes, and CAF only with a short header.
void AudioReader::MendHeader(uint64_t size)
{
    try {
        const uint64_t start = stream_.start();
        const bool open = HasOpenHeader64(stream_.file(), start);
        const bool mended = open || HasLongCafHeader(stream_.file(), start);
        if (const std::error_code error = stream_.file().SeekTo(mended ? 0 : start))
            throw std::system_error(error);
        if (!mended)
            return;
        pipe_ = std::make_unique<PipeInput>(std::move(stream_.file()), MemoryLimit(), size);
        stream_.Use(pipe_.get());
        if (open)
            PreparedHeader();
        else if (!ShortenCafHeader(*pipe_, start))
            FailTooLong();
        pipe_->SeekTo(start);
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
}

// What isn't MPEG audio ends here, before the pipe is read to its end.
void AudioReader::TryMpeg()
{
    constexpr size_t kTried = size_t{16} << 10;
    char block[kTried];
    size_t got = 0;
    pipe_->SeekTo(stream_.start());
    if (const std::error_code error = pipe_->Read(block, kTried, got))
        throw std::system_error(error);
    MemoryBytes memory(pipe_->kept());
    memory.SeekTo(stream_.start());
    SoundStream tried;
    tried.Use(&memory, false);
    tried.HideLength();
    tried.SkipTo(stream_.start());
    SF_INFO info{};
    tried.Start(SFM_READ, info);
    if (!tried.handle())
        FailUnknown(" (" + SoundFileError(nullptr) + ")");
}

void AudioReader::TakeWholePipe()
{
    const std::error_code error = pipe_->KeepAll();
    if (error == std::errc::not_enough_memory)
        Fail(
            "this type of file is read from a pipe as a whole, and takes more memory than it may (--memory)");
    if (error)
        throw std::system_error(error);
    stream_.Use(pipe_.get());
    FailIfCut(*pipe_);
    EndWhereCounted(*pipe_, EndOfRareType(*pipe_, stream_.start()));
}

HeaderForm AudioReader::PreparedHeader()
{
    if (!ShortenCafHeader(*pipe_, stream_.start()))
        FailTooLong();
    return PrepareHeader(*pipe_, stream_.start());
}

void AudioReader::OpenPipe()
{
    stream_.Use(pipe_.get(), false);
    try {
        char first = 0;
        size_t got = 0;
        pipe_->SeekTo(0);
        if (const std::error_code error = pipe_->Read(&first, 1, got))
            throw std::system_error(error);
        if (got == 0)
            Fail("is empty");
        const uint64_t start = LeadingTagBytes(*pipe_);
        stream_.SkipTo(start);
        const Streaming streaming = StreamingOf(*pipe_, start);
        if (streaming == Streaming::Unknown)
            FailUnknown(" from a pipe");
        if (streaming == Streaming::Mpeg) {
            TryMpeg();
            stream_.HideLength();
            PrepareMpegPipe();
        }
        if (streaming == Streaming::Whole)
            TakeWholePipe();
        count_ = CountInHeader(*pipe_, start);
        named_ = ChannelsInHeader(*pipe_, start);
        header_ = PreparedHeader();
        if (header_ == HeaderForm::AsItWas)
            end_ = EndOfSound(*pipe_, start);
        // Without its size libsndfile looks for the samples for ever.
        if (header_ == HeaderForm::NotFound || header_ == HeaderForm::NeedsEnd) {
            TakeWholePipe();
            header_ = PreparedHeader();
        }
        const bool ogg = HeaderBytes(*pipe_, start).Has(0, "OggS");
        pipe_->SeekTo(start);
        if (ogg) {
            stream_.Use(&link_.emplace(*pipe_, MemoryLimit()), false);
            stream_.SkipTo(0);
        }
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
    Start();
    PrepareFlac();
    pipe_->KeepNoMore();
    if (link_) {
        link_->KeepNoMore();
        pipe_->KeepTail(kLargestOggPage);
    }
    if (header_ == HeaderForm::Open || header_ == HeaderForm::OpenAsRf64 || openMpeg_)
        frames_ = 0;
}

void AudioReader::Start()
{
    SF_INFO info{};
    stream_.Start(SFM_READ, info);
    if (stream_.error())
        Fail(stream_.error().message());
    if (!stream_.handle())
        FailUnknown(" (" + SoundFileError(nullptr) + ")");
    if (header_ == HeaderForm::OpenAsRf64)
        info.format = (info.format & ~SF_FORMAT_TYPEMASK) | SF_FORMAT_WAV;
    if (info.channels > kMostChannels)
        Fail("has " + std::to_string(info.channels) + " channels; at most 8 can be converted");
    if (info.frames == 0)
        Fail("holds no audio (0 frames)");

    const int subtype = info.format & SF_FORMAT_SUBMASK;
    format_ = {FormatOfSubtype(subtype), static_cast<uint32_t>(info.channels),
               static_cast<uint32_t>(info.samplerate)};
    frames_ = info.frames > 0 && info.frames < SF_COUNT_MAX ? static_cast<uint64_t>(info.frames) : 0;
    if (frames_ > 0 && header_ != HeaderForm::Open && header_ != HeaderForm::OpenAsRf64)
        CheckCount(frames_);
    soundFormat_ = info.format;
    isFlac_ = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_FLAC;
    vorbisOrder_ = (info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG;
    lossy_ = IsLossy(subtype);
    seekable_ = frames_ > 0 && SeeksExactly(info.format);
    container_ = ContainerWithSame(info.format, format_);
    asTheyAre_ = container_ && HoldsAsTheyAre(*container_, format_.sample) &&
                 sf_command(stream_.handle(), SFC_RAW_DATA_NEEDS_ENDSWAP, nullptr, 0) == SF_FALSE;
    tagKind_ = header_ == HeaderForm::OpenAsRf64 ? TagKind::None : TagKindOf(info.format);
    type_ = NameOfType(info.format);
    encoding_ = NameOfPart(subtype);
    TellLoudspeakers();
}

// The channels as the header names them, in libsndfile's words or found there before.
std::optional<NamedChannels> AudioReader::ChannelsOfHeader()
{
    std::vector<int> map(format_.channels);
    const int size = static_cast<int>(map.size() * sizeof(int));
    if (sf_command(stream_.handle(), SFC_GET_CHANNEL_MAP_INFO, map.data(), size) == SF_TRUE)
        return FromSoundFileMap(map);
    return named_ && named_->order.size() == format_.channels ? named_ : std::nullopt;
}

// Some headers name the loudspeakers, in any order.
void AudioReader::TellLoudspeakers()
{
    turns_.clear();
    loudspeakers_ = 0;
    const std::optional<NamedChannels> named = vorbisOrder_ ? std::nullopt : ChannelsOfHeader();
    if (!named)
        return;
    loudspeakers_ = UnlikeConverter(named->loudspeakers, format_.channels);
    if (std::is_sorted(named->order.begin(), named->order.end()))
        return;
    for (uint8_t i = 0; i < format_.channels; ++i)
        turns_.insert(turns_.end(), {named->order[i], i});
}

void AudioReader::FailIfCut(ByteStream &file) const
{
    if (const uint64_t missing = MissingBytes(file, stream_.start()))
        Fail(CutOffText(missing));
}

// Before libsndfile starts, which keeps its own account of the file's position.
void AudioReader::CheckComplete()
{
    uint64_t start = 0;
    try {
        // libmpg123 would read the tag too, in a time that grows with the square of its frames.
        start = LeadingTagBytes(stream_.file());
        stream_.SkipTo(start);
        FailIfCut(stream_.file());
        count_ = CountInHeader(stream_.file(), start);
        named_ = ChannelsInHeader(stream_.file(), start);
        if (const std::optional<FlacForm> flac = FormOfFlac(stream_.file(), start))
            CheckFlac(*flac, EndOfFlac(*flac, stream_.file()));
        wantedSum_ = sum_ = SumOfFlac(stream_.file(), start);
        CheckAfterSound(start);
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
    if (const std::error_code error = stream_.file().SeekTo(start))
        Fail(error.message());
}

template <class Sample>
sf_count_t AudioReader::Fetched(sf_count_t (*read)(SNDFILE *, Sample *, sf_count_t), Sample *samples,
                                uint32_t frames)
{
    return stream_.Call([&](SNDFILE *handle) { return read(handle, samples, frames); });
}

// Frames of their very bytes.
sf_count_t AudioReader::FetchedBytes(void *buffer, uint32_t frames)
{
    const auto frameBytes = static_cast<sf_count_t>(format_.FrameBytes());
    return stream_.Call([&](SNDFILE *handle) { return sf_read_raw(handle, buffer, frames * frameBytes); }) /
           frameBytes;
}

sf_count_t AudioReader::ReadSamples(void *buffer, uint32_t frames)
{
    if (asTheyAre_)
        return FetchedBytes(buffer, frames);
    const size_t samples = size_t{frames} * format_.channels;
    auto *bytes = static_cast<uint8_t *>(buffer);
    switch (format_.sample) {
    case SampleFormat::Int8: {
        wide_.resize(samples);
        const sf_count_t got = Fetched(sf_readf_int, wide_.data(), frames);
        for (sf_count_t i = 0; i < got * format_.channels; ++i)
            bytes[i] = static_cast<uint8_t>((wide_[static_cast<size_t>(i)] >> 24) + 128);
        return got;
    }
    case SampleFormat::Int16:
        return Fetched(sf_readf_short, static_cast<short *>(buffer), frames);
    case SampleFormat::Int24: {
        wide_.resize(samples);
        const sf_count_t got = Fetched(sf_readf_int, wide_.data(), frames);
        for (sf_count_t i = 0; i < got * format_.channels; ++i) {
            const auto sample = static_cast<uint32_t>(wide_[static_cast<size_t>(i)]);
            *bytes++ = static_cast<uint8_t>(sample >> 8);
            *bytes++ = static_cast<uint8_t>(sample >> 16);
            *bytes++ = static_cast<uint8_t>(sample >> 24);
        }
        return got;
    }
    case SampleFormat::Int32:
        return Fetched(sf_readf_int, static_cast<int *>(buffer), frames);
    case SampleFormat::Float32:
        return Fetched(sf_readf_float, static_cast<float *>(buffer), frames);
    case SampleFormat::Float64:
        return Fetched(sf_readf_double, static_cast<double *>(buffer), frames);
    }
    return 0;
}

// Of streams after one another libsndfile reads the first, so that each is started as a file of its own.
void AudioReader::FindLinks()
{
    try {
        if (HeaderBytes(stream_.file(), stream_.start()).Has(0, "OggS")) {
            const OggPages pages = PagesOfOgg(stream_.file());
            strayPages_ = pages.HasStray();
            brokenPages_ = pages.HasBroken();
            if (pages.starts().size() > 1)
                starts_ = pages.starts();
        }
        if (!starts_.empty())
            stream_.EndAt(starts_[1]);
        if (const std::error_code error = stream_.file().SeekTo(stream_.start()))
            throw std::system_error(error);
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
}

void AudioReader::MeasureLinks()
{
    // Without its broken pages a stream seems shorter than it was.
    if (brokenPages_)
        frames_ = 0;
    if (starts_.empty())
        return;
    bool known = frames_ > 0;
    for (started_ = 1; started_ < starts_.size() && !linksDiffer_; ++started_) {
        const std::optional<uint64_t> frames = StartLink();
        linksDiffer_ = !frames;
        known = known && frames.value_or(0) > 0;
        frames_ += frames.value_or(0);
    }
    if (linksDiffer_ || !known)
        frames_ = 0;
    Rewind();
}

// Starts one of the streams that follow one another. Returns its frames, 0 if it doesn't say; nothing if it
// isn't like the first.
std::optional<uint64_t> AudioReader::StartLink()
{
    stream_.Stop();
    if (!starts_.empty()) {
        stream_.SkipTo(starts_[started_]);
        stream_.EndAt(started_ + 1 < starts_.size() ? starts_[started_ + 1] : UINT64_MAX);
        stream_.Note(stream_.file().SeekTo(stream_.start()));
    }
    SF_INFO info{};
    stream_.Start(SFM_READ, info);
    if (stream_.error())
        Fail("reading failed: " + stream_.error().message());
    if (!stream_.handle() || info.format != soundFormat_ ||
        info.channels != static_cast<int>(format_.channels) ||
        info.samplerate != static_cast<int>(format_.rate))
        return std::nullopt;
    return info.frames < SF_COUNT_MAX ? static_cast<uint64_t>(std::max<sf_count_t>(info.frames, 0)) : 0;
}

// Goes on with the next stream. False after the last one, or where this one is damaged.
bool AudioReader::NextLink()
{
    if (stream_.error() || sf_error(stream_.handle()) != SF_ERR_NO_ERROR)
        return false;
    if (link_) {
        bool found = false;
        stream_.Note(link_->Next(found));
        if (!found)
            return false;
    } else if (++started_ >= starts_.size()) {
        return false;
    }
    linksDiffer_ = !StartLink();
    CheckLinks();
    positionInLink_ = 0;
    if (link_)
        link_->KeepNoMore();
    return true;
}

void AudioReader::CheckLinks() const
{
    if (linksDiffer_)
        Fail("holds several streams one after another, and not all of one type, rate and channel count");
    if (strayPages_ || (link_ && link_->HasStray()))
        Fail("the audio is damaged (a page of a stream that didn't begin)");
    if (brokenPages_ || (link_ && link_->HasBroken()))
        Fail("the audio is damaged (a page of it is broken or missing)");
}

// Where it can't go back, libsndfile ends Opus too late that doesn't begin at position 0.
sf_count_t AudioReader::ReadLink(void *buffer, uint32_t frames)
{
    const sf_count_t got = ReadSamples(buffer, frames);
    if (!link_ || got <= 0)
        return got;
    const uint64_t end = link_->opusFrames().value_or(UINT64_MAX);
    const uint64_t left = end - std::min(end, positionInLink_);
    const uint64_t within = std::min(static_cast<uint64_t>(got), left);
    positionInLink_ += within;
    return static_cast<sf_count_t>(within);
}

uint32_t AudioReader::Read(void *buffer, uint32_t frames)
{
    if (position_ == 0 && !pipe())
        CheckLinks();
    sf_count_t got = ReadLink(buffer, frames);
    while (got <= 0 && NextLink())
        got = ReadLink(buffer, frames);
    if (stream_.error())
        Fail("reading failed: " + stream_.error().message());
    if (got <= 0) {
        CheckEnd();
        return 0;
    }
    position_ += static_cast<uint64_t>(got);
    if (sum_)
        sum_->Take(buffer, static_cast<uint32_t>(got), format_);
    if (vorbisOrder_)
        FromVorbisOrder(buffer, static_cast<uint32_t>(got), format_);
    if (!turns_.empty())
        ChangeChannelOrder(static_cast<uint8_t *>(buffer), static_cast<uint32_t>(got), BitsOf(format_.sample),
                           format_.channels, turns_.data());
    return static_cast<uint32_t>(got);
}

bool AudioReader::TrySeek(uint64_t frame)
{
    if (!seekable_ || pipe() || frame >= frames_)
        return false;
    const auto place = static_cast<sf_count_t>(frame);
    if (stream_.Call([&](SNDFILE *handle) { return sf_seek(handle, place, SEEK_SET); }) == place) {
        position_ = frame;
        sum_.reset();
        return true;
    }
    if (position_ != 0)
        Fail("can't go to frame " + std::to_string(frame) + " of the audio (" +
             SoundFileError(stream_.handle()) + ")");
    StartAgain();
    return false;
}

void AudioReader::Rewind()
{
    if (pipe())
        Fail("can't be read twice");
    position_ = 0;
    sum_ = wantedSum_;
    if (!starts_.empty()) {
        started_ = 0;
        StartLink();
        return;
    }
    // libmpg123 can't go back where the end isn't known, nor libFLAC where much follows that is none of its
    // frames.
    if (!stream_.endIsKnown() ||
        stream_.Call([](SNDFILE *handle) { return sf_seek(handle, 0, SEEK_SET); }) != 0)
        StartAgain();
}

// At the first frame, after a search that failed too.
void AudioReader::StartAgain()
{
    if (stream_.error())
        Fail("reading failed: " + stream_.error().message());
    stream_.Stop();
    if (const std::error_code error = stream_.file().SeekTo(stream_.start()))
        Fail("reading failed: " + error.message());
    Start();
}

} // namespace tonekit::host
