// resample_lines.h: one pass of the resampler over many lines, the hot loop of the engine.
#pragma once

#include "image/contribution_list.h"

namespace tonekit {

// Lines of pixels to be resampled along their length: rows in the horizontal pass, columns in the vertical
// one. Steps are in pixels.
struct LinePass {
    const ContributionList *list;
    size_t lines;
    const uint32_t *source;
    size_t source_step;      // between positions of a line
    size_t source_line_step; // between lines
    uint32_t *target;
    size_t target_step;
    size_t target_line_step;
};

extern "C" void ResampleLines(const LinePass *pass);

} // namespace tonekit
