/* encode.h: text encodings, UU and Base64, SHA-2 and HMAC of tonekit. */
#ifndef TONEKIT_ENCODE_H
#define TONEKIT_ENCODE_H

#include <tonekit/frame.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Text encodings
 *
 * A text is zero-terminated, and is read up to its terminator, so no length is passed anywhere. "Unicode" is
 * UTF-16 in the processor's byte order. "ANSI" is the system's code page:
 *
 *   Windows    the active code page (GetACP), and the system's own rules wherever "elsewhere" is said below
 *   elsewhere  the character set of the locale that the process (or the calling thread) has set, asked anew
 * at each call; plain ASCII, which is what a process has that sets no locale, stands for windows-1252
 *
 * Each conversion returns a new text of exactly the size needed, terminator included. It is the caller's, to
 * be given back with UNC_freeStr or UNC_freeWStr. An empty text gives a new empty text. Null comes back for a
 * null text, and from the ANSI functions if the system has no converter for its own code page; never for what
 * stands in the text and never for want of memory. When memory runs out, the process's new-handler is called
 * as long as there is one, then std::bad_alloc is thrown; nothing leaks.
 *
 * What can't be converted is replaced, elsewhere by these rules:
 *
 *   - Ill-formed UTF-8 becomes U+FFFD, one for each maximal part: the longest run of bytes that begins a
 * well-formed character, or one byte that begins none. Overlong forms, surrogates and values above U+10FFFF
 * are ill-formed at their second byte.
 *   - A surrogate without its partner becomes U+FFFD.
 *   - A byte that the code page does not know becomes U+FFFD; so does a multi-byte character that the text's
 * end cuts.
 *   - A character that the code page lacks becomes one `?`.
 *   - On the way to ANSI a character and the combining mark behind it are first composed to the one
 * precomposed character, if there is one in Unicode's canonical compositions: e, U+0301 becomes U+00E9. Two
 * marks are taken in turn: e, U+0302, U+0301 becomes U+1EBF.
 *
 * Every function may be called from any thread at any time; setting the locale meanwhile is as unsafe as it
 * always is.
 */

/** @return text, read in the ANSI code page, as new UTF-16; null for null */
TONEKIT_API tonekit_char16 *UNC_AnsiToUnicode(const char *text);

/** @return the UTF-16 text as a new text in the ANSI code page; null for null */
TONEKIT_API char *UNC_UnicodeToAnsi(const tonekit_char16 *text);

/** @return the UTF-16 text as new UTF-8, surrogate pairs as one 4-byte sequence; null for null */
TONEKIT_API char *UNC_UnicodeToUtf8(const tonekit_char16 *text);

/** @return the UTF-8 text as new UTF-16, characters above U+FFFF as surrogate pairs; null for null */
TONEKIT_API tonekit_char16 *UNC_Utf8ToUnicode(const char *text);

/** @return text, read in the ANSI code page, as new UTF-8, by way of UTF-16; null for null */
TONEKIT_API char *UNC_AnsiToUtf8(const char *text);

/** @return the UTF-8 text as a new text in the ANSI code page, by way of UTF-16; null for null */
TONEKIT_API char *UNC_Utf8ToAnsi(const char *text);

/**
 * Releases memory that a function of this header has handed out. UNC_freeStr, UNC_freeWStr, UUFreeMem and
 * BASE64FreeMem are one routine at one address, so any of them releases the result of any function here.
 *
 * @param text  the result to release; null is ignored
 */
TONEKIT_API void UNC_freeStr(void *text);

/** The same routine as UNC_freeStr. */
TONEKIT_API void UNC_freeWStr(void *text);

/**
 * Swaps the two bytes of every unit of a UTF-16 text in place. Applied twice, it restores the text.
 *
 * @param text  ends at its first zero unit (a unit with only one zero byte does not end it), so it may be in
 * either byte order; not checked for null
 */
TONEKIT_API void UNC_ChangeEndian(tonekit_char16 *text);

/**
 * Removes the long-path prefix of the Windows file interface. The prefix's letters must be capitals; the path
 * is not looked at otherwise.
 *
 *   \\?\UNC\server\share   gives  \\server\share
 *   \\?\C:\folder          gives  C:\folder
 *   anything else          gives  an equal path
 *
 * @param path  zero-terminated, not changed, not checked for null
 * @return a new path, also where nothing was removed; give it back with UNC_freeWStr. Never null: it throws
 *         std::bad_alloc when memory runs out.
 */
TONEKIT_API tonekit_char16 *UNC_RemoveUnicodeAPIPath(const tonekit_char16 *path);

#ifdef __cplusplus
}
#endif

#endif
