// hdcd_tables.h: the constant tables of the decoder, all of them made at compile time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tonekit {

// A plain array that a constexpr function can return.
template <class Entry, size_t Count>
struct HdcdTable {
    Entry entry[Count];

    // Always inlined: tier units may not leave a copy of it.
    [[gnu::always_inline]] constexpr const Entry &operator[](int index) const { return entry[index]; }
};

// The last index of HdcdPeakTable.
constexpr int32_t kHdcdLastPeak = 9855;

// The peak extend level of samples of so many bits: 22913 with 16.
[[gnu::always_inline]] constexpr int32_t HdcdPeakLevel(int32_t bits)
{
    return (1 << (bits - 1)) - kHdcdLastPeak;
}

extern "C" {

// By the low byte of the scrambled view: how many more bits must arrive before a packet prefix can be
// complete.
extern const HdcdTable<uint8_t, 256> HdcdReadaheadTable;

// The same by these 8 bits in time order, the oldest in bit 0; 0 where the whole view has to be looked at.
extern const HdcdTable<uint8_t, 256> HdcdHuntTable;

// By a gain in 1/256 dB of attenuation, 0 to 1920: the factor times 2^23.
extern const HdcdTable<uint32_t, 1921> HdcdGainTable32;

// By how far a magnitude lies above the peak extend level: the magnitude that it means. The last entry, for
// -32768, is 0x80000000, which is its own negative.
extern const HdcdTable<uint32_t, kHdcdLastPeak + 1> HdcdPeakTable;

// One period of the analysis tone, 0.1 of full scale: for the rates that are multiples of 48000 Hz, and for
// all others.
extern const HdcdTable<int16_t, 588> HdcdToneTable44;
extern const HdcdTable<int16_t, 640> HdcdToneTable48;

} // extern "C"

} // namespace tonekit
