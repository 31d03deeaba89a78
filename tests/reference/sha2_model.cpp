// sha2_model.cpp: SHA-2 and HMAC step by step, with constants made from the prime numbers.
#include "tests/reference/sha2_model.h"

#include <cstddef>
#include <limits>

namespace tonekit::reference {
namespace {

// 256-bit whole numbers as 32-bit digits, lowest first: enough for the cube of a 67-bit root.
using Number = std::array<uint64_t, 8>;

Number Product(const Number &x, const Number &y)
{
    Number product{};
    for (size_t i = 0; i < 8; ++i) {
        uint64_t carry = 0;
        for (size_t j = 0; i + j < 8; ++j) {
            const uint64_t digit = product[i + j] + x[i] * y[j] + carry;
            product[i + j] = digit & 0xFFFFFFFF;
            carry = digit >> 32;
        }
    }
    return product;
}

bool IsAbove(const Number &x, const Number &y)
{
    for (size_t i = 8; i-- > 0;)
        if (x[i] != y[i])
            return x[i] > y[i];
    return false;
}

// The first 64 bits of the fractional part of the square root (power 2) or cube root (power 3) of a prime:
// the root of prime * 2^(64 * power), found bit by bit, without its whole part.
uint64_t FractionOfRoot(uint64_t prime, size_t power)
{
    Number scaled{};
    scaled[2 * power] = prime;
    Number root{};
    for (size_t bit = 71; bit-- > 0;) {
        Number larger = root;
        larger[bit / 32] |= uint64_t{1} << bit % 32;
        Number raised = larger;
        for (size_t i = 1; i < power; ++i)
            raised = Product(raised, larger);
        if (!IsAbove(raised, scaled))
            root = larger;
    }
    return root[1] << 32 | root[0];
}

std::vector<uint64_t> FractionsOfRoots(size_t count, size_t power)
{
    std::vector<uint64_t> fractions;
    for (uint64_t candidate = 2; fractions.size() < count; ++candidate) {
        bool prime = true;
        for (uint64_t divisor = 2; divisor < candidate; ++divisor)
            prime = prime && candidate % divisor != 0;
        if (prime)
            fractions.push_back(FractionOfRoot(candidate, power));
    }
    return fractions;
}

struct Width32 {
    using Word = uint32_t;
    static constexpr size_t kRounds = 64;
    static constexpr int kConstantShift = 32;
    static constexpr int kSum0[3] = {2, 13, 22}, kSum1[3] = {6, 11, 25};
    static constexpr int kSigma0[3] = {7, 18, 3}, kSigma1[3] = {17, 19, 10}; // the last of each is a shift
};

struct Width64 {
    using Word = uint64_t;
    static constexpr size_t kRounds = 80;
    static constexpr int kConstantShift = 0;
    static constexpr int kSum0[3] = {28, 34, 39}, kSum1[3] = {14, 18, 41};
    static constexpr int kSigma0[3] = {1, 8, 7}, kSigma1[3] = {19, 61, 6};
};

template <class Word>
Word RotateRight(Word word, int bits)
{
    return word >> bits | word << (std::numeric_limits<Word>::digits - bits);
}

template <class Word>
Word Sum(Word word, const int (&by)[3])
{
    return RotateRight(word, by[0]) ^ RotateRight(word, by[1]) ^ RotateRight(word, by[2]);
}

template <class Word>
Word Sigma(Word word, const int (&by)[3])
{
    return RotateRight(word, by[0]) ^ RotateRight(word, by[1]) ^ word >> by[2];
}

template <class Width, class Word = typename Width::Word>
void Compress(std::array<Word, 8> &state, const uint8_t *block)
{
    static const std::vector<uint64_t> constants = FractionsOfRoots(Width::kRounds, 3);
    std::vector<Word> w;
    for (size_t t = 0; t < 16; ++t) {
        Word word = 0;
        for (size_t i = 0; i < sizeof(Word); ++i)
            word = static_cast<Word>(word << 8 | block[t * sizeof(Word) + i]);
        w.push_back(word);
    }
    for (size_t t = 16; t < Width::kRounds; ++t)
        w.push_back(Sigma(w[t - 2], Width::kSigma1) + w[t - 7] + Sigma(w[t - 15], Width::kSigma0) +
                    w[t - 16]);
    auto [a, b, c, d, e, f, g, h] = state;
    for (size_t t = 0; t < Width::kRounds; ++t) {
        const Word constant = static_cast<Word>(constants[t] >> Width::kConstantShift);
        const Word t1 = h + Sum(e, Width::kSum1) + ((e & f) ^ (~e & g)) + constant + w[t];
        const Word t2 = Sum(a, Width::kSum0) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    const std::array<Word, 8> worked = {a, b, c, d, e, f, g, h};
    for (size_t i = 0; i < 8; ++i)
        state[i] += worked[i];
}

template <class Width, class Word = typename Width::Word>
Bytes Digest(std::array<Word, 8> state, size_t digestBytes, Bytes message, uint64_t countedBefore)
{
    const size_t blockBytes = 16 * sizeof(Word);
    const auto lengthInBits = static_cast<uint32_t>((message.size() + countedBefore) * 8);
    message.push_back(0x80);
    // The standard's length field has two words, of which only the last 32 bits are used.
    while (message.size() % blockBytes != blockBytes - 2 * sizeof(Word))
        message.push_back(0);
    message.resize(message.size() + 2 * sizeof(Word) - 4);
    for (int shift = 24; shift >= 0; shift -= 8)
        message.push_back(static_cast<uint8_t>(lengthInBits >> shift));
    for (size_t at = 0; at < message.size(); at += blockBytes)
        Compress<Width>(state, message.data() + at);
    Bytes digest;
    for (const Word word : state)
        for (int shift = 8 * sizeof(Word) - 8; shift >= 0; shift -= 8)
            digest.push_back(static_cast<uint8_t>(word >> shift));
    digest.resize(digestBytes);
    return digest;
}

} // namespace

void CompressSha256(std::array<uint32_t, 8> &state, const uint8_t *block)
{
    Compress<Width32>(state, block);
}

void CompressSha512(std::array<uint64_t, 8> &state, const uint8_t *block)
{
    Compress<Width64>(state, block);
}

Bytes Sha2(int bits, const Bytes &message, uint64_t countedBefore)
{
    // SHA-256 and SHA-512 start with the first eight primes; SHA-384 with the next eight, and SHA-224 with
    // the low halves of those.
    static const std::vector<uint64_t> roots = FractionsOfRoots(16, 2);
    const size_t firstPrime = bits == 224 || bits == 384 ? 8 : 0;
    if (bits >= 384) {
        std::array<uint64_t, 8> state;
        for (size_t i = 0; i < 8; ++i)
            state[i] = roots[firstPrime + i];
        return Digest<Width64>(state, static_cast<size_t>(bits / 8), message, countedBefore);
    }
    std::array<uint32_t, 8> state;
    for (size_t i = 0; i < 8; ++i)
        state[i] = static_cast<uint32_t>(bits == 224 ? roots[firstPrime + i] : roots[firstPrime + i] >> 32);
    return Digest<Width32>(state, static_cast<size_t>(bits / 8), message, countedBefore);
}

Bytes Hmac(int bits, const Bytes &key, const Bytes &message)
{
    const size_t blockBytes = bits >= 384 ? 128 : 64;
    Bytes blockKey = key.size() > blockBytes ? Sha2(bits, key) : key;
    blockKey.resize(blockBytes);
    Bytes inner;
    Bytes outer;
    for (const uint8_t byte : blockKey) {
        inner.push_back(byte ^ 0x36);
        outer.push_back(byte ^ 0x5C);
    }
    inner.insert(inner.end(), message.begin(), message.end());
    const Bytes digest = Sha2(bits, inner);
    outer.insert(outer.end(), digest.begin(), digest.end());
    return Sha2(bits, outer);
}

} // namespace tonekit::reference
