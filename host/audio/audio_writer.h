// audio_writer.h: writes samples into an audio file, exactly as they are.
#pragma once

#include "host/audio/container.h"
#include "host/audio/encoder_settings.h"
#include "host/audio/loudspeakers.h"
#include "host/audio/sample_writer.h"
#include "host/audio/sound_stream.h"
#include "host/system/pipe_output.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tonekit::host {

// All failures are thrown as Failure, with the name of the file that the user asked for in front.
class AudioWriter final : public SampleWriter {
public:
    // Begins an audio file in `file`, which is new and empty. `shownName` is for messages; `loudspeakers` are
    // named by headers that can, 0 for the converter's.
    AudioWriter(File file, const std::string &shownName, const Container &container,
                const AudioFormat &format, const EncoderSettings &settings = {},
                Loudspeakers loudspeakers = 0);
    // Begins a stream that can only be written on, such as standard output. Its header says `frames`, or that
    // the number is unknown.
    AudioWriter(std::unique_ptr<PipeOutput> pipe, const std::string &shownName, const Container &container,
                const AudioFormat &format, const EncoderSettings &settings, std::optional<uint64_t> frames,
                Loudspeakers loudspeakers = 0);

    // Fails where the container's sizes end.
    void Write(const void *samples, uint32_t frames) override;
    void Finish() override;

private:
    [[noreturn]] void Fail(const std::string &what) const;
    template <class Sample>
    sf_count_t Stored(sf_count_t (*write)(SNDFILE *, const Sample *, sf_count_t), const Sample *samples,
                      uint32_t frames);
    sf_count_t StoredBytes(const void *samples, uint64_t size);
    sf_count_t StoredSamples(const void *samples, uint32_t frames);
    void Start(const EncoderSettings &settings);
    void ReleasePipe();
    void FinishPipe();
    void CheckStored(sf_count_t stored, uint32_t frames) const;

    std::string shownName_;
    std::unique_ptr<PipeOutput> pipe_;
    std::optional<uint64_t> promisedFrames_; // by the header of a pipe
    SoundStream stream_;
    AudioFormat format_;
    const Container &container_;
    Loudspeakers loudspeakers_;
    bool vorbisOrder_;
    bool asTheyAre_; // the file holds the very bytes of the samples
    uint64_t frames_ = 0;
    uint64_t bytesLeft_;          // that the container has room for
    std::vector<int32_t> wide_;   // samples of 8 and 24 bits as libsndfile takes them, where it packs them
    std::vector<uint8_t> turned_; // frames in the container's channel order
};

} // namespace tonekit::host
