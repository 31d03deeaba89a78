// sha2_compress.h: the compression of a block, which SHA-256 and SHA-512 share but for the width of a word.
//
// For tier units only, which include it inside their namespace. What a hash brings along (see the parameter
// Hash):
//   Word                       uint32_t or uint64_t
//   Four                       four words of the message schedule, in vector registers
//   kRounds                    64 or 80
//   kSumOfE, kSumOfA           the three rotations of the sums over e and a
//   Load(bytes)                four words of the message
//   Next(w0, w1, w2, w3)       the four words of the schedule behind the sixteen given
//   Store(words, round, to)    stores four words with the constants of the rounds from round on added
#pragma once

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

    // Two rounds of eight in turn. Scheduled: the rounds' words of the schedule, constants added.
    [[gnu::always_inline]] inline void Rounds01(const Word *scheduled)
    {
        Round(a, b, c, d, e, f, g, h, scheduled[0]);
        Round(h, a, b, c, d, e, f, g, scheduled[1]);
    }

    [[gnu::always_inline]] inline void Rounds23(const Word *scheduled)
    {
        Round(g, h, a, b, c, d, e, f, scheduled[2]);
        Round(f, g, h, a, b, c, d, e, scheduled[3]);
    }

    [[gnu::always_inline]] inline void Rounds45(const Word *scheduled)
    {
        Round(e, f, g, h, a, b, c, d, scheduled[4]);
        Round(d, e, f, g, h, a, b, c, scheduled[5]);
    }

    [[gnu::always_inline]] inline void Rounds67(const Word *scheduled)
    {
        Round(c, d, e, f, g, h, a, b, scheduled[6]);
        Round(b, c, d, e, f, g, h, a, scheduled[7]);
    }

private:
    // One round, with the variables named as in the standard; its c comes in bXorC.
    [[gnu::always_inline]] inline void Round(Word a, Word b, Word c, Word &d, Word e, Word f, Word g, Word &h,
                                             Word scheduled)
    {
        Word sum = AsGrouped<Word>(h + scheduled);
        sum = AsGrouped<Word>(sum + Chosen(e, f, g));
        const Word sumOfE = AsGrouped(Sum(e, Hash::kSumOfE));
        d = AsGrouped<Word>(d + sum);
        d = AsGrouped<Word>(d + sumOfE);
        sum = AsGrouped<Word>(sum + sumOfE);
        const Word aXorB = a ^ b;
        sum = AsGrouped<Word>(sum + (b & c));
        sum = AsGrouped<Word>(sum + (a & bXorC));
        h = AsGrouped<Word>(sum + Sum(a, Hash::kSumOfA));
        bXorC = aXorB;
    }
};

// The schedule of sixteen rounds with the constants added. It goes through memory, where a round takes its
// word as the operand of an addition; the compiler knows a dearer way, out of the vector registers one by
// one.
template <class Hash>
struct Schedule {
    alignas(16) typename Hash::Word word[16];

    [[gnu::always_inline]] inline void Put(typename Hash::Four words, int round)
    {
        Hash::Store(words, round, word + round % 16);
        asm("" : "+m"(word));
    }
};

// The schedule is made in the vector unit, always sixteen rounds ahead. The rounds fill the scalar unit and
// are one chain of dependent steps, beside which the schedule costs next to nothing.
template <class Hash>
[[gnu::always_inline]] inline void Compress(typename Hash::Word *state, const uint8_t *block)
{
    using Four = typename Hash::Four;
    constexpr int kBytes = 4 * sizeof(typename Hash::Word);
    Working<Hash> working(state);
    Schedule<Hash> schedule;
    Four w0 = Hash::Load(block);
    Four w1 = Hash::Load(block + kBytes);
    Four w2 = Hash::Load(block + 2 * kBytes);
    Four w3 = Hash::Load(block + 3 * kBytes);
    schedule.Put(w0, 0);
    schedule.Put(w1, 4);
    schedule.Put(w2, 8);
    schedule.Put(w3, 12);
    for (int round = 16; round < Hash::kRounds; round += 16) {
        Hash::ReplaceFirst(w0, w1, w2, w3);
        working.Rounds01(schedule.word);
        Hash::ReplaceLast(w0, w1, w2, w3);
        working.Rounds23(schedule.word);
        schedule.Put(w0, round);
        Hash::ReplaceFirst(w1, w2, w3, w0);
        working.Rounds45(schedule.word);
        Hash::ReplaceLast(w1, w2, w3, w0);
        working.Rounds67(schedule.word);
        schedule.Put(w1, round + 4);
        Hash::ReplaceFirst(w2, w3, w0, w1);
        working.Rounds01(schedule.word + 8);
        Hash::ReplaceLast(w2, w3, w0, w1);
        working.Rounds23(schedule.word + 8);
        schedule.Put(w2, round + 8);
        Hash::ReplaceFirst(w3, w0, w1, w2);
        working.Rounds45(schedule.word + 8);
        Hash::ReplaceLast(w3, w0, w1, w2);
        working.Rounds67(schedule.word + 8);
        schedule.Put(w3, round + 12);
    }
    for (int half = 0; half < 16; half += 8) {
        working.Rounds01(schedule.word + half);
        working.Rounds23(schedule.word + half);
        working.Rounds45(schedule.word + half);
        working.Rounds67(schedule.word + half);
    }
    working.AddTo(state);
}

} // namespace
