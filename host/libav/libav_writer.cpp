// libav_writer.cpp: ALAC and AAC in M4A.
#include "host/libav/libav_writer.h"

#include "host/system/failure.h"

#include <cstring>
#include <utility>

namespace tonekit::host {

namespace {

constexpr int kBufferBytes = 256 << 10;
// Of each channel; at it music is hard to tell from its source.
constexpr uint32_t kUsualBitRate = 96000;

LibavWriter &Output(void *opaque)
{
    return *static_cast<LibavWriter *>(opaque);
}

int WriteBytes(void *opaque, uint8_t *data, int size)
{
    LibavWriter &output = Output(opaque);
    // After a first error nothing more is written: what follows would leave a hole.
    if (!output.error())
        output.Note(output.file().Write(data, static_cast<size_t>(size)));
    return output.error() ? AVERROR(EIO) : size;
}

int64_t Seek(void *opaque, int64_t offset, int whence)
{
    LibavWriter &output = Output(opaque);
    uint64_t size = 0;
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE) {
        output.Note(output.file().Size(size));
        return output.error() ? AVERROR(EIO) : static_cast<int64_t>(size);
    }
    if (whence != SEEK_SET || offset < 0)
        return AVERROR(EINVAL);
    output.Note(output.file().SeekTo(static_cast<uint64_t>(offset)));
    return output.error() ? AVERROR(EIO) : offset;
}

// The loudspeakers of each channel count in the converter's order, which is that of their numbers.
AVChannelLayout LayoutOf(uint32_t channels)
{
    static constexpr uint64_t masks[] = {0,
                                         AV_CH_LAYOUT_MONO,
                                         AV_CH_LAYOUT_STEREO,
                                         AV_CH_LAYOUT_SURROUND,
                                         AV_CH_LAYOUT_QUAD,
                                         AV_CH_LAYOUT_5POINT0_BACK,
                                         AV_CH_LAYOUT_5POINT1_BACK};
    AVChannelLayout layout{};
    layout.order = AV_CHANNEL_ORDER_NATIVE;
    layout.nb_channels = static_cast<int>(channels);
    layout.u.mask = channels < std::size(masks) ? masks[channels] : 0;
    return layout;
}

AVSampleFormat FormOf(SampleFormat sample)
{
    return sample == SampleFormat::Float32 ? AV_SAMPLE_FMT_FLTP
           : sample == SampleFormat::Int16 ? AV_SAMPLE_FMT_S16P
                                           : AV_SAMPLE_FMT_S32P;
}

} // namespace

LibavWriter::LibavWriter(File file, const std::string &shownName, const Container &container,
                         const AudioFormat &format, const EncoderSettings &settings)
    : shownName_(shownName), file_(std::move(file)), format_(format)
{
    try {
        Begin(container, settings);
    } catch (...) {
        Close();
        throw;
    }
}

LibavWriter::~LibavWriter()
{
    Close();
}

void LibavWriter::Close()
{
    if (output_)
        Libav().avformat_free_context(output_);
    if (io_) {
        Libav().av_free(io_->buffer);
        Libav().avio_context_free(&io_);
    }
    output_ = nullptr;
}

void LibavWriter::Fail(const std::string &what) const
{
    throw Failure(shownName_ + ": " + what);
}

void LibavWriter::Note(const std::error_code &error)
{
    if (!error_)
        error_ = error;
}

void LibavWriter::Check(int result) const
{
    if (error_)
        Fail("writing failed: " + error_.message());
    if (result == AVERROR(ENOMEM))
        throw std::bad_alloc();
    if (result < 0)
        Fail("writing failed (" + LibavError(result) + ")");
}

void LibavWriter::Begin(const Container &container, const EncoderSettings &settings)
{
    BeginCoder(container, settings);
    BeginFile();
    NewBlock();
}

