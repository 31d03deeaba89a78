// sha2_compress.h: the compression of a block, which SHA-256 and SHA-512 share but for the width of a word.
//
// For tier units only. What a hash brings along (see the parameter
// Hash):
//   Word                       uint32_t or uint64_t
//   Four                       four words of the message schedule of each block, in vector registers
//   kRounds                    64 or 80
//   kBlocks                    blocks whose schedules are made at once: 1, or 2 in the lanes of wider
//   registers kSumOfE, kSumOfA           the three rotations of the sums over e and a Load(bytes) four words
//   of the message ReplaceFirst, ReplaceLast  (w0, w1, w2, w3): make the first or last two of the four words
//   after the
//                              sixteen given, in the place of w0
//   Store(words, round, to)    stores four words with the constants of the rounds from round on added
#pragma once

#include "frame/tier.h"

#include <cstdint>

namespace tonekit::TONEKIT_TIER {
namespace {

// A round is one long sum, and its speed hangs on the order of the additions: what is known early first, what
// the last round made late. The compiler would regroup it; a value that passes through here stays as it is.
template <class Word>
[[gnu::always_inline]] inline Word AsGrouped(Word value)
{
    asm("" : "+r"(value));
    return value;
}

template <class Word>
[[gnu::always_inline]] inline Word RotatedRight(Word value, int bits)
{
    return value >> bits | value << (int(sizeof(Word)) * 8 - bits);
}

template <class Word>
[[gnu::always_inline]] inline Word Sum(Word value, const int (&by)[3])
{
    return RotatedRight(value, by[0]) ^ RotatedRight(value, by[1]) ^ RotatedRight(value, by[2]);
}

// "Ch": the bits of f where e has ones, those of g where it has zeros.
template <class Word>
[[gnu::always_inline]] inline Word Chosen(Word e, Word f, Word g)
{
    return AsGrouped<Word>((f ^ g) & e) ^ g;
}

// One round, with the variables named as in the standard. Its c comes in bXorC, which goes on to the next.
template <class Hash, class Word>
[[gnu::always_inline]] inline void Round(Word a, Word b, Word, Word &d, Word e, Word f, Word g, Word &h,
                                         Word &bXorC, Word scheduled)
{
    Word sum = AsGrouped<Word>(h + scheduled);
#ifdef __BMI__
    sum = AsGrouped<Word>(sum + AsGrouped<Word>(e & f));
    sum = AsGrouped<Word>(sum + (~e & g));
#else
    sum = AsGrouped<Word>(sum + Chosen(e, f, g));
#endif
    sum = AsGrouped<Word>(sum + Sum(e, Hash::kSumOfE));
    d = AsGrouped<Word>(d + sum);
    const Word aXorB = a ^ b;
    sum = AsGrouped<Word>(sum + AsGrouped<Word>((bXorC & aXorB) ^ b));
    h = AsGrouped<Word>(sum + Sum(a, Hash::kSumOfA));
    bXorC = aXorB;
}

// The working variables of a block. A round moves them all on by one place; here they stay where they are,
// and the rounds take them in turn.
template <class Hash>
struct Working {
    using Word = typename Hash::Word;
    Word a, b, c, d, e, f, g, h;
    Word bXorC; // b ^ c of the coming round is a ^ b of the last: half of "Maj" is done already

    [[gnu::always_inline]] inline explicit Working(const Word *state)
        : a(state[0]), b(state[1]), c(state[2]), d(state[3]), e(state[4]), f(state[5]), g(state[6]),
          h(state[7]), bXorC(state[1] ^ state[2])
    {}

    [[gnu::always_inline]] inline void AddTo(Word *state) const
    {
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
        state[5] += f;
        state[6] += g;
        state[7] += h;
    }

    // Two rounds of eight in turn. Scheduled: the four words of the schedule that they and the two rounds
    // before or after them take, constants added.
    [[gnu::always_inline]] inline void Rounds01(const Word *scheduled)
    {
        Round<Hash>(a, b, c, d, e, f, g, h, bXorC, scheduled[0]);
        Round<Hash>(h, a, b, c, d, e, f, g, bXorC, scheduled[1]);
    }

    [[gnu::always_inline]] inline void Rounds23(const Word *scheduled)
    {
        Round<Hash>(g, h, a, b, c, d, e, f, bXorC, scheduled[2]);
        Round<Hash>(f, g, h, a, b, c, d, e, bXorC, scheduled[3]);
    }

    [[gnu::always_inline]] inline void Rounds45(const Word *scheduled)
    {
        Round<Hash>(e, f, g, h, a, b, c, d, bXorC, scheduled[0]);
        Round<Hash>(d, e, f, g, h, a, b, c, bXorC, scheduled[1]);
    }

