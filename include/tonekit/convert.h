/* convert.h: conversion of PCM between sample formats, channel layouts and sample rates. */
#ifndef TONEKIT_CONVERT_H
#define TONEKIT_CONVERT_H

#include <tonekit/frame.h>

/*
 * Streams
 *
 * A converter turns one stream of interleaved PCM into another: SRC4_Init, then SRC4_Write and SRC4_Read for
 * each buffer of the stream, SRC4_Flush until it returns 0, SRC4_Deinit. The loop is, as
 * examples/stream_wav.c has it:
 *
 *     while ((frames = fread(buffer, 4, 4096, in)) > 0) {
 *         SRC4_Write(converter, buffer, (uint32_t)frames);
 *         while (SRC4_Read(converter, &block, &blockFrames, &blockBytes))
 *             total += fwrite(block, 1, blockBytes, out);
 *     }
 *     while (SRC4_Flush(converter, &block, &blockFrames, &blockBytes))
 *         total += fwrite(block, 1, blockBytes, out);
 *
 * One thread at a time per handle; handles are independent of one another. SRC4_Init allocates all buffers.
 * Later the two ends of the stream need scratch, and the resampler may lengthen its buffers.
 *
 * When memory runs out and no new-handler helps, SRC4_Init, SRC4_Read and SRC4_Flush throw std::bad_alloc,
 * and so do the members that they call. Nothing is leaked. A handle that has thrown must be released; until
 * then every call is allowed, and its output has a gap or is empty. (This isn't so for a library that was
 * built without the sources of libsoxr: the packaged libsoxr doesn't check its allocations, and crashes.)
 *
 * Sample encodings, by format code and bits per sample:
 *
 *   - TONEKIT_FORMAT_INTEGER, integer PCM, little-endian: 8 (unsigned, silence at 128), 16, 24 (packed in
 *     3 bytes) and 32 bits, signed from 16 bits up; as input also 64 bits
 *   - TONEKIT_FORMAT_FLOAT, IEEE float, nominal range -1.0 to +1.0: 32 and 64 bits
 *   - TONEKIT_FORMAT_HDCD, input only, 32 bits: the samples that hdcd_process writes, to which the gain of
 *     SetHDCDGain is applied
 *
 * Channel orders, by count:
 *
 *   - 1: mono
 *   - 2: left, right
 *   - 4: left, right, surround left, surround right
 *   - 5: left, right, centre, surround left, surround right
 *   - 6: left, right, centre, LFE, surround left, surround right
 *   - 7: left, right, centre, LFE, back centre, surround left, surround right
 *   - 8: left, right, centre, LFE, back left, back right, surround left, surround right
 *
 * Of 3 input channels the third is ignored, of more than 8 those after the eighth.
 *
 * Gains of a change of channels are constants of four decimal places. Each is a whole number of decibels, so
 * that every step away from a channel's own place halves its power: 0.7079 is -3 dB, 0.5012 -6 dB, 0.3548 -9
 * dB, 0.2512 -12 dB and 0.1778 -15 dB; the one exception is 0.4898, -6.2 dB (back to surround, 8 to 4
 * channels). 1 and 0.5 are exact. Left and right keep the gain 1 in every pair but those to mono.
 * convert/README.md lists the matrices of all 49 pairs, and which of them can exceed full scale.
 *
 * Blocks and delay. A converter works in blocks of input frames. With r = outputRate / inputRate a block is
 *
 *   - 262144 frames at equal rates
 *   - 65536 / r, rounded down, at least 512, from a lower rate to a higher one
 *   - 65536 * (1 - r), rounded down, at least 512, from a higher rate to a lower one
 *
 * frames: 60211 from 44100 to 48000 Hz, 5324 back. SRC4_Read returns 0 until a block is full, so the first
 * output comes after that many frames of input. From then on the output lags the input by the frames that
 * wait for a full block, by an edge of about 50 ms that is held back at unequal rates (2400 frames at 48000
 * Hz), and by half the length of the filter. From 44100 to 48000 Hz the first block returns 62769 of its
 * 65536 frames at TONEKIT_QUALITY_28_BITS: 2400 are held back and 367 are inside the filter; the steepest
 * filter holds 8701. The flush returns all of them, and the whole output has the length of the input. The
 * members blockFrames and outputEdgeFrames of the classes hold these numbers of a converter.
 *
 * Nothing is rejected. An input encoding that isn't listed reads as silence, an output encoding that isn't
 * listed leaves the output bytes unwritten, and a pair of channel counts without a matrix (3, 0 or more than
 * 8 output channels) returns silence of the right length.
 *
 * Order of work: to floating point; channel mix and limiter; rate; low-pass of an LFE channel that the mix
 * made of other channels; dither; to the output encoding. At equal rates the work is done in double. Integer
 * PCM with equal encodings, channels and rates is copied byte for byte, without dither.
 */

