// libav_reader.cpp: audio through libavformat and libavcodec, sample for sample.
#include "host/libav/libav_reader.h"

#include "host/audio/completeness.h"
#include "host/audio/id3_size.h"
#include "host/audio/stray_bytes.h"
#include "host/audio/stream_header.h"
#include "host/libav/completeness_coded.h"
#include "host/libav/mp4_length.h"
#include "host/system/failure.h"
#include "host/system/memory_limit.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <optional>
#include <string_view>
#include <tonekit/frame.h>
#include <utility>

namespace tonekit::host {

namespace {

constexpr int kMostChannels = 8;
constexpr const char *kBrokenPage = "the audio is damaged (a page of it is broken or missing)";
constexpr const char *kMp4 = "mov,mp4,m4a,3gp,3g2,mj2";

struct TypeName {
    const char *format; // libavformat's
    const char *name;
    TagKind tags;
    bool saysLength; // exactly
};

constexpr TypeName kTypes[] = {
    {kMp4, "M4A", TagKind::Mp4, false},
    {"wv", "WavPack", TagKind::WavPack, true},
    {"ape", "Monkey's Audio", TagKind::Ape, true},
    {"dsf", "DSF", TagKind::Libav, true},
    {"iff", "DSDIFF", TagKind::Libav, true},
    {"tta", "TTA", TagKind::Libav, true},
    {"tak", "TAK", TagKind::Libav, true},
    {"mpc", "Musepack", TagKind::Libav, false},
    {"mpc8", "Musepack", TagKind::Libav, false},
    {"asf", "ASF", TagKind::Asf, false},
    {"matroska,webm", "Matroska", TagKind::Libav, false},
    {"aac", "AAC", TagKind::Libav, false},
    {"ac3", "AC-3", TagKind::Libav, false},
    {"eac3", "E-AC-3", TagKind::Libav, false},
    {"dts", "DTS", TagKind::Libav, false},
    {"amr", "AMR", TagKind::Libav, false},
    {"rm", "RealAudio", TagKind::Libav, false},
    {"shn", "Shorten", TagKind::Libav, false},
    {"flv", "FLV", TagKind::Libav, false},
    {"caf", "CAF", TagKind::Libav, false},
    {"ogg", "Ogg", TagKind::Libav, false},
    {"wav", "WAV", TagKind::Libav, false},
    {"w64", "W64", TagKind::Libav, false},
    {"aiff", "AIFF", TagKind::Libav, false},
    {"avi", "AVI", TagKind::Libav, false},
    {"mpegts", "MPEG-TS", TagKind::Libav, false},
};

const TypeName *TypeOf(const std::string &format)
{
    const auto row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                  [&](const TypeName &type) { return format == type.format; });
    return row != std::end(kTypes) ? row : nullptr;
}

bool IsDsd(AVCodecID coder)
{
    return coder == AV_CODEC_ID_DSD_LSBF || coder == AV_CODEC_ID_DSD_MSBF ||
           coder == AV_CODEC_ID_DSD_LSBF_PLANAR || coder == AV_CODEC_ID_DSD_MSBF_PLANAR ||
           coder == AV_CODEC_ID_DST;
}

// The type in which the program writes such audio, if the file holds nothing else.
const Container *ContainerOfMp4(const AVFormatContext &context, AVCodecID coder)
{
    unsigned others = 0;
    for (unsigned i = 0; i < context.nb_streams; ++i) {
        const AVStream &stream = *context.streams[i];
        const AVMediaType kind = stream.codecpar->codec_type;
        if (!(stream.disposition & AV_DISPOSITION_ATTACHED_PIC) &&
            (kind == AVMEDIA_TYPE_VIDEO || kind == AVMEDIA_TYPE_AUDIO))
            ++others;
    }
    if (others > 1)
        return nullptr;
    return coder == AV_CODEC_ID_AAC    ? &ContainerOf(ContainerKind::Aac)
           : coder == AV_CODEC_ID_ALAC ? &ContainerOf(ContainerKind::Alac)
                                       : nullptr;
}

bool IsPlanar(int form)
{
    return form == AV_SAMPLE_FMT_U8P || form == AV_SAMPLE_FMT_S16P || form == AV_SAMPLE_FMT_S32P ||
           form == AV_SAMPLE_FMT_FLTP || form == AV_SAMPLE_FMT_DBLP;
}

// Bytes of a sample as it is decoded; 0 for forms that no decoder here returns.
size_t BytesOfForm(int form)
{
    switch (form) {
    case AV_SAMPLE_FMT_U8:
    case AV_SAMPLE_FMT_U8P:
        return 1;
    case AV_SAMPLE_FMT_S16:
    case AV_SAMPLE_FMT_S16P:
        return 2;
    case AV_SAMPLE_FMT_S32:
    case AV_SAMPLE_FMT_S32P:
    case AV_SAMPLE_FMT_FLT:
    case AV_SAMPLE_FMT_FLTP:
        return 4;
    case AV_SAMPLE_FMT_DBL:
    case AV_SAMPLE_FMT_DBLP:
        return 8;
    default:
        return 0;
    }
}

} // namespace

