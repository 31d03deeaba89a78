// raw_reader.h: reads samples that have no header.
#pragma once

#include "host/audio/raw_format.h"
#include "host/audio/sample_source.h"
#include "host/system/platform.h"

#include <filesystem>
#include <string>

namespace tonekit::host {

// All failures are thrown as Failure, with the file's name in front.
class RawReader final : public SampleSource {
public:
    RawReader(const std::filesystem::path &path, const RawFormat &format);
    // The same for a stream that can only be read on. Rewind throws.
    RawReader(File stream, const std::string &shownName, const RawFormat &format);

    std::string name() const override { return shownName_; }
    const AudioFormat &format() const override { return raw_.audio; }
    uint64_t frames() const override { return frames_; }
    const std::string &type() const override { return type_; }
    const std::string &encoding() const override { return encoding_; }
    const Container *container() const override { return nullptr; }
    TagKind tagKind() const override { return TagKind::None; }
    bool lossy() const override { return false; }

    // Throws if the stream ends within a frame.
    uint32_t Read(void *buffer, uint32_t frames) override;
    void Rewind() override;
    bool CanRewind() const override { return canRewind_; }

private:
    [[noreturn]] void Fail(const std::string &what) const;

    std::string shownName_;
    File file_;
    RawFormat raw_;
    bool canRewind_;
    uint64_t frames_ = 0;
    bool any_ = false; // frames were read
    std::string type_ = "raw";
    std::string encoding_;
};

} // namespace tonekit::host
