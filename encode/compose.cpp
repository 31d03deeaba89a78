// compose.cpp: joins characters and combining marks to precomposed characters.
#include "encode/compose.h"

#include "encode/composition_table.h"
#include "frame/utf16.h"

#include <algorithm>

namespace tonekit {
namespace {

constexpr char32_t kFirstMark = 0x300;

bool InMarkPage(char32_t character)
{
    return kMarkPages[character >> 11 & 31] >> (character >> 8 & 7) & 1;
}

// The precomposed character, or 0.
char32_t Joined(char32_t base, char32_t mark)
{
    if (mark < kFirstMark || (mark < 0x10000 && !InMarkPage(mark)))
        return 0;
    const Composition *end = kCompositions + kCompositionCount;
    const Composition *found =
        std::lower_bound(kCompositions, end, Composition{mark, base, 0}, [](const auto &a, const auto &b) {
            return a.mark != b.mark ? a.mark < b.mark : a.base < b.base;
        });
    return found != end && found->mark == mark && found->base == base ? found->composed : 0;
}

tonekit_char16 *Put(char32_t character, tonekit_char16 *out)
{
    if (character < 0x10000) {
        *out++ = static_cast<tonekit_char16>(character);
        return out;
    }
    *out++ = static_cast<tonekit_char16>(0xD7C0 + (character >> 10));
    *out++ = static_cast<tonekit_char16>(0xDC00 | (character & 0x3FF));
    return out;
}

} // namespace

bool MayCompose(const tonekit_char16 *text, size_t units, uint32_t bits)
{
    if (bits < kFirstMark)
        return false;
    return std::any_of(text, text + units, [](char32_t unit) {
        return unit >= kFirstMark && (InMarkPage(unit) || IsSurrogate(unit));
    });
}

size_t Compose(const tonekit_char16 *text, size_t units, tonekit_char16 *out)
{
    const tonekit_char16 *end = text + units;
    tonekit_char16 *to = out;
    tonekit_char16 *lastBegin = out;
    char32_t last = 0;
    while (text < end) {
        const char32_t next = NextCharacter(text, end);
        const char32_t joined = Joined(last, next);
        if (joined != 0)
            to = lastBegin;
        last = joined != 0 ? joined : next;
        lastBegin = to;
        to = Put(last, to);
    }
    return static_cast<size_t>(to - out);
}

} // namespace tonekit
