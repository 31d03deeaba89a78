// json.h: JSON as the program prints it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace tonekit::host {

// Members keep the order in which they are added.
using Json = nlohmann::ordered_json;

// The text of a value, two blanks deeper for each level. Ill-formed UTF-8 in strings becomes U+FFFD, numbers
// that JSON lacks become null, and control characters are escaped, so that a terminal doesn't obey them.
std::string JsonText(const Json &value);
// The same in one line.
std::string JsonLine(const Json &value);

} // namespace tonekit::host
