// encode_text_cases.cpp: the text functions with every kind of character, ill-formed text and all alignments.
#include "encode/utf.h"
#include "encode/windows_1252.h"
#include "tests/support/utf16.h"
#include "tests/tiers/tiers.h"

#include <algorithm>
#include <tonekit/encode.h>

namespace tonekit::tiers {
namespace {

constexpr size_t kMost = 150;

// Zero-terminated units: of one to four UTF-8 bytes, windows-1252, or anything.
size_t FillUnits(Random &random, tonekit_char16 *units)
{
    static constexpr uint32_t kLimits[] = {0x7F, 0xFF, 0x7FF, 0xD7FF, 0xFFFF};
    const size_t length = random.Below(kMost);
    uint32_t limit = kLimits[random.Below(5)];
    for (size_t i = 0; i < length; ++i) {
        if (random.Below(16) == 0)
            limit = kLimits[random.Below(5)];
        units[i] = static_cast<tonekit_char16>(1 + random.Below(limit));
        if (random.Below(8) == 0)
            units[i] = static_cast<tonekit_char16>(0xD800 + random.Below(0x800));
    }
    units[length] = 0;
    return length;
}

// The UTF-8 form of such units, with some bytes changed, and zeros up to the end of the room. What the
// conversion leaves after its text is its own affair.
size_t FillBytes(Random &random, char *bytes, size_t room)
{
    tonekit_char16 units[kMost + 1];
    uint32_t bits;
    FillUnits(random, units);
    const size_t length = Utf16Length(units, &bits);
    Utf16ToUtf8(units, length, bits, bytes);
    const size_t size = Utf16BytesAsUtf8(units, length, bits);
    for (uint32_t faults = random.Below(3); size > 0 && faults > 0; --faults)
        bytes[random.Below(static_cast<uint32_t>(size))] = static_cast<char>(1 + random.Below(255));
    std::fill(bytes + size, bytes + room, '\0');
    return size;
}

void ExerciseUtf16(const Bodies &bodies, Random &random, Record &record)
{
    const auto measure = bodies.Get<decltype(Utf16Length)>("Utf16Length");
    const auto count = bodies.Get<decltype(Utf16BytesAsUtf8)>("Utf16BytesAsUtf8");
    const auto convert = bodies.Get<decltype(Utf16ToUtf8)>("Utf16ToUtf8");
    for (int round = 0; round < 2000; ++round) {
        GuardedBuffer text((kMost + 1) * sizeof(tonekit_char16), 2 * random.Below(16));
        FillUnits(random, text.As<tonekit_char16>());
        uint32_t bits;
        const size_t units = measure(text.As<tonekit_char16>(), &bits);
        const size_t bytes = count(text.As<tonekit_char16>(), units, bits);
        GuardedBuffer out(bytes + 1, random.Below(16));
        convert(text.As<tonekit_char16>(), units, bits, out.As<char>());
        out.data()[bytes] = 0; // scratch
        record.AddValue(units);
        record.AddValue(bits);
        record.Guards(text);
        record.Guards(out);
    }
}

void ExerciseUtf8(const Bodies &bodies, Random &random, Record &record)
{
    const auto count = bodies.Get<decltype(Utf8UnitsAsUtf16)>("Utf8UnitsAsUtf16");
    const auto convert = bodies.Get<decltype(Utf8ToUtf16)>("Utf8ToUtf16");
    for (int round = 0; round < 2000; ++round) {
        const size_t textRoom = 3 * kMost + 1;
        GuardedBuffer text(textRoom, random.Below(16));
        const size_t bytes = FillBytes(random, text.As<char>(), textRoom);
        const size_t room = count(text.As<char>(), bytes);
        GuardedBuffer out((room + 1) * sizeof(tonekit_char16), 2 * random.Below(8));
        size_t units;
        record.AddValue(convert(text.As<char>(), bytes, out.As<tonekit_char16>(), room + 1, &units));
        record.AddValue(units);
        std::fill(out.As<tonekit_char16>() + units, out.As<tonekit_char16>() + room + 1,
                  UTF16('\0')); // scratch
        record.Guards(text);
        record.Guards(out);
    }
}

void ExerciseWindows1252(const Bodies &bodies, Random &random, Record &record)
{
    const auto decode = bodies.Get<decltype(Windows1252ToUtf16)>("Windows1252ToUtf16");
    const auto encode = bodies.Get<decltype(Utf16ToWindows1252)>("Utf16ToWindows1252");
    for (int round = 0; round < 1000; ++round) {
        const size_t length = random.Below(kMost);
        GuardedBuffer bytes(length, random.Below(16));
        random.Fill(bytes.data(), length);
        GuardedBuffer units(length * sizeof(tonekit_char16), 2 * random.Below(8));
        decode(bytes.As<char>(), length, units.As<tonekit_char16>());
        record.Guards(units);
        for (uint32_t pairs = random.Below(4); length > 1 && pairs > 0; --pairs) {
            const uint32_t place = random.Below(static_cast<uint32_t>(length - 1));
            units.As<tonekit_char16>()[place] = 0xD83D;
            units.As<tonekit_char16>()[place + 1] = 0xDE00;
        }
        GuardedBuffer back(length, random.Below(16));
        const size_t size = encode(units.As<tonekit_char16>(), length, back.As<char>());
        record.AddValue(size);
        record.Add(back.data(), size);
        record.Guards(units);
    }
}

void ExerciseChangeEndian(const Bodies &bodies, Random &random, Record &record)
{
    const auto body = bodies.Get<decltype(UNC_ChangeEndian)>("UNC_ChangeEndian");
    for (int round = 0; round < 500; ++round) {
        GuardedBuffer text((kMost + 1) * sizeof(tonekit_char16), 2 * random.Below(16));
        FillUnits(random, text.As<tonekit_char16>());
        body(text.As<tonekit_char16>());
        record.Guards(text);
    }
}

void ExercisePath(const Bodies &bodies, Random &random, Record &record)
{
    const auto body = bodies.Get<decltype(UNC_RemoveUnicodeAPIPath)>("UNC_RemoveUnicodeAPIPath");
    static constexpr tonekit_char16 kPrefix[] = UTF16("\\\\?\\UNC\\");
    for (int round = 0; round < 500; ++round) {
        GuardedBuffer path((kMost + 9) * sizeof(tonekit_char16), 2 * random.Below(16));
        const uint32_t prefix = random.Below(9);
        std::copy_n(kPrefix, prefix, path.As<tonekit_char16>());
        FillUnits(random, path.As<tonekit_char16>() + prefix);
        tonekit_char16 *result = body(path.As<tonekit_char16>());
        uint32_t bits;
        record.Add(result, (Utf16Length(result, &bits) + 1) * sizeof *result);
        record.Guards(path);
        UNC_freeWStr(result);
    }
}

constexpr size_t kBenchUnits = 4000;

struct BenchText {
    tonekit_char16 units[kBenchUnits + 1] = {};
    char bytes[3 * kBenchUnits + 1] = {};
    size_t size;
    uint32_t bits;

