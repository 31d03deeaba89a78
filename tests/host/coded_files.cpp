// coded_files.cpp: coded audio files for tests.
#include "tests/host/coded_files.h"

#include "tests/host/number_bytes.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/mem.h>
}

namespace tonekit::host::test {

namespace {

AVSampleFormat FormFor(const AVCodec &coder, int bits)
{
    const AVSampleFormat wanted[2] = {bits == 0    ? AV_SAMPLE_FMT_FLTP
                                      : bits <= 16 ? AV_SAMPLE_FMT_S16P
                                                   : AV_SAMPLE_FMT_S32P,
                                      bits == 0    ? AV_SAMPLE_FMT_FLT
                                      : bits <= 16 ? AV_SAMPLE_FMT_S16
                                                   : AV_SAMPLE_FMT_S32};
    for (const AVSampleFormat *form = coder.sample_fmts; *form != AV_SAMPLE_FMT_NONE; ++form) {
        if (*form == wanted[0] || *form == wanted[1])
            return *form;
    }
    return AV_SAMPLE_FMT_NONE;
}

// One sample of 32 bits in the coder's form.
void Store(const AVFrame &frame, int place, int channel, int32_t sample)
{
    const int channels = frame.ch_layout.nb_channels;
    const auto form = static_cast<AVSampleFormat>(frame.format);
    const bool planar = av_sample_fmt_is_planar(form) != 0;
    uint8_t *const plane = frame.extended_data[planar ? channel : 0];
    const size_t index = static_cast<size_t>(planar ? place : place * channels + channel);
    const auto half = static_cast<int16_t>(sample >> 16);
    const float real = static_cast<float>(sample) * 0x1p-31F;
    switch (av_get_packed_sample_fmt(form)) {
    case AV_SAMPLE_FMT_S16:
        std::memcpy(plane + index * sizeof(half), &half, sizeof(half));
        break;
    case AV_SAMPLE_FMT_S32:
        std::memcpy(plane + index * sizeof(sample), &sample, sizeof(sample));
        break;
    default:
        std::memcpy(plane + index * sizeof(real), &real, sizeof(real));
        break;
    }
}

class Writer {
public:
    Writer(const std::string &name, const Sound &sound, const Coding &coding)
        : name_(name), sound_(sound), coding_(coding)
    {}

    ~Writer()
    {
        av_packet_free(&packet_);
        avcodec_free_context(&coder_);
        if (file_ && file_->pb)
            avio_closep(&file_->pb);
        avformat_free_context(file_);
    }

    void Write()
    {
        ASSERT_GE(avformat_alloc_output_context2(&file_, nullptr, coding_.format.c_str(), name_.c_str()), 0);
        const AVCodec *const codec = avcodec_find_encoder_by_name(coding_.coder.c_str());
        ASSERT_NE(codec, nullptr) << coding_.coder;
        packet_ = av_packet_alloc();
        if (!coding_.film.empty())
            AddPictureStream();
        StartCoder(*codec);
        AddTexts();
        ASSERT_GE(avio_open(&file_->pb, name_.c_str(), AVIO_FLAG_WRITE), 0) << name_;
        ASSERT_GE(avformat_write_header(file_, nullptr), 0) << name_;
        WritePicture(coding_.film, 0);
        WritePicture(coding_.picture, soundStream_ + 1);
        WriteFrames();
        ASSERT_EQ(av_write_trailer(file_), 0);
    }

private:
    void StartCoder(const AVCodec &codec)
    {
        coder_ = avcodec_alloc_context3(&codec);
        coder_->sample_fmt = FormFor(codec, coding_.bits);
        ASSERT_NE(coder_->sample_fmt, AV_SAMPLE_FMT_NONE);
        coder_->bits_per_raw_sample = coding_.bits;
        coder_->sample_rate = sound_.rate;
        av_channel_layout_default(&coder_->ch_layout, sound_.channels);
        coder_->time_base = {1, sound_.rate};
        if (file_->oformat->flags & AVFMT_GLOBALHEADER)
            coder_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        ASSERT_GE(avcodec_open2(coder_, &codec, nullptr), 0) << coding_.coder;
        AVStream *const stream = avformat_new_stream(file_, nullptr);
        soundStream_ = stream->index;
        ASSERT_GE(avcodec_parameters_from_context(stream->codecpar, coder_), 0);
        stream->time_base = coder_->time_base;
    }

