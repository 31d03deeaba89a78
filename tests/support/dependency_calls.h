// dependency_calls.h: counts what the library holds of the libraries it links with, and shows what it asks
// for.
//
// Test programs are linked so that the calls below of the objects in the program, the library's own among
// them, come here first: what libsoxr, libebur128 and iconv hold for them is memory of their own, which no
// count of the library's allocations sees.
#pragma once

#include <cstdint>
#include <soxr.h>
#include <vector>

namespace tonekit {

// Resamplers, loudness states and open converters of texts that have not been released.
int64_t LiveResamplers();
int64_t LiveLoudnessStates();
int64_t LiveTextConverters(); // 0 where the system converts texts otherwise

// One soxr_create: its arguments, and whether a resampler came of it.
struct ResamplerRequest {
    double inputRate, outputRate;
    unsigned channels;
    bool asksForError;
    soxr_io_spec_t io;
    soxr_quality_spec_t quality;
    bool hasRuntime;
    bool accepted;
};

// Appends each request from now on to *requests; null ends that. For one thread.
void RecordResamplers(std::vector<ResamplerRequest> *requests);

} // namespace tonekit
