// completeness.h: finds out whether an audio file or stream was cut off, by what its header promises.
#pragma once

#include "host/system/pipe_input.h"
#include "host/system/platform.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tonekit::host {

// How many bytes are missing at the end of the file; 0 if nothing is, if its header doesn't say how long it
// is, or if it is of a kind that isn't looked at here. The header begins at `start`. The file's position is
// left anywhere. Throws std::system_error if the system fails.
uint64_t MissingBytes(ByteStream &file, uint64_t start = 0);

// "the file is cut off: its last 12 bytes are missing"; of a single byte only that it is cut off.
std::string CutOffText(uint64_t missing);

inline constexpr size_t kLargestOggPage = 27 + 255 + 255 * 255;
// Whether the last page of an Ogg stream is complete and marked as the end. Needs at least its last
// kLargestOggPage bytes, or all of a shorter one.
bool EndsOgg(std::span<const unsigned char> tail);

// Throws Failure, with the name in front, if an Ogg stream came to its end without that page. Checks nothing
// if the stream doesn't keep its tail.
void CheckOggEnd(const PipeInput &stream, const std::string &name);

} // namespace tonekit::host
