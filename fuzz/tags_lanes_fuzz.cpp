// tags_lanes_fuzz.cpp: looks texts up in long blocks, with common, long, torn and hidden items, in every
// body; each answer is the model's.
#include "fuzz/every_body.h"
#include "fuzz/input_bytes.h"
#include "tags/tag_block.h"
#include "tests/reference/tag_block_model.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tonekit/tags.h>
#include <vector>

namespace {

using tonekit::fuzz::InputBytes;
using tonekit::fuzz::Require;

// The walk over several items at once begins at 2048 bytes.
constexpr size_t kMostItems = 96;
constexpr size_t kMostBytes = 8192;

std::string Item(char marker, uint32_t length, const std::string &texts)
{
    std::string item(1, marker);
    for (int i = 0; i < 4; ++i)
        item += static_cast<char>(length >> (8 * i));
    return item + texts;
}

std::string KeyOf(InputBytes &input, uint32_t number)
{
    const uint8_t form = input.Byte();
    if (form < 128)
        return std::string("KEY") + std::to_string(number) + std::string(form % 24, 'x');
    return std::string(input.OneOf({"TITLE", "title", "a", "ARTIST", "REPLAYGAIN_TRACK_GAIN", ""}));
}

// Most items are alike; what comes after the input's end is.
std::string TakeItems(InputBytes &input)
{
    std::string bytes;
    for (uint32_t left = input.Byte() % kMostItems, number = 0; left != 0 && bytes.size() < kMostBytes;
         --left, ++number) {
        const std::string key = KeyOf(input, number);
        const uint8_t form = input.Byte();
        const uint8_t room = input.Byte();
        const size_t size = form < 240 ? 30 + room / 2u : 8u * room;
        const std::string texts = key + '\0' + std::string(size, 'v') + '\0';
        const auto length = static_cast<uint32_t>(texts.size());
        switch (form % 32) {
        case 29: // hidden, or a picture
            bytes += Item(static_cast<char>(1 + room % 3), length, texts);
            break;
        case 30: // a length that is wrong
            bytes += Item('\0', length + room - 128u, texts);
            break;
        case 31: // more zeros than belong there
            bytes += Item('\0', length + room % 4, texts + std::string(room % 4, '\0'));
            break;
        default:
            bytes += Item('\0', length, texts);
            break;
        }
    }
    for (uint32_t left = input.Below(4); left != 0 && !bytes.empty(); --left) {
        const size_t place = input.Word() % bytes.size();
        bytes[place] = static_cast<char>(input.Byte());
    }
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const auto bodies = tonekit::fuzz::EveryBody<decltype(ID3Helper_GetStr)>("ID3Helper_GetStr");
    InputBytes input(data, size);
    const std::string wanted = "KEY" + std::to_string(input.Byte() % kMostItems);
    tonekit::reference::TagBlockModel model;
    model.bytes = TakeItems(input);
    // Exactly as long as its items, so that a sanitizer sees a read past them.
    std::vector<uint8_t> buffer(model.bytes.begin(), model.bytes.end());
    TagBlock block{};
    block.buffer = buffer.data();
    block.capacity = block.used = static_cast<uint32_t>(buffer.size());
    for (const std::string &key :
         {wanted, wanted + "xxx", std::string("TITLE"), std::string("Replaygain_Track_Gain"),
          std::string("absent"), std::string("a")}) {
        const std::string expected = model.GetStr(key);
        for (auto *const body : bodies)
            Require(body(&block, key.c_str()) == expected);
    }
    return 0;
}
