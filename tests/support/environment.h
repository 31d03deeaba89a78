// environment.h: variables of the environment, for tests of what must not be influenced by them.
#pragma once

namespace tonekit {

void SetVariable(const char *name, const char *value);
void RemoveVariable(const char *name);

} // namespace tonekit
