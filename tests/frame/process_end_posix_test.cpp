// process_end_posix_test.cpp: what the library does when its process ends.
#include <cstdlib>
#include <gtest/gtest.h>
#include <tonekit/frame.h>
#include <unistd.h>

namespace {

bool watchesTheEnd = false;

// Runs after all that was registered with atexit.
[[gnu::destructor]] void TryTheLock()
{
    if (!watchesTheEnd)
        return;
    alarm(20); // ends a program that waits for a lock that is still there
    ffmpeg_global_lock();
    ffmpeg_global_lock();
    ffmpeg_global_unlock();
    constexpr char kClosed[] = "neither call waited";
    if (write(STDERR_FILENO, kClosed, sizeof kClosed - 1) < 0)
        _exit(9);
}

TEST(ProcessEndDeathTest, ClosesTheGlobalLock)
{
    EXPECT_EXIT(
        {
            watchesTheEnd = true;
            std::exit(3);
        },
        testing::ExitedWithCode(3), "neither call waited");
}

TEST(ProcessEndDeathTest, DoesNotWaitForALockThatIsHeld)
{
    EXPECT_EXIT(
        {
            watchesTheEnd = true;
            ffmpeg_global_lock();
            std::exit(3);
        },
        testing::ExitedWithCode(3), "neither call waited");
}

} // namespace
