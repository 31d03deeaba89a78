// compose.h: joins characters and combining marks to precomposed characters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <tonekit/frame.h>

namespace tonekit {

// Whether some of the text may be a mark that could be joined. bits is the OR of its units; a quick no is
// certain.
bool MayCompose(const tonekit_char16 *text, size_t units, uint32_t bits);

// Writes the text with each character and the mark after it joined where there is a precomposed character,
// from the front to the back, and with each surrogate that has no partner replaced by U+FFFD. Returns the
// units written, which are no more than were read.
size_t Compose(const tonekit_char16 *text, size_t units, tonekit_char16 *out);

} // namespace tonekit
