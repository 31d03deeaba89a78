// random.cpp: the seeded generator of the tests.
#include "tests/support/random.h"

#include <cstring>

namespace tonekit {

uint64_t Random::Next()
{
    uint64_t z = (state_ += 0x9E3779B97F4A7C15u);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

uint32_t Random::Below(uint32_t limit)
{
    return static_cast<uint32_t>(((Next() >> 32) * limit) >> 32);
}

double Random::Uniform()
{
    return static_cast<double>(Next() >> 11) * 0x1p-53;
}

void Random::Fill(void *bytes, size_t count)
{
    auto *out = static_cast<unsigned char *>(bytes);
    while (count > 0) {
        const uint64_t value = Next();
        const size_t part = count < sizeof value ? count : sizeof value;
        std::memcpy(out, &value, part);
        out += part;
        count -= part;
    }
}

} // namespace tonekit
