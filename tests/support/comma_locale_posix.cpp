// comma_locale_posix.cpp: the locale that the build makes in a folder of its own.
#include "tests/support/comma_locale.h"

#include <clocale>
#include <cstdlib>
#include <cstring>

namespace tonekit {

CommaLocale::CommaLocale()
{
    setenv("LOCPATH", TONEKIT_TEST_LOCALES, 1);
    isSet_ = std::setlocale(LC_ALL, "de_DE.utf8") && std::strcmp(std::localeconv()->decimal_point, ",") == 0;
    unsetenv("LOCPATH");
}

CommaLocale::~CommaLocale()
{
    std::setlocale(LC_ALL, "C");
}

} // namespace tonekit
