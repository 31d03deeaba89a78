// src4_rates_fuzz.cpp: conversions that change the rate, of any encodings, channels, settings and chunks. The
// baseline and any other body give the same bytes through each interface. A filter takes a hundred times what
// all the rest does, so that these have a target of their own, in which short filters are the common ones.
#include "fuzz/conversions.h"

namespace {

using tonekit::fuzz::Conversion;
using tonekit::fuzz::InputBytes;

struct RatePair {
    std::uint32_t input, output;
};

// The first half of them takes one stage of a few taps.
constexpr RatePair kRates[] = {{24000, 48000}, {48000, 24000}, {44100, 88200}, {96000, 48000},
                               {1, 2},         {2, 1},         {8000, 16000},  {3, 6},
                               {44100, 48000}, {48000, 44100}, {8000, 48000},  {192000, 8000},
                               {48000, 47999}, {96000, 44100}, {11025, 32000}, {1, 24}};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    InputBytes input(data, size);
    const RatePair rates = kRates[input.Byte() % std::size(kRates)];
    const std::uint32_t span = input.OneOf({0u, 0u, 0u, 24u, 0u, 31u, 0u, 33u, 0xFFFFFFFFu});
    Conversion c = TakeConversion(input, rates.input, rates.output);
    c.span = span;
    CompareConversions(input, c, 1024);
    return 0;
}
