// shared_settings.cpp: threads take turns with the library's process-wide settings.
#include "host/processing/shared_settings.h"

#include <tonekit/frame.h>

namespace tonekit::host {

namespace {

constexpr uint32_t kFilterMask = 0xFF;
constexpr uint32_t kAliasing = 0x100;

constexpr uint32_t kLeaveMode = UINT32_MAX; // no dither mode: the one in force stays
constexpr uint32_t kFirstMode = 1;          // the dither mode of a new process
constexpr uint32_t kFirstGain = 6;          // the HDCD gain of a new process

void SetForCreation(uint32_t value)
{
    SetSampleRateConverterParameters2(value & kFilterMask, value & kAliasing ? 1 : 0);
    SetDitherParameters(1, kLeaveMode);
}

// Dither is always allowed: every converter says for itself whether it dithers.
void SetMode(uint32_t mode)
{
    SetDitherParameters(1, mode);
}

} // namespace

void SharedSetting::Hold(uint32_t value)
{
    const std::lock_guard<std::mutex> turn(turn_);
    std::unique_lock<std::mutex> lock(mutex_);
    free_.wait(lock, [&] { return holders_ == 0 || value_ == value; });
    if (holders_ == 0 || value_ != value)
        set_(value);
    value_ = value;
    ++holders_;
}

void SharedSetting::Release()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (--holders_ > 0)
        return;
    set_(resting_);
    free_.notify_one();
}

void SharedSetting::Pause()
{
    turn_.lock();
    std::unique_lock<std::mutex> lock(mutex_);
    free_.wait(lock, [&] { return holders_ == 0; });
    lock.release(); // stays locked
}

void SharedSetting::Resume()
{
    mutex_.unlock();
    turn_.unlock();
}

SharedSetting &CreationSetting()
{
    static SharedSetting setting(SetForCreation, 0);
    return setting;
}

uint32_t CreationValue(const Options &options)
{
    return static_cast<uint32_t>(options.filter) | (options.aliasing ? kAliasing : 0);
}

SharedSetting &DitherModeSetting()
{
    static SharedSetting setting(SetMode, kFirstMode);
    return setting;
}

SharedSetting &HdcdGainSetting()
{
    static SharedSetting setting(SetHDCDGain, kFirstGain);
    return setting;
}

// In the order in which a converter holds them.
void PauseSettings()
{
    CreationSetting().Pause();
    DitherModeSetting().Pause();
    HdcdGainSetting().Pause();
}

void ResumeSettings()
{
    HdcdGainSetting().Resume();
    DitherModeSetting().Resume();
    CreationSetting().Resume();
}

} // namespace tonekit::host
