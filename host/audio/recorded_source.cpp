// recorded_source.cpp: keeps the first samples, and reads them again.
#include "host/audio/recorded_source.h"

#include <algorithm>
#include <cstring>

namespace tonekit::host {

uint32_t RecordedSource::Read(void *buffer, uint32_t frames)
{
    const size_t frameBytes = format().FrameBytes();
    if (replayed_ < kept_.size() && replays_) {
        const size_t bytes = std::min(frames * frameBytes, kept_.size() - replayed_);
        std::memcpy(buffer, kept_.data() + replayed_, bytes);
        replayed_ += bytes;
        if (replayed_ == kept_.size())
            kept_ = {};
        return static_cast<uint32_t>(bytes / frameBytes);
    }
    const uint32_t got = source_->Read(buffer, frames);
    if (!replays_) {
        const auto *bytes = static_cast<const uint8_t *>(buffer);
        kept_.insert(kept_.end(), bytes, bytes + got * frameBytes);
    }
    return got;
}

void RecordedSource::Rewind()
{
    replays_ = true;
    replayed_ = 0;
}

} // namespace tonekit::host
