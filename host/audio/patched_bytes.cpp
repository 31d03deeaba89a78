// patched_bytes.cpp: reads the file's bytes, and puts others over them.
#include "host/audio/patched_bytes.h"

#include <algorithm>
#include <cstring>

namespace tonekit::host {

std::error_code PatchedBytes::Read(void *buffer, size_t size, size_t &got)
{
    got = 0;
    uint64_t start = 0;
    if (const std::error_code error = file_.Tell(start))
        return error;
    const std::error_code error = file_.Read(buffer, size, got);
    const uint64_t end = start + got;
    auto patch = std::partition_point(patches_.begin(), patches_.end(), [&](const Patch &one) {
        return one.position + one.bytes.size() <= start;
    });
    for (; patch != patches_.end() && patch->position < end; ++patch) {
        const uint64_t from = std::max(start, patch->position);
        const uint64_t to = std::min(end, patch->position + patch->bytes.size());
        std::memcpy(static_cast<char *>(buffer) + (from - start), &patch->bytes[from - patch->position],
                    static_cast<size_t>(to - from));
    }
    return error;
}

std::error_code PatchedBytes::Write(const void *, size_t)
{
    return std::make_error_code(std::errc::not_supported);
}

} // namespace tonekit::host
