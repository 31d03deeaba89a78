// global_lock.cpp: the process-wide lock for callers, an ownerless auto-reset event.
#include "frame/global_lock.h"

#include "frame/platform.h"

namespace tonekit {

namespace {

AutoResetEvent *globalEvent = nullptr;

} // namespace

void CreateGlobalLock()
{
    globalEvent = CreateSignalledEvent();
}

void CloseGlobalLock()
{
    if (globalEvent)
        CloseEvent(globalEvent);
    globalEvent = nullptr;
}

} // namespace tonekit

void ffmpeg_global_lock(void)
{
    if (tonekit::globalEvent)
        tonekit::WaitForEvent(tonekit::globalEvent);
}

void ffmpeg_global_unlock(void)
{
    if (tonekit::globalEvent)
        tonekit::SignalEvent(tonekit::globalEvent);
}
