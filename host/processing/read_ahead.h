// read_ahead.h: reads samples on a thread of its own, some blocks before they are asked for.
#pragma once

#include "host/audio/sample_source.h"
#include "host/processing/side_thread.h"

#include <cstdint>
#include <exception>
#include <vector>

namespace tonekit::host {

// Returns the blocks that the source itself would return, and throws its failure after the last whole one of
// them. The source belongs to this object until the end.
class ReadAhead {
public:
    // Without `ownThread`, or where the system starts none, each block is read when it is asked for.
    ReadAhead(SampleSource &source, uint32_t framesOfBlock, bool ownThread);
    ReadAhead(const ReadAhead &) = delete;
    ReadAhead &operator=(const ReadAhead &) = delete;
    // The destructor waits for the block that is being read.

    // The next block, valid until the next call; no frames at the end. Throws what the source throws.
    struct Block {
        uint8_t *samples;
        uint32_t frames;
    };
    Block Next();

private:
    struct Slot {
        std::vector<uint8_t> samples;
        uint32_t frames = 0;
        std::exception_ptr failure;
    };

    void Work();

    SampleSource &source_;
    const uint32_t framesOfBlock_;
    std::vector<Slot> slots_;
    uint64_t read_ = 0; // blocks that were read; block i is in slot i modulo their number
    uint64_t used_ = 0; // blocks that were returned and are no longer in use
    bool given_ = false;
    SideThread thread_; // with its mutex for the three above; ended before they are
};

} // namespace tonekit::host
