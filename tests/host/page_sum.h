// page_sum.h: the checksum of a page of Ogg, for tests that change pages.
#pragma once

#include "tests/host/number_bytes.h"

#include <cstdint>
#include <string>

namespace tonekit::host::test {

// The checksum as it is defined, bit by bit.
inline uint32_t SumOf(const std::string &page)
{
    uint32_t sum = 0;
    for (const char byte : page) {
        sum ^= uint32_t{static_cast<unsigned char>(byte)} << 24;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum << 1 ^ (sum >> 31 != 0 ? 0x04C11DB7 : 0);
    }
    return sum;
}

// The page with its checksum made right.
inline std::string WithSum(std::string page)
{
    page.replace(22, 4, Little(0));
    return page.replace(22, 4, Little(SumOf(page)));
}

} // namespace tonekit::host::test
