// platform_windows.cpp: the platform seam on Windows.
#include "frame/platform.h"

#include <stdlib.h>
#include <windows.h>

namespace tonekit {

AutoResetEvent *CreateSignalledEvent()
{
    return reinterpret_cast<AutoResetEvent *>(CreateEventA(nullptr, FALSE, TRUE, nullptr));
}

void WaitForEvent(AutoResetEvent *event)
{
    WaitForSingleObject(reinterpret_cast<HANDLE>(event), INFINITE);
}

void SignalEvent(AutoResetEvent *event)
{
    SetEvent(reinterpret_cast<HANDLE>(event));
}

void CloseEvent(AutoResetEvent *event)
{
    CloseHandle(reinterpret_cast<HANDLE>(event));
}

namespace {

// The compiler's own thread-local memory ends the process if it can't be allocated.
DWORD ThreadSlot()
{
    static const DWORD slot = TlsAlloc();
    return slot;
}

} // namespace

bool SetThreadPointer(void *pointer)
{
    return ThreadSlot() != TLS_OUT_OF_INDEXES && TlsSetValue(ThreadSlot(), pointer) != 0;
}

void *ThreadPointer()
{
    return TlsGetValue(ThreadSlot());
}

std::FILE *OpenForReading(const tonekit_char16 *path)
{
    if (!path)
        return nullptr;
    std::FILE *file = nullptr;
    if (_wfopen_s(&file, path, L"rb") != 0)
        return nullptr;
    return file;
}

} // namespace tonekit
