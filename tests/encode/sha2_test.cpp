// sha2_test.cpp: the four hashes against published values and the model, at once and in pieces.
#include "tests/encode/hex.h"
#include "tests/encode/sha2_members.h"
#include "tests/reference/sha2_model.h"
#include "tests/support/guarded_buffer.h"
#include "tests/support/random.h"

#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace tonekit {
namespace {

using reference::Bytes;

static_assert(sizeof(Sha256Context) == 168 && offsetof(Sha256Context, length) == 4 &&
              offsetof(Sha256Context, block) == 8 && offsetof(Sha256Context, state) == 136);
static_assert(sizeof(Sha512Context) == 328 && offsetof(Sha512Context, length) == 4 &&
              offsetof(Sha512Context, block) == 8 && offsetof(Sha512Context, state) == 264);

// Examples of FIPS 180-4 and of the NIST example pages, in the order SHA-224, SHA-256, SHA-384, SHA-512.
struct Published {
    std::string message;
    const char *digests[4];
};

const Published kPublished[] = {
    {"",
     {"d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f",
      "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
      "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da"
      "274edebfe76f65fbd51ad2f14898b95b",
      "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
      "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"}},
    {"abc",
     {"23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7",
      "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
      "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed"
      "8086072ba1e7cc2358baeca134c825a7",
      "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
      "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"}},
    {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     {"75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525",
      "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1",
      "3391fdddfc8dc7393707a65b1b4709397cf8b1d162af05abfe8f450de5f36bc6"
      "b0455a8520bc4e6f5fe95b1fe3c8452b",
      "204a8fc6dda82f0a0ced7beb8e08a41657c16ef468b228a8279be331a703c335"
      "96fd15c13b1b07f9aa1d3bea57789ca031ad85c7a71dd70354ec631238ca3445"}},
    {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
     "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu",
     {"c97ca9a559850ce97a04a96def6d99a9e0e0e2ab14e6b8df265fc0b3",
      "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1",
      "09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712"
      "fcc7c71a557e2db966c3e9fa91746039",
      "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
      "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909"}},
};

const char *const kMillionLettersA[4] = {
    "20794655980c91d8bbb4c1ea97618a4bf03f42581948b2ee4ee7ad67",
    "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0",
    "9d0e1809716474cb086e834e310a4a1ced149e9c00f248527972cec5704c2a5b"
    "07b8b3dc38ecc4ebae97ddd87f3d8985",
    "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
    "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b",
};

template <class Member>
std::string DigestOf(const Member &member, const uint8_t *message, size_t size)
{
    GuardedBuffer digest(Member::kDigestBytes, 1);
    member.hash(message, static_cast<uint32_t>(size), digest.data());
    EXPECT_TRUE(digest.Intact());
    return Hex(digest.data(), digest.size());
}

template <class Member>
std::string FinishedDigest(const Member &member, typename Member::Context &context)
{
    GuardedBuffer digest(Member::kDigestBytes, 3);
    member.final(&context, digest.data());
    EXPECT_TRUE(digest.Intact());
    return Hex(digest.data(), digest.size());
}

Bytes RandomBytes(Random &random, size_t count)
{
    Bytes bytes(count);
    random.Fill(bytes.data(), count);
    return bytes;
}

constexpr int Place(int bits)
{
    return bits == 224 ? 0 : bits == 256 ? 1 : bits == 384 ? 2 : 3;
}

TEST(Sha2Model, GivesThePublishedDigests)
{
    for (const Published &published : kPublished)
        for (const int bits : {224, 256, 384, 512})
            EXPECT_EQ(Hex(reference::Sha2(bits, Bytes(published.message.begin(), published.message.end()))),
                      published.digests[Place(bits)]);
}

class Sha2 : public testing::TestWithParam<char> {};

TEST_P(Sha2, GivesThePublishedDigests)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        for (const Published &published : kPublished) {
            const auto *message = reinterpret_cast<const uint8_t *>(published.message.data());
            EXPECT_EQ(DigestOf(member, message, published.message.size()),
                      published.digests[Place(member.kBits)])
                << member.name;
        }
    });
}

