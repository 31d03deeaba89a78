// text_fuzz.cpp: the text conversions in every body on arbitrary bytes, compared with the
// character-by-character model.
//
// The first byte chooses a character set for the conversions through the system; the rest is the text.
#include "encode/character_set.h"
#include "encode/utf.h"
#include "fuzz/every_body.h"
#include "tests/reference/utf_model.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <tonekit/encode.h>
#include <vector>

namespace {

void Require(bool condition)
{
    if (!condition)
        abort();
}

std::u16string Take(tonekit_char16 *text)
{
    Require(text != nullptr);
    std::u16string result = text;
    UNC_freeWStr(text);
    return result;
}

std::string Take(char *text)
{
    Require(text != nullptr);
    std::string result = text;
    UNC_freeStr(text);
    return result;
}

void CheckUtf(const std::string &bytes, const std::u16string &units)
{
    const std::u16string decoded = Take(UNC_Utf8ToUnicode(bytes.c_str()));
    Require(decoded == tonekit::reference::Utf8ToUtf16(bytes));
    const std::string encoded = Take(UNC_UnicodeToUtf8(units.c_str()));
    Require(encoded == tonekit::reference::Utf16ToUtf8(units));
    // What has been made is well-formed, so it comes back as it is.
    Require(Take(UNC_Utf8ToUnicode(Take(UNC_UnicodeToUtf8(decoded.c_str())).c_str())) == decoded);
    Require(Take(UNC_UnicodeToUtf8(Take(UNC_Utf8ToUnicode(encoded.c_str())).c_str())) == encoded);
}

// At an odd address too.
void CheckLength(decltype(tonekit::Utf16Length) *measure, const std::u16string &units)
{
    uint32_t expected = 0;
    for (const char16_t unit : units)
        expected |= unit;
    uint32_t bits = ~expected;
    Require(measure(units.c_str(), &bits) == units.size() && bits == expected);
    const size_t bytes = (units.size() + 1) * sizeof units[0];
    std::vector<char> odd(bytes + 1);
    std::memcpy(odd.data() + 1, units.c_str(), bytes);
    bits = ~expected;
    const auto *text = reinterpret_cast<const tonekit_char16 *>(odd.data() + 1);
    Require(measure(text, &bits) == units.size() && bits == expected);
}

void CheckToUtf8(decltype(tonekit::Utf16ToUtf8) *convert, const std::u16string &units)
{
    uint32_t bits;
    tonekit::Utf16Length(units.c_str(), &bits);
    const std::string expected = tonekit::reference::Utf16ToUtf8(units);
    std::vector<char> out(expected.size() + 1); // with the scratch byte
    convert(units.data(), units.size(), bits, out.data());
    Require(std::string(out.data(), expected.size()) == expected);
}

// Of ill-formed text the beginning, as far as it goes.
void CheckToUtf16(decltype(tonekit::Utf8ToUtf16) *convert, const std::string &bytes)
{
    std::vector<tonekit_char16> out(tonekit::Utf8UnitsAsUtf16(bytes.data(), bytes.size()) + 1);
    size_t units;
    const size_t taken = convert(bytes.data(), bytes.size(), out.data(), out.size(), &units);
    Require(taken <= bytes.size() && units < out.size());
    Require(std::u16string(out.data(), units) == tonekit::reference::Utf8ToUtf16(bytes.substr(0, taken)));
    // More is ill-formed at once.
    if (taken < bytes.size())
        Require(tonekit::reference::Utf8ToUtf16(bytes.substr(taken)).front() == u'\ufffd');
}

void CheckBodies(const std::string &bytes, const std::u16string &units)
{
    using tonekit::fuzz::EveryBody;
    static const auto lengths = EveryBody<decltype(tonekit::Utf16Length)>("Utf16Length");
    static const auto toUtf8 = EveryBody<decltype(tonekit::Utf16ToUtf8)>("Utf16ToUtf8");
    static const auto toUtf16 = EveryBody<decltype(tonekit::Utf8ToUtf16)>("Utf8ToUtf16");
    for (auto *measure : lengths)
        CheckLength(measure, units);
    for (auto *convert : toUtf8)
        CheckToUtf8(convert, units);
    for (auto *convert : toUtf16)
        CheckToUtf16(convert, bytes);
}

// The set of the locale, which is windows-1252 here.
void CheckAnsi(const std::string &bytes, const std::u16string &units)
{
    const std::u16string decoded = Take(UNC_AnsiToUnicode(bytes.c_str()));
    Require(decoded == Take(tonekit::DecodeText("CP1252", bytes.c_str())));
    Require(Take(UNC_AnsiToUtf8(bytes.c_str())) == tonekit::reference::Utf16ToUtf8(decoded));
    const std::string encoded = Take(UNC_UnicodeToAnsi(units.c_str()));
    Require(encoded == Take(tonekit::EncodeText("CP1252", units.c_str())));
    Require(Take(UNC_Utf8ToAnsi(tonekit::reference::Utf16ToUtf8(units).c_str())) == encoded);
}

// In sets that switch between others by control characters, the text's own ones do the same.
bool Switches(const char *name, const std::u16string &units)
{
    return std::string(name).starts_with("ISO-2022") &&
           units.find_first_of(u"\u000e\u000f\u001b") != std::u16string::npos;
}

// Whatever is encoded is well-formed in its set.
void CheckSet(const char *name, const std::string &bytes, const std::u16string &units)
{
    tonekit_char16 *decoded = tonekit::DecodeText(name, bytes.c_str());
    if (!decoded)
        return; // the system lacks the converter
    UNC_freeWStr(decoded);
    const std::string encoded = Take(tonekit::EncodeText(name, units.c_str()));
    const std::u16string again = Take(tonekit::DecodeText(name, encoded.c_str()));
    const bool hasReplacement =
        Take(UNC_UnicodeToUtf8(units.c_str())).find("\xef\xbf\xbd") != std::string::npos;
    Require(hasReplacement || Switches(name, units) || again.find(u'\ufffd') == std::u16string::npos);
}

void CheckInPlace(std::u16string units)
{
    const std::u16string before = units;
    UNC_ChangeEndian(units.data());
    UNC_ChangeEndian(units.data());
    Require(units == before);
    const std::u16string path = Take(UNC_RemoveUnicodeAPIPath(units.c_str()));
    const bool isTail = path.size() <= units.size() && units.ends_with(path);
    Require(isTail || path == u"\\" + units.substr(7));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static constexpr const char *kSets[] = {"CP1252",     "ISO-8859-1",  "ISO-8859-7", "KOI8-R",
                                            "EUC-JP",     "BIG5",        "SHIFT_JIS",  "GB18030",
                                            "EUC-KR",     "ISO-2022-JP", "CP1258",     "BIG5-HKSCS",
                                            "TCVN5712-1", "ISO-2022-KR", "UTF-8"};
    if (size == 0)
        return 0;
    const char *text = reinterpret_cast<const char *>(data) + 1;
    const std::string bytes(text, strnlen(text, size - 1));
    std::u16string units((size - 1) / 2, 0);
    std::memcpy(units.data(), text, units.size() * sizeof units[0]);
    units = units.c_str(); // to the first zero
    CheckUtf(bytes, units);
    CheckBodies(bytes, units);
    CheckAnsi(bytes, units);
    CheckSet(kSets[data[0] % std::size(kSets)], bytes, units);
    CheckInPlace(units);
    return 0;
}
