// printable_model.cpp: the UU packing and Base64 spelt out bit by bit.
#include "tests/reference/printable_model.h"

namespace tonekit::reference {
namespace {

const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// A number as text of zeros and ones, highest first.
std::string Bits(unsigned number, int count)
{
    std::string bits;
    for (int bit = count - 1; bit >= 0; --bit)
        bits += number >> bit & 1 ? '1' : '0';
    return bits;
}

unsigned Number(const std::string &bits)
{
    unsigned number = 0;
    for (const char bit : bits)
        number = number * 2 + (bit == '1');
    return number;
}

} // namespace

std::string UUText(const Bytes &bytes)
{
    std::string text;
    for (size_t at = 0; at < bytes.size(); at += 3) {
        std::string gathered;
        for (size_t i = at; i < at + 3 && i < bytes.size(); ++i) {
            const std::string bits = Bits(bytes[i], 8);
            text += static_cast<char>(0x20 + Number(bits.substr(2)));
            gathered += bits.substr(0, 2);
        }
        gathered.resize(6, '0');
        text += static_cast<char>(0x20 + Number(gathered));
    }
    return text;
}

Bytes UUBytes(const std::string &text)
{
    Bytes bytes;
    for (size_t at = 0; at < text.size(); at += 4) {
        const std::string group = text.substr(at, 4);
        const std::string gathered = Bits((group.back() - 0x20) & 0xFF, 8).substr(2);
        for (size_t i = 0; i + 1 < group.size(); ++i) {
            const uint8_t low = static_cast<uint8_t>(group[i] - 0x20);
            bytes.push_back(static_cast<uint8_t>(low | Number(gathered.substr(2 * i, 2) + "000000")));
        }
    }
    return bytes;
}

std::string Base64Text(const Bytes &bytes)
{
    std::string bits;
    for (const uint8_t byte : bytes)
        bits += Bits(byte, 8);
    while (bits.size() % 6 != 0)
        bits += '0';
    std::string text;
    for (size_t at = 0; at < bits.size(); at += 6)
        text += kAlphabet[Number(bits.substr(at, 6))];
    while (text.size() % 4 != 0)
        text += '=';
    return text;
}

std::optional<Bytes> Base64Bytes(const std::string &text)
{
    if (text.empty() || text.find_first_not_of(kAlphabet + "=") != std::string::npos)
        return {};
    std::string bits;
    for (const char character : text.substr(0, text.find('=')))
        bits += Bits(static_cast<unsigned>(kAlphabet.find(character)), 6);
    Bytes bytes;
    for (size_t at = 0; at + 8 <= bits.size(); at += 8)
        bytes.push_back(static_cast<uint8_t>(Number(bits.substr(at, 8))));
    return bytes;
}

} // namespace tonekit::reference
