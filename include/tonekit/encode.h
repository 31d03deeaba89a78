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
 * UTF-16 in the processor's byte order. "ANSI" is the system's code page, asked anew at each call: on Windows
 * the active code page (GetACP), elsewhere the character set of the locale that the process, or the calling
 * thread, has set. Elsewhere plain ASCII, which is what a process has that sets no locale, is taken for
 * windows-1252.
 *
 * Each conversion returns a new text of exactly the size needed, terminator included. It is the caller's, to
 * be released with UNC_freeStr or UNC_freeWStr. For an empty text it is a new empty text. A conversion
 * returns null for a null text, and the ANSI functions also if the system refuses its own code page; never
 * because of what is in the text or because memory runs out. When memory runs out, the process's new-handler
 * is called as long as there is one, then std::bad_alloc is thrown; nothing leaks.
 *
 * On Windows the system makes every conversion and replaces what can't be converted: MultiByteToWideChar with
 * MB_PRECOMPOSED from ANSI, WideCharToMultiByte with WC_COMPOSITECHECK and WC_SEPCHARS to ANSI, both without
 * flags for UTF-8. Windows refuses these flags for code pages that take none, UTF-8 (65001) among them. Where
 * that is the active code page, by a setting of the system or by activeCodePage in the program's manifest,
 * the four ANSI functions return null for every text; such a program has UTF-8 instead of ANSI and needs only
 * UNC_UnicodeToUtf8 and UNC_Utf8ToUnicode.
 *
 * Elsewhere the library itself converts UTF-8 and windows-1252. Any other code page is converted by the
 * system's iconv, which is opened for each call; that takes some microseconds. What can't be converted is
 * replaced by these rules:
 *
 *   - Ill-formed UTF-8 becomes U+FFFD, one for each maximal part: the longest run of bytes that begins a
 *     well-formed character, or one byte that begins none. Overlong forms, surrogates and values above
 *     U+10FFFF are ill-formed at their second byte.
 *   - A surrogate without its partner becomes U+FFFD.
 *   - A byte that the code page does not know becomes U+FFFD; so does a multi-byte character that the text's
 *     end cuts.
 *   - A character that the code page lacks becomes one `?`.
 *   - On the way to ANSI a character and the combining mark after it are first composed to the one
 *     precomposed character, if Unicode's canonical compositions have one: e, U+0301 becomes U+00E9. Marks
 *     are taken in turn: e, U+0302, U+0301 becomes U+1EBF.
 *
 * Every function may be called from any thread at any time; setting the locale at the same time is as unsafe
 * as always.
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
 * Releases memory that a function of this header has returned. UNC_freeStr, UNC_freeWStr, UUFreeMem and
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
 *              either byte order; not checked for null
 */
TONEKIT_API void UNC_ChangeEndian(tonekit_char16 *text);

/**
 * Removes the long-path prefix of the Windows file interface. The prefix's letters must be capitals; the path
 * is not looked at otherwise.
 *
 *   \\?\UNC\server\share   becomes  \\server\share
 *   \\?\C:\folder          becomes  C:\folder
 *   anything else          becomes  an equal path
 *
 * @param path  zero-terminated, not changed, not checked for null
 * @return a new path, also if nothing was removed; release it with UNC_freeWStr. Never null: it throws
 *         std::bad_alloc when memory runs out.
 */
TONEKIT_API tonekit_char16 *UNC_RemoveUnicodeAPIPath(const tonekit_char16 *path);

/*
 * UU and Base64
 *
 * Binary data to printable text and back. A text is one zero-terminated string of ASCII characters, without
 * line breaks, headers, lengths or check values. Results are new memory, which the caller releases with
 * UUFreeMem or BASE64FreeMem (or UNC_freeStr: they are one routine). The out pointers must not be null; a
 * function that refuses doesn't write them and has allocated nothing. When memory runs out, the process's
 * new-handler is called as long as there is one, then std::bad_alloc is thrown. Every function may be called
 * from any thread at any time.
 */

/* What the functions below return when they refuse. */
#define TONEKIT_ENCODE_REFUSED 0xFFFFFFFFu

/**
 * Encodes data in this library's own UU packing. It has the characters of the classical uuencode, space
 * (0x20) to underscore (0x5F), but neither its bit order nor its lines, and only UUDecode reads it.
 *
 * Three bytes become four characters, each of them 0x20 plus six bits: the low six bits of the first, second
 * and third byte, then the top two bits of all three, those of the first byte highest. One or two bytes left
 * over become as many characters, and one more with their top bits, in the same places. There is no padding.
 *
 * @param data    length bytes, anywhere; may be null if length is 0
 * @param length  0 or less makes an empty text
 * @param text    receives the new text: 4 characters for 3 bytes, 2 for 1 byte left, 3 for 2 bytes left, and
 *                the terminating zero
 * @return 0, always
 */
