// comma_locale_windows.cpp: locales that every Windows has.
#include "tests/support/comma_locale.h"

#include <clocale>
#include <cstring>
#include <initializer_list>

namespace tonekit {

CommaLocale::CommaLocale() : isSet_(false)
{
    for (const char *name : {"German_Germany.1252", "German", "French"})
        isSet_ = isSet_ ||
                 (std::setlocale(LC_ALL, name) && std::strcmp(std::localeconv()->decimal_point, ",") == 0);
}

CommaLocale::~CommaLocale()
{
    std::setlocale(LC_ALL, "C");
}

} // namespace tonekit
