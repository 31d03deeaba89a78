// ebml_fuzz.cpp: asks whether a file of arbitrary bytes begins with the EBML identifier, and asks for files
// of arbitrary names.
#include "fuzz/input_bytes.h"
#include "fuzz/memory_file.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <tonekit/frame.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    using tonekit::fuzz::Require;
    static tonekit::fuzz::MemoryFile file;
    file.Set(data, size);
    const std::u16string path(file.Path().begin(), file.Path().end());
    const bool begins = size >= 4 && std::memcmp(data, "\x1A\x45\xDF\xA3", 4) == 0;
    Require(DetectEbml(path.c_str()) == (begins ? 1u : 0u));

    // A name below a file is never that of a file.
    std::u16string name = path + u'/';
    for (size_t i = 0; i + 1 < size; i += 2)
        name += static_cast<char16_t>(data[i] << 8 | data[i + 1]);
    Require(DetectEbml(name.c_str()) == 0);
    return 0;
}
