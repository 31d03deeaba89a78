// md5.cpp: MD5 as RFC 1321 has it.
#include "host/audio/md5.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace tonekit::host {

namespace {

// The integer part of 2^32 times the magnitude of the sine of 1, 2, 3...
constexpr std::array<uint32_t, 64> kSines = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391};

uint32_t Little32(const unsigned char *bytes)
{
    return uint32_t{bytes[3]} << 24 | uint32_t{bytes[2]} << 16 | uint32_t{bytes[1]} << 8 | bytes[0];
}

// One of the four rounds: a function of three words, the order of the block's words, and four rotations.
template <int Round, class Mix>
void Turn(std::array<uint32_t, 4> &s, const std::array<uint32_t, 16> &words, Mix mix)
{
    constexpr int kRotations[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    constexpr size_t kSteps[4] = {1, 5, 3, 7};
    constexpr size_t kStarts[4] = {0, 1, 5, 0};
    const auto step = [&](size_t i, uint32_t &a, uint32_t b, uint32_t c, uint32_t d) {
        const uint32_t word = words[(kStarts[Round] + kSteps[Round] * i) % 16];
        a = b + std::rotl(a + mix(b, c, d) + word + kSines[16 * Round + i], kRotations[Round][i % 4]);
    };
    for (size_t i = 0; i < 16; i += 4) {
        step(i, s[0], s[1], s[2], s[3]);
        step(i + 1, s[3], s[0], s[1], s[2]);
        step(i + 2, s[2], s[3], s[0], s[1]);
        step(i + 3, s[1], s[2], s[3], s[0]);
    }
}

} // namespace

void Md5::TakeBlock(const unsigned char *bytes)
{
    std::array<uint32_t, 16> words;
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = Little32(bytes + 4 * i);
    std::array<uint32_t, 4> s = state_;
    Turn<0>(s, words, [](uint32_t x, uint32_t y, uint32_t z) { return (x & y) | (~x & z); });
    Turn<1>(s, words, [](uint32_t x, uint32_t y, uint32_t z) { return (x & z) + (y & ~z); });
    Turn<2>(s, words, [](uint32_t x, uint32_t y, uint32_t z) { return x ^ y ^ z; });
    Turn<3>(s, words, [](uint32_t x, uint32_t y, uint32_t z) { return y ^ (x | ~z); });
    for (size_t i = 0; i < s.size(); ++i)
        state_[i] += s[i];
}

void Md5::Take(std::span<const unsigned char> bytes)
{
    const size_t held = size_ % kBlock;
    size_ += bytes.size();
    if (held > 0) {
        const size_t here = std::min(kBlock - held, bytes.size());
        std::copy_n(bytes.begin(), here, held_.begin() + static_cast<ptrdiff_t>(held));
        bytes = bytes.subspan(here);
        if (held + here < kBlock)
            return;
        TakeBlock(held_.data());
    }
    for (; bytes.size() >= kBlock; bytes = bytes.subspan(kBlock))
        TakeBlock(bytes.data());
    std::copy(bytes.begin(), bytes.end(), held_.begin());
}

Md5::Digest Md5::Finish()
{
    const uint64_t bits = size_ * 8;
    constexpr std::array<unsigned char, kBlock> kEnd = {0x80};
    const size_t held = size_ % kBlock;
    Take(std::span(kEnd).first(held < 56 ? 56 - held : 120 - held));
    std::array<unsigned char, 8> count;
    for (size_t i = 0; i < count.size(); ++i)
        count[i] = static_cast<unsigned char>(bits >> 8 * i);
    Take(count);
    Digest digest;
    for (size_t i = 0; i < digest.size(); ++i)
        digest[i] = static_cast<unsigned char>(state_[i / 4] >> 8 * (i % 4));
    return digest;
}

} // namespace tonekit::host
