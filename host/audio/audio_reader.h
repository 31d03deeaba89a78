// audio_reader.h: reads the samples of an audio file in the form in which the file keeps them.
#pragma once

#include "host/audio/container.h"
#include "host/audio/flac_end.h"
#include "host/audio/flac_sum.h"
#include "host/audio/frame_count.h"
#include "host/audio/mpeg_frames.h"
#include "host/audio/next_flac.h"
#include "host/audio/ogg_link.h"
#include "host/audio/patched_bytes.h"
#include "host/audio/sample_format.h"
#include "host/audio/sample_source.h"
#include "host/audio/sound_stream.h"
#include "host/audio/stream_header.h"
#include "host/system/failure.h"
#include "host/system/pipe_input.h"
#include "host/tags/tag_kind.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

// libsndfile doesn't know the file's type.
class UnknownType : public Failure {
public:
    using Failure::Failure;
};

// All failures are thrown as Failure, with the file's name in front.
class AudioReader final : public SampleSource {
public:
    // Opens the file and makes sure that it holds audio, all of it, in at most 8 channels.
    explicit AudioReader(const std::filesystem::path &path);
    // The same for a file that messages call by another name.
    AudioReader(const std::filesystem::path &path, const std::string &shownName);
    // The same for a stream that can only be read on, such as standard input. There is no way back from its
    // end: Rewind throws.
    AudioReader(std::unique_ptr<PipeInput> pipe, const std::string &shownName);
    AudioReader(File stream, const std::string &shownName);

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
    std::optional<Md5::Digest> GiveSum() override;

    // Throws if the file ends before it should.
    uint32_t Read(void *buffer, uint32_t frames) override;
    void Rewind() override;
    bool CanRewind() const override { return !pipe_ || !path_.empty(); }
    // Coders with a memory of what came before are read through.
    bool TrySeek(uint64_t frame) override;
    // What all is read from, where that isn't a file.
    PipeInput *pipe() override { return path_.empty() ? pipe_.get() : nullptr; }

private:
    [[noreturn]] void Fail(const std::string &what) const;
    [[noreturn]] void FailUnknown(const std::string &more) const;
    [[noreturn]] void FailTooLong() const;
    void CheckPath() const;
    void OpenFile();
    HeaderForm PreparedHeader();
    void OpenPipe();
    void TryMpeg();
    void TakeWholePipe();
    void FailIfCut(ByteStream &file) const;
    void MendHeader(uint64_t size);
    void PrepareMpeg();
    void FindMpegStreams();
    void PrepareMpegPipe();
    void CheckMpegEnd();
    void Start();
    void StartAgain();
    std::optional<NamedChannels> ChannelsOfHeader();
    void TellLoudspeakers();
    void CheckComplete();
    template <class Sample>
    sf_count_t Fetched(sf_count_t (*read)(SNDFILE *, Sample *, sf_count_t), Sample *samples, uint32_t frames);
    sf_count_t FetchedBytes(void *buffer, uint32_t frames);
    sf_count_t ReadSamples(void *buffer, uint32_t frames);
    sf_count_t ReadLink(void *buffer, uint32_t frames);
    void CheckCount(uint64_t held) const;
    void FindLinks();
    void MeasureLinks();
    std::optional<uint64_t> StartLink();
    bool NextLink();
    void CheckLinks() const;
    void PrepareFlac();
    void CheckSum();
    void CheckFlac(const FlacForm &form, const FlacEnd &end) const;
    void WarnOfStrayBytes(uint64_t bytes);
    void CheckAfterSound(uint64_t start);
    void EndWhereCounted(ByteStream &stream, const std::optional<SoundEnd> &end);
    void CheckAfterSoundInPipe();
    void CheckPipeEnd();
    void CheckAfterFlac();
    void CheckEnd();

    std::filesystem::path path_;
    std::string shownName_;
    std::unique_ptr<PipeInput> pipe_; // also a file whose header is mended
    SoundStream stream_;
    AudioFormat format_;
    uint64_t frames_ = 0;
    FrameCount count_; // of the header, apart from the samples' size
    std::optional<NamedChannels> named_;
    uint64_t position_ = 0;
    const Container *container_ = nullptr;
    TagKind tagKind_ = TagKind::None;
    std::optional<SoundEnd> end_; // of the samples in a pipe
    HeaderForm header_ = HeaderForm::AsItWas;
    bool vorbisOrder_ = false;    // which only Ogg files have
    std::optional<OggLink> link_; // of one from a pipe
    uint64_t positionInLink_ = 0;
    std::optional<FlacSum> wantedSum_; // of FLAC, until it was once found right
    std::optional<FlacSum> sum_;       // of what was read, if that is all since the first frame
    std::optional<FlacForm> flac_;     // of a stream from a pipe
    std::optional<NextFlac> nextFlac_; // in it
    bool isFlac_ = false;
    bool afterFlacIsKnown_ = false; // what follows in a file
    MpegFrames mpeg_;               // of a stream from a pipe
    bool openMpeg_ = false;         // which counts no frames
    std::unique_ptr<PatchedBytes> patched_;
    std::vector<std::string> warnings_;
    std::vector<uint64_t> starts_; // of the streams after one another in a file that has several
    size_t started_ = 0;           // the one that is read
    int soundFormat_ = 0;          // libsndfile's number of the type
    bool linksDiffer_ = false;
    bool strayPages_ = false;    // in a file, of a stream that didn't begin
    bool brokenPages_ = false;   // in a file
    std::vector<uint8_t> turns_; // channels to be put into the converter's order: pairs of from and to
    Loudspeakers loudspeakers_ = 0;
    bool asTheyAre_ = false; // the file holds the very bytes of the samples
    bool lossy_ = false;
    bool seekable_ = false;
    std::string type_;
    std::string encoding_;
    std::vector<int32_t> wide_; // samples of 8 and 24 bits as libsndfile returns them
};

} // namespace tonekit::host
