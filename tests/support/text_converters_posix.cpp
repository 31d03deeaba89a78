// text_converters_posix.cpp: passes calls of iconv on, and counts the converters that are open.
#include "tests/support/dependency_calls.h"

#include <atomic>
#include <iconv.h>

extern "C" {
iconv_t __real_iconv_open(const char *to, const char *from);
iconv_t __wrap_iconv_open(const char *to, const char *from);
int __real_iconv_close(iconv_t converter);
int __wrap_iconv_close(iconv_t converter);
}

namespace tonekit {

namespace {

std::atomic<int64_t> textConverters{0};

} // namespace

int64_t LiveTextConverters()
{
    return textConverters;
}

} // namespace tonekit

iconv_t __wrap_iconv_open(const char *to, const char *from)
{
    const iconv_t converter = __real_iconv_open(to, from);
    tonekit::textConverters += converter != reinterpret_cast<iconv_t>(-1);
    return converter;
}

int __wrap_iconv_close(iconv_t converter)
{
    --tonekit::textConverters;
    return __real_iconv_close(converter);
}
