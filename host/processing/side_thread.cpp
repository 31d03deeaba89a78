// side_thread.cpp: starts and ends the thread.
#include "host/processing/side_thread.h"

#include <system_error>
#include <utility>

namespace tonekit::host {

void SideThread::Start(std::function<void()> work)
{
    try {
        thread_ = std::thread(std::move(work));
    } catch (const std::system_error &) {
        // The system starts no more.
    }
}

void SideThread::Stop()
{
    if (!runs())
        return;
    {
        const std::lock_guard lock(mutex);
        stopped = true;
    }
    changed.notify_all();
    Join();
}

void SideThread::Join()
{
    if (runs())
        thread_.join();
}

} // namespace tonekit::host
