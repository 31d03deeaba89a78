// resampler_memory.h: the blocks of a libsoxr resampler, known together, so that a resampler that was given
// up half-made or half-way through a block can be released as a whole.
//
// libsoxr asks for memory while it makes a resampler, and lengthens blocks while it runs; it checks neither.
// Here both throw as the library's allocator does, through libsoxr's functions, which hold nothing but
// blocks.
#pragma once

#include "convert/soxr/kept_filters.h"

namespace tonekit {

// A block's neighbours in the ring of its resampler; the bytes that libsoxr uses follow it.
struct alignas(16) ResamplerBlock {
    ResamplerBlock *previous;
    ResamplerBlock *next;
};

// While it lives, what libsoxr allocates in this thread belongs to it, unless a later one lives too. It
// releases what hasn't been kept.
class NewResamplerBlocks {
public:
    NewResamplerBlocks(); // throws std::bad_alloc
    ~NewResamplerBlocks();
    NewResamplerBlocks(const NewResamplerBlocks &) = delete;
    NewResamplerBlocks &operator=(const NewResamplerBlocks &) = delete;

    // The latest that lives in this thread, or null.
    static NewResamplerBlocks *OfThisThread();

    ResamplerBlock &ring() { return ring_; }

    // Notes filters that the new resampler uses, or that it uses them no longer.
    void Use(void *filters, DropFilters drop);
    void UseNoLonger(void *filters);

    // Lets the blocks live on with the resampler that they make up, and leaves the filters to it.
    void Keep();

private:
    NewResamplerBlocks *outer_;
    ResamplerBlock ring_{&ring_, &ring_};
    void *filters_ = nullptr;
    DropFilters drop_ = nullptr;
};

} // namespace tonekit
