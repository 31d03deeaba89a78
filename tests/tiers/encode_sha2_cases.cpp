// encode_sha2_cases.cpp: SHA-2 and HMAC with random messages, keys and cuts.
#include "encode/sha2_transform.h"
#include "tests/encode/sha2_members.h"
#include "tests/tiers/tiers.h"

#include <cstring>

namespace tonekit::tiers {

template <class Word>
static void ExerciseTransform(const Bodies &bodies, Random &random, Record &record, const char *name)
{
    const auto body = bodies.Get<void(Word *, const uint8_t *, size_t)>(name);
    for (size_t blocks = 0; blocks <= 5; ++blocks) {
        GuardedBuffer state(8 * sizeof(Word));
        random.Fill(state.data(), state.size());
        GuardedBuffer message(blocks * 16 * sizeof(Word), random.Below(16));
        random.Fill(message.data(), message.size());
        body(state.As<Word>(), message.data(), blocks);
        record.Guards(state);
        record.Guards(message);
    }
}

static void ExerciseTransforms(const Bodies &bodies, Random &random, Record &record)
{
    ExerciseTransform<uint32_t>(bodies, random, record, "Sha256Transform");
    ExerciseTransform<uint64_t>(bodies, random, record, "Sha512Transform");
}
TONEKIT_TIER_CASE(ExerciseTransforms, "Sha256Transform", "Sha512Transform");

// The whole record counts as observable, its padding included.
static void ExerciseHashes(const Bodies &bodies, Random &random, Record &record)
{
    ForEachSha2Member(bodies.Letter(), [&](const auto &member) {
        using Context = typename std::decay_t<decltype(member)>::Context;
        for (int round = 0; round < 100; ++round) {
            GuardedBuffer message(random.Below(700), random.Below(16));
            random.Fill(message.data(), message.size());
            GuardedBuffer digest(member.kDigestBytes, random.Below(8));
            bodies.Named(member.name, member.hash)(message.data(), static_cast<uint32_t>(message.size()),
                                                   digest.data());
            record.Guards(digest);

            GuardedBuffer memory(sizeof(Context));
            random.Fill(memory.data(), memory.size());
            auto *context = memory.template As<Context>();
            bodies.Named(member.name + "_init", member.init)(context);
            context->total_length = random.Below(2) ? 0 : static_cast<uint32_t>(random.Next());
            for (size_t at = 0; at < message.size();) {
                const uint32_t piece = random.Below(static_cast<uint32_t>(message.size() - at) + 1);
                bodies.Named(member.name + "_update", member.update)(context, message.data() + at, piece);
                at += piece;
                record.Guards(memory);
            }
            bodies.Named(member.name + "_final", member.final)(context, digest.data());
            record.Guards(memory);
            record.Guards(digest);
        }
    });
}
TONEKIT_TIER_CASE(ExerciseHashes, "sha224", "sha224_init", "sha224_update", "sha224_final", "sha256",
                  "sha256_init", "sha256_update", "sha256_final", "sha384", "sha384_init", "sha384_update",
                  "sha384_final", "sha512", "sha512_init", "sha512_update", "sha512_final");

static void ExerciseMacs(const Bodies &bodies, Random &random, Record &record)
{
    ForEachSha2Member(bodies.Letter(), [&](const auto &member) {
        using MacRecord = typename std::decay_t<decltype(member)>::Record;
        for (int round = 0; round < 50; ++round) {
            GuardedBuffer key(random.Below(300), random.Below(16));
            random.Fill(key.data(), key.size());
            const auto keySize = static_cast<uint32_t>(key.size());
            GuardedBuffer message(random.Below(300), random.Below(16));
            random.Fill(message.data(), message.size());
            const auto size = static_cast<uint32_t>(message.size());
            GuardedBuffer mac(random.Below(member.kDigestBytes + 1), random.Below(8));
            const auto macSize = static_cast<uint32_t>(mac.size());
            bodies.Named("hmac_" + member.name, member.mac)(key.data(), keySize, message.data(), size,
                                                            mac.data(), macSize);
            record.Guards(mac);

            GuardedBuffer memory(sizeof(MacRecord));
            random.Fill(memory.data(), memory.size());
            auto *macRecord = memory.template As<MacRecord>();
            bodies.Named("hmac_" + member.name + "_init", member.macInit)(macRecord, key.data(), keySize);
            for (int repeat = 0; repeat < 2; ++repeat) {
                bodies.Named(member.name + "_update", member.update)(&macRecord->inner, message.data(), size);
                record.Guards(memory);
                bodies.Named("hmac_" + member.name + "_final", member.macFinal)(macRecord, mac.data(),
                                                                                macSize);
                record.Guards(memory);
                record.Guards(mac);
                bodies.Named("hmac_" + member.name + "_reinit", member.macReinit)(macRecord);
            }
            record.Guards(memory);
        }
    });
}
TONEKIT_TIER_CASE(ExerciseMacs, "hmac_sha224", "hmac_sha224_init", "hmac_sha224_reinit", "hmac_sha224_final",
                  "hmac_sha256", "hmac_sha256_init", "hmac_sha256_reinit", "hmac_sha256_final", "hmac_sha384",
                  "hmac_sha384_init", "hmac_sha384_reinit", "hmac_sha384_final", "hmac_sha512",
                  "hmac_sha512_init", "hmac_sha512_reinit", "hmac_sha512_final");

static void BenchSha256Transform(const Bodies &bodies)
{
    static const std::vector<uint8_t> blocks(64 * 256);
    uint32_t state[8] = {};
    bodies.Get<void(uint32_t *, const uint8_t *, size_t)>("Sha256Transform")(state, blocks.data(), 256);
}
TONEKIT_TIER_BENCH(BenchSha256Transform, "Sha256Transform");

static void BenchSha512Transform(const Bodies &bodies)
{
    static const std::vector<uint8_t> blocks(128 * 128);
    uint64_t state[8] = {};
    bodies.Get<void(uint64_t *, const uint8_t *, size_t)>("Sha512Transform")(state, blocks.data(), 128);
}
TONEKIT_TIER_BENCH(BenchSha512Transform, "Sha512Transform");

} // namespace tonekit::tiers
