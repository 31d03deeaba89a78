// control_tables.cpp: how far the scan of the control stream may read ahead.
#include "hdcd/hdcd_tables.h"

namespace tonekit {

namespace {

// A packet prefix is 0x7E0FA005 or 0x7E0FA006. An entry is the least distance at which the last 8 bits can be
// part of one, so no distance below it is worth a look.
constexpr HdcdTable<uint8_t, 256> kReadahead = {{
    3,  2,  1,  1,  31, 30, 31, 17, 31, 30, 31, 29, 31, 30, 31, 16, // 0x00
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 15, // 0x10
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 27, // 0x20
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 14, 25, // 0x30
    7,  30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 27, // 0x40
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 26, // 0x50
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 27, // 0x60
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 13, 24, 32, // 0x70
    6,  30, 31, 18, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 27, // 0x80
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 26, // 0x90
    8,  30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 27, // 0xA0
    31, 30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 25, // 0xB0
    31, 19, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 27, // 0xC0
    9,  30, 31, 29, 31, 30, 31, 28, 31, 30, 31, 29, 31, 30, 31, 26, // 0xD0
    20, 30, 31, 29, 31, 30, 31, 28, 10, 30, 31, 29, 31, 30, 31, 27, // 0xE0
    21, 30, 31, 29, 11, 30, 31, 28, 22, 30, 12, 29, 23, 30, 31, 32, // 0xF0
}};

constexpr HdcdTable<uint8_t, 256> HuntTable()
{
    HdcdTable<uint8_t, 256> table{};
    for (int low = 0; low < 256; ++low) {
        int reversed = 0;
        for (int bit = 0; bit < 8; ++bit)
            reversed |= (low >> bit & 1) << (7 - bit);
        // The view may be 0, or end a prefix.
        const bool telling = low == 0x00 || low == 0x05 || low == 0x06;
        table.entry[reversed] = telling ? 0 : kReadahead[low];
    }
    return table;
}

} // namespace

extern "C" {

constinit const HdcdTable<uint8_t, 256> HdcdReadaheadTable = kReadahead;
constinit const HdcdTable<uint8_t, 256> HdcdHuntTable = HuntTable();

} // extern "C"

} // namespace tonekit
