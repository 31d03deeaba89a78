// hmac_test.cpp: HMAC over the four hashes against RFC 4231 and the model, with keys around the block size.
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

static_assert(sizeof(HmacSha256Context) == 800 && offsetof(HmacSha256Context, outer) == 168 &&
              offsetof(HmacSha256Context, inner_saved) == 336 &&
              offsetof(HmacSha256Context, outer_saved) == 504 && offsetof(HmacSha256Context, ipad) == 672 &&
              offsetof(HmacSha256Context, opad) == 736);
static_assert(sizeof(HmacSha512Context) == 1568 && offsetof(HmacSha512Context, outer) == 328 &&
              offsetof(HmacSha512Context, inner_saved) == 656 &&
              offsetof(HmacSha512Context, outer_saved) == 984 && offsetof(HmacSha512Context, ipad) == 1312 &&
              offsetof(HmacSha512Context, opad) == 1440);

Bytes Text(const std::string &text)
{
    return Bytes(text.begin(), text.end());
}

// The test cases of RFC 4231, in the order SHA-224, SHA-256, SHA-384, SHA-512.
struct Published {
    Bytes key;
    Bytes message;
    const char *macs[4];
};

const std::vector<Published> kPublished = {
    {Bytes(20, 0x0B),
     Text("Hi There"),
     {"896fb1128abbdf196832107cd49df33f47b4b1169912ba4f53684b22",
      "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7",
      "afd03944d84895626b0825f4ab46907f15f9dadbe4101ec682aa034c7cebc59c"
      "faea9ea9076ede7f4af152e8b2fa9cb6",
      "87aa7cdea5ef619d4ff0b4241a1d6cb02379f4e2ce4ec2787ad0b30545e17cde"
      "daa833b7d6b8a702038b274eaea3f4e4be9d914eeb61f1702e696c203a126854"}},
    {Text("Jefe"),
     Text("what do ya want for nothing?"),
     {"a30e01098bc6dbbf45690f3a7e9e6d0f8bbea2a39e6148008fd05e44",
      "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843",
      "af45d2e376484031617f78d2b58a6b1b9c7ef464f5a01b47e42ec3736322445e"
      "8e2240ca5e69e2c78b3239ecfab21649",
      "164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea250554"
      "9758bf75c05a994a6d034f65f8f0e6fdcaeab1a34d4a6b4b636e070a38bce737"}},
    {Bytes(20, 0xAA),
     Bytes(50, 0xDD),
     {"7fb3cb3588c6c1f6ffa9694d7d6ad2649365b0c1f65d69d1ec8333ea",
      "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe",
      "88062608d3e6ad8a0aa2ace014c8a86f0aa635d947ac9febe83ef4e55966144b"
      "2a5ab39dc13814b94e3ab6e101a34f27",
      "fa73b0089d56a284efb0f0756c890be9b1b5dbdd8ee81a3655f83e33b2279d39"
      "bf3e848279a722c806b485a47e67c807b946a337bee8942674278859e13292fb"}},
    {FromHex("0102030405060708090a0b0c0d0e0f10111213141516171819"),
     Bytes(50, 0xCD),
     {"6c11506874013cac6a2abc1bb382627cec6a90d86efc012de7afec5a",
      "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b",
      "3e8a69b7783c25851933ab6290af6ca77a9981480850009cc5577c6e1f573b4e"
      "6801dd23c4a7d679ccf8a386c674cffb",
      "b0ba465637458c6990e5a8c5f61d4af7e576d97ff94b872de76f8050361ee3db"
      "a91ca5c11aa25eb4d679275cc5788063a5f19741120c4f2de2adebeb10a298dd"}},
    {Bytes(20, 0x0C),
     Text("Test With Truncation"),
     {"0e2aea68a90c8d37c988bcdb9fca6fa8", "a3b6167473100ee06e0c796c2955552b",
      "3abf34c3503b2a23a46efc619baef897", "415fad6271580a531d4179bc891d87a6"}},
    {Bytes(131, 0xAA),
     Text("Test Using Larger Than Block-Size Key - Hash Key First"),
     {"95e9a0db962095adaebe9b2d6f0dbce2d499f112f2d2b7273fa6870e",
      "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54",
      "4ece084485813e9088d2c63a041bc5b44f9ef1012a2b588f3cd11f05033ac4c6"
      "0c2ef6ab4030fe8296248df163f44952",
      "80b24263c7c1a3ebb71493c1dd7be8b49b46d1f41b4aeec1121b013783f8f352"
      "6b56d037e05f2598bd0fd2215d6a1e5295e64f73f63f0aec8b915a985d786598"}},
    {Bytes(131, 0xAA),
     Text("This is a test using a larger than block-size key and a larger than block-size data. The key "
          "needs to be hashed before being used by the HMAC algorithm."),
     {"3a854166ac5d9f023f54d517d0b39dbd946770db9c2b95c9f6f565d1",
      "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2",
      "6617178e941f020d351e2f254e8fd32c602420feb0b8fb9adccebb82461e99c5"
      "a678cc31e799176d3860e6110c46523e",
      "e37b6a775dc87dbaa4dfa9f96e5e3ffddebd71f8867289865df5a32d20cdc944"
      "b6022cac3c4982b10d5eeb55c3e4de15134676fb6de0446065c97440fa8c6a58"}},
};

