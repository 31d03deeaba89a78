/* frame.h: common types, the process-wide settings, the global lock and the EBML file test of tonekit. */
#ifndef TONEKIT_FRAME_H
#define TONEKIT_FRAME_H

#include <stddef.h>
#include <stdint.h>
#ifdef __cplusplus
    #include <uchar.h>
#else
    #include <stdbool.h>
    #ifndef _WIN32
        #include <uchar.h>
    #endif
#endif

/** The version of these headers. A library with the same major number runs every program that was built with
 * this version or an earlier one. The build system reads its version here. */
#define TONEKIT_VERSION_MAJOR 1
#define TONEKIT_VERSION_MINOR 0
#define TONEKIT_VERSION_PATCH 0
#define TONEKIT_VERSION_STRING "1.0.0"

/** Marks an exported function. */
#ifdef _WIN32
    #define TONEKIT_API
#else
    #define TONEKIT_API __attribute__((visibility("default")))
#endif

/** One UTF-16 unit in the processor's byte order. */
#ifdef _WIN32
typedef wchar_t tonekit_char16;
#else
typedef char16_t tonekit_char16;
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Settings
 *
 * Each is one process-wide value that lives as long as the process. Any thread may read or write at any time
 * without a lock: a reader sees the old value or the new one. No setter reports a rejected value.
 *
 * SRC4_Init reads the filter mode, aliasing and whether dither is allowed, and a converter keeps what it has
 * read. So a program whose converters need different filters sets the mode and creates the converter under
 * one lock of its own (the global lock below will do); afterwards the converters may run at the same time.
 * The dither mode and the HDCD gain are read at every block: all converters of a process that dither or take
 * HDCD input share them at any time.
 */

/* Modes of SetSampleRateConverterParameters2. */
#define TONEKIT_FILTER_NORMAL 0u  /* pass band to about 0.91 of Nyquist */
#define TONEKIT_FILTER_STEEP 1u   /* to about 0.982 */
#define TONEKIT_FILTER_STEEPER 2u /* to about 0.995 */

/* Modes of SetDitherParameters. */
#define TONEKIT_DITHER_RECTANGULAR 0u
#define TONEKIT_DITHER_TRIANGULAR 1u /* high-pass triangular */
#define TONEKIT_DITHER_SHAPED 2u     /* triangular, with noise shaping */

/**
 * Sets the resampling filter of converters set up from now on; a running converter does not change.
 *
 * @param mode      TONEKIT_FILTER_NORMAL, TONEKIT_FILTER_STEEP or TONEKIT_FILTER_STEEPER. Any other value
 *                  stores TONEKIT_FILTER_NORMAL.
 * @param aliasing  non-zero lets the stop band begin above the Nyquist frequency, which shortens the filter
 *                  and allows a little aliasing; it has an effect only between rates of 44100 Hz and up. Any
 *                  value is stored.
 */
TONEKIT_API void SetSampleRateConverterParameters2(uint32_t mode, uint8_t aliasing);

/**
 * Sets dither.
 *
 * @param enable  non-zero allows dither in converters set up from now on (which must also ask for it); 0 at
 *                start
 * @param mode    TONEKIT_DITHER_RECTANGULAR, TONEKIT_DITHER_TRIANGULAR (at start) or TONEKIT_DITHER_SHAPED;
 *                takes effect at the next block, in running converters too. Any other value leaves the mode
 *                as it was.
 */
TONEKIT_API void SetDitherParameters(uint32_t enable, uint32_t mode);

/** Stores the DSD to PCM quality, 0 or 1; any other value is ignored. Read by callers only. */
TONEKIT_API void SetDSDPCMQuality(uint32_t quality);
/** @return the DSD to PCM quality; 0 at start */
TONEKIT_API uint32_t GetDSDPCMQuality(void);

/** Stores the DSD to PCM gain, 0 to 6; any other value is ignored. Read by callers only. */
TONEKIT_API void SetDSDPCMGain(uint32_t gain);
/** @return the DSD to PCM gain; 6 at start */
TONEKIT_API uint32_t GetDSDPCMGain(void);

/**
 * Sets the gain, in whole decibels from 0 to 6, that converters apply to input of format code 2 (the samples
 * that hdcd_process leaves). Takes effect at the next block, in running converters too. Any other value is
 * ignored.
 */
TONEKIT_API void SetHDCDGain(uint32_t gain);
/** @return the HDCD gain in decibels; 6 at start */
TONEKIT_API uint32_t GetHDCDGain(void);

/** Stores whether xHE-AAC loudness control is on; any value. Read by callers only. */
TONEKIT_API void XHEAAC_DRC_Enable(uint8_t enable);
/** @return the value given to XHEAAC_DRC_Enable; 0 at start */
TONEKIT_API uint32_t XHEAAC_DRC_Enabled(void);

/** Stores the target of xHE-AAC loudness control, unchecked. Read by callers only. */
TONEKIT_API void XHEAAC_DRC_Set_Loudness(uint32_t loudness);
/** @return the loudness control target; 96 at start */
TONEKIT_API uint32_t XHEAAC_DRC_Get_Loudness(void);

/** Stores the effect type of xHE-AAC loudness control, unchecked. Read by callers only. */
TONEKIT_API void XHEAAC_DRC_Set_Effect(uint32_t effect);
/** @return the loudness control effect; 0 at start */
TONEKIT_API uint32_t XHEAAC_DRC_Get_Effect(void);

/** Does nothing. The function exists so that programs that call it can be linked. */
TONEKIT_API void InitializeUltraHD(void);
/** Does nothing. The function exists so that programs that call it can be linked. */
TONEKIT_API void SetUltraHDQuality(void);

/*
 * The global lock
 *
 * One lock for the process, for callers only: nothing inside the library takes it. It has no owner, so one
 * thread may lock and another unlock, and it isn't recursive: a second lock by the thread that holds it waits
 * for ever. If the system had no resources for it when the library was loaded, both calls return at once and
 * exclude nobody.
 */

/** Waits without limit for the lock and takes it. */
TONEKIT_API void ffmpeg_global_lock(void);

/** Releases the lock and wakes one waiting thread. Releasing a free lock leaves it free: releases aren't
 * counted. */
TONEKIT_API void ffmpeg_global_unlock(void);

/**
 * Reads whether a file begins with the EBML header identifier 1A 45 DF A3, which marks Matroska and WebM
 * files.
 *
 * @param path  zero-terminated UTF-16 path; outside Windows it is opened by its UTF-8 form
 * @return 1 if it does; 0 if not, also for a file that can't be opened or is shorter than 4 bytes
 */
TONEKIT_API uint32_t DetectEbml(const tonekit_char16 *path);

#ifdef __cplusplus
}
#endif

#endif
