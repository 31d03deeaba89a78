// shared_library_windows.cpp: shared libraries by the loader.
#include "tests/support/shared_library.h"

#include <filesystem>
#include <stdexcept>
#include <windows.h>

namespace tonekit {

SharedLibrary::SharedLibrary(const std::string &path)
    : handle_(LoadLibraryW(std::filesystem::path(path).make_preferred().c_str()))
{
    if (!handle_)
        throw std::runtime_error(path + " can't be loaded");
}

SharedLibrary::~SharedLibrary()
{
    FreeLibrary(static_cast<HMODULE>(handle_));
}

void *SharedLibrary::Address(const std::string &name) const
{
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(handle_), name.c_str()));
}

} // namespace tonekit
