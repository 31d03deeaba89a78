// environment_windows.cpp: variables of the environment on Windows, as its C library sees them.
#include "tests/support/environment.h"

#include <stdlib.h>
#include <string>

namespace tonekit {

void SetVariable(const char *name, const char *value)
{
    _putenv((std::string(name) + "=" + value).c_str());
}

void RemoveVariable(const char *name)
{
    SetVariable(name, "");
}

} // namespace tonekit
