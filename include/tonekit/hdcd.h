/* hdcd.h: finds and decodes HDCD in 16-bit stereo PCM. */
#ifndef TONEKIT_HDCD_H
#define TONEKIT_HDCD_H

#include <tonekit/frame.h>

/* Results of hdcd_detected and the scans. */
#define TONEKIT_HDCD_NONE 0u  /* no HDCD so far */
#define TONEKIT_HDCD_CODES 1u /* both channels carry codes that have never changed the sound */
#define TONEKIT_HDCD_USED 2u  /* both carry codes, and gain or peak extension was used */

#ifdef __cplusplus
extern "C" {
#endif

/*
 * HDCD hides a slow control stream in the least significant bits of 16-bit audio. Its codes switch two
 * things: a gain that lowers a channel by 0 to 7.5 dB in steps of 0.5 dB, reached along a short ramp, and
 * peak extension, which stretches the top 3 dB of the 16-bit range to 9 dB. A code holds for 88200 frames
 * and then lapses, unless another one comes.
 *
 * The usual order of calls:
 *
 *   1. hdcd_new
 *   2. hdcd_scan or hdcd_scan16 on block after block, until it returns TONEKIT_HDCD_USED or enough has been
 *      scanned
 *   3. hdcd_reset, because a scan leaves the decoder in the middle of the stream
 *   4. hdcd_process on block after block, in stream order; a converter takes the result as
 *      TONEKIT_FORMAT_HDCD
 *   5. hdcd_free
 *
 * A decoder always works on two channels of 16 bits and counts its times in frames as if at 44100 Hz,
 * whatever the rate of the stream is. One thread at a time may use it; different decoders are independent. No
 * function throws, and none changes anything but the decoder and the buffer that are passed to it.
 *
 * Blocks may have any size. Where the two channels carry their codes on different frames, the borders of the
 * blocks affect when a code lapses, so only equal blocks have equal results; where they carry them on the
 * same frames, any blocks do.
 */

/** A decoder; opaque, made by hdcd_new, released by hdcd_free. */
typedef struct HdcdDecoder HdcdDecoder;

/** @return a new decoder at the beginning of a stream; null if memory is short */
TONEKIT_API HdcdDecoder *hdcd_new(void);

/**
 * Sets a decoder back to the beginning of a stream: between tracks, and between a scan and the decoding of
 * the same audio. Null is ignored.
 */
TONEKIT_API void hdcd_reset(HdcdDecoder *decoder);

/**
 * Decodes the next block in place. Allocates nothing.
 *
 * @param decoder  null is ignored, and the samples stay as they are
 * @param samples  2 * frames samples, left and right in turn. In: one signed 16-bit value each, sign-extended
 *                 to 32 bits. Out: the decoded values, on a scale of their own: the 16-bit value times 32768
 *                 where no code is in force, so that 16-bit full scale is 2^30. The range above it is for
 *                 peak extension, which turns 32767 into 0x7FF38000 and -32768 into the lowest 32-bit number.
 *                 Null counts as an empty block.
 * @param frames   0 or less does nothing
 *
 * A code takes effect on the frame that completes it, and a lapse on the frame at which it happens.
 */
TONEKIT_API void hdcd_process(HdcdDecoder *decoder, int32_t *samples, int32_t frames);

/**
 * Looks for HDCD in the next block: a decode whose output is thrown away. It updates all of the decoder's
 * state, so blocks add up, and a scan finds what a decode of the same blocks would have found.
 *
 * @param decoder  if null, the call returns 0
 * @param samples  as for hdcd_process, but left as they are; not read at all after it has returned 2
 * @param frames   0 or less changes nothing
 * @return what hdcd_detected returns afterwards. 0 if there is no memory for a copy of the block, 8 bytes a
 *         frame; the decoder then stays as it was.
 */
TONEKIT_API uint32_t hdcd_scan(HdcdDecoder *decoder, const int32_t *samples, int32_t frames);

/** The same for plain 16-bit samples, left and right in turn. The copy takes 8 bytes a frame here too. */
TONEKIT_API uint32_t hdcd_scan16(HdcdDecoder *decoder, const int16_t *samples, int32_t frames);

/** Frees a decoder. Null is ignored. */
TONEKIT_API void hdcd_free(HdcdDecoder *decoder);

/**
 * Returns what the blocks so far have shown, by the state at the end of each.
 *
 * @return TONEKIT_HDCD_NONE: no HDCD so far, or in one channel only, or a null decoder. TONEKIT_HDCD_CODES:
 *         both channels carry codes, but these have never changed the sound. TONEKIT_HDCD_USED: both carry
 *         codes, and gain or peak extension was used. It never falls until a reset.
 */
TONEKIT_API uint32_t hdcd_detected(const HdcdDecoder *decoder);

#ifdef __cplusplus
}
#endif

#endif
