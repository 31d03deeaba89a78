// libav_writer.h: writes samples into M4A files, through libavcodec and libavformat.
#pragma once

#include "host/audio/container.h"
#include "host/audio/encoder_settings.h"
#include "host/audio/sample_writer.h"
#include "host/libav/libav_functions.h"
#include "host/system/platform.h"

#include <memory>
#include <string>
#include <system_error>

namespace tonekit::host {

// All failures are thrown as Failure, with the name of the file that the user asked for in front.
class LibavWriter final : public SampleWriter {
public:
    // Begins an M4A file with the container's coder in `file`, which is new and empty.
    LibavWriter(File file, const std::string &shownName, const Container &container,
                const AudioFormat &format, const EncoderSettings &settings);
    ~LibavWriter() override;

    void Write(const void *samples, uint32_t frames) override;
    void Finish() override;

    // For libavformat's calls.
    File &file() { return file_; }
    void Note(const std::error_code &error);
    const std::error_code &error() const { return error_; }

private:
    struct Release {
        void operator()(AVCodecContext *coder) const { Libav().avcodec_free_context(&coder); }
        void operator()(AVPacket *packet) const { Libav().av_packet_free(&packet); }
        void operator()(AVFrame *frame) const { Libav().av_frame_free(&frame); }
    };

    [[noreturn]] void Fail(const std::string &what) const;
    void Check(int result) const;
    void Begin(const Container &container, const EncoderSettings &settings);
    void BeginCoder(const Container &container, const EncoderSettings &settings);
    void BeginFile();
    void NewBlock();
    void StoreFrame(const uint8_t *bytes);
    void SendBlock();
    void WritePackets();
    void Close();

    std::string shownName_;
    File file_;
    AudioFormat format_;
    AVIOContext *io_ = nullptr;
    AVFormatContext *output_ = nullptr;
    std::unique_ptr<AVCodecContext, Release> coder_;
    std::unique_ptr<AVPacket, Release> packet_;
    std::unique_ptr<AVFrame, Release> block_; // in work, as many samples as the coder takes at a time
    int blockFrames_ = 0;                     // that are in it
    int64_t frames_ = 0;                      // before it
    std::error_code error_;
};

} // namespace tonekit::host
