// processor_x86.cpp: asks an x86-64 processor for its identification; the same on every system.
#include "frame/platform.h"

#include <cpuid.h>
#include <cstring>

namespace tonekit {

namespace {

constexpr uint32_t kOsxsave = 1u << 27; // leaf 1 ECX: XGETBV may be used

uint64_t ReadXcr0()
{
    uint32_t low = 0;
    uint32_t high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (uint64_t{high} << 32) | low;
}

} // namespace

ProcessorAnswers AskProcessor()
{
    ProcessorAnswers answers;
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    if (__get_cpuid(0, &eax, &ebx, &ecx, &edx)) {
        std::memcpy(answers.vendor + 0, &ebx, 4);
        std::memcpy(answers.vendor + 4, &edx, 4);
        std::memcpy(answers.vendor + 8, &ecx, 4);
    }
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx)) {
        answers.leaf1Ecx = ecx;
        answers.leaf1Edx = edx;
    }
    if (__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx))
        answers.leaf7Ebx = ebx;
    if (__get_cpuid(0x80000001u, &eax, &ebx, &ecx, &edx))
        answers.extended1Ecx = ecx;
    if (answers.leaf1Ecx & kOsxsave)
        answers.xcr0 = ReadXcr0();
    return answers;
}

} // namespace tonekit
