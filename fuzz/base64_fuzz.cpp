// base64_fuzz.cpp: Base64 of arbitrary data and back, and the decoder on arbitrary text, each body beside the
// baseline.
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/bodies.h"
#include <tonekit/encode.h>

namespace {

using Bytes = std::vector<uint8_t>;

void Require(bool condition)
{
    if (!condition)
        abort();
}

std::optional<std::string> Encoded(char letter, const Bytes &data)
{
    char *text = nullptr;
    if (tonekit::Body<decltype(BASE64Encode)>("BASE64Encode", letter)(
            data.data(), static_cast<uint32_t>(data.size()), &text) != 0)
        return {};
    const std::string copy = text;
    BASE64FreeMem(text);
    return copy;
}

std::optional<Bytes> Decoded(char letter, const std::string &text)
{
    // An exactly sized copy, so that a sanitizer sees a read past the terminator.
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    void *data = nullptr;
    uint32_t length = 0;
    if (tonekit::Body<decltype(BASE64Decode)>("BASE64Decode", letter)(exact.data(), &data, &length) != 0)
        return {};
    const Bytes copy(static_cast<uint8_t *>(data), static_cast<uint8_t *>(data) + length);
    BASE64FreeMem(data);
    return copy;
}

void CheckRoundTrip(char letter, const Bytes &data)
{
    const std::optional<std::string> text = Encoded(letter, data);
    Require(text.has_value() == !data.empty());
    Require(text == Encoded('A', data));
    if (text)
        Require(text->size() == (data.size() + 2) / 3 * 4 && Decoded(letter, *text) == data);
}

// What is decoded, encoded again, begins with the characters that had all their bits used.
void CheckText(char letter, const std::string &text)
{
    const std::optional<Bytes> data = Decoded(letter, text);
    Require(data == Decoded('A', text));
    if (!data || data->empty())
        return;
    const std::optional<std::string> again = Encoded(letter, *data);
    Require(again && text.compare(0, data->size() * 8 / 6, *again, 0, data->size() * 8 / 6) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Bytes bytes(data, data + size);
    const std::string text(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    for (const char letter : tonekit::RunnableLetters()) {
        CheckRoundTrip(letter, bytes);
        CheckText(letter, text);
    }
    return 0;
}
