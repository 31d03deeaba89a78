// next_file.h: another file after the audio of the one that is read, where files were joined byte by byte.
#pragma once

#include "host/audio/header_bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tonekit::host {

// Follows the bytes of an M4A, TTA, Monkey's Audio, ASF, DSF or DSDIFF file. Decoders read no further than
// its own end, and don't say so.
class NextFile {
public:
    // Reads the sizes in the header of the first file. Throws std::system_error if the system fails.
    explicit NextFile(HeaderBytes &bytes);

    // The bytes of the whole, one after another.
    void Take(std::span<const unsigned char> bytes);
    // The same for a file that can be read anywhere.
    void TakeFile(HeaderBytes &bytes);

    // How many bytes were taken.
    uint64_t taken() const { return taken_; }
    // How many bytes there are from the start of the second file on; 0 if there is none.
    uint64_t bytes() const { return found_ ? taken_ - next_ : 0; }

private:
    static constexpr size_t kHeader = 32;
    using Header = std::array<unsigned char, kHeader>;

    void Look();
    uint64_t StepOver() const;

    std::string_view name_; // that such a file begins with; empty: a type that isn't looked at
    size_t nameAt_ = 0;
    bool boxes_ = false; // of MP4, each of which says its size
    uint64_t next_ = 0;  // where a header is looked at
    Header header_ = {};
    size_t have_ = 0;
    uint64_t taken_ = 0;
    bool found_ = false;
    bool done_ = false;
};

} // namespace tonekit::host