TEST_P(Sha2, NullIsAnEmptyMessage)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        EXPECT_EQ(DigestOf(member, nullptr, 0), kPublished[0].digests[Place(member.kBits)]);
    });
}

TEST_P(Sha2, HashesAMillionLettersAtOnceAndInPieces)
{
    const Bytes message(1000000, 'a');
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        const char *expected = kMillionLettersA[Place(member.kBits)];
        EXPECT_EQ(DigestOf(member, message.data(), message.size()), expected);
        typename std::decay_t<decltype(member)>::Context context;
        member.init(&context);
        for (size_t at = 0; at < message.size(); at += 1000)
            member.update(&context, message.data() + at, 1000);
        EXPECT_EQ(FinishedDigest(member, context), expected);
    });
}

TEST_P(Sha2, EveryLengthTo1000AtOnceAndInRandomPieces)
{
    Random random(224256);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        for (size_t length = 0; length <= 1000; ++length) {
            const Bytes message = RandomBytes(random, length);
            const std::string expected = Hex(reference::Sha2(member.kBits, message));
            ASSERT_EQ(DigestOf(member, message.data(), length), expected)
                << member.name << " length " << length;
            typename std::decay_t<decltype(member)>::Context context;
            member.init(&context);
            for (size_t at = 0; at < length;) {
                const size_t piece = random.Below(static_cast<uint32_t>(length - at) + 1);
                member.update(&context, message.data() + at, static_cast<uint32_t>(piece));
                at += piece;
            }
            ASSERT_EQ(FinishedDigest(member, context), expected) << member.name << " length " << length;
        }
    });
}

TEST_P(Sha2, TheLengthsAroundTheLengthFieldByteByByte)
{
    Random random(55);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        for (const size_t length :
             {1u, 55u, 56u, 57u, 63u, 64u, 65u, 111u, 112u, 113u, 119u, 120u, 127u, 128u, 129u, 256u}) {
            const Bytes message = RandomBytes(random, length);
            typename std::decay_t<decltype(member)>::Context context;
            member.init(&context);
            for (const uint8_t &byte : message)
                member.update(&context, &byte, 1);
            EXPECT_EQ(FinishedDigest(member, context), Hex(reference::Sha2(member.kBits, message)))
                << member.name << " length " << length;
        }
    });
}

TEST_P(Sha2, MessagesNeedNoAlignment)
{
    Random random(8);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        for (size_t misalignment = 0; misalignment < 32; ++misalignment) {
            GuardedBuffer message(517, misalignment);
            random.Fill(message.data(), message.size());
            EXPECT_EQ(
                DigestOf(member, message.data(), message.size()),
                Hex(reference::Sha2(member.kBits, Bytes(message.data(), message.data() + message.size()))));
            EXPECT_TRUE(message.Intact());
        }
    });
}

TEST_P(Sha2, InitLeavesTheBlockAsItIs)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        typename std::decay_t<decltype(member)>::Context context;
        std::memset(&context, 0xA5, sizeof context);
        member.init(&context);
        EXPECT_EQ(context.total_length, 0u);
        EXPECT_EQ(context.length, 0u);
        EXPECT_EQ(Hex(context.block, sizeof context.block), Hex(Bytes(sizeof context.block, 0xA5)));
    });
}

TEST_P(Sha2, UpdateWithNothingChangesNothing)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        typename std::decay_t<decltype(member)>::Context context, before;
        std::memset(&context, 0, sizeof context);
        member.init(&context);
        for (const uint8_t byte : std::initializer_list<uint8_t>{1, 2, 3}) {
            std::memcpy(&before, &context, sizeof context);
            member.update(&context, nullptr, 0);
            EXPECT_EQ(std::memcmp(&before, &context, sizeof context), 0);
            member.update(&context, &byte, 1);
        }
    });
}

