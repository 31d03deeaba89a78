// environment_posix.cpp: variables of the environment on POSIX systems.
#include "tests/support/environment.h"

#include <stdlib.h>

namespace tonekit {

void SetVariable(const char *name, const char *value)
{
    setenv(name, value, 1);
}

void RemoveVariable(const char *name)
{
    unsetenv(name);
}

} // namespace tonekit
