// shared_library.h: a shared library loaded by its path at run time.
#pragma once

#include <string>

namespace tonekit {

class SharedLibrary {
public:
    // Throws std::runtime_error if the library can't be loaded.
    explicit SharedLibrary(const std::string &path);
    ~SharedLibrary();
    SharedLibrary(const SharedLibrary &) = delete;
    SharedLibrary &operator=(const SharedLibrary &) = delete;

    // Null if there is no such export.
    void *Address(const std::string &name) const;

    // What the system knows the library by.
    void *handle() const { return handle_; }

private:
    void *handle_;
};

} // namespace tonekit
