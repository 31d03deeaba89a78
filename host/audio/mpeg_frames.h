// mpeg_frames.h: from frame to frame of MPEG audio, in which several streams can follow one another.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tonekit::host {

// What encoders note of the music in a frame of its own before it.
struct MpegNote {
    size_t place = 0;                 // of its flags in the frame
    std::optional<uint32_t> frames{}; // without its own
    std::optional<uint32_t> bytes{};  // with its own
};

struct MpegStream {
    uint64_t start = 0; // of its first frame, which is the note's if there is one
    uint64_t end = 0;   // of its last whole frame
    uint64_t frames = 0;
    size_t noteSize = 0; // of the note's frame
    std::optional<MpegNote> note{};
};

// Follows the frames as their bytes come. After bytes that are none, a frame is one if two others of its kind
// follow it; ID3v2 and APE tags are passed over as a whole.
class MpegFrames {
public:
    // More streams than that aren't told apart.
    static constexpr size_t kMostStreams = 10000;

    // The bytes that follow those taken before.
    void Take(std::span<const unsigned char> bytes);
    // There are no more.
    void Finish();

    // The first, and each further one that begins with a note, if the first does. Empty where no frame is
    // found near the beginning.
    const std::vector<MpegStream> &streams() const { return streams_; }
    // Whether no frame is found near the beginning, and none is looked for any longer.
    bool gaveUp() const;
    // Whether there was a frame of another version, layer, rate or number of channels than the first.
    bool differ() const { return differ_; }
    // The frames of all streams.
    uint64_t frames() const;

private:
    std::span<const unsigned char> Rest() const { return std::span(held_).subspan(at_); }
    bool Step(bool final);
    bool StepOver(uint64_t bytes, bool final);
    bool StepToSync();
    void AddFrame(std::span<const unsigned char> frame);

    std::vector<unsigned char> held_; // what is looked at
    size_t at_ = 0;                   // how far
    uint64_t base_ = 0;               // the position of what is held
    uint64_t passed_ = 0;             // bytes of a tag that are still to come
    uint64_t skipped_ = 0;            // bytes that are neither
    bool lost_ = true;                // the last bytes were no frame
    bool differ_ = false;
    uint32_t first_ = 0; // the first frame's header
    std::vector<MpegStream> streams_;
};

// The note in a frame; nothing if there is none.
std::optional<MpegNote> NoteInFrame(std::span<const unsigned char> frame);

// The bytes of a note's frame with another count of frames. Without `keepsEnd` it no longer says how many of
// the last samples aren't part of the sound.
std::vector<unsigned char> WithCount(std::span<const unsigned char> frame, const MpegNote &note,
                                     uint32_t frames, bool keepsEnd);

// The size of the frame that a header of 4 bytes begins; 0 if it begins none, or says no size.
size_t SizeOfMpegFrame(uint32_t header);

} // namespace tonekit::host
