// kept_filters.h: the filters of libsoxr resamplers, kept for the next resamplers that are alike.
//
// Filters depend on the rates and the quality alone and don't change once they are made. All resamplers in
// use share them, and those used last stay when their resamplers are gone.
#pragma once

namespace tonekit {

// Releases filters.
using DropFilters = void (*)(void *filters);

// Ends one use of filters that tonekit_soxr_take_filters returned.
void GiveBackFilters(void *filters, DropFilters drop);

} // namespace tonekit
