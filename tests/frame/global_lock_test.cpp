// global_lock_test.cpp: the ownerless, uncounted lock for callers.
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <tonekit/frame.h>

namespace {

using namespace std::chrono_literals;

TEST(GlobalLock, UnlocksAreNotCounted)
{
    ffmpeg_global_unlock();
    ffmpeg_global_unlock();
    ffmpeg_global_lock();
    std::atomic<bool> second{false};
    std::thread waiter([&] {
        ffmpeg_global_lock();
        second = true;
    });
    std::this_thread::sleep_for(100ms);
    EXPECT_FALSE(second) << "the second lock must wait";
    ffmpeg_global_unlock();
    waiter.join();
    EXPECT_TRUE(second);
    ffmpeg_global_unlock();
}

TEST(GlobalLock, AnotherThreadMayUnlock)
{
    ffmpeg_global_lock();
    std::thread(ffmpeg_global_unlock).join();
    ffmpeg_global_lock();
    ffmpeg_global_unlock();
}

TEST(GlobalLock, LetsOneThreadInAtATime)
{
    constexpr int kRounds = 20000;
    int plainCounter = 0;
    auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            ffmpeg_global_lock();
            ++plainCounter;
            ffmpeg_global_unlock();
        }
    };
    std::thread first(work);
    std::thread second(work);
    std::thread third(work);
    first.join();
    second.join();
    third.join();
    EXPECT_EQ(plainCounter, 3 * kRounds);
}

TEST(GlobalLock, OneUnlockLetsOneWaiterThrough)
{
    ffmpeg_global_lock();
    std::atomic<int> through{0};
    auto wait = [&] {
        ffmpeg_global_lock();
        ++through;
    };
    std::thread first(wait);
    std::thread second(wait);
    std::this_thread::sleep_for(50ms);
    ffmpeg_global_unlock();
    while (through == 0)
        std::this_thread::sleep_for(1ms);
    std::this_thread::sleep_for(100ms);
    EXPECT_EQ(through, 1);
    ffmpeg_global_unlock();
    first.join();
    second.join();
    ffmpeg_global_unlock();
}

} // namespace
