// part_source.h: a stretch of another source's samples.
#pragma once

#include "host/audio/file_part.h"
#include "host/audio/sample_source.h"

#include <memory>

namespace tonekit::host {

// Frames of `whole` from the part's first to before its end, exactly.
class PartSource final : public SampleSource {
public:
    // Throws Failure if the part isn't inside the source, as far as the source says its length.
    PartSource(std::unique_ptr<SampleSource> whole, const FilePart &part);

    std::string name() const override { return whole_->name(); }
    const AudioFormat &format() const override { return whole_->format(); }
    Loudspeakers loudspeakers() const override { return whole_->loudspeakers(); }
    uint64_t frames() const override;
    const std::string &type() const override { return whole_->type(); }
    const std::string &encoding() const override { return whole_->encoding(); }
    // A part of coded audio isn't the coded audio.
    const Container *container() const override { return nullptr; }
    TagKind tagKind() const override { return whole_->tagKind(); }
    bool lossy() const override { return whole_->lossy(); }
    std::vector<std::string> warnings() const override { return whole_->warnings(); }

    uint32_t ReadBefore(void *buffer, uint32_t frames) override;
    // Throws Failure if the source ends before the part does.
    uint32_t Read(void *buffer, uint32_t frames) override;
    void Rewind() override;
    bool CanRewind() const override { return whole_->CanRewind(); }
    PipeInput *pipe() override { return whole_->pipe(); }

private:
    void GoToStart();
    [[noreturn]] void FailBeyond(uint64_t frame, uint64_t end) const;

    std::unique_ptr<SampleSource> whole_;
    uint64_t first_;
    uint64_t end_;          // UINT64_MAX: that of the source
    uint64_t position_ = 0; // of the source
};

} // namespace tonekit::host