/* Format codes. */
#define TONEKIT_FORMAT_INTEGER 0u
#define TONEKIT_FORMAT_FLOAT 1u
#define TONEKIT_FORMAT_HDCD 2u /* input only: what hdcd_process leaves, 32 bits */

/* Resampler qualities: values for qualityHigh with a qualityLow of 0. Each is the lowest of its span. */
#define TONEKIT_QUALITY_20_BITS 0u  /* 0 to 23: precision of 20 bits, in float */
#define TONEKIT_QUALITY_28_BITS 24u /* 24 to 30: 28 bits, in float */
#define TONEKIT_QUALITY_32_BITS 31u /* 31 and 32: 32 bits, in double */
#define TONEKIT_QUALITY_BEST 33u    /* from 33 on: 56 bits or the most that the resampler has, in double */

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Returns a new converter.
 *
 * @param inputFormat     format code of the input
 * @param inputBits       bits per input sample
 * @param inputChannels   channels of a frame of input
 * @param inputRate       in Hz; 0 only together with an outputRate of 0
 * @param outputFormat    format code of the output
 * @param outputBits      bits per output sample
 * @param outputChannels  channels of a frame of output
 * @param outputRate      in Hz
 * @param dither          asks for dither, which then runs if SetDitherParameters allows it and the output has
 *                        not 32 bits. Keep it off for 64-bit float output: its scale is 0 there and the
 *                        samples become infinities.
 * @param autoLimit       asks for the limiter, on downmixes that can exceed full scale. Its gain falls when a
 *                        sum exceeds 1.0 and never rises again; it doesn't look ahead.
 * @param qualityLow      qualityHigh minus qualityLow, in unsigned 32-bit arithmetic, chooses the resampler:
 *                        below 24 a precision of 20 bits, to 30 of 28 bits, both in float; 31 and 32 of 32
 *                        bits, from 33 on of 56 bits or the most that the resampler offers, both in double
 * @param qualityHigh     see qualityLow
 * @return the handle; never null
 * @throws std::bad_alloc when memory is exhausted and no new-handler helps; nothing is leaked then
 *
 * Reads the settings of SetSampleRateConverterParameters2 and SetDitherParameters; later changes of them,
 * except of the dither mode, don't affect this converter.
 */
TONEKIT_API void *SRC4_Init(uint32_t inputFormat, uint32_t inputBits, uint32_t inputChannels,
                            uint32_t inputRate, uint32_t outputFormat, uint32_t outputBits,
                            uint32_t outputChannels, uint32_t outputRate, bool dither, bool autoLimit,
                            uint32_t qualityLow, uint32_t qualityHigh);

/**
 * Sets the buffer of input to read next. Call SRC4_Read until it returns 0 before the next write: frames that
 * are still waiting then are dropped.
 *
 * @param handle  from SRC4_Init; not checked
 * @param data    interleaved frames in the input encoding; not copied, so it must stay until SRC4_Read has
 *                returned 0
 * @param frames  whole frames at data; any number
 */
TONEKIT_API void SRC4_Write(void *handle, const void *data, uint32_t frames);

/**
 * Reads the next converted block. Call until it returns 0.
 *
 * @param handle     from SRC4_Init; not checked
 * @param out        interleaved, in the output encoding; the converter's, valid until the next SRC4_Read or
 *                   SRC4_Flush
 * @param outFrames  frames at *out; 0 is normal while the resampler fills: call again
 * @param outBytes   the same in bytes
 * @return 1 if all three are set; 0 if less than a block is waiting, and the outputs are not written: write
 *         more, or flush.
 */
TONEKIT_API uint32_t SRC4_Read(void *handle, void **out, uint32_t *outFrames, uint32_t *outBytes);

/**
 * Ends the stream: converts what waits in a partial block, then what the resampler still holds. Call it until
 * it returns 0, after SRC4_Read has returned 0 (frames that it has not taken are lost).
 *
 * @param handle     from SRC4_Init; not checked
 * @param out        as for SRC4_Read; always set
 * @param outFrames  frames at *out, may be 0; always set
 * @param outBytes   the same in bytes; always set
 * @return 1: call again. 0: the stream has ended, and this call returns 0 frames.
 */