constexpr int Place(int bits)
{
    return bits == 224 ? 0 : bits == 256 ? 1 : bits == 384 ? 2 : 3;
}

template <class Member>
std::string MacOf(const Member &member, const Bytes &key, const Bytes &message,
                  uint32_t macSize = Member::kDigestBytes)
{
    GuardedBuffer mac(macSize, 1);
    member.mac(key.data(), static_cast<uint32_t>(key.size()), message.data(),
               static_cast<uint32_t>(message.size()), mac.data(), macSize);
    EXPECT_TRUE(mac.Intact());
    return Hex(mac.data(), mac.size());
}

template <class Member>
std::string FinishedMac(const Member &member, typename Member::Record &record,
                        uint32_t macSize = Member::kDigestBytes)
{
    GuardedBuffer mac(macSize, 1);
    member.macFinal(&record, mac.data(), macSize);
    EXPECT_TRUE(mac.Intact());
    return Hex(mac.data(), mac.size());
}

template <class Member>
void Start(const Member &member, typename Member::Record &record, const Bytes &key)
{
    member.macInit(&record, key.data(), static_cast<uint32_t>(key.size()));
}

template <class Member>
void Add(const Member &member, typename Member::Record &record, const Bytes &message)
{
    member.macUpdate(&record, message.data(), static_cast<uint32_t>(message.size()));
}

Bytes RandomBytes(Random &random, size_t count)
{
    Bytes bytes(count);
    random.Fill(bytes.data(), count);
    return bytes;
}

class Hmac : public testing::TestWithParam<char> {};

TEST_P(Hmac, GivesThePublishedMacs)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        for (const Published &published : kPublished) {
            const std::string expected = published.macs[Place(member.kBits)];
            const auto macSize = static_cast<uint32_t>(expected.size() / 2);
            EXPECT_EQ(MacOf(member, published.key, published.message, macSize), expected) << member.name;
            typename std::decay_t<decltype(member)>::Record record;
            Start(member, record, published.key);
            Add(member, record, published.message);
            EXPECT_EQ(FinishedMac(member, record, macSize), expected) << member.name;
        }
    });
}

TEST_P(Hmac, TakesKeysOfAnySize)
{
    Random random(2104);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        for (const size_t keySize :
             {0u, 1u, 27u, 28u, 31u, 32u, 63u, 64u, 65u, 127u, 128u, 129u, 200u, 1000u})
            for (const size_t size : {0u, 1u, 64u, 200u}) {
                const Bytes key = RandomBytes(random, keySize);
                const Bytes message = RandomBytes(random, size);
                EXPECT_EQ(MacOf(member, key, message), Hex(reference::Hmac(member.kBits, key, message)))
                    << member.name << " key of " << keySize << " message of " << size;
            }
    });
}

