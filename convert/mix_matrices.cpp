// mix_matrices.cpp: the 49 channel matrices in both precisions, and the choice among them.
#include "convert/mix.h"

#include <cstddef>

namespace tonekit {
namespace {

constexpr bool kSafe = false;
constexpr bool kLimited = true;

// One matrix as a person reads it: the gains from each input channel to the output channels, input channels
// parted by a stroke.
struct MatrixText {
    uint32_t input;
    uint32_t output;
    bool canOverflow;
    const char *rows;
};

// Channel orders by count: 1 mono; 2 left, right; 4 left, right, surround left and right; 5 adds the centre
// after right; 6 adds the low-frequency channel after the centre; 7 adds the back centre and 8 the two back
// channels after that.
constexpr MatrixText kMatrixTexts[] = {
    {1, 1, kSafe, "1"},
    {1, 2, kSafe, "1 1"},
    {1, 4, kSafe, "1 1 0.7079 0.7079"},
    {1, 5, kSafe, "1 1 0.7079 0.7079 0.7079"},
    {1, 6, kSafe, "0.7079 0.7079 1 0.7079 0.7079 0.7079"},
    {1, 7, kSafe, "0.7079 0.7079 1 0.7079 0.7079 0.7079 0.7079"},
    {1, 8, kSafe, "0.7079 0.7079 1 0.7079 0.7079 0.7079 0.7079 0.7079"},
    {2, 1, kSafe, "0.5 / 0.5"},
    {2, 2, kSafe, "1 0 / 0 1"},
    {2, 4, kSafe, "1 0 0.7079 0 / 0 1 0 0.7079"},
    {2, 5, kSafe, "1 0 0.3548 0.5012 0 / 0 1 0.3548 0 0.5012"},
    {2, 6, kSafe, "1 0 0.3548 0.3548 0.5012 0 / 0 1 0.3548 0.3548 0 0.5012"},
    {2, 7, kSafe, "1 0 0.2512 0.3548 0.2512 0.5012 0 / 0 1 0.2512 0.3548 0.2512 0 0.5012"},
    {2, 8, kSafe, "1 0 0.3548 0.3548 0.5012 0 0.5012 0 / 0 1 0.3548 0.3548 0 0.5012 0 0.5012"},
    {4, 1, kLimited, "0.5012 / 0.5012 / 0.2512 / 0.2512"},
    {4, 2, kLimited, "1 0 / 0 1 / 0.7079 0 / 0 0.7079"},
    {4, 4, kSafe, "1 0 0 0 / 0 1 0 0 / 0 0 1 0 / 0 0 0 1"},
    {4, 5, kSafe, "1 0 0.3548 0 0 / 0 1 0.3548 0 0 / 0 0 0 1 0 / 0 0 0 0 1"},
    {4, 6, kSafe, "1 0 0.3548 0.1778 0 0 / 0 1 0.3548 0.1778 0 0 / 0 0 0 0.1778 1 0 / 0 0 0 0.1778 0 1"},
    {4, 7, kSafe,
     "1 0 0.3548 0.1778 0 0 0 / 0 1 0.3548 0.1778 0 0 0 / 0 0 0 0.1778 0.5012 0.7079 0 / 0 0 0 0.1778 0.5012 "
     "0 0.7079"},
    {4, 8, kSafe,
     "1 0 0.3548 0.1778 0 0 0 0 / 0 1 0.3548 0.1778 0 0 0 0 / 0 0 0 0.1778 1 0 0.5012 0 / 0 0 0 0.1778 0 1 0 "
     "0.5012"},
    {5, 1, kLimited, "0.3548 / 0.3548 / 0.5012 / 0.2512 / 0.2512"},
    {5, 2, kLimited, "1 0 / 0 1 / 0.7079 0.7079 / 0.5012 0 / 0 0.5012"},
    {5, 4, kLimited, "1 0 0 0 / 0 1 0 0 / 0.7079 0.7079 0 0 / 0 0 1 0 / 0 0 0 1"},
    {5, 5, kSafe, "1 0 0 0 0 / 0 1 0 0 0 / 0 0 1 0 0 / 0 0 0 1 0 / 0 0 0 0 1"},
    {5, 6, kSafe, "1 0 0 0.2512 0 0 / 0 1 0 0.2512 0 0 / 0 0 1 0.2512 0 0 / 0 0 0 0 1 0 / 0 0 0 0 0 1"},
    {5, 7, kSafe,
     "1 0 0 0.2512 0 0 0 / 0 1 0 0.2512 0 0 0 / 0 0 1 0.2512 0 0 0 / 0 0 0 0 0.5012 0.7079 0 / 0 0 0 0 "
     "0.5012 0 0.7079"},
    {5, 8, kSafe,
     "1 0 0 0.2512 0 0 0 0 / 0 1 0 0.2512 0 0 0 0 / 0 0 1 0.2512 0 0 0 0 / 0 0 0 0 1 0 0.5012 0 / 0 0 0 0 0 "
     "1 0 0.5012"},
    {6, 1, kLimited, "0.3548 / 0.3548 / 0.5012 / 0 / 0.2512 / 0.2512"},
    {6, 2, kLimited, "1 0 / 0 1 / 0.7079 0.7079 / 0 0 / 0.5012 0 / 0 0.5012"},
    {6, 4, kLimited, "1 0 0 0 / 0 1 0 0 / 0.7079 0.7079 0 0 / 0 0 0 0 / 0 0 1 0 / 0 0 0 1"},
    {6, 5, kLimited, "1 0 0 0 0 / 0 1 0 0 0 / 0 0 1 0 0 / 0 0 0 0 0 / 0 0 0 1 0 / 0 0 0 0 1"},
    {6, 6, kSafe, "1 0 0 0 0 0 / 0 1 0 0 0 0 / 0 0 1 0 0 0 / 0 0 0 1 0 0 / 0 0 0 0 1 0 / 0 0 0 0 0 1"},
    {6, 7, kSafe,
     "1 0 0 0 0 0 0 / 0 1 0 0 0 0 0 / 0 0 1 0 0 0 0 / 0 0 0 1 0 0 0 / 0 0 0 0 0.5012 0.7079 0 / 0 0 0 0 "
     "0.5012 0 0.7079"},
    {6, 8, kSafe,
     "1 0 0 0 0 0 0 0 / 0 1 0 0 0 0 0 0 / 0 0 1 0 0 0 0 0 / 0 0 0 1 0 0 0 0 / 0 0 0 0 1 0 0.5012 0 / 0 0 0 0 "
     "0 1 0 0.5012"},
    {7, 1, kLimited, "0.3548 / 0.3548 / 0.5012 / 0 / 0.1778 / 0.1778 / 0.1778"},
    {7, 2, kLimited, "1 0 / 0 1 / 0.7079 0.7079 / 0 0 / 0.1778 0.1778 / 0.3548 0 / 0 0.3548"},
    {7, 4, kLimited, "1 0 0 0 / 0 1 0 0 / 0.7079 0.7079 0 0 / 0 0 0 0 / 0 0 0.5 0.5 / 0 0 0.5 0 / 0 0 0 0.5"},
    {7, 5, kLimited,
     "1 0 0 0 0 / 0 1 0 0 0 / 0 0 1 0 0 / 0 0 0 0 0 / 0 0 0 0.5 0.5 / 0 0 0 0.5 0 / 0 0 0 0 0.5"},
    {7, 6, kSafe,
     "1 0 0 0 0 0 / 0 1 0 0 0 0 / 0 0 1 0 0 0 / 0 0 0 1 0 0 / 0 0 0 0 0.5 0.5 / 0 0 0 0 0.5 0 / 0 0 0 0 0 "
     "0.5"},
    {7, 7, kSafe,
     "1 0 0 0 0 0 0 / 0 1 0 0 0 0 0 / 0 0 1 0 0 0 0 / 0 0 0 1 0 0 0 / 0 0 0 0 1 0 0 / 0 0 0 0 0 1 0 / 0 0 0 "
     "0 0 0 1"},
    {7, 8, kSafe,
     "1 0 0 0 0 0 0 0 / 0 1 0 0 0 0 0 0 / 0 0 1 0 0 0 0 0 / 0 0 0 1 0 0 0 0 / 0 0 0 0 0.7079 0.7079 0 0 / 0 "
     "0 0 0 0.5012 0 0.7079 0 / 0 0 0 0 0 0.5012 0 0.7079"},
    {8, 1, kLimited, "0.3548 / 0.3548 / 0.5012 / 0 / 0.1778 / 0.1778 / 0.1778 / 0.1778"},
    {8, 2, kLimited, "1 0 / 0 1 / 0.7079 0.7079 / 0 0 / 0.3548 0 / 0 0.3548 / 0.3548 0 / 0 0.3548"},
    {8, 4, kLimited,
     "1 0 0 0 / 0 1 0 0 / 0.7079 0.7079 0 0 / 0 0 0 0 / 0 0 1 0 / 0 0 0 1 / 0 0 0.4898 0 / 0 0 0 0.4898"},
    {8, 5, kLimited,
     "1 0 0 0 0 / 0 1 0 0 0 / 0 0 1 0 0 / 0 0 0 0 0 / 0 0 0 0.7079 0 / 0 0 0 0 0.7079 / 0 0 0 0.7079 0 / 0 0 "
     "0 0 0.7079"},
    {8, 6, kSafe,
     "1 0 0 0 0 0 / 0 1 0 0 0 0 / 0 0 1 0 0 0 / 0 0 0 1 0 0 / 0 0 0 0 0.7079 0 / 0 0 0 0 0 0.7079 / 0 0 0 0 "
     "0.7079 0 / 0 0 0 0 0 0.7079"},
    {8, 7, kSafe,
     "1 0 0 0 0 0 0 / 0 1 0 0 0 0 0 / 0 0 1 0 0 0 0 / 0 0 0 1 0 0 0 / 0 0 0 0 0.5012 0.5012 0 / 0 0 0 0 "
     "0.5012 0 0.5012 / 0 0 0 0 0 0.7079 0 / 0 0 0 0 0 0 0.7079"},
    {8, 8, kSafe,
     "1 0 0 0 0 0 0 0 / 0 1 0 0 0 0 0 0 / 0 0 1 0 0 0 0 0 / 0 0 0 1 0 0 0 0 / 0 0 0 0 1 0 0 0 / 0 0 0 0 0 1 "
     "0 0 / 0 0 0 0 0 0 1 0 / 0 0 0 0 0 0 0 1"},
};
constexpr size_t kMatrixCount = sizeof kMatrixTexts / sizeof kMatrixTexts[0];

template <class T>
struct Matrix {
    T gain[8][8];
};

// A gain in ten-thousandths. Both numbers of the division below are exact in either precision and the
// quotient is rounded once, so it is the very value that the compiler would give the decimal literal.
constexpr uint32_t kUnit = 10000;

constexpr const char *ReadGain(const char *text, uint32_t &gain)
{
    gain = 0;
    uint32_t place = kUnit;
    for (bool fraction = false; (*text >= '0' && *text <= '9') || *text == '.'; ++text) {
        if (*text == '.') {
            fraction = true;
            continue;
        }
        if (fraction)
            place /= 10;
        gain = fraction ? gain + static_cast<uint32_t>(*text - '0') * place
                        : gain * 10 + static_cast<uint32_t>(*text - '0') * kUnit;
    }
    return text;
}

template <class T>
constexpr Matrix<T> ReadMatrix(const MatrixText &description)
{
    Matrix<T> matrix{};
    uint32_t row = 0;
    uint32_t column = 0;
    for (const char *text = description.rows; *text != '\0';) {
        if (*text == ' ') {
            ++text;
        } else if (*text == '/') {
            ++row;
            column = 0;
            ++text;
        } else {
            uint32_t gain = 0;
            text = ReadGain(text, gain);
            matrix.gain[row][column++] = static_cast<T>(gain) / static_cast<T>(kUnit);
        }
    }
    return matrix;
}

// One matrix more than there are texts: the last is the zero matrix.
template <class T>
struct MatrixTable {
    Matrix<T> matrices[kMatrixCount + 1];

    constexpr MatrixTable() : matrices{}
    {
        for (size_t i = 0; i < kMatrixCount; ++i)
            matrices[i] = ReadMatrix<T>(kMatrixTexts[i]);
    }
};

constexpr MatrixTable<double> kDoubleTable;
constexpr MatrixTable<float> kFloatTable;

size_t FindMatrix(uint32_t input, uint32_t output)
{
    size_t index = 0;
    while (index < kMatrixCount &&
           (kMatrixTexts[index].input != input || kMatrixTexts[index].output != output))
        ++index;
    return index;
}

} // namespace

MixSelection SelectMix(uint32_t inputChannels, uint32_t outputChannels)
{
    const uint32_t rows = inputChannels < 8 ? inputChannels : 8;
    const size_t index = FindMatrix(rows == 3 ? 2 : rows, outputChannels);
    return {kDoubleTable.matrices[index].gain, kFloatTable.matrices[index].gain, rows, outputChannels,
            index < kMatrixCount && kMatrixTexts[index].canOverflow};
}

} // namespace tonekit