TONEKIT_API uint32_t UUEncode(const void *data, int32_t length, char **text);

/**
 * Decodes what UUEncode has made, to the same number of bytes. Nothing is checked: a text with other
 * characters becomes some bytes or other.
 *
 * @param text    zero-terminated; a single character after the last group of four is ignored
 * @param data    receives new memory with the bytes, not terminated; to be released even if there are none
 * @param length  receives the number of bytes: 3 for 4 characters, 1 for 2 left over, 2 for 3 left over
 * @return 0; TONEKIT_ENCODE_REFUSED for an empty or null text, and for one whose bytes could not be counted
 *         in 32 bits
 */
TONEKIT_API uint32_t UUDecode(const char *text, void **data, uint32_t *length);

/** The same routine as UNC_freeStr. */
TONEKIT_API void UUFreeMem(void *memory);

/**
 * Encodes data as Base64 with the standard alphabet and padding (RFC 4648, 4), however long in one line.
 *
 * @param data    length bytes, anywhere
 * @param length  1 to 268435455 (2^28 - 1)
 * @param text    receives the new text: 4 characters for every 3 bytes begun, and the terminating zero
 * @return 0; TONEKIT_ENCODE_REFUSED for length 0 (unlike UUEncode), for a length from 2^28 on, and for null
 *         data
 */
TONEKIT_API uint32_t BASE64Encode(const void *data, uint32_t length, char **text);

/**
 * Decodes Base64 of the standard alphabet. The whole text may hold nothing but ASCII letters, digits, '+',
 * '/' and '='; line breaks, blanks and the URL-safe '-' and '_' are refused. Reading stops at the first '='.
 * Padding isn't required: of characters left after the last group of four, one makes no byte, two make one,
 * three make two, and bits that don't fill a byte are dropped.
 *
 * @param text    zero-terminated
 * @param data    receives new memory with the bytes, not terminated; to be released even if there are none
 * @param length  receives the number of bytes, which can be 0: the texts "T" and "A=" are valid
 * @return 0; TONEKIT_ENCODE_REFUSED for an empty or null text, for one with any other character, even after a
 *         '=', and for one whose bytes could not be counted in 32 bits
 */
TONEKIT_API uint32_t BASE64Decode(const char *text, void **data, uint32_t *length);

/** The same routine as UNC_freeStr. */
TONEKIT_API void BASE64FreeMem(void *memory);

/*
 * SHA-2
 *
 * The hashes SHA-224, SHA-256, SHA-384 and SHA-512 of FIPS 180-4. One call hashes a message that is in memory
 * as a whole; for a message in pieces, call init, update for each piece, then final. Pieces may be of any
 * size, and where they are cut makes no difference.
 *
 * The bits of a message are counted in 32 bits. So a message of 512 MiB (2^29 bytes) or more has a digest
 * that is well-defined, but not the standard's. Required behaviour of all four; it won't change.
 *
 * The records are plain data without pointers. The caller allocates them, may copy them at any time (to hash
 * several messages with one beginning, for instance), and needs no release for them. Nothing in them is wiped
 * after use. Pointers need no alignment beyond that of their types. No function allocates, throws or keeps
 * state elsewhere: any number of threads may hash, each with its own record.
 */

/** A message on its way through SHA-224 or SHA-256. */
typedef struct Sha256Context {
    uint32_t total_length; /**< bytes that have been through the transform; wraps at 4 GiB */
    uint32_t length;       /**< bytes waiting in block, 0 to 63 */
    uint8_t block[128];    /**< the waiting bytes; the second half is for the padding */
    uint32_t state[8];     /**< the chaining value */
} Sha256Context;

/** A message on its way through SHA-384 or SHA-512. */
typedef struct Sha512Context {
    uint32_t total_length; /**< bytes that have been through the transform; wraps at 4 GiB */
    uint32_t length;       /**< bytes waiting in block, 0 to 127 */
    uint8_t block[256];    /**< the waiting bytes; the second half is for the padding */
    uint64_t state[8];     /**< the chaining value */
} Sha512Context;

/**
 * Hashes a message with SHA-224.
 *
 * @param message  size bytes; may be null if size is 0
 * @param digest   receives 28 bytes
 */
TONEKIT_API void sha224(const uint8_t *message, uint32_t size, uint8_t *digest);

