// exported_names.h: the export table of the finished library.
#pragma once

#include <set>
#include <string>

namespace tonekit {

// The names in the library's export table. A name that isn't exported as the platform has it, such as one
// without its version or one that forwards to another library, carries a remark and so equals no name.
std::set<std::string> ExportedNames();

} // namespace tonekit