    BenchText()
    {
        for (size_t i = 0; i < kBenchUnits; ++i) // words of Cyrillic
            units[i] = i % 6 == 5 ? UTF16(' ') : static_cast<tonekit_char16>(0x430 + i % 32);
        Utf16Length(units, &bits);
        size = Utf16BytesAsUtf8(units, kBenchUnits, bits);
        Utf16ToUtf8(units, kBenchUnits, bits, bytes);
    }
};

BenchText benchText;
tonekit_char16 benchUnits[kBenchUnits + 1];
char benchBytes[3 * kBenchUnits + 1];

void BenchLength(const Bodies &bodies)
{
    uint32_t bits;
    bodies.Get<decltype(Utf16Length)>("Utf16Length")(benchText.units, &bits);
}

void BenchCountBytes(const Bodies &bodies)
{
    bodies.Get<decltype(Utf16BytesAsUtf8)>("Utf16BytesAsUtf8")(benchText.units, kBenchUnits, benchText.bits);
}

void BenchToUtf8(const Bodies &bodies)
{
    bodies.Get<decltype(Utf16ToUtf8)>("Utf16ToUtf8")(benchText.units, kBenchUnits, benchText.bits,
                                                     benchBytes);
}

void BenchCountUnits(const Bodies &bodies)
{
    bodies.Get<decltype(Utf8UnitsAsUtf16)>("Utf8UnitsAsUtf16")(benchText.bytes, benchText.size);
}

void BenchToUtf16(const Bodies &bodies)
{
    size_t units;
    bodies.Get<decltype(Utf8ToUtf16)>("Utf8ToUtf16")(benchText.bytes, benchText.size, benchUnits,
                                                     kBenchUnits + 1, &units);
}

void BenchChangeEndian(const Bodies &bodies)
{
    bodies.Get<decltype(UNC_ChangeEndian)>("UNC_ChangeEndian")(benchText.units);
}

} // namespace

TONEKIT_TIER_CASE(ExerciseUtf16, "Utf16Length", "Utf16BytesAsUtf8", "Utf16ToUtf8");
TONEKIT_TIER_CASE(ExerciseUtf8, "Utf8UnitsAsUtf16", "Utf8ToUtf16");
TONEKIT_TIER_CASE(ExerciseWindows1252, "Windows1252ToUtf16", "Utf16ToWindows1252");
TONEKIT_TIER_CASE(ExerciseChangeEndian, "UNC_ChangeEndian");
TONEKIT_TIER_CASE(ExercisePath, "UNC_RemoveUnicodeAPIPath");
TONEKIT_TIER_BENCH(BenchLength, "Utf16Length");
TONEKIT_TIER_BENCH(BenchCountBytes, "Utf16BytesAsUtf8");
TONEKIT_TIER_BENCH(BenchToUtf8, "Utf16ToUtf8");
TONEKIT_TIER_BENCH(BenchCountUnits, "Utf8UnitsAsUtf16");
TONEKIT_TIER_BENCH(BenchToUtf16, "Utf8ToUtf16");
TONEKIT_TIER_BENCH(BenchChangeEndian, "UNC_ChangeEndian");

} // namespace tonekit::tiers
