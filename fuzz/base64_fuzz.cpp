// base64_fuzz.cpp: Base64 of arbitrary data and back, and the decoder on arbitrary text, each body compared
// with the baseline.
#include "fuzz/printable_calls.h"

namespace {

std::optional<std::string> Base64Of(char letter, const Bytes &data)
{
    return Encoded<decltype(BASE64Encode), uint32_t>(
        tonekit::Body<decltype(BASE64Encode)>("BASE64Encode", letter), data);
}

std::optional<Bytes> BytesOf(char letter, const std::string &text)
{
    return Decoded(tonekit::Body<decltype(BASE64Decode)>("BASE64Decode", letter), text);
}

void CheckRoundTrip(char letter, const Bytes &data)
{
    const std::optional<std::string> text = Base64Of(letter, data);
    Require(text.has_value() == !data.empty());
    Require(text == Base64Of('A', data));
    if (text)
        Require(text->size() == (data.size() + 2) / 3 * 4 && BytesOf(letter, *text) == data);
}

// What is decoded, encoded again, begins with the characters that had all their bits used.
void CheckText(char letter, const std::string &text)
{
    const std::optional<Bytes> data = BytesOf(letter, text);
    Require(data == BytesOf('A', text));
    if (!data || data->empty())
        return;
    const std::optional<std::string> again = Base64Of(letter, *data);
    Require(again && text.compare(0, data->size() * 8 / 6, *again, 0, data->size() * 8 / 6) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Bytes bytes(data, data + size);
    for (const char letter : tonekit::RunnableLetters()) {
        CheckRoundTrip(letter, bytes);
        CheckText(letter, TextOf(bytes));
    }
    return 0;
}
