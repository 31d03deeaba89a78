// change_endian.tier.cpp: swaps the bytes of UTF-16 text in place.
#include "encode/lanes.h"
#include "encode/utf.h"
#include "frame/tier.h"

#include <cstddef>
#include <cstdint>
#include <tonekit/encode.h>

namespace tonekit::TONEKIT_TIER {

TONEKIT_SIBLING(Utf16Length);

TONEKIT_BODY(UNC_ChangeEndian, void, (tonekit_char16 * text))
{
    uint32_t bits;
    const size_t units = Utf16Length(text, &bits);
    size_t i = 0;
    for (; units - i >= 8; i += 8) {
        const __m128i lanes = Load128(text + i);
        Store128(text + i, _mm_or_si128(_mm_slli_epi16(lanes, 8), _mm_srli_epi16(lanes, 8)));
    }
    for (; i < units; ++i)
        text[i] = static_cast<tonekit_char16>(text[i] << 8 | text[i] >> 8);
}

} // namespace tonekit::TONEKIT_TIER
