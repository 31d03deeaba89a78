// ebml.cpp: the file test for the EBML header identifier.
#include "frame/platform.h"

#include <cstring>

namespace {

// The element that opens every EBML document, Matroska and WebM files among them.
constexpr unsigned char kEbmlIdentifier[4] = {0x1A, 0x45, 0xDF, 0xA3};

} // namespace

uint32_t DetectEbml(const tonekit_char16 *path)
{
    std::FILE *file = tonekit::OpenForReading(path);
    if (!file)
        return 0;
    unsigned char start[sizeof kEbmlIdentifier];
    const size_t items = std::fread(start, sizeof start, 1, file);
    std::fclose(file);
    return items == 1 && std::memcmp(start, kEbmlIdentifier, sizeof start) == 0;
}
