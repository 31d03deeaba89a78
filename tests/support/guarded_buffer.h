// guarded_buffer.h: a buffer between two guard zones that show a write past either end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tonekit {

class GuardedBuffer {
public:
    // The bytes start misalignment past a multiple of 64 and are filled with a pattern of their own.
    explicit GuardedBuffer(std::size_t bytes, std::size_t misalignment = 0);
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    std::uint8_t *data() { return data_; }
    const std::uint8_t *data() const { return data_; }
    std::size_t size() const { return size_; }
    template <class Element>
    Element *As()
    {
        return reinterpret_cast<Element *>(data_);
    }

    // Whether both guard zones are as they were made.
    bool Intact() const;

private:
    std::vector<std::uint8_t> storage_;
    std::uint8_t *data_;
    std::size_t size_;
};

} // namespace tonekit
