// gain_tables.cpp: the factors of the gain ramp and the curve of peak extension.
#include "hdcd/hdcd_tables.h"

namespace tonekit {

namespace {

// e^x for -1 < x <= 0 by its series, to the last bit or two of a double.
constexpr double Exponential(double x)
{
    double sum = 0;
    double term = 1;
    for (int n = 1; n < 32; ++n) {
        sum += term;
        term *= x / n;
    }
    return sum;
}

// 2^23 * 10^(-gain / 5120): the factor rounded to single precision, the product truncated.
constexpr uint32_t GainEntry(int gain)
{
    constexpr double kNaturalLogOf10 = 2.302585092994045684;
    const float factor = static_cast<float>(Exponential(-gain * kNaturalLogOf10 / 5120));
    return static_cast<uint32_t>(factor * 8388608.0f);
}

constexpr HdcdTable<uint32_t, 1921> GainTable()
{
    HdcdTable<uint32_t, 1921> table{};
    for (int gain = 0; gain < 1921; ++gain)
        table.entry[gain] = GainEntry(gain);
    return table;
}

// A straight piece of the peak curve; it ends where the next one begins.
struct PeakPiece {
    int first;
    uint32_t value;
    uint32_t step;
};

// The pieces of one index differ by 256 from their neighbours; they belong to the curve.
constexpr PeakPiece kPeakPieces[] = {
    {0, 0x2CC08300, 33536},     {511, 0x2DC60000, 34560},   {1535, 0x2FE20000, 38400},
    {2132, 0x313FCE00, 38144},  {2133, 0x31406300, 38400},  {2559, 0x3239FF00, 42240},
    {3071, 0x3383FF00, 43008},  {3198, 0x33D75700, 43264},  {3199, 0x33D80000, 43008},
    {3583, 0x34D40000, 47872},  {4095, 0x364A0000, 49152},  {4607, 0x37CA0000, 55296},
    {4799, 0x386C0000, 55040},  {4800, 0x386CD700, 55296},  {5119, 0x3979FF00, 59904},
    {5545, 0x3AFF6300, 60160},  {5546, 0x3B004E00, 59904},  {5631, 0x3B4E0000, 65536},
    {6143, 0x3D4E0000, 74240},  {6399, 0x3E700000, 73984},  {6400, 0x3E712100, 74240},
    {6655, 0x3F91FF00, 87040},  {7167, 0x4239FF00, 105984}, {7679, 0x4575FF00, 123904},
    {7935, 0x4759FF00, 147456}, {8191, 0x4999FF00, 177152}, {8249, 0x4A36C700, 177408},
    {8250, 0x4A397C00, 177152}, {8319, 0x4AF40000, 183296}, {8388, 0x4BB4FC00, 183040},
    {8389, 0x4BB7C700, 183296}, {8447, 0x4C59FF00, 227328}, {8575, 0x4E15FF00, 262144},
    {8703, 0x5015FF00, 292864}, {8724, 0x5073D700, 293120}, {8725, 0x50785000, 292864},
    {8767, 0x51340000, 354304}, {8831, 0x528E0000, 376832}, {8839, 0x52BC0000, 376576},
    {8840, 0x52C1BF00, 376832}, {8895, 0x53FDFF00, 483328}, {8959, 0x55D5FF00, 565248},
    {9023, 0x57FDFF00, 688128}, {9087, 0x5A9DFF00, 788480}, {9150, 0x5D93F700, 788736},
    {9151, 0x5DA00000, 819200},
};
constexpr int kPeakPieceCount = sizeof kPeakPieces / sizeof *kPeakPieces;

constexpr HdcdTable<uint32_t, kHdcdLastPeak + 1> PeakTable()
{
    HdcdTable<uint32_t, kHdcdLastPeak + 1> table{};
    for (int i = 0; i < kPeakPieceCount; ++i) {
        const PeakPiece &piece = kPeakPieces[i];
        const int last = i + 1 < kPeakPieceCount ? kPeakPieces[i + 1].first : kHdcdLastPeak;
        for (int index = piece.first; index <= last; ++index)
            table.entry[index] = piece.value + piece.step * static_cast<uint32_t>(index - piece.first);
    }
    return table;
}

// Each piece leads to the value at which the next one begins.
constexpr bool PeakPiecesJoin()
{
    for (int i = 0; i + 1 < kPeakPieceCount; ++i) {
        const PeakPiece &piece = kPeakPieces[i];
        const PeakPiece &next = kPeakPieces[i + 1];
        if (piece.value + piece.step * static_cast<uint32_t>(next.first - piece.first) != next.value)
            return false;
    }
    return true;
}
static_assert(PeakPiecesJoin());

} // namespace

extern "C" {

constinit const HdcdTable<uint32_t, 1921> HdcdGainTable32 = GainTable();
constinit const HdcdTable<uint32_t, kHdcdLastPeak + 1> HdcdPeakTable = PeakTable();

} // extern "C"

} // namespace tonekit
