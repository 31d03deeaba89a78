// random.h: a small seeded generator, the same on every system.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tonekit {

// SplitMix64: every seed starts an independent, full-period stream.
class Random {
public:
    explicit Random(uint64_t seed) : state_(seed) {}

    uint64_t Next();
    uint32_t Below(uint32_t limit); // 0 to limit - 1; limit must not be 0
    double Uniform();               // at least 0.0, below 1.0
    void Fill(void *bytes, size_t count);

private:
    uint64_t state_;
};

} // namespace tonekit
