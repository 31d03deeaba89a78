// comma_locales_windows.cpp: locales that every Windows has.
#include "tests/tags/comma_locales.h"

namespace tonekit {

std::vector<const char *> CommaLocales()
{
    return {"German_Germany.1252", "German", "French"};
}

} // namespace tonekit
