// settings.cpp: the process-wide settings. Relaxed atomics: as cheap as plain variables, and free of data
// races.
#include "frame/settings.h"

#include <atomic>
#include <tonekit/frame.h>

namespace tonekit {

namespace {

template <class Value>
class Setting {
public:
    constexpr explicit Setting(Value initial) : value_(initial) {}
    Value Get() const { return value_.load(std::memory_order_relaxed); }
    void Set(Value value) { value_.store(value, std::memory_order_relaxed); }
    void SetIfBelow(Value limit, Value value)
    {
        if (value < limit)
            Set(value);
    }

private:
    std::atomic<Value> value_;
};

Setting<uint32_t> resamplerMode{0};
Setting<uint8_t> resamplerAliasing{0};
Setting<uint32_t> ditherEnable{0};
Setting<uint32_t> ditherMode{1};
Setting<uint32_t> dsdPcmQuality{0};
Setting<uint32_t> dsdPcmGain{6};
Setting<uint32_t> hdcdGain{6};
Setting<uint8_t> loudnessControlEnabled{0};
Setting<uint32_t> loudnessControlTarget{96};
Setting<uint32_t> loudnessControlEffect{0};

} // namespace

uint32_t ResamplerMode()
{
    return resamplerMode.Get();
}

uint8_t ResamplerAliasing()
{
    return resamplerAliasing.Get();
}

uint32_t DitherEnabled()
{
    return ditherEnable.Get();
}

uint32_t DitherMode()
{
    return ditherMode.Get();
}

} // namespace tonekit

using namespace tonekit;

void SetSampleRateConverterParameters2(uint32_t mode, uint8_t aliasing)
{
    // Unlike every other checked setter, an unknown mode does not keep the old one.
    resamplerMode.Set(mode < 3 ? mode : 0);
    resamplerAliasing.Set(aliasing);
}

void SetDitherParameters(uint32_t enable, uint32_t mode)
{
    ditherEnable.Set(enable);
    ditherMode.SetIfBelow(3, mode);
}

void SetDSDPCMQuality(uint32_t quality)
{
    dsdPcmQuality.SetIfBelow(2, quality);
}

uint32_t GetDSDPCMQuality(void)
{
    return dsdPcmQuality.Get();
}

void SetDSDPCMGain(uint32_t gain)
{
    dsdPcmGain.SetIfBelow(7, gain);
}

uint32_t GetDSDPCMGain(void)
{
    return dsdPcmGain.Get();
}

void SetHDCDGain(uint32_t gain)
{
    hdcdGain.SetIfBelow(7, gain);
}

uint32_t GetHDCDGain(void)
{
    return hdcdGain.Get();
}

void XHEAAC_DRC_Enable(uint8_t enable)
{
    loudnessControlEnabled.Set(enable);
}

uint32_t XHEAAC_DRC_Enabled(void)
{
    return loudnessControlEnabled.Get();
}

void XHEAAC_DRC_Set_Loudness(uint32_t loudness)
{
    loudnessControlTarget.Set(loudness);
}

uint32_t XHEAAC_DRC_Get_Loudness(void)
{
    return loudnessControlTarget.Get();
}

void XHEAAC_DRC_Set_Effect(uint32_t effect)
{
    loudnessControlEffect.Set(effect);
}

uint32_t XHEAAC_DRC_Get_Effect(void)
{
    return loudnessControlEffect.Get();
}

void InitializeUltraHD(void) {}

void SetUltraHDQuality(void) {}
