// alignment.h: where kernels begin with single samples, so that their vectors don't lie across lines of the
// cache.
//
// Included by tier units only.
#pragma once

#include "frame/tier.h"

namespace tonekit::TONEKIT_TIER {

namespace {

// So many samples come before the first whole register at or after `samples`, `count` at most. A load or
// store across two lines of the cache takes twice its time, and at addresses of 16-byte alignment, as the
// allocator returns them, every other wide one is such.
template <class Sample>
inline uint32_t UntilAligned(const Sample *samples, uint32_t count)
{
#ifdef __AVX__
    constexpr uintptr_t kRegister = 32;
#else
    constexpr uintptr_t kRegister = 16;
#endif
    const uintptr_t excess = reinterpret_cast<uintptr_t>(samples) % kRegister;
    const auto head = static_cast<uint32_t>((kRegister - excess) % kRegister / sizeof(Sample));
    return head < count ? head : count;
}

// The same by the wider of a conversion's two sides.
template <class From, class To>
inline uint32_t UntilWiderAligned(const From *source, const To *destination, uint32_t count)
{
    return sizeof(From) > sizeof(To) ? UntilAligned(source, count) : UntilAligned(destination, count);
}

} // namespace

} // namespace tonekit::TONEKIT_TIER
