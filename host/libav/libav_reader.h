// libav_reader.h: reads the samples of audio files that libsndfile doesn't know, through libavformat and
// libavcodec.
#pragma once

#include "host/audio/ogg_link.h"
#include "host/audio/sample_source.h"
#include "host/libav/completeness_coded.h"
#include "host/libav/libav_input.h"
#include "host/libav/next_file.h"
#include "host/system/pipe_input.h"
#include "host/system/platform.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

// The first of the best streams of audio in a file, without what its coder added at the start and the end.
// All failures are thrown as Failure, with the file's name in front.
class LibavReader final : public SampleSource {
public:
    // Opens a regular file and makes sure that it holds audio in at most 8 channels.
    LibavReader(const std::filesystem::path &path, const std::string &shownName);
    // The same for a stream that can only be read on. There is no way back from its end: Rewind throws.
    LibavReader(std::unique_ptr<PipeInput> pipe, const std::string &shownName);
    ~LibavReader() override;

    std::string name() const override { return shownName_; }
    const AudioFormat &format() const override { return format_; }
    Loudspeakers loudspeakers() const override { return loudspeakers_; }
    uint64_t frames() const override { return frames_; }
    const std::string &type() const override { return type_; }
    const std::string &encoding() const override { return encoding_; }
    const Container *container() const override { return container_; }
    TagKind tagKind() const override { return tagKind_; }
    bool lossy() const override { return lossy_; }
    std::vector<std::string> warnings() const override { return warnings_; }

    // Throws if the file ends before it should, or can't be decoded.
    uint32_t Read(void *buffer, uint32_t frames) override;
    void Rewind() override;
    bool CanRewind() const override { return !pipe_; }
    PipeInput *pipe() override { return pipe_.get(); }

private:
    struct Release {
        void operator()(AVCodecContext *decoder) const { Libav().avcodec_free_context(&decoder); }
        void operator()(AVPacket *packet) const { Libav().av_packet_free(&packet); }
        void operator()(AVFrame *frame) const { Libav().av_frame_free(&frame); }
    };

    [[noreturn]] void Fail(const std::string &what) const;
    [[noreturn]] void FailDamaged(int error) const;
    void CheckFile();
    void FailIfCut(uint64_t missing) const;
    void CheckWavPack(const WavPackFrames &frames) const;
    void WatchPipe();
    void WarnOfStrayBytes(uint64_t bytes);
    void Start();
    void StartInput(ByteStream &stream);
    void StartDecoder();
    bool NextLink();
    void TellType();
    void TellLength();
    bool FetchFrame();
    bool SendPacket();
    void TakeFrame();
    AudioFormat FormatOfFrame() const;
    SampleFormat SampleFormatOfFrame() const;
    Loudspeakers OrderChannels();
    void StoreSamples();
    void CheckEnd();

    std::filesystem::path path_;
    std::string shownName_;
    File file_;
    std::unique_ptr<PipeInput> pipe_;
    WavPackBlocks wavPack_;        // of a pipe
    std::optional<NextFile> next_; // in it
    uint64_t end_ = 0;             // of it, by its header
    std::optional<OggLink> link_;  // of Ogg, in which streams can follow one another
    std::unique_ptr<LibavInput> input_;
    std::unique_ptr<AVCodecContext, Release> decoder_;
    std::unique_ptr<AVPacket, Release> packet_;
    std::unique_ptr<AVFrame, Release> frame_;
    AudioFormat format_;
    uint64_t frames_ = 0;
    uint64_t position_ = 0;
    const Container *container_ = nullptr;
    TagKind tagKind_ = TagKind::None;
    bool lossy_ = false;
    bool atEnd_ = false;                // the decoder has all that there is
    double gain_ = 1;                   // of DSD
    std::array<uint8_t, 8> order_ = {}; // the coder's channel for each of ours
    Loudspeakers loudspeakers_ = 0;
    std::vector<uint8_t> waiting_; // decoded frames in format_
    size_t taken_ = 0;             // bytes of them
    std::string type_;
    std::string encoding_;
    std::vector<std::string> warnings_;
};

} // namespace tonekit::host