/** Begins a SHA-224 message. Of the record, block is left as it is. */
TONEKIT_API void sha224_init(Sha256Context *context);

/** Adds size bytes to a SHA-224 message; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void sha224_update(Sha256Context *context, const uint8_t *message, uint32_t size);

/** Ends a SHA-224 message and stores its 28 bytes at digest. The record can't be used again before init. */
TONEKIT_API void sha224_final(Sha256Context *context, uint8_t *digest);

/**
 * Hashes a message with SHA-256.
 *
 * @param message  size bytes; may be null if size is 0
 * @param digest   receives 32 bytes
 */
TONEKIT_API void sha256(const uint8_t *message, uint32_t size, uint8_t *digest);

/** Begins a SHA-256 message. Of the record, block is left as it is. */
TONEKIT_API void sha256_init(Sha256Context *context);

/** Adds size bytes to a SHA-256 message; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void sha256_update(Sha256Context *context, const uint8_t *message, uint32_t size);

/** Ends a SHA-256 message and stores its 32 bytes at digest. The record can't be used again before init. */
TONEKIT_API void sha256_final(Sha256Context *context, uint8_t *digest);

/**
 * Hashes a message with SHA-384.
 *
 * @param message  size bytes; may be null if size is 0
 * @param digest   receives 48 bytes
 */
TONEKIT_API void sha384(const uint8_t *message, uint32_t size, uint8_t *digest);

/** Begins a SHA-384 message. Of the record, block is left as it is. */
TONEKIT_API void sha384_init(Sha512Context *context);

/** Adds size bytes to a SHA-384 message; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void sha384_update(Sha512Context *context, const uint8_t *message, uint32_t size);

/** Ends a SHA-384 message and stores its 48 bytes at digest. The record can't be used again before init. */
TONEKIT_API void sha384_final(Sha512Context *context, uint8_t *digest);

/**
 * Hashes a message with SHA-512.
 *
 * @param message  size bytes; may be null if size is 0
 * @param digest   receives 64 bytes
 */
TONEKIT_API void sha512(const uint8_t *message, uint32_t size, uint8_t *digest);

/** Begins a SHA-512 message. Of the record, block is left as it is. */
TONEKIT_API void sha512_init(Sha512Context *context);

/** Adds size bytes to a SHA-512 message; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void sha512_update(Sha512Context *context, const uint8_t *message, uint32_t size);

/** Ends a SHA-512 message and stores its 64 bytes at digest. The record can't be used again before init. */
TONEKIT_API void sha512_final(Sha512Context *context, uint8_t *digest);

/*
 * HMAC
 *
 * The message authentication code of RFC 2104 over each of the four hashes. One call does all; for a message
 * in pieces, call init with the key, update for each piece, then final. For a further message with the same
 * key, call reinit instead of init: it saves two transforms. The limit of 512 MiB holds for the message here
 * too.
 *
 * A key may have any size, 0 included. One longer than the hash's block (64 bytes with SHA-224 and SHA-256,
 * 128 with SHA-384 and SHA-512) is replaced by its digest, as the RFC has it. The key can be read out of the
 * records.
 *
 * A MAC is cut to macSize bytes, counted from its beginning; macSize must not be above the digest size. If it
 * is, the bytes beyond the digest are left as they are.
 *
 * What is said about the records, threads and failures of SHA-2 holds here.
 */

/** A message on its way through HMAC with SHA-224 or SHA-256. */
typedef struct HmacSha256Context {
    Sha256Context inner;       /**< running hash of ipad and the message */
    Sha256Context outer;       /**< running hash of opad */
    Sha256Context inner_saved; /**< inner after the key */
    Sha256Context outer_saved; /**< outer after the key */
    uint8_t ipad[64];          /**< the key, each byte XOR 0x36; 0x36 after it */
    uint8_t opad[64];          /**< the key, each byte XOR 0x5C; 0x5C after it */
} HmacSha256Context;

/** A message on its way through HMAC with SHA-384 or SHA-512. */
typedef struct HmacSha512Context {
    Sha512Context inner;       /**< running hash of ipad and the message */
    Sha512Context outer;       /**< running hash of opad */
    Sha512Context inner_saved; /**< inner after the key */
    Sha512Context outer_saved; /**< outer after the key */
    uint8_t ipad[128];         /**< the key, each byte XOR 0x36; 0x36 after it */
    uint8_t opad[128];         /**< the key, each byte XOR 0x5C; 0x5C after it */
} HmacSha512Context;

