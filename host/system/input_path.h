// input_path.h: what a name leads to that samples are to be read from.
#pragma once

#include <filesystem>
#include <string>

namespace tonekit::host {

// Why no file can be read by this name, before it is opened, which waits where it is that of a pipe; empty
// if one can.
std::string ReasonNotToRead(const std::filesystem::path &path);

} // namespace tonekit::host
