// detection.h: the summary of what a stream has shown, and its text.
#pragma once

#include "hdcd/hdcd_state.h"

#include <cstddef>

namespace tonekit {

// HdcdDetection::detected
enum : uint32_t { kHdcdNotDetected = 0, kHdcdWithoutEffect = 1, kHdcdEffective = 2 };

void ResetDetection(HdcdDetection *detection);

// Sums both channels up, after each block.
void UpdateDetection(HdcdDecoder *decoder);

// The values of `detected`, for a caller's display.
extern const char *const HdcdDetectedText[3];

// Writes the summary as text within size bytes. The text for no detection, "HDCD detected: no", is written
// with its terminator, 18 bytes, whatever the size: a buffer is never smaller. A null detection writes
// nothing. The text does not depend on the locale.
extern "C" void hdcd_detection_text(const HdcdDetection *detection, char *text, size_t size);

} // namespace tonekit
