// encode_printable_cases.cpp: UU and Base64 with random data, and with texts of any characters.
#include "tests/tiers/tiers.h"

#include <cstring>
#include <string>
#include <tonekit/encode.h>

namespace tonekit::tiers {

static const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// A text at the very end of a guarded buffer, of the alphabet alone, or with a few other characters in it.
static std::string RandomText(Random &random, uint32_t length)
{
    std::string text;
    while (text.size() < length)
        text += kAlphabet[random.Below(64)];
    for (uint32_t changes = random.Below(3); changes != 0 && length != 0; --changes)
        text[random.Below(length)] = random.Below(2) ? '=' : static_cast<char>(1 + random.Below(255));
    return text;
}

template <class Encode, class Length>
static void RecordEncoded(const Encode &encode, const GuardedBuffer &data, Length length, Record &record)
{
    char *text = nullptr;
    record.AddValue(encode(data.data(), length, &text));
    if (text)
        record.Add(text, std::strlen(text) + 1);
    record.Guards(data);
    BASE64FreeMem(text);
}

template <class Decode>
static void RecordDecoded(const Decode &decode, const std::string &text, size_t misalignment, Record &record)
{
    GuardedBuffer input(text.size() + 1, misalignment);
    std::memcpy(input.data(), text.c_str(), text.size() + 1);
    void *data = nullptr;
    uint32_t length = 0;
    record.AddValue(decode(input.As<char>(), &data, &length));
    record.AddValue(length);
    record.Add(data, length);
    record.Guards(input);
    UUFreeMem(data);
}

static void ExercisePrintable(const Bodies &bodies, Random &random, Record &record)
{
    const auto uuEncode = bodies.Get<decltype(UUEncode)>("UUEncode");
    const auto uuDecode = bodies.Get<decltype(UUDecode)>("UUDecode");
    const auto base64Encode = bodies.Get<decltype(BASE64Encode)>("BASE64Encode");
    const auto base64Decode = bodies.Get<decltype(BASE64Decode)>("BASE64Decode");
    for (uint32_t length = 0; length < 300; ++length) {
        GuardedBuffer data(length, random.Below(32));
        random.Fill(data.data(), length);
        RecordEncoded(uuEncode, data, static_cast<int32_t>(length), record);
        RecordEncoded(base64Encode, data, length, record);
        const std::string text = RandomText(random, length);
        RecordDecoded(uuDecode, text, random.Below(32), record);
        RecordDecoded(base64Decode, text, random.Below(32), record);
    }
}
TONEKIT_TIER_CASE(ExercisePrintable, "UUEncode", "UUDecode", "BASE64Encode", "BASE64Decode");

// With its text it stays in the first-level cache, so that the bodies are measured and not the second level.
static const std::string kBytes(12 * 1024, 'x');

template <class Encode>
static void EncodeBytes(const Encode &encode)
{
    char *text;
    encode(kBytes.data(), 12 * 1024, &text);
    UUFreeMem(text);
}

template <class Decode>
static void DecodeText(const Decode &decode)
{
    static const std::string text(16 * 1024, 'x');
    void *data;
    uint32_t length;
    decode(text.c_str(), &data, &length);
    UUFreeMem(data);
}

static void BenchUUEncode(const Bodies &bodies)
{
    EncodeBytes(bodies.Get<decltype(UUEncode)>("UUEncode"));
}
TONEKIT_TIER_BENCH(BenchUUEncode, "UUEncode");

static void BenchUUDecode(const Bodies &bodies)
{
    DecodeText(bodies.Get<decltype(UUDecode)>("UUDecode"));
}
TONEKIT_TIER_BENCH(BenchUUDecode, "UUDecode");

static void BenchBase64Encode(const Bodies &bodies)
{
    EncodeBytes(bodies.Get<decltype(BASE64Encode)>("BASE64Encode"));
}
TONEKIT_TIER_BENCH(BenchBase64Encode, "BASE64Encode");

static void BenchBase64Decode(const Bodies &bodies)
{
    DecodeText(bodies.Get<decltype(BASE64Decode)>("BASE64Decode"));
}
TONEKIT_TIER_BENCH(BenchBase64Decode, "BASE64Decode");

} // namespace tonekit::tiers
