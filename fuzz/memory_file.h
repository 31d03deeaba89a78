// memory_file.h: a file in memory that has a path, for targets that open files by name.
#pragma once

#include "fuzz/input_bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace tonekit::fuzz {

class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("fuzz", 0)), path_("/proc/self/fd/" + std::to_string(descriptor_))
    {
        Require(descriptor_ >= 0);
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    const std::string &Path() const { return path_; }
    void Set(const uint8_t *data, size_t size)
    {
        Require(ftruncate(descriptor_, 0) == 0);
        Require(pwrite(descriptor_, data, size, 0) == static_cast<ssize_t>(size));
    }
    std::string Bytes() const
    {
        const off_t size = lseek(descriptor_, 0, SEEK_END);
        Require(size >= 0);
        std::string bytes(static_cast<size_t>(size), '\0');
        Require(pread(descriptor_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(size));
        return bytes;
    }

private:
    int descriptor_;
    std::string path_;
};

} // namespace tonekit::fuzz