TONEKIT_API uint32_t SRC4_Flush(void *handle, void **out, uint32_t *outFrames, uint32_t *outBytes);

/** Destroys a converter and all its buffers. Null is ignored. */
TONEKIT_API void SRC4_Deinit(void *handle);

/**
 * Permutes the channels of interleaved audio in place, whatever the encoding.
 *
 * @param audio     frames of (channels * bits) / 8 bytes each, at most 72 bytes
 * @param frames    frames at audio; 0 does nothing
 * @param bits      bits per sample; a sample is bits / 8 bytes, so that below 8 bits nothing moves
 * @param channels  channels of a frame
 * @param map       2 * channels bytes: pairs of a source channel and a destination channel, from 0, applied
 *                  in order. They need not be a permutation: a source may feed several destinations, of two
 *                  pairs with one destination the later holds, and a channel that is no destination keeps its
 *                  sample. Not checked.
 *
 * Safe from any thread on separate buffers.
 */
TONEKIT_API void ChangeChannelOrder(uint8_t *audio, uint32_t frames, uint32_t bits, uint32_t channels,
                                    const uint8_t *map);

#ifdef __cplusplus
} /* extern "C" */

/*
 * The converter classes
 *
 * The same converter for C++ callers. A copy, by constructor or assignment, is a flat copy of all members:
 * the two objects then share buffers and resampler, and only one of them may be destroyed. Members are public
 * for inspection; writing them is not provided for.
 */

struct soxr;

namespace tonekit {

class FloatDither;
class DoubleDither;

/** A second-order section: y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2, histories newest first. */
struct Biquad {
    double b0, b1, b2;
    double a1, a2;
    double x1, x2;
    double y1, y2;
};

/** (source, destination, samples): brings samples of an encoding to a working format. */
using LoadDoubleKernel = void (*)(const void *source, double *destination, uint32_t count);
using LoadFloatKernel = void (*)(const void *source, float *destination, uint32_t count);
/** (destination, source, samples): brings samples of a working format to an encoding. */
using StoreDoubleKernel = void (*)(void *destination, const double *source, uint32_t count);
using StoreFloatKernel = void (*)(void *destination, const float *source, uint32_t count);

} // namespace tonekit

/** Converts blocks of at most blockFrames frames that the caller puts into inputBuffer. */
class TONEKIT_API CSampleRateConverter3 {
public:
    CSampleRateConverter3();
    /** Frees the buffers and the resampler. */
    ~CSampleRateConverter3();
    CSampleRateConverter3(const CSampleRateConverter3 &) = default;
    CSampleRateConverter3 &operator=(const CSampleRateConverter3 &other);

    /**
     * Sets a new object up; once per object. The arguments are those of SRC4_Init; inputBuffer and
     * outputBuffer receive the object's two buffers. Throws as SRC4_Init does; the destructor then frees what
     * was allocated.
     */
    void Init(uint32_t inputFormat, uint32_t inputBits, uint32_t inputChannels, uint32_t inputRate,
              uint32_t outputFormat, uint32_t outputBits, uint32_t outputChannels, uint32_t outputRate,
              void *&inputBuffer, void *&outputBuffer, bool dither, bool autoLimit, uint32_t qualityLow,
              uint32_t qualityHigh);

    /**
     * Converts the frames in inputBuffer.
     *
     * @param frames  at most blockFrames, not checked; a smaller count is for the end of a stream
     * @param last    false while frames are fed; true, with 0 frames, to end the stream: repeat until
     *                finished is set and 0 is returned
     * @return frames at the start of outputBuffer, valid until the next call
     */
    uint32_t Resample(uint32_t frames, bool last);