TEST_P(Sha2, TheRecordTellsHowFarTheMessageIs)
{
    Random random(100);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        constexpr uint32_t block = std::decay_t<decltype(member)>::kBlockBytes;
        const Bytes message = RandomBytes(random, 4 * block);
        typename std::decay_t<decltype(member)>::Context context;
        member.init(&context);
        const auto expectRecord = [&](uint32_t total, uint32_t length, uint32_t waitingFrom) {
            EXPECT_EQ(context.total_length, total);
            EXPECT_EQ(context.length, length);
            EXPECT_EQ(Hex(context.block, length), Hex(message.data() + waitingFrom, length));
        };
        member.update(&context, message.data(), block - 1);
        expectRecord(0, block - 1, 0);
        member.update(&context, message.data() + block - 1, 1);
        expectRecord(block, 0, 0);
        member.update(&context, message.data() + block, 5);
        expectRecord(block, 5, block);
        member.update(&context, message.data() + block + 5, 2 * block + 7);
        expectRecord(3 * block, 12, 3 * block);
    });
}

TEST_P(Sha2, RecordsMayBeCopiedOnTheWay)
{
    const Bytes message(200, 7);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        typename std::decay_t<decltype(member)>::Context context;
        member.init(&context);
        member.update(&context, message.data(), 150);
        auto copy = context;
        member.update(&context, message.data(), 50);
        EXPECT_EQ(FinishedDigest(member, context), Hex(reference::Sha2(member.kBits, message)));
        EXPECT_EQ(FinishedDigest(member, copy), Hex(reference::Sha2(member.kBits, Bytes(150, 7))));
    });
}

// The size in bits is kept in 32 bits: from 512 MiB on it has lost its top.
TEST_P(Sha2, TheLengthOfAMessageIsCountedIn32Bits)
{
    const Bytes message(300, 9);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        for (const uint32_t before :
             {0x1FFFFE00u, 0x1FFFFF00u, 0x20000000u, 0x40000000u, 0xFFFFFE00u, 0xFFFFFF00u}) {
            typename std::decay_t<decltype(member)>::Context context;
            member.init(&context);
            context.total_length = before;
            member.update(&context, message.data(), 300);
            EXPECT_EQ(context.total_length, before + 256u);
            EXPECT_EQ(FinishedDigest(member, context), Hex(reference::Sha2(member.kBits, message, before)))
                << member.name << " from " << before;
        }
    });
}

INSTANTIATE_TEST_SUITE_P(Bodies, Sha2, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

// 512 MiB in full: one byte less still has the digest of the standard.
TEST(Sha2LongMessage, LeavesTheStandardAt512MiB)
{
    const Bytes piece(1 << 20);
    Sha256Context context;
    sha256_init(&context);
    for (int i = 0; i < 511; ++i)
        sha256_update(&context, piece.data(), 1 << 20);
    sha256_update(&context, piece.data(), (1 << 20) - 1);
    Sha256Context whole = context;
    uint8_t digest[32];
    sha256_final(&context, digest);
    EXPECT_EQ(Hex(digest, 32), "bf7f45d9df691bd277948d7f124b87a9f76e16ddb5d8fb25a49df939798f0a01");
    sha256_update(&whole, piece.data(), 1);
    EXPECT_EQ(whole.total_length, 1u << 29);
    std::array<uint32_t, 8> state;
    std::memcpy(state.data(), whole.state, sizeof whole.state);
    sha256_final(&whole, digest);
    Bytes lastBlock(64);
    lastBlock[0] = 0x80; // and a length of 0 bits
    reference::CompressSha256(state, lastBlock.data());
    Bytes expected;
    for (const uint32_t word : state)
        for (int shift = 24; shift >= 0; shift -= 8)
            expected.push_back(static_cast<uint8_t>(word >> shift));
    EXPECT_EQ(Hex(digest, 32), Hex(expected));
}

} // namespace
} // namespace tonekit
