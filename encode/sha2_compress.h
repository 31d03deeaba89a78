// sha2_compress.h: the compression of a block, which SHA-256 and SHA-512 share but for the width of a word.
//
// For tier units only. What a hash brings along (see the parameter Hash):
//   Word                       uint32_t or uint64_t
//   Four                       four words of each block's message schedule, in vector registers
//   kRounds                    64 or 80
//   kBlocks                    blocks whose schedules are made at once: 1, or 2 in wider registers
//   kTogether                  words of a block that are stored together, before the other block's
//   kRoundConstants            one for each round
//   kSumOfE, kSumOfA           the three rotations of the sums over e and a
//   Load(bytes)                four words of the message
//   ReplaceFirst, ReplaceLast  (w0, w1, w2, w3): make the first or last two of the four words after
//                              the sixteen given, in the place of w0
//   Store(words, constants, to)  stores four words with the constants of four rounds added
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
#ifdef __BMI2__
    // The rotations of e start first: the next round waits for their sum. Measured: 4 % for the order alone.
    const Word first = AsGrouped<Word>(RotatedRight(e, Hash::kSumOfE[0]));
    Word sumOfE = AsGrouped<Word>(RotatedRight(e, Hash::kSumOfE[1]));
    const Word last = AsGrouped<Word>(RotatedRight(e, Hash::kSumOfE[2]));
    const Word chosenOfF = AsGrouped<Word>(e & f);
    sumOfE = AsGrouped<Word>(sumOfE ^ first);
    sum = AsGrouped<Word>(sum + chosenOfF);
    const Word chosenOfG = AsGrouped<Word>(~e & g);
    sumOfE = AsGrouped<Word>(sumOfE ^ last);
    sum = AsGrouped<Word>(sum + chosenOfG);
    sum = AsGrouped<Word>(sum + sumOfE);
    const Word aXorB = AsGrouped<Word>(a ^ b);
    d = AsGrouped<Word>(d + sum);
    const Word changed = AsGrouped<Word>(bXorC & aXorB);
    const Word firstOfA = AsGrouped<Word>(RotatedRight(a, Hash::kSumOfA[0]));
    Word sumOfA = AsGrouped<Word>(RotatedRight(a, Hash::kSumOfA[1]));
    const Word most = AsGrouped<Word>(changed ^ b);
    const Word lastOfA = AsGrouped<Word>(RotatedRight(a, Hash::kSumOfA[2]));
    sum = AsGrouped<Word>(sum + most);
    sumOfA = AsGrouped<Word>(sumOfA ^ firstOfA);
    sumOfA = AsGrouped<Word>(sumOfA ^ lastOfA);
    h = AsGrouped<Word>(sum + sumOfA);
#else
    sum = AsGrouped<Word>(sum + Chosen(e, f, g));
    sum = AsGrouped<Word>(sum + Sum(e, Hash::kSumOfE));
    d = AsGrouped<Word>(d + sum);
    const Word aXorB = a ^ b;
    sum = AsGrouped<Word>(sum + AsGrouped<Word>((bXorC & aXorB) ^ b));
    h = AsGrouped<Word>(sum + Sum(a, Hash::kSumOfA));
#endif
    bXorC = aXorB;
}

// Where the word of a round is in the schedule, from that of the first round of the same block.
template <class Hash>
constexpr int Place(int round)
{
    return round / Hash::kTogether * Hash::kTogether * Hash::kBlocks + round % Hash::kTogether;
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
        Round<Hash>(a, b, c, d, e, f, g, h, bXorC, scheduled[Place<Hash>(0)]);
        Round<Hash>(h, a, b, c, d, e, f, g, bXorC, scheduled[Place<Hash>(1)]);
    }

    [[gnu::always_inline]] inline void Rounds23(const Word *scheduled)
    {
        Round<Hash>(g, h, a, b, c, d, e, f, bXorC, scheduled[Place<Hash>(2)]);
        Round<Hash>(f, g, h, a, b, c, d, e, bXorC, scheduled[Place<Hash>(3)]);
    }

    [[gnu::always_inline]] inline void Rounds45(const Word *scheduled)
    {
        Round<Hash>(e, f, g, h, a, b, c, d, bXorC, scheduled[Place<Hash>(0)]);
        Round<Hash>(d, e, f, g, h, a, b, c, bXorC, scheduled[Place<Hash>(1)]);
    }

    [[gnu::always_inline]] inline void Rounds67(const Word *scheduled)
    {
        Round<Hash>(c, d, e, f, g, h, a, b, bXorC, scheduled[Place<Hash>(2)]);
        Round<Hash>(b, c, d, e, f, g, h, a, bXorC, scheduled[Place<Hash>(3)]);
    }
};

