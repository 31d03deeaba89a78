// library_memory_none.cpp: for systems and builds whose heap the program can't take the place of.
#include "host/system/library_memory.h"

namespace tonekit::host {

CheckedLibraryMemory::CheckedLibraryMemory() = default;
CheckedLibraryMemory::~CheckedLibraryMemory() = default;

} // namespace tonekit::host