    void AddTexts()
    {
        for (const auto &[key, value] : coding_.tags)
            av_dict_set(&file_->metadata, key.c_str(), value.c_str(), 0);
        const auto count = static_cast<unsigned>(coding_.chapters.size());
        if (count > 0)
            file_->chapters = static_cast<AVChapter **>(av_calloc(count, sizeof(AVChapter *)));
        for (const CodedChapter &chapter : coding_.chapters) {
            auto *const made = static_cast<AVChapter *>(av_mallocz(sizeof(AVChapter)));
            made->id = static_cast<int64_t>(file_->nb_chapters) + 1;
            made->time_base = {1, 1000};
            made->start = chapter.milliseconds;
            made->end = chapter.milliseconds + 1;
            av_dict_set(&made->metadata, "title", chapter.title.c_str(), 0);
            file_->chapters[file_->nb_chapters++] = made;
        }
        if (!coding_.picture.empty())
            AddPictureStream()->disposition = AV_DISPOSITION_ATTACHED_PIC;
    }

    AVStream *AddPictureStream()
    {
        AVStream *const stream = avformat_new_stream(file_, nullptr);
        stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        stream->codecpar->codec_id = AV_CODEC_ID_MJPEG;
        stream->codecpar->width = stream->codecpar->height = 16;
        return stream;
    }

    void WritePicture(const std::string &picture, int stream)
    {
        if (picture.empty())
            return;
        ASSERT_EQ(av_new_packet(packet_, static_cast<int>(picture.size())), 0);
        std::memcpy(packet_->data, picture.data(), picture.size());
        packet_->pts = packet_->dts = 0;
        packet_->stream_index = stream;
        packet_->flags |= AV_PKT_FLAG_KEY;
        ASSERT_GE(av_interleaved_write_frame(file_, packet_), 0);
    }

    void WriteFrames()
    {
        const int all = static_cast<int>(sound_.Frames());
        const int block = coder_->frame_size > 0 ? coder_->frame_size : 4096;
        for (int start = 0; start < all; start += block) {
            AVFrame *frame = av_frame_alloc();
            frame->nb_samples = std::min(block, all - start);
            frame->format = coder_->sample_fmt;
            frame->sample_rate = sound_.rate;
            frame->pts = start;
            ASSERT_GE(av_channel_layout_copy(&frame->ch_layout, &coder_->ch_layout), 0);
            ASSERT_GE(av_frame_get_buffer(frame, 0), 0);
            for (int i = 0; i < frame->nb_samples; ++i) {
                for (int c = 0; c < sound_.channels; ++c)
                    Store(*frame, i, c,
                          sound_.samples[static_cast<size_t>((start + i) * sound_.channels + c)]);
            }
            const int sent = avcodec_send_frame(coder_, frame);
            av_frame_free(&frame);
            ASSERT_GE(sent, 0);
            WritePackets();
        }
        ASSERT_GE(avcodec_send_frame(coder_, nullptr), 0);
        WritePackets();
    }

    void WritePackets()
    {
        while (avcodec_receive_packet(coder_, packet_) >= 0) {
            packet_->stream_index = soundStream_;
            av_packet_rescale_ts(packet_, coder_->time_base, file_->streams[soundStream_]->time_base);
            ASSERT_GE(av_interleaved_write_frame(file_, packet_), 0);
        }
    }

    std::string name_;
    const Sound &sound_;
    const Coding &coding_;
    AVFormatContext *file_ = nullptr;
    AVCodecContext *coder_ = nullptr;
    AVPacket *packet_ = nullptr;
    int soundStream_ = 0;
};

} // namespace

void WriteCoded(const std::string &name, const Sound &sound, const Coding &coding)
{
    av_log_set_level(AV_LOG_QUIET);
    Writer(name, sound, coding).Write();
}

std::string SilentApe(uint32_t checksum)
{
    return "MAC " + Little(3990, 2) + Little(0, 2) + Little(52, 4) + Little(24, 4) + Little(4, 4) +
           Little(0, 4) + Little(8, 4) + Little(0, 8) + std::string(16, '\0') + Little(1000, 2) +
           Little(0, 2) + Little(73728, 4) + Little(1000, 4) + Little(1, 4) + Little(16, 2) + Little(2, 2) +
           Little(44100, 4) + Little(80, 4) + Little(0x80000000 | checksum, 4) + Little(3, 4) +
           std::string(16, '\0');
}

} // namespace tonekit::host::test
