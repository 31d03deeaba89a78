// failing_heaps_windows.cpp: takes the place of the local and global heaps for the program's objects.
#include "tests/support/allocation_count.h"

#include <windows.h>

// The linker puts these pointers in the place of the import library's.
extern "C" {
extern HLOCAL(WINAPI *__real___imp_LocalAlloc)(UINT, SIZE_T);
extern HLOCAL(WINAPI *__real___imp_LocalFree)(HLOCAL);
extern HGLOBAL(WINAPI *__real___imp_GlobalAlloc)(UINT, SIZE_T);
extern HGLOBAL(WINAPI *__real___imp_GlobalFree)(HGLOBAL);
}

namespace tonekit {
namespace {

HLOCAL WINAPI CountedLocalAlloc(UINT flags, SIZE_T bytes)
{
    return CountRequest() ? nullptr : CountGiven(__real___imp_LocalAlloc(flags, bytes));
}

HLOCAL WINAPI CountedLocalFree(HLOCAL memory)
{
    CountReturned(memory);
    return __real___imp_LocalFree(memory);
}

HGLOBAL WINAPI CountedGlobalAlloc(UINT flags, SIZE_T bytes)
{
    return CountRequest() ? nullptr : CountGiven(__real___imp_GlobalAlloc(flags, bytes));
}

HGLOBAL WINAPI CountedGlobalFree(HGLOBAL memory)
{
    CountReturned(memory);
    return __real___imp_GlobalFree(memory);
}

} // namespace
} // namespace tonekit

extern "C" {
HLOCAL(WINAPI *__wrap___imp_LocalAlloc)(UINT, SIZE_T) = tonekit::CountedLocalAlloc;
HLOCAL(WINAPI *__wrap___imp_LocalFree)(HLOCAL) = tonekit::CountedLocalFree;
HGLOBAL(WINAPI *__wrap___imp_GlobalAlloc)(UINT, SIZE_T) = tonekit::CountedGlobalAlloc;
HGLOBAL(WINAPI *__wrap___imp_GlobalFree)(HGLOBAL) = tonekit::CountedGlobalFree;
}