/**
 * Computes the HMAC of a message with SHA-224.
 *
 * @param key      keySize bytes; may be null if keySize is 0
 * @param message  size bytes; may be null if size is 0
 * @param mac      receives macSize bytes, at most 28
 */
TONEKIT_API void hmac_sha224(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size,
                             uint8_t *mac, uint32_t macSize);

/** Begins an HMAC message with SHA-224 and a new key of keySize bytes. */
TONEKIT_API void hmac_sha224_init(HmacSha256Context *context, const uint8_t *key, uint32_t keySize);

/** Begins a further message with the key of the last hmac_sha224_init. */
TONEKIT_API void hmac_sha224_reinit(HmacSha256Context *context);

/** Adds size bytes to an HMAC message with SHA-224; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void hmac_sha224_update(HmacSha256Context *context, const uint8_t *message, uint32_t size);

/** Ends an HMAC message with SHA-224 and stores the first macSize bytes of its MAC, at most 28, at mac. */
TONEKIT_API void hmac_sha224_final(HmacSha256Context *context, uint8_t *mac, uint32_t macSize);

/**
 * Computes the HMAC of a message with SHA-256.
 *
 * @param key      keySize bytes; may be null if keySize is 0
 * @param message  size bytes; may be null if size is 0
 * @param mac      receives macSize bytes, at most 32
 */
TONEKIT_API void hmac_sha256(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size,
                             uint8_t *mac, uint32_t macSize);

/** Begins an HMAC message with SHA-256 and a new key of keySize bytes. */
TONEKIT_API void hmac_sha256_init(HmacSha256Context *context, const uint8_t *key, uint32_t keySize);

/** Begins a further message with the key of the last hmac_sha256_init. */
TONEKIT_API void hmac_sha256_reinit(HmacSha256Context *context);

/** Adds size bytes to an HMAC message with SHA-256; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void hmac_sha256_update(HmacSha256Context *context, const uint8_t *message, uint32_t size);

/** Ends an HMAC message with SHA-256 and stores the first macSize bytes of its MAC, at most 32, at mac. */
TONEKIT_API void hmac_sha256_final(HmacSha256Context *context, uint8_t *mac, uint32_t macSize);

/**
 * Computes the HMAC of a message with SHA-384.
 *
 * @param key      keySize bytes; may be null if keySize is 0
 * @param message  size bytes; may be null if size is 0
 * @param mac      receives macSize bytes, at most 48
 */
TONEKIT_API void hmac_sha384(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size,
                             uint8_t *mac, uint32_t macSize);

/** Begins an HMAC message with SHA-384 and a new key of keySize bytes. */
TONEKIT_API void hmac_sha384_init(HmacSha512Context *context, const uint8_t *key, uint32_t keySize);

/** Begins a further message with the key of the last hmac_sha384_init. */
TONEKIT_API void hmac_sha384_reinit(HmacSha512Context *context);

/** Adds size bytes to an HMAC message with SHA-384; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void hmac_sha384_update(HmacSha512Context *context, const uint8_t *message, uint32_t size);

/** Ends an HMAC message with SHA-384 and stores the first macSize bytes of its MAC, at most 48, at mac. */
TONEKIT_API void hmac_sha384_final(HmacSha512Context *context, uint8_t *mac, uint32_t macSize);

/**
 * Computes the HMAC of a message with SHA-512.
 *
 * @param key      keySize bytes; may be null if keySize is 0
 * @param message  size bytes; may be null if size is 0
 * @param mac      receives macSize bytes, at most 64
 */
TONEKIT_API void hmac_sha512(const uint8_t *key, uint32_t keySize, const uint8_t *message, uint32_t size,
                             uint8_t *mac, uint32_t macSize);

/** Begins an HMAC message with SHA-512 and a new key of keySize bytes. */
TONEKIT_API void hmac_sha512_init(HmacSha512Context *context, const uint8_t *key, uint32_t keySize);

/** Begins a further message with the key of the last hmac_sha512_init. */
TONEKIT_API void hmac_sha512_reinit(HmacSha512Context *context);

/** Adds size bytes to an HMAC message with SHA-512; 0 bytes (message may be null then) change nothing. */
TONEKIT_API void hmac_sha512_update(HmacSha512Context *context, const uint8_t *message, uint32_t size);

/** Ends an HMAC message with SHA-512 and stores the first macSize bytes of its MAC, at most 64, at mac. */
TONEKIT_API void hmac_sha512_final(HmacSha512Context *context, uint8_t *mac, uint32_t macSize);

#ifdef __cplusplus
}
#endif

#endif