void LibavWriter::BeginCoder(const Container &container, const EncoderSettings &settings)
{
    const LibavFunctions &av = Libav();
    const bool exact = container.kind == ContainerKind::Alac;
    const AVCodec *const codec = av.avcodec_find_encoder(exact ? AV_CODEC_ID_ALAC : AV_CODEC_ID_AAC);
    if (!codec)
        Fail(std::string(container.name) + " can't be written: libavcodec has no coder for it");
    coder_.reset(av.avcodec_alloc_context3(codec));
    packet_.reset(av.av_packet_alloc());
    if (!coder_ || !packet_)
        throw std::bad_alloc();
    coder_->sample_fmt = FormOf(format_.sample);
    coder_->bits_per_raw_sample = exact ? static_cast<int>(BitsOf(format_.sample)) : 0;
    coder_->sample_rate = static_cast<int>(format_.rate);
    coder_->ch_layout = LayoutOf(format_.channels);
    coder_->time_base = {1, coder_->sample_rate};
    coder_->thread_count = 1; // files share the machine
    coder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER | AV_CODEC_FLAG_BITEXACT;
    if (!exact)
        coder_->bit_rate = settings.bitRate.value_or(kUsualBitRate * format_.channels);
    const int opened = av.avcodec_open2(coder_.get(), codec, nullptr);
    if (opened < 0 && opened != AVERROR(ENOMEM))
        Fail(std::string(container.name) + " can't hold " + NameOf(format_));
    Check(opened);
}

void LibavWriter::BeginFile()
{
    const LibavFunctions &av = Libav();
    Check(av.avformat_alloc_output_context2(&output_, nullptr, "ipod", nullptr));
    auto *const buffer = static_cast<unsigned char *>(av.av_malloc(kBufferBytes));
    if (!buffer)
        throw std::bad_alloc();
    io_ = av.avio_alloc_context(buffer, kBufferBytes, 1, this, nullptr, WriteBytes, Seek);
    if (!io_) {
        av.av_free(buffer);
        throw std::bad_alloc();
    }
    output_->pb = io_;
    // No version and no time of day, so that equal runs write equal files.
    output_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_BITEXACT;
    AVStream *const stream = av.avformat_new_stream(output_, nullptr);
    if (!stream)
        throw std::bad_alloc();
    Check(av.avcodec_parameters_from_context(stream->codecpar, coder_.get()));
    stream->time_base = coder_->time_base;
    Check(av.avformat_write_header(output_, nullptr));
}

void LibavWriter::NewBlock()
{
    block_.reset(Libav().av_frame_alloc());
    if (!block_)
        throw std::bad_alloc();
    block_->nb_samples = coder_->frame_size;
    block_->format = coder_->sample_fmt;
    block_->sample_rate = coder_->sample_rate;
    block_->ch_layout = coder_->ch_layout;
    Check(Libav().av_frame_get_buffer(block_.get(), 0));
    blockFrames_ = 0;
}

void LibavWriter::StoreFrame(const uint8_t *bytes)
{
    const size_t size = BytesOf(format_.sample);
    const size_t room = format_.sample == SampleFormat::Int24 ? 4 : size;
    const auto place = static_cast<size_t>(blockFrames_);
    for (size_t c = 0; c < format_.channels; ++c) {
        uint8_t *const out = block_->extended_data[c] + place * room;
        // 24 bits are the upper ones of 32.
        std::memset(out, 0, room - size);
        std::memcpy(out + (room - size), bytes + c * size, size);
    }
    ++blockFrames_;
}

void LibavWriter::Write(const void *samples, uint32_t frames)
{
    const auto *bytes = static_cast<const uint8_t *>(samples);
    for (uint32_t i = 0; i < frames; ++i, bytes += format_.FrameBytes()) {
        StoreFrame(bytes);
        if (blockFrames_ == coder_->frame_size)
            SendBlock();
    }
}

void LibavWriter::SendBlock()
{
    block_->nb_samples = blockFrames_;
    block_->pts = frames_;
    frames_ += blockFrames_;
    Check(Libav().avcodec_send_frame(coder_.get(), block_.get()));
    WritePackets();
    NewBlock();
}

void LibavWriter::WritePackets()
{
    const LibavFunctions &av = Libav();
    for (;;) {
        const int got = av.avcodec_receive_packet(coder_.get(), packet_.get());
        if (got == AVERROR(EAGAIN) || got == AVERROR_EOF)
            return;
        Check(got);
        av.av_packet_rescale_ts(packet_.get(), coder_->time_base, output_->streams[0]->time_base);
        Check(av.av_write_frame(output_, packet_.get()));
        av.av_packet_unref(packet_.get());
    }
}

void LibavWriter::Finish()
{
    if (blockFrames_ > 0)
        SendBlock();
    Check(Libav().avcodec_send_frame(coder_.get(), nullptr));
    WritePackets();
    Check(Libav().av_write_trailer(output_));
    Close();
    Note(file_.Close());
    Check(0);
}

} // namespace tonekit::host
