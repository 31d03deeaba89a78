// libav_functions_posix.cpp: finds libavformat and what it brings with it.
#include "host/libav/libav_functions.h"

#include "host/system/failure.h"
#include "host/system/memory_limit.h"

#include <algorithm>
#include <dlfcn.h>

namespace tonekit::host {

namespace {

struct Loaded {
    LibavFunctions functions;
    bool whole = false;

    Loaded()
    {
        // Of the headers' version: another one has other structures.
        const std::string name = "libavformat.so." + std::to_string(LIBAVFORMAT_VERSION_MAJOR);
        void *const library = dlopen(name.c_str(), RTLD_LAZY | RTLD_LOCAL);
        if (!library)
            return;
        whole = true;
        // The library's own needs are searched too.
#define TONEKIT_LIBAV_FIND(name)                                                                             \
    functions.name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name));                             \
    whole = whole && functions.name;
        TONEKIT_LIBAV_FUNCTIONS(TONEKIT_LIBAV_FIND)
#undef TONEKIT_LIBAV_FIND
        if (!whole)
            return;
        functions.av_log_set_level(AV_LOG_QUIET);
        functions.av_max_alloc(static_cast<size_t>(std::min<uint64_t>(MemoryLimit(), INT32_MAX)));
    }
};

} // namespace

const LibavFunctions &Libav()
{
    static const Loaded loaded;
    if (!loaded.whole)
        throw Failure("needs libavformat, which isn't there: install libavformat" +
                      std::to_string(LIBAVFORMAT_VERSION_MAJOR));
    return loaded.functions;
}

std::string LibavError(int error)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    Libav().av_strerror(error, text, sizeof(text));
    return text;
}

} // namespace tonekit::host