    [[gnu::always_inline]] inline void Rounds67(const Word *scheduled)
    {
        Round<Hash>(c, d, e, f, g, h, a, b, bXorC, scheduled[2]);
        Round<Hash>(b, c, d, e, f, g, h, a, bXorC, scheduled[3]);
    }
};

// The schedule with the constants added: of sixteen rounds of one block, or of all rounds of two. It goes
// through memory, where a round takes its word as the operand of an addition; the compiler knows a dearer
// way, out of the vector registers one by one.
template <class Hash>
struct Schedule {
    static constexpr int kStride = Hash::kBlocks * 4; // from four words of a block to its next four
    alignas(32) typename Hash::Word word[Hash::kBlocks == 1 ? 16 : Hash::kBlocks * Hash::kRounds];

    [[gnu::always_inline]] inline void Put(typename Hash::Four words, int round)
    {
        Hash::Store(words, round, word + Place(round));
        asm("" : "+m"(word));
    }

    // The first of the four words from round on, of the first block.
    [[gnu::always_inline]] inline const typename Hash::Word *At(int round) const
    {
        return word + Place(round);
    }

    [[gnu::always_inline]] static inline int Place(int round)
    {
        return (Hash::kBlocks == 1 ? round % 16 : round) / 4 * kStride;
    }
};

// Sixteen rounds during which the schedule of the next sixteen is made.
template <class Hash>
[[gnu::always_inline]] inline void RoundsAndSchedule(Working<Hash> &working, Schedule<Hash> &schedule,
                                                     typename Hash::Four (&w)[4], int round)
{
    Hash::ReplaceFirst(w[0], w[1], w[2], w[3]);
    working.Rounds01(schedule.At(round - 16));
    Hash::ReplaceLast(w[0], w[1], w[2], w[3]);
    working.Rounds23(schedule.At(round - 16));
    schedule.Put(w[0], round);
    Hash::ReplaceFirst(w[1], w[2], w[3], w[0]);
    working.Rounds45(schedule.At(round - 12));
    Hash::ReplaceLast(w[1], w[2], w[3], w[0]);
    working.Rounds67(schedule.At(round - 12));
    schedule.Put(w[1], round + 4);
    Hash::ReplaceFirst(w[2], w[3], w[0], w[1]);
    working.Rounds01(schedule.At(round - 8));
    Hash::ReplaceLast(w[2], w[3], w[0], w[1]);
    working.Rounds23(schedule.At(round - 8));
    schedule.Put(w[2], round + 8);
    Hash::ReplaceFirst(w[3], w[0], w[1], w[2]);
    working.Rounds45(schedule.At(round - 4));
    Hash::ReplaceLast(w[3], w[0], w[1], w[2]);
    working.Rounds67(schedule.At(round - 4));
    schedule.Put(w[3], round + 12);
}

// Eight rounds whose words of the schedule are ready.
template <class Hash>
[[gnu::always_inline]] inline void EightRounds(Working<Hash> &working, const typename Hash::Word *scheduled)
{
    working.Rounds01(scheduled);
    working.Rounds23(scheduled);
    working.Rounds45(scheduled + Schedule<Hash>::kStride);
    working.Rounds67(scheduled + Schedule<Hash>::kStride);
}

// Hash::kBlocks blocks. The schedule is made in the vector unit, always sixteen rounds ahead of the first
// block's. The rounds fill the scalar unit and are one chain of dependent steps, during which the schedule
// costs little; made for two blocks at once it costs half as much.
template <class Hash>
[[gnu::always_inline]] inline void Compress(typename Hash::Word *state, const uint8_t *blocks)
{
    constexpr int kBytes = 4 * sizeof(typename Hash::Word);
    Working<Hash> working(state);
    Schedule<Hash> schedule;
    typename Hash::Four w[4] = {Hash::Load(blocks), Hash::Load(blocks + kBytes),
                                Hash::Load(blocks + 2 * kBytes), Hash::Load(blocks + 3 * kBytes)};
    schedule.Put(w[0], 0); // a loop would keep the words in memory
    schedule.Put(w[1], 4);
    schedule.Put(w[2], 8);
    schedule.Put(w[3], 12);
    for (int round = 16; round < Hash::kRounds; round += 16)
        RoundsAndSchedule<Hash>(working, schedule, w, round);
    for (int round = Hash::kRounds - 16; round < Hash::kRounds; round += 8)
        EightRounds<Hash>(working, schedule.At(round));
    working.AddTo(state);
    if constexpr (Hash::kBlocks == 2) {
        Working<Hash> second(state);
        for (int round = 0; round < Hash::kRounds; round += 8)
            EightRounds<Hash>(second, schedule.At(round) + 4);
        second.AddTo(state);
    }
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