LibavReader::LibavReader(const std::filesystem::path &path, const std::string &shownName)
    : path_(path), shownName_(shownName)
{
    if (const std::error_code error = file_.OpenToRead(path_))
        Fail(error.message());
    CheckFile();
    Start();
}

LibavReader::LibavReader(std::unique_ptr<PipeInput> pipe, const std::string &shownName)
    : shownName_(shownName), pipe_(std::move(pipe))
{
    Start();
    WatchPipe();
    pipe_->KeepNoMore();
    if (link_)
        pipe_->KeepTail(kLargestOggPage);
}

LibavReader::~LibavReader() = default;

void LibavReader::Fail(const std::string &what) const
{
    // What was waiting for the other end of a pipe ends with an error of the system.
    if (InterruptNoted())
        throw Interrupted();
    throw Failure(shownName_ + ": " + what);
}

void LibavReader::FailDamaged(int error) const
{
    if (error == AVERROR(ENOMEM))
        throw std::bad_alloc();
    Fail("the audio is damaged (" + LibavError(error) + ")");
}

void LibavReader::CheckFile()
{
    try {
        const uint64_t start = LeadingTagBytes(file_);
        HeaderBytes bytes(file_);
        HeaderBytes audio(file_, start);
        FailIfCut(audio.Has(0, "OggS") ? MissingBytes(file_, start) : MissingFromCodedType(audio));
        CheckWavPack(FramesOfWavPack(audio));
        NextFile next(bytes);
        next.TakeFile(bytes);
        WarnOfStrayBytes(next.bytes());
        if (const std::optional<SoundEnd> end = EndOfSound(file_, start)) {
            if (const std::error_code error = file_.SeekTo(end->position))
                throw std::system_error(error);
            WarnOfStrayBytes(StrayBytes(file_, *end));
        }
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
}

// While all that came is kept.
void LibavReader::WatchPipe()
{
    try {
        uint64_t place = 0;
        std::error_code error = pipe_->Tell(place);
        HeaderBytes bytes(*pipe_);
        next_.emplace(bytes);
        end_ = EndOfCodedType(bytes, LeadingTagBytes(*pipe_));
        if (!error)
            error = pipe_->SeekTo(place);
        if (error)
            throw std::system_error(error);
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    }
    pipe_->Watch([this](std::span<const unsigned char> bytes) {
        wavPack_.Take(bytes);
        next_->Take(bytes);
    });
}

void LibavReader::WarnOfStrayBytes(uint64_t bytes)
{
    if (bytes > 0)
        warnings_.push_back(shownName_ + ": " + StrayBytesText(bytes));
}

void LibavReader::FailIfCut(uint64_t missing) const
{
    if (missing > 0)
        Fail(CutOffText(missing));
}

void LibavReader::CheckWavPack(const WavPackFrames &frames) const
{
    if (frames.held > frames.counted)
        Fail("its header counts " + std::to_string(frames.counted) + " frames, but there are " +
             std::to_string(frames.held));
}

void LibavReader::Start()
{
    ByteStream &stream = pipe_ ? static_cast<ByteStream &>(*pipe_) : file_;
    input_.reset();
    link_.reset(); // which it read
    try {
        const uint64_t start = LeadingTagBytes(stream);
        const bool ogg = HeaderBytes(stream, start).Has(0, "OggS");
        if (const std::error_code error = stream.SeekTo(ogg ? start : 0))
            throw std::system_error(error);
        StartInput(ogg ? link_.emplace(stream, MemoryLimit()) : stream);
        position_ = 0;
        // Only the decoder can say what form its samples have.
        if (!FetchFrame())
            Fail("holds no audio (0 frames)");
        TellType();
        TellLength();
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    } catch (const Interrupted &) {
        throw;
    } catch (const Failure &failure) {
        const std::string what = failure.what();
        throw Failure(what.starts_with(shownName_ + ": ") ? what : shownName_ + ": " + what);
    }
}

void LibavReader::StartInput(ByteStream &stream)
{
    decoder_.reset();
    input_.reset();
    input_ = std::make_unique<LibavInput>(stream);
    StartDecoder();
    atEnd_ = false;
    waiting_.clear();
    taken_ = 0;
    if (link_)
        link_->KeepNoMore();
}

// Goes on with the next of streams that follow one another; false after the last one.
bool LibavReader::NextLink()
{
    bool found = false;
    if (!link_)
        return false;
    if (const std::error_code error = link_->Next(found))
        Fail("reading failed: " + error.message());
    if (!found)
        return false;
    try {
        StartInput(*link_);
    } catch (const std::system_error &error) {
        Fail("reading failed: " + error.code().message());
    } catch (const Interrupted &) {
        throw;
    } catch (const Failure &failure) {
        Fail(std::string("holds several streams one after another, and one of them is ") + failure.what());
    }
    return true;
}

void LibavReader::StartDecoder()
{
    const LibavFunctions &av = Libav();
    const AVCodecParameters &coded = *input_->audio().codecpar;
    const AVCodecDescriptor *const descriptor = av.avcodec_descriptor_get(coded.codec_id);
    const AVCodec *const decoder = av.avcodec_find_decoder(coded.codec_id);
    if (!decoder)
        Fail(std::string("no decoder is there for ") + (descriptor ? descriptor->long_name : "its audio"));
    decoder_.reset(av.avcodec_alloc_context3(decoder));
    packet_.reset(av.av_packet_alloc());
    frame_.reset(av.av_frame_alloc());
    if (!decoder_ || !packet_ || !frame_)
        throw std::bad_alloc();
    int error = av.avcodec_parameters_to_context(decoder_.get(), &coded);
    if (error < 0)
        FailDamaged(error);
    decoder_->pkt_timebase = input_->audio().time_base;
    decoder_->thread_count = 1; // files share the machine
    const int properties = descriptor ? descriptor->props : 0;
    // Coders of exact samples know whether these are exact.
    if (properties & AV_CODEC_PROP_LOSSLESS)
        decoder_->err_recognition = AV_EF_CRCCHECK | AV_EF_EXPLODE;
    error = av.avcodec_open2(decoder_.get(), decoder, nullptr);
    if (error == AVERROR(ENOMEM))
        throw std::bad_alloc();
    if (error < 0)
        Fail(std::string("its decoder refuses the file (") + LibavError(error) + ")");
    gain_ = IsDsd(coded.codec_id) ? std::pow(10.0, GetDSDPCMGain() / 20.0) : 1.0;
}

void LibavReader::TellType()
{
    const std::string format = input_->format();
    const AVCodecID coder = input_->audio().codecpar->codec_id;
    const TypeName *const row = TypeOf(format);
    type_ = row ? row->name : input_->context().iformat->long_name;
    tagKind_ = row ? row->tags : TagKind::Libav;
    container_ = tagKind_ == TagKind::Mp4 ? ContainerOfMp4(input_->context(), coder) : nullptr;
    const AVCodecDescriptor *const descriptor = Libav().avcodec_descriptor_get(coder);
    const std::string name = descriptor && descriptor->long_name ? descriptor->long_name : "unknown";
    // What the letters mean follows in brackets.
    encoding_ = name.substr(0, name.find(" ("));
    const int properties = descriptor ? descriptor->props : 0;
    const bool exact = (properties & AV_CODEC_PROP_LOSSLESS) && !IsFloat(format_.sample);
    lossy_ = (properties & AV_CODEC_PROP_LOSSY) && !exact && !IsDsd(coder);
    if (encoding_ == type_)
        encoding_.clear();
    if (lossy_ && !encoding_.empty() && type_.find(encoding_) == std::string::npos)
        type_ += " (" + encoding_ + ")";
}

void LibavReader::TellLength()
{
    const std::string format = input_->format();
    const AVStream &audio = input_->audio();
    double seconds = 0;
    if (format == kMp4) {
        const AVDictionaryEntry *const gapless =
            Libav().av_dict_get(input_->context().metadata, "iTunSMPB", nullptr, 0);
        ByteStream &stream = input_->stream();
        uint64_t place = 0;
        std::error_code error = stream.Tell(place);
        const std::optional<Mp4Length> length =
            LengthOfMp4(stream, static_cast<uint32_t>(audio.id), gapless ? gapless->value : "");
        if (!error)
            error = stream.SeekTo(place);
        if (error)
            throw std::system_error(error);
        if (length)
            seconds = static_cast<double>(length->ticks) / length->ticksPerSecond;
    } else if (const TypeName *const row = TypeOf(format);
               row && row->saysLength && audio.duration != AV_NOPTS_VALUE && audio.duration > 0) {
        seconds = static_cast<double>(audio.duration) * audio.time_base.num / audio.time_base.den;
    }
    frames_ = static_cast<uint64_t>(std::llround(seconds * format_.rate));
}

// The next frame of the decoder in waiting_; false at the end.
bool LibavReader::FetchFrame()
{
    for (;;) {
        const int got = Libav().avcodec_receive_frame(decoder_.get(), frame_.get());
        if (got == AVERROR_EOF || (got == AVERROR(EAGAIN) && !SendPacket()))
            return false;
        if (got == AVERROR(EAGAIN))
            continue;
        if (got < 0)
            FailDamaged(got);
        if ((frame_->flags & AV_FRAME_FLAG_CORRUPT) || frame_->decode_error_flags != 0)
            FailDamaged(AVERROR_INVALIDDATA);
        if (frame_->nb_samples <= 0)
            continue;
        TakeFrame();
        return true;
    }
}

// Sends the next packet, or the end, to the decoder; false after the end.
bool LibavReader::SendPacket()
{
    const LibavFunctions &av = Libav();
    if (atEnd_)
        return false;
    int got = 0;
    do {
        av.av_packet_unref(packet_.get());
        got = av.av_read_frame(&input_->context(), packet_.get());
    } while (got >= 0 && packet_->stream_index != input_->audio().index);
    if (InterruptNoted())
        throw Interrupted();
    // libavformat goes back where pages don't follow one another.
    if (link_ && input_->error() == std::errc::invalid_seek)
        Fail(kBrokenPage);
    if (input_->error())
        Fail("reading failed: " + input_->error().message());
    if (got < 0 && got != AVERROR_EOF)
        FailDamaged(got);
    atEnd_ = got == AVERROR_EOF;
    if (!atEnd_ && (packet_->flags & AV_PKT_FLAG_CORRUPT))
        FailDamaged(AVERROR_INVALIDDATA);
    const int sent = av.avcodec_send_packet(decoder_.get(), atEnd_ ? nullptr : packet_.get());
    if (sent < 0 && sent != AVERROR_EOF)
        FailDamaged(sent);
    return true;
}

SampleFormat LibavReader::SampleFormatOfFrame() const
{
    const int bits = decoder_->bits_per_raw_sample;
    switch (frame_->format) {
    case AV_SAMPLE_FMT_U8:
    case AV_SAMPLE_FMT_U8P:
        return SampleFormat::Int8;
    case AV_SAMPLE_FMT_S16:
    case AV_SAMPLE_FMT_S16P:
        return SampleFormat::Int16;
    case AV_SAMPLE_FMT_S32:
    case AV_SAMPLE_FMT_S32P:
        return bits > 0 && bits <= 24 ? SampleFormat::Int24 : SampleFormat::Int32;
    case AV_SAMPLE_FMT_DBL:
    case AV_SAMPLE_FMT_DBLP:
        return SampleFormat::Float64;
    default:
        return SampleFormat::Float32;
    }
}

AudioFormat LibavReader::FormatOfFrame() const
{
    if (BytesOfForm(frame_->format) == 0)
        Fail("its samples have a form that isn't known here");
    const int channels = frame_->ch_layout.nb_channels;
    if (channels > kMostChannels)
        Fail("has " + std::to_string(channels) + " channels; at most 8 can be converted");
    if (channels < 1 || frame_->sample_rate < 1)
        FailDamaged(AVERROR_INVALIDDATA);
    return {SampleFormatOfFrame(), static_cast<uint32_t>(channels),
            static_cast<uint32_t>(frame_->sample_rate)};
}

// Puts channels whose loudspeakers are known into the converter's order.
Loudspeakers LibavReader::OrderChannels()
{
    std::iota(order_.begin(), order_.end(), uint8_t{0});
    const AVChannelLayout &layout = frame_->ch_layout;
    const auto channels = static_cast<unsigned>(layout.nb_channels);
    if (layout.order != AV_CHANNEL_ORDER_NATIVE && layout.order != AV_CHANNEL_ORDER_CUSTOM)
        return 0;
    std::vector<int> numbers;
    for (unsigned i = 0; i < channels; ++i)
        numbers.push_back(static_cast<int>(Libav().av_channel_layout_channel_from_index(&layout, i)));
    const std::optional<NamedChannels> named = FromNumbers(numbers);
    if (!named)
        return 0;
    std::copy(named->order.begin(), named->order.end(), order_.begin());
    return UnlikeConverter(named->loudspeakers, channels);
}

void LibavReader::TakeFrame()
{
    const AudioFormat format = FormatOfFrame();
    const Loudspeakers loudspeakers = OrderChannels();
    if (format_.channels == 0) {
        format_ = format;
        loudspeakers_ = loudspeakers;
    }
    if (format != format_)
        Fail("changes from " + NameOf(format_) + " to " + NameOf(format) + " on the way");
    if (loudspeakers != loudspeakers_)
        Fail("changes the loudspeakers of its channels on the way");
    StoreSamples();
}

void LibavReader::StoreSamples()
{
    const size_t channels = format_.channels;
    const size_t from = BytesOfForm(frame_->format);
    const size_t to = BytesOf(format_.sample);
    const auto frames = static_cast<size_t>(frame_->nb_samples);
    const bool planar = IsPlanar(frame_->format);
    waiting_.resize(frames * channels * to);
    taken_ = 0;
    uint8_t lost = 0;
    for (size_t c = 0; c < channels; ++c) {
        const size_t source = order_[c];
        const uint8_t *in = planar ? frame_->extended_data[source] : frame_->extended_data[0] + source * from;
        const size_t step = planar ? from : from * channels;
        uint8_t *out = waiting_.data() + c * to;
        for (size_t i = 0; i < frames; ++i, in += step, out += channels * to) {
            // Of 24 bits in 32 the lowest byte is empty.
            std::memcpy(out, in + (from - to), to);
            lost |= from > to ? in[0] : uint8_t{0};
        }
    }
    if (lost != 0)
        Fail("has more than the 24 bits that it promises");
    if (gain_ != 1.0) {
        for (size_t i = 0; i < frames * channels; ++i) {
            float sample = 0;
            std::memcpy(&sample, waiting_.data() + i * sizeof(sample), sizeof(sample));
            sample = static_cast<float>(sample * gain_);
            std::memcpy(waiting_.data() + i * sizeof(sample), &sample, sizeof(sample));
        }
    }
}

uint32_t LibavReader::Read(void *buffer, uint32_t frames)
{
    const size_t frameBytes = format_.FrameBytes();
    auto *bytes = static_cast<uint8_t *>(buffer);
    uint32_t done = 0;
    // What the last packet has beyond the length is the coder's filling.
    if (frames_ > 0)
        frames = static_cast<uint32_t>(std::min<uint64_t>(frames, frames_ - std::min(frames_, position_)));
    while (done < frames) {
        if (taken_ == waiting_.size() && !FetchFrame()) {
            if (!NextLink())
                break;
            continue;
        }
        const size_t count = std::min((waiting_.size() - taken_) / frameBytes, size_t{frames - done});
        std::memcpy(bytes + done * frameBytes, waiting_.data() + taken_, count * frameBytes);
        taken_ += count * frameBytes;
        done += static_cast<uint32_t>(count);
    }
    position_ += done;
    if (done == 0)
        CheckEnd();
    return done;
}

void LibavReader::CheckEnd()
{
    if (position_ < frames_)
        Fail("the audio breaks off: " + std::to_string(position_) + " of " + std::to_string(frames_) +
             " frames could be read");
    if (link_ && link_->HasStray())
        Fail("the audio is damaged (a page of a stream that didn't begin)");
    if (link_ && link_->HasBroken())
        Fail(kBrokenPage);
    if (pipe_) {
        if (const std::error_code error = pipe_->Drain())
            Fail("reading failed: " + error.message());
        FailIfCut(Shortfall(end_, next_->taken()));
        CheckOggEnd(*pipe_, shownName_);
        CheckWavPack(wavPack_.frames());
        WarnOfStrayBytes(next_->bytes());
    }
}

void LibavReader::Rewind()
{
    if (pipe_)
        Fail("can't be read twice");
    Start();
}

} // namespace tonekit::host
