// libav_input.h: lets libavformat read through the host's own streams.
#pragma once

#include "host/libav/hidden_boxes.h"
#include "host/libav/libav_functions.h"
#include "host/system/byte_stream.h"

#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

namespace tonekit::host {

// A file that libavformat has opened. It reads through the stream alone: formats that lead to other files or
// to the network are refused, and so are those that hold no audio, or more than MemoryLimit() or 8192 tags
// before it.
class LibavInput {
public:
    // The stream must exist as long as this. Throws Failure, without a file's name, if libavformat is missing
    // or finds no audio in the stream, and std::system_error if the system failed.
    explicit LibavInput(ByteStream &stream);
    LibavInput(const LibavInput &) = delete;
    LibavInput &operator=(const LibavInput &) = delete;
    ~LibavInput();

    AVFormatContext &context() { return *context_; }
    // The type's name for libavformat, such as "mov,mp4,m4a,3gp,3g2,mj2".
    std::string format() const { return context_->iformat->name; }
    // The stream of audio that is heard; all others are left out of what is read.
    AVStream &audio() { return *context_->streams[audio_]; }
    // The first error that the system reported; no error if there was none.
    const std::error_code &error() const { return error_; }

    // For libavformat's calls.
    ByteStream &stream() { return stream_; }
    void Note(const std::error_code &error);
    // Whether libavformat may read so many bytes more while it opens the file.
    bool Allows(size_t bytes);
    // Counts the tags of Matroska in bytes that were read at a place while the file is opened.
    void CountTags(uint64_t place, const unsigned char *bytes, size_t count);
    // Puts what hides boxes into bytes that were read at a place.
    void HideBoxes(uint64_t place, unsigned char *bytes, size_t count) const;

private:
    void Open();
    void FindHiddenBoxes();
    void Close();
    void ChooseAudio();
    void CheckSystem() const;

    ByteStream &stream_;
    AVIOContext *io_ = nullptr;
    AVFormatContext *context_ = nullptr;
    unsigned audio_ = 0;
    std::error_code error_;
    bool opening_ = true;
    uint64_t bytesLeft_; // for what comes before the audio
    bool isMatroska_ = false;
    size_t tags_ = 0;
    const char *tooMuch_ = nullptr;
    std::vector<HiddenBox> hidden_;
};

} // namespace tonekit::host
