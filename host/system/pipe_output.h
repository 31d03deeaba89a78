// pipe_output.h: a stream that can only be written on, treated like a file whose first bytes wait.
#pragma once

#include "host/system/byte_stream.h"
#include "host/system/platform.h"

#include <cstdint>
#include <vector>

namespace tonekit::host {

// What is written is held back until Release, so that its header can be set. After that, changes of what is
// gone are dropped: coders go back to their headers at the end.
class PipeOutput final : public ByteStream {
public:
    explicit PipeOutput(File file) : file_(std::move(file)) {}

    // Not supported.
    std::error_code Read(void *buffer, size_t size, size_t &got) override;
    std::error_code Write(const void *data, size_t size) override;
    std::error_code SeekTo(uint64_t position) override;
    std::error_code Tell(uint64_t &position) override;
    std::error_code Size(uint64_t &size) override;

    // What is held back.
    std::vector<unsigned char> &held() { return held_; }
    bool released() const { return released_; }
    std::error_code Release();
    // Drops all that is written from now on: what a file has after its samples would be taken for samples.
    void End() { ended_ = true; }
    std::error_code Close() { return file_.Close(); }

private:
    File file_;
    std::vector<unsigned char> held_;
    bool released_ = false;
    bool ended_ = false;
    uint64_t position_ = 0; // of the writer
    uint64_t size_ = 0;     // of all that was written
};

} // namespace tonekit::host
