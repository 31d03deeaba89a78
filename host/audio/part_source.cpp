// part_source.cpp: skips to the first frame of a part, and ends after its last.
#include "host/audio/part_source.h"

#include "host/audio/time_text.h"
#include "host/system/failure.h"
#include "host/system/platform.h"

#include <algorithm>
#include <tonekit/tags.h>
#include <vector>

namespace tonekit::host {

namespace {

// The frame nearest to a position, for long positions too, whose product with a rate would wrap.
uint64_t FrameAt(uint64_t position, uint32_t rate)
{
    constexpr uint64_t kSecond = 10'000'000;
    return position / kSecond * rate + N100nSToSamples(position % kSecond, rate);
}

} // namespace

PartSource::PartSource(std::unique_ptr<SampleSource> whole, const FilePart &part)
    : whole_(std::move(whole)), first_(FrameAt(part.start, whole_->format().rate)),
      end_(part.end ? FrameAt(*part.end, whole_->format().rate) : UINT64_MAX)
{
    const uint64_t all = whole_->frames();
    if (all > 0 && first_ >= all)
        FailBeyond(first_, all);
    if (all > 0 && part.end && end_ > all)
        FailBeyond(end_, all);
    if (end_ <= first_)
        throw Failure(name() + ": the part at " + TimeText(part.start) + " is shorter than a sample");
}

void PartSource::FailBeyond(uint64_t frame, uint64_t end) const
{
    const uint32_t rate = format().rate;
    throw Failure(name() + ": " + TimeText(SamplesToN100nS(frame, rate)) +
                  " is beyond the end of the audio at " + TimeText(SamplesToN100nS(end, rate)));
}

uint64_t PartSource::frames() const
{
    const uint64_t all = whole_->frames();
    return all > 0 ? std::min(all, end_) - first_ : 0;
}

uint32_t PartSource::ReadBefore(void *buffer, uint32_t frames)
{
    if (position_ >= first_)
        return 0;
    const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(frames, first_ - position_));
    const uint32_t got = whole_->Read(buffer, wanted);
    if (got == 0)
        FailBeyond(first_, position_);
    position_ += got;
    return got;
}

void PartSource::GoToStart()
{
    constexpr uint32_t kBlockFrames = 16384;
    if (position_ < first_ && whole_->TrySeek(first_))
        position_ = first_;
    if (position_ >= first_)
        return;
    std::vector<uint8_t> passedOver(size_t{kBlockFrames} * format().FrameBytes());
    while (ReadBefore(passedOver.data(), kBlockFrames) > 0) {
        if (InterruptNoted())
            throw Interrupted();
    }
}

uint32_t PartSource::Read(void *buffer, uint32_t frames)
{
    GoToStart();
    const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(frames, end_ - position_));
    const uint32_t got = wanted > 0 ? whole_->Read(buffer, wanted) : 0;
    if (got == 0 && (position_ == first_ || (wanted > 0 && end_ != UINT64_MAX)))
        FailBeyond(end_ != UINT64_MAX ? end_ : first_, position_);
    position_ += got;
    return got;
}

void PartSource::Rewind()
{
    whole_->Rewind();
    position_ = 0;
}

} // namespace tonekit::host
