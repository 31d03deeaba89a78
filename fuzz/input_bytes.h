// input_bytes.h: a fuzz target's input, taken byte by byte from the front.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace tonekit::fuzz {

inline void Require(bool condition)
{
    if (!condition)
        std::abort();
}

// Zeros follow the input's end.
class InputBytes {
public:
    InputBytes(const uint8_t *data, size_t size) : data_(data), size_(size) {}
    bool Empty() const { return size_ == 0; }
    const uint8_t *Rest() const { return data_; }
    size_t Size() const { return size_; }

    uint8_t Byte()
    {
        if (size_ == 0)
            return 0;
        --size_;
        return *data_++;
    }
    bool Flag() { return (Byte() & 1) != 0; }
    uint32_t Below(uint32_t limit) { return Byte() % limit; }
    uint32_t Word()
    {
        uint32_t word = 0;
        for (int i = 0; i < 4; ++i)
            word = word << 8 | Byte();
        return word;
    }
    template <class Value, size_t Count>
    Value OneOf(const Value (&values)[Count])
    {
        return values[Byte() % Count];
    }
    std::vector<uint8_t> Take(size_t count)
    {
        std::vector<uint8_t> taken(count);
        for (uint8_t &byte : taken)
            byte = Byte();
        return taken;
    }

private:
    const uint8_t *data_;
    size_t size_;
};

} // namespace tonekit::fuzz
