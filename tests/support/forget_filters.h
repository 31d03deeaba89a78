// forget_filters.h: lets a test begin with filters of resamplers that don't concern it.
#pragma once

#include <initializer_list>
#include <tonekit/convert.h>

namespace tonekit {

// Makes converters of so many rates of its own that no other filters are kept, and always the same ones.
inline void ForgetFilters()
{
    for (const uint32_t rate : {9001u, 9002u, 9003u, 9004u, 9005u, 9006u, 9007u, 9008u})
        SRC4_Deinit(SRC4_Init(0, 16, 1, 9000, 0, 16, 1, rate, false, false, 0, 0));
}

} // namespace tonekit
