// utf8_text.cpp: makes new texts of UTF-8 and UTF-16 from each other, with U+FFFD for what is ill-formed.
#include "encode/character_set.h"

#include <algorithm>
#include <cstring>

#include "encode/new_text.h"
#include "encode/utf.h"

namespace tonekit {
namespace {

constexpr tonekit_char16 kReplacement = 0xfffd;

struct ByteRange {
    uint8_t first;
    uint8_t last;
    bool Has(uint8_t byte) const { return byte >= first && byte <= last; }
};

// What may follow a lead so that the form is not overlong, no surrogate and not above U+10FFFF. Empty for
// bytes that lead no character of three or four bytes.
ByteRange SecondBytes(uint8_t lead)
{
    switch (lead) {
    case 0xe0:
        return {0xa0, 0xbf};
    case 0xed:
        return {0x80, 0x9f};
    case 0xf0:
        return {0x90, 0xbf};
    case 0xf4:
        return {0x80, 0x8f};
    default:
        return lead >= 0xe1 && lead <= 0xf3 ? ByteRange{0x80, 0xbf} : ByteRange{1, 0};
    }
}

// For text that is ill-formed somewhere.
tonekit_char16 *DecodeIllFormedUtf8(const char *text, std::size_t bytes)
{
    // No byte gives more than one unit: each ill-formed part has at least one byte.
    const OwnedText<tonekit_char16> room = NewText<tonekit_char16>(bytes);
    std::size_t in = 0;
    std::size_t out = 0;
    for (;;) {
        std::size_t units;
        in += Utf8ToUtf16(text + in, bytes - in, room.get() + out, bytes + 1 - out, &units);
        out += units;
        if (in == bytes)
            break;
        room[out++] = kReplacement;
        in += IllFormedUtf8(text + in, bytes - in);
    }
    OwnedText<tonekit_char16> result = NewText<tonekit_char16>(out);
    std::copy_n(room.get(), out, result.get());
    return result.release();
}

} // namespace

std::size_t IllFormedUtf8(const char *text, std::size_t bytes)
{
    const auto byte = [text](std::size_t i) { return static_cast<uint8_t>(text[i]); };
    if (bytes < 2 || !SecondBytes(byte(0)).Has(byte(1)))
        return 1;
    const bool third = byte(0) >= 0xf0 && bytes > 2 && ByteRange{0x80, 0xbf}.Has(byte(2));
    return third ? 3 : 2;
}

tonekit_char16 *DecodeUtf8(const char *text)
{
    const std::size_t bytes = std::strlen(text);
    const std::size_t expected = Utf8UnitsAsUtf16(text, bytes);
    OwnedText<tonekit_char16> result = NewText<tonekit_char16>(expected);
    std::size_t units;
    if (Utf8ToUtf16(text, bytes, result.get(), expected + 1, &units) != bytes) {
        result.reset();
        return DecodeIllFormedUtf8(text, bytes);
    }
    result[units] = 0; // its place was scratch
    return result.release();
}

Utf16Text MeasureUtf16(const tonekit_char16 *text)
{
    uint32_t bits;
    const std::size_t units = Utf16Length(text, &bits);
    return {text, units, bits};
}

char *EncodeUtf8(const Utf16Text &text)
{
    const std::size_t bytes = Utf16BytesAsUtf8(text.begin, text.units, text.bits);
    OwnedText<char> result = NewText<char>(bytes);
    Utf16ToUtf8(text.begin, text.units, text.bits, result.get());
    result[bytes] = 0; // its place was scratch
    return result.release();
}

} // namespace tonekit
