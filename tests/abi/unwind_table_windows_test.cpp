// unwind_table_windows_test.cpp: the table by which exceptions find their way through the library's
// functions.
#include "tests/support/shared_library.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <vector>
#include <windows.h>

namespace tonekit {
namespace {

// The functions of a module, in the order of its table.
std::vector<RUNTIME_FUNCTION> Functions(const char *image)
{
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(image);
    const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(image + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY &place =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXCEPTION];
    const auto *first = reinterpret_cast<const RUNTIME_FUNCTION *>(image + place.VirtualAddress);
    return {first, first + place.Size / sizeof(RUNTIME_FUNCTION)};
}

// The system searches the table by halves. An entry out of place hides others, and an exception that passes
// through their functions restores wrong registers.
TEST(UnwindTable, HasEachFunctionOnceInAscendingOrder)
{
    const SharedLibrary library(TONEKIT_LIBRARY);
    const auto *image = static_cast<const char *>(library.handle()); // a module is known by its address
    const std::vector<RUNTIME_FUNCTION> functions = Functions(image);
    ASSERT_GT(functions.size(), 1000u);
    uint32_t end = 0;
    for (const RUNTIME_FUNCTION &function : functions) {
        ASSERT_GE(function.BeginAddress, end);
        ASSERT_GT(function.EndAddress, function.BeginAddress);
        end = function.EndAddress;
        const char version = image[function.UnwindData] & 7;
        ASSERT_EQ(version, 1);
    }
}

// A function that saves registers has unwind codes for them, or they would be lost.
TEST(UnwindTable, TellsOfTheRegistersThatAPrologueSaves)
{
    const SharedLibrary library(TONEKIT_LIBRARY);
    const auto *image = static_cast<const uint8_t *>(library.handle());
    for (const RUNTIME_FUNCTION &function : Functions(reinterpret_cast<const char *>(image))) {
        const uint8_t *code = image + function.BeginAddress;
        const bool pushesLow = code[0] >= 0x50 && code[0] <= 0x57;                     // rax to rdi
        const bool pushesHigh = code[0] == 0x41 && code[1] >= 0x50 && code[1] <= 0x57; // r8 to r15
        if (!pushesLow && !pushesHigh)
            continue;
        const uint8_t *unwind = image + function.UnwindData;
        const int codes = unwind[2];
        ASSERT_GT(codes, 0) << std::hex << function.BeginAddress;
        // The codes are in reverse order: operation 0, a push, of that register.
        const int pushed = pushesLow ? code[0] - 0x50 : 8 + code[1] - 0x50;
        const uint8_t *last = unwind + 4 + 2 * (codes - 1);
        ASSERT_EQ(last[0], pushesLow ? 1 : 2) << std::hex << function.BeginAddress;
        ASSERT_EQ(last[1], pushed << 4) << std::hex << function.BeginAddress;
    }
}

} // namespace
} // namespace tonekit
