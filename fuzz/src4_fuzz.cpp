// src4_fuzz.cpp: conversions at equal rates, of any encodings, channels, settings and chunks. The baseline
// and any other body write the same bytes through each interface; equal encodings come through as they are.
#include "fuzz/conversions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using namespace tonekit::fuzz;
    InputBytes input(data, size);
    const uint32_t rate = input.OneOf({44100u, 48000u, 8000u, 192000u, 1u, 0u});
    const Conversion c = TakeConversion(input, rate, rate);
    CompareConversions(input, c, 4096);
    return 0;
}
