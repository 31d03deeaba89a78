// side_thread.h: a thread that works for an object, and what both wait with.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace tonekit::host {

// The owner ends it before what the work uses is gone.
class SideThread {
public:
    SideThread() = default;
    SideThread(const SideThread &) = delete;
    SideThread &operator=(const SideThread &) = delete;
    ~SideThread() { Stop(); }

    // Where the system starts no more threads, nothing happens.
    void Start(std::function<void()> work);
    // Whether it was started and is not ended.
    bool runs() const { return thread_.joinable(); }
    // Asks the work to end, and waits until it has.
    void Stop();
    // Waits until the work has ended by itself.
    void Join();

    std::mutex mutex; // of what follows, and of what the owner shares with the work
    std::condition_variable changed;
    bool stopped = false; // the work is to end

private:
    std::thread thread_;
};

} // namespace tonekit::host