// The schedule with the constants added: of sixteen rounds of one block, or of all rounds of two. It goes
// through memory, where a round takes its word as the operand of an addition; the compiler knows a dearer
// way, out of the vector registers one by one.
template <class Hash>
struct Schedule {
    // From the words of sixteen rounds to those of the next sixteen, which take their place if there is one
    // block.
    static constexpr int kStep = Hash::kBlocks == 1 ? 0 : 32;
    alignas(32) typename Hash::Word word[Hash::kBlocks == 1 ? 16 : 2 * Hash::kRounds];

    [[gnu::always_inline]] inline void Put(typename Hash::Four words, const typename Hash::Word *constants,
                                           typename Hash::Word *to)
    {
        Hash::Store(words, constants, to);
        asm("" : "+m"(word));
    }
};

// Sixteen rounds of the first block, whose words are from `now` on, during which the schedule of the next
// sixteen is made. Constants: those of the next sixteen.
template <class Hash>
[[gnu::always_inline]] inline void RoundsAndSchedule(Working<Hash> &working, Schedule<Hash> &schedule,
                                                     typename Hash::Four (&w)[4], typename Hash::Word *now,
                                                     const typename Hash::Word *constants)
{
    constexpr int kFour = Place<Hash>(4);
    auto *const next = now + Schedule<Hash>::kStep;
    Hash::ReplaceFirst(w[0], w[1], w[2], w[3]);
    working.Rounds01(now);
    Hash::ReplaceLast(w[0], w[1], w[2], w[3]);
    working.Rounds23(now);
    schedule.Put(w[0], constants, next);
    Hash::ReplaceFirst(w[1], w[2], w[3], w[0]);
    working.Rounds45(now + kFour);
    Hash::ReplaceLast(w[1], w[2], w[3], w[0]);
    working.Rounds67(now + kFour);
    schedule.Put(w[1], constants + 4, next + kFour);
    Hash::ReplaceFirst(w[2], w[3], w[0], w[1]);
    working.Rounds01(now + 2 * kFour);
    Hash::ReplaceLast(w[2], w[3], w[0], w[1]);
    working.Rounds23(now + 2 * kFour);
    schedule.Put(w[2], constants + 8, next + 2 * kFour);
    Hash::ReplaceFirst(w[3], w[0], w[1], w[2]);
    working.Rounds45(now + 3 * kFour);
    Hash::ReplaceLast(w[3], w[0], w[1], w[2]);
    working.Rounds67(now + 3 * kFour);
    schedule.Put(w[3], constants + 12, next + 3 * kFour);
}

// The rounds of one block whose words of the schedule are ready, from `from` up to `end`.
template <class Hash>
[[gnu::always_inline]] inline void ReadyRounds(Working<Hash> &working, const typename Hash::Word *from,
                                               const typename Hash::Word *end)
{
    constexpr int kFour = Place<Hash>(4);
    for (; from != end; from += 2 * kFour) {
        working.Rounds01(from);
        working.Rounds23(from);
        working.Rounds45(from + kFour);
        working.Rounds67(from + kFour);
    }
}

// Hash::kBlocks blocks. The schedule is made in the vector unit, always sixteen rounds ahead of the first
// block's. The rounds fill the scalar unit and are one chain of dependent steps, during which the schedule
// costs little; made for two blocks at once it costs half as much.
template <class Hash>
[[gnu::always_inline]] inline void Compress(typename Hash::Word *state, const uint8_t *blocks)
{
    using Word = typename Hash::Word;
    constexpr int kBytes = 4 * sizeof(Word);
    constexpr int kFour = Place<Hash>(4);
    Working<Hash> working(state);
    Schedule<Hash> schedule;
    typename Hash::Four w[4] = {Hash::Load(blocks), Hash::Load(blocks + kBytes),
                                Hash::Load(blocks + 2 * kBytes), Hash::Load(blocks + 3 * kBytes)};
    const Word *constants = Hash::kRoundConstants;
    Word *now = schedule.word;
    schedule.Put(w[0], constants, now); // a loop would keep the words in memory
    schedule.Put(w[1], constants + 4, now + kFour);
    schedule.Put(w[2], constants + 8, now + 2 * kFour);
    schedule.Put(w[3], constants + 12, now + 3 * kFour);
    constants += 16;
    for (const Word *const end = Hash::kRoundConstants + Hash::kRounds; constants != end; constants += 16) {
        RoundsAndSchedule<Hash>(working, schedule, w, now, constants);
        now += Schedule<Hash>::kStep;
    }
    ReadyRounds<Hash>(working, now, now + 4 * kFour);
    working.AddTo(state);
    if constexpr (Hash::kBlocks == 2) {
        constexpr int kSecond = Hash::kTogether;
        Working<Hash> second(state);
        ReadyRounds<Hash>(second, schedule.word + kSecond, schedule.word + kSecond + 2 * Hash::kRounds);
        second.AddTo(state);
    }
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
