// read_ahead.cpp: a ring of blocks between the thread that reads and the one that asks.
#include "host/processing/read_ahead.h"

namespace tonekit::host {

namespace {

constexpr size_t kBlocks = 4;

} // namespace

ReadAhead::ReadAhead(SampleSource &source, uint32_t framesOfBlock, bool ownThread)
    : source_(source), framesOfBlock_(framesOfBlock), slots_(ownThread ? kBlocks : 1)
{
    for (Slot &slot : slots_)
        slot.samples.resize(size_t{framesOfBlock} * source.format().FrameBytes());
    if (ownThread)
        thread_.Start([this] { Work(); });
}

void ReadAhead::Work()
{
    for (bool more = true; more;) {
        {
            std::unique_lock lock(thread_.mutex);
            thread_.changed.wait(lock, [&] { return thread_.stopped || read_ - used_ < slots_.size(); });
            if (thread_.stopped)
                return;
        }
        // Only this thread changes read_, and nobody else uses a slot beyond it.
        Slot &slot = slots_[read_ % slots_.size()];
        try {
            slot.frames = source_.Read(slot.samples.data(), framesOfBlock_);
        } catch (...) {
            slot.failure = std::current_exception();
        }
        more = !slot.failure && slot.frames > 0;
        {
            const std::lock_guard lock(thread_.mutex);
            ++read_;
        }
        thread_.changed.notify_all();
    }
}

ReadAhead::Block ReadAhead::Next()
{
    if (!thread_.runs())
        return {slots_[0].samples.data(), source_.Read(slots_[0].samples.data(), framesOfBlock_)};
    std::unique_lock lock(thread_.mutex);
    if (given_)
        ++used_;
    given_ = true;
    thread_.changed.notify_all();
    thread_.changed.wait(lock, [&] { return read_ > used_; });
    Slot &slot = slots_[used_ % slots_.size()];
    if (slot.failure)
        std::rethrow_exception(slot.failure);
    return {slot.samples.data(), slot.frames};
}

} // namespace tonekit::host
