// exported_names_windows.cpp: the export table of the library's image in memory.
#include "tests/abi/exported_names.h"

#include "tests/support/shared_library.h"

#include <windows.h>

namespace tonekit {

std::set<std::string> ExportedNames()
{
    const SharedLibrary library(TONEKIT_LIBRARY);
    const auto *image = static_cast<const char *>(library.handle()); // a module is known by its address
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(image);
    const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(image + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY &place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto *exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY *>(image + place.VirtualAddress);
    const auto *names = reinterpret_cast<const DWORD *>(image + exports->AddressOfNames);
    const auto *ordinals = reinterpret_cast<const WORD *>(image + exports->AddressOfNameOrdinals);
    const auto *functions = reinterpret_cast<const DWORD *>(image + exports->AddressOfFunctions);
    std::set<std::string> result;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        // An address inside the table itself is the text of a forwarder.
        const bool forwards = functions[ordinals[i]] - place.VirtualAddress < place.Size;
        result.insert(image + names[i] + std::string(forwards ? " (a forwarder)" : ""));
    }
    if (exports->NumberOfFunctions != exports->NumberOfNames)
        result.insert("(exports without names)");
    return result;
}

} // namespace tonekit