TEST_P(Hmac, ALongKeyIsHashedWithTheMemberItself)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        const Bytes longKey(member.kBlockBytes + 1, 0x42);
        const Bytes message = Text("message");
        EXPECT_EQ(MacOf(member, longKey, message),
                  MacOf(member, reference::Sha2(member.kBits, longKey), message));
    });
}

TEST_P(Hmac, ThePadsHoldTheKey)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        constexpr size_t block = std::decay_t<decltype(member)>::kBlockBytes;
        typename std::decay_t<decltype(member)>::Record record;
        Start(member, record, Bytes{0xFF, 0x36, 0x5C});
        Bytes ipad(block, 0x36);
        Bytes opad(block, 0x5C);
        ipad[0] = 0xC9, ipad[1] = 0x00, ipad[2] = 0x6A;
        opad[0] = 0xA3, opad[1] = 0x6A, opad[2] = 0x00;
        EXPECT_EQ(Hex(record.ipad, block), Hex(ipad));
        EXPECT_EQ(Hex(record.opad, block), Hex(opad));
        EXPECT_EQ(record.inner.total_length, block);
        EXPECT_EQ(record.outer.total_length, block);
        EXPECT_EQ(record.inner.length, 0u);
        EXPECT_EQ(std::memcmp(&record.inner, &record.inner_saved, sizeof record.inner), 0);
        EXPECT_EQ(std::memcmp(&record.outer, &record.outer_saved, sizeof record.outer), 0);
    });
}

TEST_P(Hmac, ReinitServesFurtherMessagesWithTheKeyAlone)
{
    const Bytes key = Text("a key");
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        typename std::decay_t<decltype(member)>::Record record;
        Start(member, record, key);
        std::memset(record.ipad, 0, sizeof record.ipad); // not looked at again
        std::memset(record.opad, 0, sizeof record.opad);
        for (const char *text : {"one", "two", "one", ""}) {
            Add(member, record, Text(text));
            EXPECT_EQ(FinishedMac(member, record), Hex(reference::Hmac(member.kBits, key, Text(text))));
            member.macReinit(&record);
        }
        Add(member, record, Text("thrown away"));
        member.macReinit(&record);
        Add(member, record, Text("two"));
        EXPECT_EQ(FinishedMac(member, record), Hex(reference::Hmac(member.kBits, key, Text("two"))));
    });
}

TEST_P(Hmac, TakesTheMessageInPieces)
{
    Random random(4231);
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        for (int round = 0; round < 50; ++round) {
            const Bytes key = RandomBytes(random, random.Below(200));
            const Bytes message = RandomBytes(random, random.Below(1000));
            typename std::decay_t<decltype(member)>::Record record;
            Start(member, record, key);
            for (size_t at = 0; at < message.size();) {
                const uint32_t piece = random.Below(static_cast<uint32_t>(message.size() - at) + 1);
                member.macUpdate(&record, message.data() + at, piece);
                at += piece;
            }
            EXPECT_EQ(FinishedMac(member, record), Hex(reference::Hmac(member.kBits, key, message)));
        }
    });
}

TEST_P(Hmac, AMacSizeCutsTheMac)
{
    const Bytes key = Text("key");
    const Bytes message = Text("message");
    ForEachSha2Member(GetParam(), [&](const auto &member) {
        const std::string whole = Hex(reference::Hmac(member.kBits, key, message));
        for (const uint32_t macSize : {0u, 1u, 16u, member.kDigestBytes})
            EXPECT_EQ(MacOf(member, key, message, macSize), whole.substr(0, 2 * macSize));
    });
}

TEST_P(Hmac, AMacSizeBeyondTheDigestHandsOutNothingElse)
{
    ForEachSha2Member(GetParam(), [](const auto &member) {
        Bytes mac(200, 0xEE);
        member.mac(nullptr, 0, nullptr, 0, mac.data(), 200);
        Bytes expected = reference::Hmac(member.kBits, {}, {});
        expected.resize(200, 0xEE);
        EXPECT_EQ(Hex(mac), Hex(expected));
    });
}

INSTANTIATE_TEST_SUITE_P(Bodies, Hmac, testing::ValuesIn(RunnableLetters()),
                         [](const auto &letter) { return std::string(1, letter.param); });

} // namespace
} // namespace tonekit
