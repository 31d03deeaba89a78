// side_sink.cpp: a queue of blocks between the thread that makes them and the one that uses them.
#include "host/processing/side_sink.h"

#include <utility>

namespace tonekit::host {

namespace {

constexpr size_t kMostBlocks = 4;
constexpr size_t kMostBytes = size_t{4} << 20; // of more than one block

} // namespace

SideSink::SideSink(FrameSink sink, uint32_t frameBytes, bool ownThread)
    : sink_(std::move(sink)), frameBytes_(frameBytes)
{
    if (!ownThread)
        return;
    spare_.reserve(kMostBlocks + 1); // all blocks that there ever are, so that returning one can't fail
    thread_.Start([this] { Work(); });
}

bool SideSink::HasRoom(size_t bytes) const
{
    return waiting_.empty() || (waiting_.size() < kMostBlocks && waitingBytes_ + bytes <= kMostBytes);
}

void SideSink::ThrowFailure()
{
    if (failure_)
        std::rethrow_exception(failure_);
}

void SideSink::Work()
{
    std::unique_lock lock(thread_.mutex);
    while (true) {
        thread_.changed.wait(lock, [&] { return thread_.stopped || ended_ || !waiting_.empty(); });
        if (thread_.stopped || waiting_.empty())
            return;
        // A deque keeps its first element in place while others are added.
        const Block &block = waiting_.front();
        lock.unlock();
        std::exception_ptr failure;
        try {
            sink_(block.samples.data(), block.frames);
        } catch (...) {
            failure = std::current_exception();
        }
        lock.lock();
        failure_ = failure;
        waitingBytes_ -= block.samples.size();
        spare_.push_back(std::move(waiting_.front().samples));
        waiting_.pop_front();
        thread_.changed.notify_all();
        if (failure_)
            return;
    }
}

void SideSink::Take(const void *samples, uint32_t frames)
{
    if (!thread_.runs()) {
        sink_(samples, frames);
        return;
    }
    const auto *const bytes = static_cast<const uint8_t *>(samples);
    const size_t size = size_t{frames} * frameBytes_;
    Block block;
    block.frames = frames;
    {
        std::unique_lock lock(thread_.mutex);
        thread_.changed.wait(lock, [&] { return failure_ || HasRoom(size); });
        ThrowFailure();
        if (!spare_.empty()) {
            block.samples = std::move(spare_.back());
            spare_.pop_back();
        }
    }
    block.samples.assign(bytes, bytes + size);
    {
        const std::lock_guard lock(thread_.mutex);
        waitingBytes_ += size;
        waiting_.push_back(std::move(block));
    }
    thread_.changed.notify_all();
}

void SideSink::Finish()
{
    if (!thread_.runs())
        return;
    {
        const std::lock_guard lock(thread_.mutex);
        ended_ = true;
    }
    thread_.changed.notify_all();
    thread_.Join();
    ThrowFailure();
}

} // namespace tonekit::host
