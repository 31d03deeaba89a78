// shared_settings_test.cpp: threads that want different settings at a time.
#include "host/processing/shared_settings.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace tonekit::host {
namespace {

constexpr uint32_t kResting = 77;
std::atomic<uint32_t> inForce{kResting};

void SetInForce(uint32_t value)
{
    inForce = value;
}

TEST(SharedSetting, RestsWhenNobodyHoldsIt)
{
    SharedSetting setting(SetInForce, kResting);
    setting.Hold(3);
    EXPECT_EQ(inForce, 3u);
    setting.Hold(3);
    setting.Release();
    EXPECT_EQ(inForce, 3u) << "one holder is left";
    setting.Release();
    EXPECT_EQ(inForce, kResting);
}

TEST(SharedSetting, KeepsTheValueOfEveryHolderWhileItHolds)
{
    SharedSetting setting(SetInForce, kResting);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 6; ++thread)
        threads.emplace_back([&, value = thread % 3] {
            for (int turn = 0; turn < 300; ++turn) {
                const SettingHold hold(setting, value);
                wrong += inForce != value;
                std::this_thread::yield();
                wrong += inForce != value;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(inForce, kResting);
}

TEST(SharedSetting, HoldersOfOneValueDontWaitForEachOther)
{
    SharedSetting setting(SetInForce, kResting);
    const SettingHold first(setting, 5);
    std::thread([&] { const SettingHold second(setting, 5); }).join();
    EXPECT_EQ(inForce, 5u);
}

TEST(SharedSetting, PausesWhenNobodyHoldsItAndLetsNobodyInMeanwhile)
{
    SharedSetting setting(SetInForce, kResting);
    std::atomic<bool> released{false};
    std::atomic<bool> started{false};
    std::thread holder([&] {
        setting.Hold(3);
        started = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        released = true;
        setting.Release();
    });
    while (!started)
        std::this_thread::yield();
    setting.Pause();
    EXPECT_TRUE(released);
    EXPECT_EQ(inForce, kResting);
    std::thread next([&] { const SettingHold hold(setting, 4); });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_EQ(inForce, kResting);
    setting.Resume();
    holder.join();
    next.join();
    const SettingHold after(setting, 5);
    EXPECT_EQ(inForce, 5u);
}

TEST(SharedSettings, TellFilterAndAliasingApart)
{
    Options options;
    const uint32_t plain = CreationValue(options);
    options.filter = Filter::Steep;
    const uint32_t steep = CreationValue(options);
    options.aliasing = true;
    EXPECT_EQ(plain, 0u);
    EXPECT_NE(steep, plain);
    EXPECT_NE(CreationValue(options), steep);
}

} // namespace
} // namespace tonekit::host
