// guarded_buffer.cpp: guard zones around a test's buffer.
#include "tests/support/guarded_buffer.h"

namespace tonekit {

namespace {

constexpr size_t kGuard = 256;
constexpr size_t kAlignment = 64;

// Differs from byte to byte, so that shifted guards show too. Counted from the first byte of the data,
// wherever that came to lie: two runs find the same bytes in what they leave unwritten.
uint8_t Pattern(size_t index)
{
    return static_cast<uint8_t>(0xA5 ^ (index * 37));
}

} // namespace

GuardedBuffer::GuardedBuffer(size_t bytes, size_t misalignment)
    : storage_(bytes + misalignment + 2 * kGuard + kAlignment), data_(nullptr), size_(bytes)
{
    const auto start = reinterpret_cast<uintptr_t>(storage_.data()) + kGuard;
    const uintptr_t aligned = (start + kAlignment - 1) & ~uintptr_t{kAlignment - 1};
    data_ = storage_.data() + kGuard + (aligned - start) + misalignment;
    const auto begin = static_cast<size_t>(data_ - storage_.data());
    for (size_t i = 0; i < storage_.size(); ++i)
        storage_[i] = Pattern(i - begin);
}

bool GuardedBuffer::Intact() const
{
    const auto begin = static_cast<size_t>(data_ - storage_.data());
    for (size_t i = 0; i < begin; ++i)
        if (storage_[i] != Pattern(i - begin))
            return false;
    for (size_t i = begin + size_; i < storage_.size(); ++i)
        if (storage_[i] != Pattern(i - begin))
            return false;
    return true;
}

} // namespace tonekit
