// uu_fuzz.cpp: the UU packing of arbitrary data and back, and the decoder on arbitrary text, each body
// compared with the baseline.
#include "fuzz/printable_calls.h"

namespace {

std::string Packed(char letter, const Bytes &data)
{
    const auto text =
        Encoded<decltype(UUEncode), int32_t>(tonekit::Body<decltype(UUEncode)>("UUEncode", letter), data);
    Require(text.has_value());
    return *text;
}

std::optional<Bytes> Unpacked(char letter, const std::string &text)
{
    return Decoded(tonekit::Body<decltype(UUDecode)>("UUDecode", letter), text);
}

void CheckRoundTrip(char letter, const Bytes &data)
{
    const std::string text = Packed(letter, data);
    Require(text == Packed('A', data));
    Require(text.size() == data.size() / 3 * 4 + (data.size() % 3 ? data.size() % 3 + 1 : 0));
    Require(std::all_of(text.begin(), text.end(), [](char one) { return one >= 0x20 && one <= 0x5F; }));
    const std::optional<Bytes> again = Unpacked(letter, text);
    Require(data.empty() ? !again : again == data);
}

void CheckText(char letter, const std::string &text)
{
    const std::optional<Bytes> data = Unpacked(letter, text);
    Require(data.has_value() == !text.empty());
    Require(data == Unpacked('A', text));
    if (data)
        Require(data->size() == text.size() / 4 * 3 + (text.size() % 4 ? text.size() % 4 - 1 : 0));
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
