// uu_fuzz.cpp: the UU packing of arbitrary data and back, and the decoder on arbitrary text, each body beside
// the baseline.
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

std::string Packed(char letter, const Bytes &data)
{
    char *text = nullptr;
    Require(tonekit::Body<decltype(UUEncode)>("UUEncode", letter)(
                data.data(), static_cast<int32_t>(data.size()), &text) == 0);
    const std::string copy = text;
    UUFreeMem(text);
    return copy;
}

std::optional<Bytes> Unpacked(char letter, const std::string &text)
{
    // An exactly sized copy, so that a sanitizer sees a read past the terminator.
    const std::vector<char> exact(text.c_str(), text.c_str() + text.size() + 1);
    void *data = nullptr;
    uint32_t length = 0;
    if (tonekit::Body<decltype(UUDecode)>("UUDecode", letter)(exact.data(), &data, &length) != 0)
        return {};
    const Bytes copy(static_cast<uint8_t *>(data), static_cast<uint8_t *>(data) + length);
    UUFreeMem(data);
    return copy;
}

void CheckRoundTrip(char letter, const Bytes &data)
{
    const std::string text = Packed(letter, data);
    Require(text == Packed('A', data));
    Require(text.size() == data.size() / 3 * 4 + (data.size() % 3 ? data.size() % 3 + 1 : 0));
    Require(std::all_of(text.begin(), text.end(), [](char one) { return one >= 0x20 && one <= 0x5f; }));
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
    const std::string text(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    for (const char letter : tonekit::RunnableLetters()) {
        CheckRoundTrip(letter, bytes);
        CheckText(letter, text);
    }
    return 0;
}
