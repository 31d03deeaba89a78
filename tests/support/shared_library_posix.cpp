// shared_library_posix.cpp: shared libraries by the dynamic linker.
#include "tests/support/shared_library.h"

#include <dlfcn.h>
#include <stdexcept>

namespace tonekit {

SharedLibrary::SharedLibrary(const std::string &path) : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
{
    if (!handle_)
        throw std::runtime_error(dlerror());
}

SharedLibrary::~SharedLibrary()
{
#ifndef __SANITIZE_THREAD__ // whose atexit calls a library's functions when the program ends, gone or not
    dlclose(handle_);
#endif
}

void *SharedLibrary::Address(const std::string &name) const
{
    return dlsym(handle_, name.c_str());
}

} // namespace tonekit