    bool autoLimitRequested;             /**< the limiter argument of Init */
    double mixLimiterGainDouble;         /**< running gain of the limiter, double path */
    float mixLimiterGainFloat;           /**< the same, float path */
    uint32_t extrapolationHistoryFrames; /**< frames that the edges are predicted from: half a block */
    bool firstBlockDone;                 /**< the first block has gone to the resampler */
    bool lastBlockDone;                  /**< the edge after the stream has gone to the resampler */
    uint32_t inputEdgeFrames;            /**< input frames that are predicted at each end of the stream */
    uint32_t outputEdgeFrames;           /**< output frames that these become */
    uint32_t pendingSkipFrames;          /**< output frames still to drop at the start of the stream */
    tonekit::Biquad lfeLowPass;          /**< low-pass of an LFE channel made of other channels */
    bool useDoublePath;       /**< rates differ and the work is done in double; not set at equal rates */
    uint32_t inputFormat;     /**< format code of the input */
    uint32_t inputBits;       /**< bits per input sample */
    uint32_t outputBits;      /**< bits per output sample */
    uint32_t inputChannels;   /**< channels of a frame of input */
    uint32_t outputFormat;    /**< format code of the output */
    uint32_t outputChannels;  /**< channels of a frame of output */
    uint32_t inputRate;       /**< in Hz */
    uint32_t outputRate;      /**< in Hz */
    double *workInputDouble;  /**< the loaded block, double path and equal rates */
    float *workInputFloat;    /**< the loaded block, float path */
    float *stageFloat;        /**< inputEdgeFrames frames into stageFloatBase */
    float *stageFloatBase;    /**< edge, mixed block, edge: what the resampler is fed from, float path */
    double *stageDouble;      /**< inputEdgeFrames frames into stageDoubleBase */
    double *stageDoubleBase;  /**< the same, double path */
    uint32_t blockFrames;     /**< frames that inputBuffer holds */
    double *workOutputDouble; /**< resampled, or mixed at equal rates, double path and equal rates */
    float *workOutputFloat;   /**< resampled, float path */
    uint32_t resamplerOutputFrames; /**< frames that the work output holds */
    struct soxr *resampler;         /**< null at equal rates */
    bool resamplerActive;           /**< resampler is to be deleted with the object */
    bool resamplerDrained;     /**< the end of the stream has been asked of resampler: it takes no more */
    void *inputBuffer;         /**< a block of input, in the input encoding */
    void *outputBuffer;        /**< what Resample writes, in the output encoding */
    uint32_t heldOutputFrames; /**< frames in outputBuffer */
    uint32_t inputFrameBytes;  /**< bytes of a frame of input */
    uint32_t outputFrameBytes; /**< bytes of a frame of output */
    uint32_t mixRows;          /**< input channels that take part in the mix */
    uint32_t mixColumns;       /**< output channels */
    bool mixCanOverflow;       /**< the matrix is one that can exceed full scale */
    bool mixLimiterOn;         /**< the limiter runs */
    bool ditherActive;         /**< dither runs */
    bool finished;             /**< no more output will come */
    const double (*mixMatrixDouble)[8];   /**< rows are input channels, columns output channels */
    const float (*mixMatrixFloat)[8];     /**< the same for the float path */
    tonekit::FloatDither *floatDithers;   /**< one per output channel, float path */
    tonekit::DoubleDither *doubleDithers; /**< one per output channel, double path and equal rates */
    double ditherScale;                   /**< steps of the output depth per 1.0 */
    tonekit::LoadDoubleKernel loadDouble;
    tonekit::LoadFloatKernel loadFloat;
    tonekit::StoreDoubleKernel storeDouble;
    tonekit::StoreFloatKernel storeFloat;
};

/** Gathers any number of frames into blocks. The SRC4_ functions call this class; their comments say what its
 * members do. */
class TONEKIT_API CSampleRateConverter4 : public CSampleRateConverter3 {
public:
    CSampleRateConverter4();
    ~CSampleRateConverter4();
    CSampleRateConverter4(const CSampleRateConverter4 &) = default;
    CSampleRateConverter4 &operator=(const CSampleRateConverter4 &other);

    void Init(uint32_t inputFormat, uint32_t inputBits, uint32_t inputChannels, uint32_t inputRate,
              uint32_t outputFormat, uint32_t outputBits, uint32_t outputChannels, uint32_t outputRate,
              bool dither, bool autoLimit, uint32_t qualityLow, uint32_t qualityHigh);
    void Write(const void *data, uint32_t frames);
    bool Read(void *&out, uint32_t &outFrames, uint32_t &outBytes);
    bool Flush(void *&out, uint32_t &outFrames, uint32_t &outBytes);

    uint32_t readFrameBytes;       /**< bytes of a frame passed to Write */
    uint32_t readOutputFrameBytes; /**< bytes of a frame returned */
    const void *writeData;         /**< the buffer of the last Write; the caller's */
    uint32_t writeConsumed;        /**< frames of it already taken */
    uint32_t writeRemaining;       /**< frames of it not yet taken */
    uint32_t blockFill;            /**< frames gathered in inputBuffer */
    uint32_t totalFramesIn;        /**< frames written, modulo 2^32 */
    uint32_t totalFramesOut;       /**< frames returned, modulo 2^32 */
};
#endif

#endif
