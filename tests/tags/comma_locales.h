// comma_locales.h: names of locales whose decimal point is a comma, as the system has them.
#pragma once

#include <vector>

namespace tonekit {

// Those that the build has made for the tests are among them.
std::vector<const char *> CommaLocales();

} // namespace tonekit
