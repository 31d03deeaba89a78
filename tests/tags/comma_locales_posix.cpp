// comma_locales_posix.cpp: installed locales, and one that the build makes in a folder of its own.
#include "tests/tags/comma_locales.h"

#include <cstdlib>

namespace tonekit {

std::vector<const char *> CommaLocales()
{
    setenv("LOCPATH", TONEKIT_TEST_LOCALES, 1);
    return {"de_DE.utf8", "de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"};
}

} // namespace tonekit
