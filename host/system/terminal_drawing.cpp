// terminal_drawing.cpp: lines in the place of earlier ones.
#include "host/system/terminal_drawing.h"

namespace tonekit::host {

namespace {

constexpr char kClearLineRest[] = "\x1b[K";
constexpr char kClearBelow[] = "\x1b[J";
constexpr char kNoBreaks[] = "\x1b[?7l";
constexpr char kBreaks[] = "\x1b[?7h";

} // namespace

std::string TerminalDrawing(const std::vector<std::string> &lines)
{
    std::string drawing = "\r";
    if (lines.empty())
        return drawing + kClearBelow;
    drawing += kNoBreaks;
    for (size_t i = 0; i < lines.size(); ++i)
        drawing += (i > 0 ? "\r\n" : "") + lines[i] + kClearLineRest;
    drawing += std::string(kClearBelow) + kBreaks + "\r";
    if (lines.size() > 1)
        drawing += "\x1b[" + std::to_string(lines.size() - 1) + "A";
    return drawing;
}

} // namespace tonekit::host
