// printable_calls.h: one call of an encoder or a decoder of UU or Base64, and what it must leave alone.
#pragma once

#include "tests/support/failing_malloc.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tonekit/encode.h>
#include <vector>

namespace tonekit {

// A refusal leaves the out pointers as they are and allocates nothing; a result is one allocation.
inline void ExpectRefusal(uint32_t result, uint64_t allocations, bool outsUntouched)
{
    EXPECT_EQ(result, 0xFFFFFFFFu);
    EXPECT_EQ(allocations, 0u);
    EXPECT_TRUE(outsUntouched);
}

// Nothing if it is refused.
template <class Encode, class Length>
std::optional<std::string> EncodedBy(Encode *encode, const void *data, Length length)
{
    char untouched;
    char *text = &untouched;
    const uint64_t before = AllocationsSoFar();
    const uint32_t result = encode(data, length, &text);
    const uint64_t allocations = AllocationsSoFar() - before;
    if (result != 0) {
        ExpectRefusal(result, allocations, text == &untouched);
        return {};
    }
    EXPECT_EQ(allocations, 1u);
    const std::string copy = text;
    UUFreeMem(text);
    return copy;
}

template <class Decode>
std::optional<std::vector<uint8_t>> DecodedBy(Decode *decode, const char *text)
{
    char untouched;
    void *data = &untouched;
    uint32_t length = 4711;
    const uint64_t before = AllocationsSoFar();
    const uint32_t result = decode(text, &data, &length);
    const uint64_t allocations = AllocationsSoFar() - before;
    if (result != 0) {
        ExpectRefusal(result, allocations, data == &untouched && length == 4711);
        return {};
    }
    EXPECT_EQ(allocations, 1u);
    const auto *bytes = static_cast<const uint8_t *>(data);
    const std::vector<uint8_t> copy(bytes, bytes + length);
    BASE64FreeMem(data);
    return copy;
}

} // namespace tonekit
