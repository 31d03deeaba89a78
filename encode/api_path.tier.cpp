// api_path.tier.cpp: removes the long-path prefix of the Windows file interface.
#include "encode/utf.h"
#include "frame/allocator.h"
#include "frame/tier.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <tonekit/encode.h>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(Utf16Length);

namespace {

// Whether the path begins with all the characters of a prefix. It ends the comparison at its own end, too.
inline bool Begins(const tonekit_char16 *path, const char *prefix)
{
    for (; *prefix != 0; ++path, ++prefix)
        if (*path != static_cast<tonekit_char16>(*prefix))
            return false;
    return true;
}

} // namespace

TONEKIT_BODY(UNC_RemoveUnicodeAPIPath, tonekit_char16 *, (const tonekit_char16 *path))
{
    uint32_t bits;
    const size_t units = Utf16Length(path, &bits);
    tonekit_char16 *result = static_cast<tonekit_char16 *>(Allocate((units + 1) * sizeof(tonekit_char16)));
    tonekit_char16 *out = result;
    size_t skipped = 0;
    if (Begins(path, "\\\\?\\UNC\\")) {
        *out++ = u'\\';
        skipped = 7; // the backslash after UNC stays
    } else if (Begins(path, "\\\\?\\")) {
        skipped = 4;
    }
    std::memcpy(out, path + skipped, (units - skipped + 1) * sizeof(tonekit_char16));
    return result;
}

} // namespace tonekit::TONEKIT_TIER
