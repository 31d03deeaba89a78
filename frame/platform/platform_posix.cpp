// platform_posix.cpp: the platform seam on POSIX systems.
#include "frame/platform.h"

#include "frame/utf16.h"

#include <atomic>
#include <new>
#include <string>

namespace tonekit {

// The futex of an atomic's wait needs no destruction, so a thread that still waits when the process ends
// can't hold up the end, as it would with a condition variable.
struct AutoResetEvent {
    std::atomic<uint32_t> signalled{1};
};

AutoResetEvent *CreateSignalledEvent()
{
    return new (std::nothrow) AutoResetEvent;
}

void WaitForEvent(AutoResetEvent *event)
{
    while (event->signalled.exchange(0, std::memory_order_acquire) == 0)
        event->signalled.wait(0, std::memory_order_relaxed);
}

void SignalEvent(AutoResetEvent *event)
{
    event->signalled.store(1, std::memory_order_release);
    event->signalled.notify_one();
}

void CloseEvent(AutoResetEvent *event)
{
    delete event;
}

namespace {

// In the part of a thread's memory that is there from its start: the other part is allocated on first use,
// and the process ends if that fails.
__attribute__((tls_model("initial-exec"))) thread_local void *threadPointer = nullptr;

} // namespace

bool SetThreadPointer(void *pointer)
{
    threadPointer = pointer;
    return true;
}

void *ThreadPointer()
{
    return threadPointer;
}

namespace {

void AppendUtf8(std::string &bytes, char32_t character)
{
    if (character < 0x80) {
        bytes += static_cast<char>(character);
        return;
    }
    const int trailing = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr unsigned char kLead[] = {0, 0xC0, 0xE0, 0xF0};
    bytes += static_cast<char>(kLead[trailing] | (character >> (6 * trailing)));
    for (int rest = trailing - 1; rest >= 0; --rest)
        bytes += static_cast<char>(0x80 | ((character >> (6 * rest)) & 0x3F));
}

} // namespace

std::FILE *OpenForReading(const tonekit_char16 *path)
{
    if (!path)
        return nullptr;
    const tonekit_char16 *const end = path + std::char_traits<tonekit_char16>::length(path);
    std::string name;
    while (path < end)
        AppendUtf8(name, NextCharacter(path, end));
    return std::fopen(name.c_str(), "rbe");
}

} // namespace tonekit
