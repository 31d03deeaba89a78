// src4_rates_fuzz.cpp: conversions that change the rate, of any encodings, channels, settings and chunks. The
// baseline and any other body write the same bytes through each interface. The design of a filter takes a
// hundred times what all the rest does: most inputs share a few short ones, which the library keeps.
#include "fuzz/conversions.h"

namespace {

using tonekit::fuzz::Conversion;
using tonekit::fuzz::InputBytes;

struct RatePair {
    uint32_t input, output;
};

// The first ones are those of most inputs.
constexpr RatePair kRates[] = {{24000, 48000}, {48000, 24000}, {44100, 88200}, {96000, 48000},
                               {1, 2},         {2, 1},         {8000, 16000},  {3, 6},
                               {44100, 48000}, {48000, 44100}, {8000, 48000},  {192000, 8000},
                               {48000, 47999}, {96000, 44100}, {11025, 32000}, {1, 24}};
constexpr uint32_t kUsualRates = 4;
constexpr uint32_t kRare = 0xC0;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    InputBytes input(data, size);
    const uint32_t which = input.Byte();
    const bool rare = which >= kRare;
    const RatePair rates = kRates[rare ? which % std::size(kRates) : which % kUsualRates];
    const uint32_t span = input.OneOf({0u, 0u, 0u, 24u, 0u, 31u, 0u, 33u, 0xFFFFFFFFu});
    Conversion c = TakeConversion(input, rates.input, rates.output);
    if (rare)
        c.span = span;
    else
        SetSampleRateConverterParameters2(TONEKIT_FILTER_NORMAL, 0);
    CompareConversions(input, c, 1024);
    return 0;
}
