// file_part.h: a stretch of a file's audio.
#pragma once

#include <cstdint>
#include <optional>

namespace tonekit::host {

// From one position to another, which doesn't belong to it any longer, in units of 100 ns. Each position
// means the frame nearest to it. Without an end it reaches to that of the file.
struct FilePart {
    uint64_t start = 0;
    std::optional<uint64_t> end;
};

} // namespace tonekit::host
