// hdcd_log.cpp: the log sink, and gains as messages show them.
#include "hdcd/hdcd_log.h"

#include <cstdio>

namespace tonekit {

static void WriteToStandardError(void *, const char *format, std::va_list arguments)
{
    std::vfprintf(stderr, format, arguments);
}

HdcdLogSink DisabledHdcdLogSink()
{
    return {kHdcdLogRecord, 0, nullptr, WriteToStandardError};
}

extern "C" void hdcd_log_write(const HdcdLogSink *log, const char *format, ...)
{
    if (!log || log->enable == 0)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    log->callback(log->priv, format, arguments);
    va_end(arguments);
}

float HdcdTargetGainDecibels(int32_t value)
{
    return HdcdGainDecibels(value * kHdcdGainStep);
}

float HdcdGainDecibels(int32_t gain)
{
    if (gain < kHdcdGainStep)
        return 0.0f;
    return -static_cast<float>(gain >> 8) - ((gain & kHdcdGainStep) != 0 ? 0.5f : 0.0f);
}

} // namespace tonekit
