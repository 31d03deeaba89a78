// recorded_source.h: a stream of samples whose beginning can be read twice.
#pragma once

#include "host/audio/sample_source.h"

#include <memory>
#include <string>
#include <vector>

namespace tonekit::host {

// Keeps all frames that are read until Rewind, which can be called once. After that nothing more is kept.
class RecordedSource final : public SampleSource {
public:
    explicit RecordedSource(std::unique_ptr<SampleSource> source) : source_(std::move(source)) {}

    std::string name() const override { return source_->name(); }
    const AudioFormat &format() const override { return source_->format(); }
    Loudspeakers loudspeakers() const override { return source_->loudspeakers(); }
    uint64_t frames() const override { return source_->frames(); }
    const std::string &type() const override { return source_->type(); }
    const std::string &encoding() const override { return source_->encoding(); }
    const Container *container() const override { return source_->container(); }
    TagKind tagKind() const override { return source_->tagKind(); }
    bool lossy() const override { return source_->lossy(); }
    std::vector<std::string> warnings() const override { return source_->warnings(); }
    PipeInput *pipe() override { return source_->pipe(); }

    uint32_t Read(void *buffer, uint32_t frames) override;
    void Rewind() override;
    bool CanRewind() const override { return false; }

private:
    std::unique_ptr<SampleSource> source_;
    std::vector<uint8_t> kept_;
    bool replays_ = false;
    size_t replayed_ = 0; // bytes of kept_
};

} // namespace tonekit::host
