// shared_settings.h: the library's process-wide settings, for conversions that want different ones at a time.
#pragma once

#include "host/command_line/options.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace tonekit::host {

// A setting of the process that any number of threads hold at once as long as they need the same value. A
// thread that needs another one waits until they are done, after those that asked before it. While no thread
// holds it, the setting has its resting value.
class SharedSetting {
public:
    using Setter = void (*)(uint32_t value);

    SharedSetting(Setter set, uint32_t resting) : set_(set), resting_(resting) {}
    SharedSetting(const SharedSetting &) = delete;
    SharedSetting &operator=(const SharedSetting &) = delete;

    void Hold(uint32_t value);
    void Release();

    // Waits until no thread holds the setting, and lets none hold it before Resume, which the same thread
    // calls: for a process that forks, whose child has no other threads that could release it.
    void Pause();
    void Resume();

private:
    const Setter set_;
    const uint32_t resting_;
    std::mutex turn_;
    std::mutex mutex_;
    std::condition_variable free_;
    uint32_t holders_ = 0;
    uint32_t value_ = 0;
};

// Holds a setting for the length of a block; a thread that holds one must not wait for the same one again.
class SettingHold {
public:
    SettingHold(SharedSetting &setting, uint32_t value) : setting_(setting) { setting_.Hold(value); }
    SettingHold(const SettingHold &) = delete;
    SettingHold &operator=(const SettingHold &) = delete;
    ~SettingHold() { setting_.Release(); }

private:
    SharedSetting &setting_;
};

// What a converter reads when it is made: the filter and aliasing.
SharedSetting &CreationSetting();
uint32_t CreationValue(const Options &options);

// What running converters read at each block.
SharedSetting &DitherModeSetting();
SharedSetting &HdcdGainSetting();

// Pauses and resumes all of them.
void PauseSettings();
void ResumeSettings();

} // namespace tonekit::host
