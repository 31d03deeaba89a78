// side_sink.h: a sink of samples on a thread of its own.
#pragma once

#include "host/processing/side_thread.h"
#include "host/processing/stream_converter.h"

#include <cstdint>
#include <deque>
#include <exception>
#include <vector>

namespace tonekit::host {

// Passes the same blocks on, in the same order. A failure of the sink is thrown by the next call here;
// nothing reaches the sink after it.
class SideSink {
public:
    // Without `ownThread`, or where the system starts none, the sink is called at once.
    SideSink(FrameSink sink, uint32_t frameBytes, bool ownThread);
    SideSink(const SideSink &) = delete;
    SideSink &operator=(const SideSink &) = delete;
    // The destructor drops what still waits.

    // Copies the frames; waits while too many do.
    void Take(const void *samples, uint32_t frames);
    // Waits until the sink has taken all. Nothing may be taken afterwards.
    void Finish();

private:
    struct Block {
        std::vector<uint8_t> samples;
        uint32_t frames = 0;
    };

    void Work();
    bool HasRoom(size_t bytes) const;
    void ThrowFailure();

    const FrameSink sink_;
    const uint32_t frameBytes_;
    std::deque<Block> waiting_; // the first one is in work
    size_t waitingBytes_ = 0;
    std::vector<std::vector<uint8_t>> spare_; // memory of blocks that are done
    std::exception_ptr failure_;
    bool ended_ = false; // nothing more comes
    SideThread thread_;  // with its mutex for all from waiting_ on; ended before they are
};

} // namespace tonekit::host
