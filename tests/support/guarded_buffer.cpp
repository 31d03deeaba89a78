// guarded_buffer.cpp: guard zones around a test's buffer.
#include "tests/support/guarded_buffer.h"

namespace tonekit {

namespace {

constexpr std::size_t kGuard = 256;
constexpr std::size_t kAlignment = 64;

// Differs from byte to byte, so that shifted guards show too. Counted from the first byte of the data,
// wherever that came to lie: two runs find the same bytes in what they leave unwritten.
std::uint8_t Pattern(std::size_t index)
{
    return static_cast<std::uint8_t>(0xA5 ^ (index * 37));
}

} // namespace

GuardedBuffer::GuardedBuffer(std::size_t bytes, std::size_t misalignment)
    : storage_(bytes + misalignment + 2 * kGuard + kAlignment), data_(nullptr), size_(bytes)
{
    const auto start = reinterpret_cast<std::uintptr_t>(storage_.data()) + kGuard;
    const std::uintptr_t aligned = (start + kAlignment - 1) & ~std::uintptr_t{kAlignment - 1};
    data_ = storage_.data() + kGuard + (aligned - start) + misalignment;
    const auto begin = static_cast<std::size_t>(data_ - storage_.data());
    for (std::size_t i = 0; i < storage_.size(); ++i)
        storage_[i] = Pattern(i - begin);
}

bool GuardedBuffer::Intact() const
{
    const auto begin = static_cast<std::size_t>(data_ - storage_.data());
    for (std::size_t i = 0; i < begin; ++i)
        if (storage_[i] != Pattern(i - begin))
            return false;
    for (std::size_t i = begin + size_; i < storage_.size(); ++i)
        if (storage_[i] != Pattern(i - begin))
            return false;
    return true;
}

} // namespace tonekit
