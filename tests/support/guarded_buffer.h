// guarded_buffer.h: a buffer between two guard zones that show a write past either end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tonekit {

class GuardedBuffer {
public:
    // The bytes start misalignment past a multiple of 64 and are filled with a pattern of their own.
    explicit GuardedBuffer(size_t bytes, size_t misalignment = 0);
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    uint8_t *data() { return data_; }
    const uint8_t *data() const { return data_; }
    size_t size() const { return size_; }
    template <class Element>
    Element *As()
    {
        return reinterpret_cast<Element *>(data_);
    }

    // Whether both guard zones are as they were made.
    bool Intact() const;

private:
    std::vector<uint8_t> storage_;
    uint8_t *data_;
    size_t size_;
};

} // namespace tonekit
