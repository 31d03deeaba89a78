// platform.cpp: what the platform's services do alike on every system.
#include "host/system/platform.h"

#include <utility>

namespace tonekit::host {

File::File(File &&other) noexcept
    : handle_(std::exchange(other.handle_, -1)), isNew_(other.isNew_), unstored_(other.unstored_)
{}

File &File::operator=(File &&other) noexcept
{
    std::swap(handle_, other.handle_);
    std::swap(isNew_, other.isNew_);
    std::swap(unstored_, other.unstored_);
    return *this;
}

File::~File()
{
    Close();
}

} // namespace tonekit::host
