// audio_reader.h: reads the samples of an audio file in the form in which the file keeps them.
#pragma once

#include "host/container.h"
#include "host/sample_format.h"
#include "host/sound_stream.h"
#include "host/tag_kind.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tonekit::host {

// All failures are thrown as Failure, with the file's name in front.
class AudioReader {
public:
    // Opens the file and makes sure that it holds audio, all of it, in at most 8 channels.
    explicit AudioReader(const std::filesystem::path &path);
    // The same for a file that messages call by another name.
    AudioReader(const std::filesystem::path &path, const std::string &shownName);

    const AudioFormat &format() const { return format_; }
    // The number of frames that the file promises; 0 if it doesn't say.
    uint64_t frames() const { return frames_; }
    // The type of file and the way in which it keeps its samples: "WAV" and "Signed 16 bit PCM"
    const std::string &type() const { return type_; }
    const std::string &encoding() const { return encoding_; }
    // The container that would hold the very same coded audio; null if none of those written does.
    const Container *container() const { return container_; }
    // The form of its tags.
    TagKind tagKind() const { return tagKind_; }
    // The samples come out of a coder that keeps no exact sample values.
    bool lossy() const { return lossy_; }

    // Fills the buffer with up to `frames` frames in format(), channels in the converter's order. Returns how
    // many; 0 at the end. Throws if the file ends before it should.
    uint32_t Read(void *buffer, uint32_t frames);
    // Goes back to the first frame.
    void Rewind();

private:
    [[noreturn]] void Fail(const std::string &what) const;
    void CheckPath() const;
    void Open();
    void CheckComplete();
    sf_count_t ReadSamples(void *buffer, uint32_t frames);
    void CheckEnd();

    std::filesystem::path path_;
    std::string shownName_;
    SoundStream stream_;
    AudioFormat format_;
    uint64_t frames_ = 0;
    uint64_t position_ = 0;
    const Container *container_ = nullptr;
    TagKind tagKind_ = TagKind::None;
    bool vorbisOrder_ = false;
    bool lossy_ = false;
    std::string type_;
    std::string encoding_;
    std::vector<int32_t> wide_; // samples of 8 and 24 bits as libsndfile gives them
};

} // namespace tonekit::host
