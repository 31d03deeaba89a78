// mix.h: the fixed matrices between channel layouts, their choice and their application to frames.
#pragma once
#include <cstdint>

namespace tonekit {

// What a converter needs to know of a pair of channel counts. A matrix has one row for each input channel and
// one column for each output channel; what the layout leaves free is zero. Both matrices hold the same
// decimal literals, each in its own precision, and are constants of the library.
struct MixSelection {
    const double (*doubleMatrix)[8];
    const float (*floatMatrix)[8];
    uint32_t rows;    // input channels that take part: at most 8
    uint32_t columns; // the output channel count as given
    bool canOverflow; // sums may exceed full scale: the pair may run through the limiter
};

// Never fails: a pair without a matrix (no input channel; 0, 3 or more than 8 output channels) gets the zero
// matrix, which is silence. Input of 3 channels is mixed as stereo, the third channel dropped.
MixSelection SelectMix(uint32_t inputChannels, uint32_t outputChannels);

// The four functions below read `frames` frames of `inputChannels` interleaved samples and write as many of
// `columns` samples; input and output must not overlap. `rows` is at most 8 and at most inputChannels;
// further input channels are skipped. Every product is formed and summed from row 0 on, the products with 0
// included, so a NaN or an infinity reaches all columns. A matrix has 8 columns: beyond them, and with no
// rows at all, the output is 0.0.
extern "C" {

// output[o] = sum over i of matrix[i][o] * input[i].
void MixPlainDouble(const double (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                    const double *input, double *output, uint32_t frames);
void MixPlainFloat(const float (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                   const float *input, float *output, uint32_t frames);

// The same with each product scaled by *gain, and a gain that only ever falls: whenever a sum, from the
// second row on, is beyond +-1.0, the gain drops at once to what would have brought that sum to 1.0. Terms
// already summed stay as they are, so the frame that lowers the gain may still be too loud.
void MixLimitedDouble(const double (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                      const double *input, double *output, uint32_t frames, double *gain);
void MixLimitedFloat(const float (*matrix)[8], uint32_t rows, uint32_t inputChannels, uint32_t columns,
                     const float *input, float *output, uint32_t frames, float *gain);
}

} // namespace tonekit
