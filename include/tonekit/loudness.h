/* loudness.h: ReplayGain measurement of tonekit. */
#ifndef TONEKIT_LOUDNESS_H
#define TONEKIT_LOUDNESS_H

#include <tonekit/frame.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * ReplayGain
 *
 * A state measures one track: make it with an init call, pass it the audio with ReplayGain_Process, read it
 * at any point (reading does not change the measurement, which may go on), release it with ReplayGain_Deinit.
 * There is no reset; a new track takes a new state. The loudness is the gated, integrated one of ITU-R
 * BS.1770 and EBU R 128, measured by libebur128.
 *
 * No call reports an error. If libebur128 can't measure the format (it takes 1 to 64 channels at up to
 * 2822400 Hz; rates under 100 Hz are refused, too), a change of format fails, or its memory runs out, the
 * state remains without a measurement: it still counts frames, and its loudness and peak are the missing
 * value. The missing value is a quiet NaN: the float with the bits 0x7FFFFFFF, which is what ID3Helper_GetNaN
 * returns, widened to double.
 *
 * One thread at a time for each state; states share nothing.
 */

/** One running measurement. */
typedef struct ReplayGainState ReplayGainState;

/**
 * Begins a measurement with sample peak: the largest sample that occurs.
 *
 * Channels are weighted by their places: 1 is measured as dual mono, which is as loud as the same signal on
 * two channels; 2 is left, right; 4 is left, right, left surround, right surround; 5 is left, right, centre,
 * left surround, right surround; 6 is left, right, centre, LFE (which does not count), left surround, right
 * surround. Other counts keep libebur128's default.
 *
 * @param channels    samples in a frame
 * @param sampleRate  frames a second
 * @return a new state, the caller's, to be released with ReplayGain_Deinit. Never null: it throws
 *         std::bad_alloc when memory for the state itself runs out.
 */
TONEKIT_API ReplayGainState *ReplayGain_Init(uint32_t channels, uint32_t sampleRate);

/**
 * Begins a measurement with true peak: the largest value of the signal between the samples, too, as BS.1770
 * estimates it by oversampling. Slower than ReplayGain_Init, otherwise the same.
 */
TONEKIT_API ReplayGainState *ReplayGain_Init_TruePeak(uint32_t channels, uint32_t sampleRate);

/**
 * Changes the format during a measurement, which goes on: what has been measured so far keeps its weight. The
 * channels of ReplayGain_GetPeak remain those of the init call. If libebur128 refuses the new format, the
 * measurement is lost for good.
 *
 * @param state  null is ignored
 */
TONEKIT_API void ReplayGain_Change(ReplayGainState *state, uint32_t channels, uint32_t sampleRate);

/**
 * Measures the next samples of the track.
 *
 * @param state    null is ignored
 * @param samples  interleaved, full scale -1.0 to +1.0, frames times the current channels of them; read only,
 *                 not kept
 * @param frames   samples of every channel; any number
 */
TONEKIT_API void ReplayGain_Process(ReplayGainState *state, const double *samples, uint32_t frames);

/**
 * @return the ReplayGain value in dB: -18 minus the loudness in LUFS, so a louder track gets a lower figure.
 *         The missing value for a null state, and while nothing has been loud enough to pass the gates (-70
 *         LUFS, 400 ms).
 */
TONEKIT_API double ReplayGain_GetLoudness(ReplayGainState *state);

/**
 * @return the largest peak of all channels that the init call named, as a linear factor (1.0 is full scale);
 *         0.0 before any sound; the missing value for a null state. A channel that a change has removed is
 *         left out, and so is one that a change has added.
 */
TONEKIT_API double ReplayGain_GetPeak(ReplayGainState *state);

/** @return the frames passed to ReplayGain_Process so far, through all changes; 0 for a null state */
TONEKIT_API uint64_t ReplayGain_GetSamples(ReplayGainState *state);

/** Releases a state; null is ignored. */
TONEKIT_API void ReplayGain_Deinit(ReplayGainState *state);

#ifdef __cplusplus
}
#endif

#endif
