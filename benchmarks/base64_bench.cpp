// base64_bench.cpp: Base64 and UU, allocation included, compared with OpenSSL's coder into ready memory and a
// plain copy.
#include "benchmarks/ratio.h"
#include "tests/support/bodies.h"

#include <cstring>
#include <openssl/evp.h>
#include <string>
#include <tonekit/encode.h>
#include <vector>

namespace {

using tonekit::Body;
using tonekit::RatioTable;

constexpr int kLong = 48 * 1024;
constexpr int kShort = 48;

std::vector<uint8_t> bytes(kLong);
std::vector<char> text(kLong / 3 * 4 + 1);
std::vector<uint8_t> copy(kLong / 3 * 4 + 1);
std::string longText;
std::string shortText;

template <class Result, class Length>
void OursEncodes(Result (*encode)(const void *, Length, char **), int length)
{
    char *result;
    encode(bytes.data(), static_cast<Length>(length), &result);
    BASE64FreeMem(result);
}

template <class Decode>
void OursDecodes(Decode *decode, const std::string &from)
{
    void *result;
    uint32_t length;
    decode(from.c_str(), &result, &length);
    BASE64FreeMem(result);
}

void PeerEncodes(int length)
{
    EVP_EncodeBlock(reinterpret_cast<unsigned char *>(text.data()), bytes.data(), length);
}

void PeerDecodes(const std::string &from)
{
    EVP_DecodeBlock(copy.data(), reinterpret_cast<const unsigned char *>(from.data()),
                    static_cast<int>(from.size()));
}

void CopyBytes()
{
    std::memcpy(copy.data(), bytes.data(), kLong);
    asm volatile("" : : "r"(copy.data()) : "memory");
}

// The limits are those of tier V; the other rows show the baseline.
void AddRows(RatioTable &table, char letter)
{
    const bool best = letter == 'V';
    const auto name = [letter](const char *what) { return std::string(what) + "." + letter; };
    auto *encode = Body<decltype(BASE64Encode)>("BASE64Encode", letter);
    auto *decode = Body<decltype(BASE64Decode)>("BASE64Decode", letter);
    auto *uuEncode = Body<decltype(UUEncode)>("UUEncode", letter);
    auto *uuDecode = Body<decltype(UUDecode)>("UUDecode", letter);
    table.Add(
        name("Base64 of 48 KiB") + ", OpenSSL", best ? 8 : 0, [=] { OursEncodes(encode, kLong); },
        [] { PeerEncodes(kLong); });
    table.Add(
        name("Base64 to 48 KiB") + ", OpenSSL", best ? 5 : 0, [=] { OursDecodes(decode, longText); },
        [] { PeerDecodes(longText); });
    table.Add(
        name("Base64 of 48 KiB") + ", plain copy", best ? 0.5 : 0, [=] { OursEncodes(encode, kLong); },
        CopyBytes);
    table.Add(
        name("Base64 of 48 bytes") + ", OpenSSL", best ? 0.6 : 0, [=] { OursEncodes(encode, kShort); },
        [] { PeerEncodes(kShort); });
    table.Add(
        name("Base64 to 48 bytes") + ", OpenSSL", best ? 0.6 : 0, [=] { OursDecodes(decode, shortText); },
        [] { PeerDecodes(shortText); });
    table.Add(
        name("UU of 48 KiB") + ", Base64", best ? 0.5 : 0, [=] { OursEncodes(uuEncode, kLong); },
        [=] { OursEncodes(encode, kLong); });
    table.Add(
        name("UU to 48 KiB") + ", Base64", best ? 0.5 : 0, [=] { OursDecodes(uuDecode, longText); },
        [=] { OursDecodes(decode, longText); });
}

} // namespace

int main(int argc, char **argv)
{
    for (unsigned i = 0; i < kLong; ++i)
        bytes[i] = static_cast<uint8_t>(i * 151 >> 3);
    PeerEncodes(kShort);
    shortText = text.data();
    PeerEncodes(kLong);
    longText = text.data();

    RatioTable table("Base64 and UU, allocation included");
    for (const char letter : {'V', 'M', 'A'})
        if (tonekit::ProcessorRuns(letter))
            AddRows(table, letter);
    return table.Run(argc, argv);
}
