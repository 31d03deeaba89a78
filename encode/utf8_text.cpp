// utf8_text.cpp: makes new texts of UTF-8 and UTF-16 from each other, with U+FFFD for what is ill-formed.
#include "encode/character_set.h"
#include "encode/new_text.h"
#include "encode/utf.h"

#include <algorithm>
#include <cstring>

namespace tonekit {
namespace {

constexpr tonekit_char16 kReplacement = 0xFFFD;

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
    case 0xE0:
        return {0xA0, 0xBF};
    case 0xED:
        return {0x80, 0x9F};
    case 0xF0:
        return {0x90, 0xBF};
    case 0xF4:
        return {0x80, 0x8F};
    default:
        return lead >= 0xE1 && lead <= 0xF3 ? ByteRange{0x80, 0xBF} : ByteRange{1, 0};
    }
}

// For text that is ill-formed somewhere.
tonekit_char16 *DecodeIllFormedUtf8(const char *text, size_t bytes)
{
    // No byte gives more than one unit: each ill-formed part has at least one byte.
    const OwnedText<tonekit_char16> room = NewText<tonekit_char16>(bytes);
    size_t in = 0;
    size_t out = 0;
    for (;;) {
        size_t units;
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

size_t IllFormedUtf8(const char *text, size_t bytes)
{
    const auto byte = [text](size_t i) { return static_cast<uint8_t>(text[i]); };
    if (bytes < 2 || !SecondBytes(byte(0)).Has(byte(1)))
        return 1;
    const bool third = byte(0) >= 0xF0 && bytes > 2 && ByteRange{0x80, 0xBF}.Has(byte(2));
    return third ? 3 : 2;
}

tonekit_char16 *DecodeUtf8(const char *text)
{
    const size_t bytes = std::strlen(text);
    const size_t expected = Utf8UnitsAsUtf16(text, bytes);
    OwnedText<tonekit_char16> result = NewText<tonekit_char16>(expected);
    size_t units;
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
    const size_t units = Utf16Length(text, &bits);
    return {text, units, bits};
}

char *EncodeUtf8(const Utf16Text &text)
{
    const size_t bytes = Utf16BytesAsUtf8(text.begin, text.units, text.bits);
    OwnedText<char> result = NewText<char>(bytes);
    Utf16ToUtf8(text.begin, text.units, text.bits, result.get());
    result[bytes] = 0; // its place was scratch
    return result.release();
}

} // namespace tonekit
