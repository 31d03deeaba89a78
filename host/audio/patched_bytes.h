// patched_bytes.h: a file of which some bytes are read as others.
#pragma once

#include "host/system/byte_stream.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace tonekit::host {

struct Patch {
    uint64_t position;
    std::vector<unsigned char> bytes; // in the place of as many of the file
};

// Shares its position with the file.
class PatchedBytes final : public ByteStream {
public:
    // In the order of their positions, none in another.
    PatchedBytes(ByteStream &file, std::vector<Patch> patches) : file_(file), patches_(std::move(patches)) {}

    std::error_code Read(void *buffer, size_t size, size_t &got) override;
    // Not supported.
    std::error_code Write(const void *data, size_t size) override;
    std::error_code SeekTo(uint64_t position) override { return file_.SeekTo(position); }
    std::error_code Tell(uint64_t &position) override { return file_.Tell(position); }
    std::error_code Size(uint64_t &size) override { return file_.Size(size); }

private:
    ByteStream &file_;
    std::vector<Patch> patches_;
};

} // namespace tonekit::host
