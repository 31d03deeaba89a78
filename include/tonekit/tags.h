/* tags.h: the tag block (text, numbers, pictures and chapters in one flat buffer), time strings and sample
 * positions. */
#ifndef TONEKIT_TAGS_H
#define TONEKIT_TAGS_H

#include <tonekit/frame.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The tag block
 *
 * A TagBlock holds what belongs to the audio: named texts, numbers, pictures and chapters. It only grows:
 * nothing is removed or replaced, and a key once stored keeps its first value. All text is UTF-8. A number is
 * stored as decimal text, so it can be read back as a number or as text, and reads and writes are the same
 * under every locale.
 *
 * Every item lies in one buffer of the block, byte-packed, integers little-endian, one item directly after
 * the other:
 *
 *   text      0, u32 length, key, 0, value, 0                                 length = K + V + 2
 *   picture   1, u32 length, u8 type, MIME type, 0, u32 size D, D data bytes  length = M + D + 6
 *
 * where length counts the bytes after its own field. A new block has room for 1024 bytes. When a piece of n
 * bytes of an item doesn't fit, the buffer grows by max(n, 1024) bytes. A block holds less than 4 GiB.
 *
 * Keys that differ only in the case of the letters A to Z are one key; all other bytes count as they are. A
 * key that begins with "!*?ID3" (in exactly this case) is hidden: ID3Helper_GetStr finds it, walks don't show
 * it.
 *
 * Failures. No function here reports an error or throws. Adding refuses in silence: null arguments, empty
 * keys or values and keys that are taken leave the block as it is. When memory for the buffer runs out, only
 * the piece of the item that needed it is left out, so that the item may be torn: it, or items after it, may
 * then not be found. A lookup of what isn't there returns an empty string, 0, null or the missing-value
 * float. No function reads past the items, however torn they are. Texts and pictures to add may be inside the
 * block itself.
 *
 * Memory. Returned texts and data are inside the block. They stay valid until the next add to that block, or
 * until ID3Helper_Free. Arguments are copied and never kept.
 *
 * A walk over all texts, as examples/tag_block.c has it:
 *
 *     for (bool more = ID3Helper_GetFirst(block, &item); more; more = ID3Helper_GetNext(block, &item))
 *         printf("%s = %s\n", item.key, item.value);
 *
 * Threads. No locks. One writer at a time per block and nobody else while it writes; any number of threads
 * may read and walk one block at the same time while nobody adds.
 */

/* What ID3Helper_GetChapter_Position returns for a chapter that isn't there. */
#define TONEKIT_NO_POSITION UINT64_MAX

/* Picture types in common use; any value from 0 to 255 is stored. */
#define TONEKIT_PICTURE_OTHER 0u
#define TONEKIT_PICTURE_FRONT_COVER 3u
#define TONEKIT_PICTURE_BACK_COVER 4u

/** A tag block; made by ID3Helper_Alloc or ID3Helper_Copy, released by ID3Helper_Free. */
typedef struct TagBlock TagBlock;

#pragma pack(push, 1)

/**
 * One text item, as a walk with ID3Helper_GetFirst and ID3Helper_GetNext returns it. The caller's record: 36
 * bytes, byte-packed; it needs no set-up or release. Read it only after a true result.
 */
typedef struct TagBlockItem {
    const char *key;    /**< inside the block */
    const char *value;  /**< inside the block */
    uint32_t dword;     /**< the value read as by ID3Helper_GetDword, whatever it is */
    uint64_t ulonglong; /**< the value read as by ID3Helper_GetULongLong, whatever it is */
    float floatValue;   /**< the bits of dword, which is how ID3Helper_AddFloat stores a float */
    uint32_t cursor;    /**< offset in the block's buffer where the walk goes on; stays good across adds */
} TagBlockItem;

/**
 * One picture, as a walk with ID3Helper_GetFirstImage and ID3Helper_GetNextImage returns it. The caller's
 * record: 28 bytes, byte-packed; it needs no set-up or release. Read it only after a true result.
 */
typedef struct TagBlockPicture {
    int32_t type;        /**< the stored type byte, sign-extended: a type of 255 is returned as -1 */
    const char *mime;    /**< MIME type, inside the block; empty if unknown */
    uint32_t size;       /**< bytes at data; at least 1 */
    const uint8_t *data; /**< the encoded image, inside the block */
    uint32_t cursor;     /**< offset in the block's buffer where the walk goes on; stays good across adds */
} TagBlockPicture;

#pragma pack(pop)

/** @return a new, empty block, to be released with ID3Helper_Free; null if memory ran out */
TONEKIT_API TagBlock *ID3Helper_Alloc(void);

/** Releases a block and everything in it. Null is ignored. */
TONEKIT_API void ID3Helper_Free(TagBlock *block);

/**
 * Copies a block with all its items and its spare room.
 *
 * @return a new, independent block, to be released with ID3Helper_Free; null if block is null or memory ran
 *         out
 */
TONEKIT_API TagBlock *ID3Helper_Copy(const TagBlock *block);

/*
 * Texts
 */

/**
 * Stores a text under a key, unless the key is taken.
 *
 * @param block  null: nothing happens
 * @param key    zero-terminated UTF-8; null or empty: nothing happens
 * @param value  zero-terminated UTF-8; null or empty: nothing happens, and the key stays free
 */
TONEKIT_API void ID3Helper_AddStr(TagBlock *block, const char *key, const char *value);

/** ID3Helper_AddStr for zero-terminated UTF-16, converted as by UNC_UnicodeToUtf8. A failed conversion:
 * nothing happens. */
TONEKIT_API void ID3Helper_AddStrUnicode(TagBlock *block, const tonekit_char16 *key,
                                         const tonekit_char16 *value);

/** ID3Helper_AddStr for the ANSI code page, converted as by UNC_AnsiToUtf8. A failed conversion: nothing
 * happens. */
TONEKIT_API void ID3Helper_AddStrAnsi(TagBlock *block, const char *key, const char *value);

/**
 * Returns a text. The time taken grows with the bytes in the block.
 *
 * @param key  zero-terminated UTF-8, compared without regard to the case of A to Z; hidden keys are found too
 * @return the value of the first item under that key, inside the block; an empty string if there is none, or
 *         if block or key is null or the key is empty. Never null.
 */
TONEKIT_API const char *ID3Helper_GetStr(const TagBlock *block, const char *key);

/*
 * Numbers
 *
 * Added as unsigned decimal text under the rules of ID3Helper_AddStr. Read from any text: leading blanks
 * (space and 9 to 13) and a sign are accepted, reading stops at the first character that is no digit, a text
 * without digits returns 0, a minus sign negates modulo the width, and a number too large for it returns
 * the largest of the width.
 */

/** Stores a 32-bit number as decimal text. */
TONEKIT_API void ID3Helper_AddDword(TagBlock *block, const char *key, uint32_t number);
/** @return the text under the key as a 32-bit number; 0 if the key is absent */
TONEKIT_API uint32_t ID3Helper_GetDword(const TagBlock *block, const char *key);

/** Stores a 64-bit number as decimal text. */
TONEKIT_API void ID3Helper_AddULongLong(TagBlock *block, const char *key, uint64_t number);
/** @return the text under the key as a 64-bit number; 0 if the key is absent */
TONEKIT_API uint64_t ID3Helper_GetULongLong(const TagBlock *block, const char *key);

/** Stores the 32 bits of a float as an unsigned decimal number: 1.0 is the text 1065353216. Every bit
 * survives, NaN too. */
TONEKIT_API void ID3Helper_AddFloat(TagBlock *block, const char *key, float number);
/** @return the float whose bits are the text under the key as a 32-bit number; ID3Helper_GetNaN() if the key
 * is absent */
TONEKIT_API float ID3Helper_GetFloat(const TagBlock *block, const char *key);

/** @return the float with the bits 0x7FFFFFFF, which is the missing value */
TONEKIT_API float ID3Helper_GetNaN(void);
/** @return true if number is not a number, whatever its other bits */
TONEKIT_API bool ID3Helper_IsNaN(float number);

/*
 * Walks
 *
 * Text items come in the order in which they were added, pictures and hidden keys left out. Items added
 * during a walk are seen by it. Any number of records may walk one block at the same time.
 */

/**
 * Starts a walk: sets item->cursor to 0, whatever block is, and then does what ID3Helper_GetNext does.
 *
 * @param item  must not be null
 */
TONEKIT_API bool ID3Helper_GetFirst(const TagBlock *block, TagBlockItem *item);

/**
 * Reads the next text item.
 *
 * @param block  null: false
 * @param item   the record that ID3Helper_GetFirst has filled; must not be null
 * @return true: all fields are set. false: the block has no more; if block is null or the cursor was at the
 *         end already, the record is not written, otherwise only cursor and key may have changed.
 */
TONEKIT_API bool ID3Helper_GetNext(const TagBlock *block, TagBlockItem *item);

/*
 * Pictures
 *
 * Encoded image files, stored as they are. Several pictures may have one type.
 */

/**
 * Stores a picture.
 *
 * @param block  null: nothing happens
 * @param mime   zero-terminated MIME type, stored unchecked. Null or empty: found from the first bytes of the
 *               data, if there are at least 8: 42 4D is image/bmp, FF D8 image/jpeg, 89 50 4E 47 0D 0A 1A 0A
 *               image/png, 47 49 46 image/gif, anything else an empty MIME type.
 * @param type   picture type; its low byte is stored
 * @param size   bytes at data; 0: nothing happens
 * @param data   the encoded image; null: nothing happens
 */
TONEKIT_API void ID3Helper_AddImage(TagBlock *block, const char *mime, uint32_t type, uint32_t size,
                                    const void *data);

/**
 * Returns the first picture of a type.
 *
 * @param type  compared with the stored byte sign-extended to 32 bits: a picture stored as 255 is found as
 *              0xFFFFFFFF and not as 255
 * @param mime  where the MIME type goes (inside the block, empty if unknown); may be null
 * @param size  where the number of bytes goes; null: the result is null
 * @return the image, inside the block; null, with mime and size not written, if there is none
 */
TONEKIT_API const uint8_t *ID3Helper_GetImage(const TagBlock *block, uint32_t type, const char **mime,
                                              uint32_t *size);

/**
 * Starts a walk over the pictures: sets picture->cursor to 0, whatever block is, and then does what
 * ID3Helper_GetNextImage does.
 *
 * @param picture  must not be null
 */
TONEKIT_API bool ID3Helper_GetFirstImage(const TagBlock *block, TagBlockPicture *picture);

/**
 * Reads the next picture, in the order of adding.
 *
 * @param block    null: false
 * @param picture  the record that ID3Helper_GetFirstImage has filled; must not be null
 * @return true: all fields are set. false: the block has no more, and only the cursor may have changed.
 */
TONEKIT_API bool ID3Helper_GetNextImage(const TagBlock *block, TagBlockPicture *picture);

/*
 * Chapters
 *
 * A chapter is two ordinary texts: its start under the key "CHAPTER%03u" as a time string, its name under
 * "CHAPTER%03uNAME". So a walk shows them among the other tags. Chapters count from 1: a chapter 0 can be
 * written, but 0 also means "no chapter key", so it isn't counted, nor found reliably.
 *
 * Positions are unsigned counts of 100 nanoseconds. A time string is hours, minutes and seconds as
 * "%02u:%02u:%010.7f": position 12345678901 is 00:20:34.5678901. Every position is the same after it has been
 * a time string.
 */

/**
 * Stores a chapter: first the position, then the name. The two are separate adds, each refused if its key is
 * taken.
 *
 * @param number    chapter number
 * @param position  start, in units of 100 ns
 * @param name      zero-terminated UTF-16; null or empty: no name is stored
 */
TONEKIT_API void ID3Helper_AddChapter(TagBlock *block, uint32_t number, uint64_t position,
                                      const tonekit_char16 *name);

/** ID3Helper_AddChapter with the name in UTF-8. */
TONEKIT_API void ID3Helper_AddChapter_UTF8(TagBlock *block, uint32_t number, uint64_t position,
                                           const char *name);

/** Stores the number of chapters that the caller declares, under the hidden key "!*?ID3CHAPTER_TOTAL". The
 * first value is kept. */
TONEKIT_API void ID3Helper_SetChapterTotal(TagBlock *block, uint64_t total);
/** @return the declared number of chapters, which nothing compares with the chapters in the block; 0 if none
 * was set */
TONEKIT_API uint64_t ID3Helper_GetChapterTotal(const TagBlock *block);

/** @return how many items have a position key (CHAPTER_Get_Number is not 0); 0 for a null block */
TONEKIT_API uint32_t ID3Helper_GetChapterCount_Position(const TagBlock *block);
/** @return how many items have a name key (CHAPTERNAME_Get_Number is not 0); 0 for a null block */
TONEKIT_API uint32_t ID3Helper_GetChapterCount_Name(const TagBlock *block);

/**
 * Returns where a chapter starts. Of several keys with this number (CHAPTER7 and CHAPTER007) the last wins,
 * but if any of their values is no time string, the chapter counts as absent.
 *
 * @param number  taken as unsigned. 0 equals the number of every key that is no position key, so that all
 *                ordinary tags are read as time strings.
 * @return the position in units of 100 ns; TONEKIT_NO_POSITION if there is none
 */
TONEKIT_API uint64_t ID3Helper_GetChapter_Position(const TagBlock *block, int32_t number);

/**
 * Returns the name of a chapter.
 *
 * @param number  taken as unsigned. 0 equals the number of every key that is no name key, so that the first
 *                such value of a walk is returned.
 * @return the name, inside the block; an empty string if there is none. Never null.
 */
TONEKIT_API const char *ID3Helper_GetChapter_Name(const TagBlock *block, int32_t number);

/*
 * Chapter keys and time strings
 *
 * These functions depend on their arguments alone, need no tag block and may be called from any thread.
 */

/**
 * Reads a position key: "CHAPTER" in exactly this case, then digits only, at least one.
 *
 * @param key  zero-terminated; null counts as no position key
 * @return the number, modulo 2^32, however many leading zeros it has; 0 if the key is no position key
 */
TONEKIT_API uint32_t CHAPTER_Get_Number(const char *key);
/** CHAPTER_Get_Number for UTF-16. */
TONEKIT_API uint32_t CHAPTER_Get_NumberW(const tonekit_char16 *key);

/**
 * Reads a name key: "CHAPTER", digits, "NAME", and anything after it; the letters in exactly this case.
 *
 * @param key  zero-terminated; null counts as no name key
 * @return the number, modulo 2^32, 0 without digits; 0 if the key is no name key
 */
TONEKIT_API uint32_t CHAPTERNAME_Get_Number(const char *key);
/** CHAPTERNAME_Get_Number for UTF-16. */
TONEKIT_API uint32_t CHAPTERNAME_Get_NumberW(const tonekit_char16 *key);

/**
 * Splits a position into hours, minutes (0 to 59) and seconds (0 to below 60, with 7 decimals).
 *
 * @param position  in units of 100 ns
 * @param hours, minutes, seconds  where the parts go; a null pointer is ignored
 */
TONEKIT_API void CHAPTER_Position100nS_To_HMS(uint64_t position, uint32_t *hours, uint32_t *minutes,
                                              double *seconds);

/**
 * Reads a time string as sscanf does with "%u:%u:%lf" in the "C" locale, whatever the process's locale:
 * blanks before each number and signs are accepted, digits need no padding, and text after the seconds is
 * ignored. Hours and minutes are 32 bits (2^64 and beyond count as 2^32 - 1) and may exceed their usual
 * range; seconds are any floating-point text: decimal or hexadecimal, with or without exponent, infinite or
 * not a number.
 *
 * @param text      zero-terminated; null counts as no time string
 * @param position  gets hours * 36000000000 + minutes * 600000000 + seconds * 10000000, the last rounded with
 *                  halves away from zero, modulo 2^64; seconds that don't fit count as 2^63 units, negative
 *                  ones as their two's complement. 0 if the text is no time string. Must not be null.
 * @return true if all three numbers were read
 */
TONEKIT_API bool CHAPTER_HMS_String_To_Position100nS(const char *text, uint64_t *position);
/** CHAPTER_HMS_String_To_Position100nS for UTF-16. */
TONEKIT_API bool CHAPTER_HMS_String_To_Position100nSW(const tonekit_char16 *text, uint64_t *position);

/*
 * Samples and positions
 */

/**
 * Converts a sample count to a position, in double precision, halves rounded away from zero.
 *
 * @param sampleRate  in Hz
 * @return samples * 10000000.0 / sampleRate in units of 100 ns; 2^63 where that is no number below 2^64, so
 *         always for a rate of 0
 */
TONEKIT_API uint64_t SamplesToN100nS(uint64_t samples, uint64_t sampleRate);

/**
 * Converts a position to a sample count, halves rounded away from zero.
 *
 * @param position    in units of 100 ns
 * @param sampleRate  in Hz
 * @return (position * sampleRate modulo 2^64) / 10000000.0. The product wraps for very long positions: at
 *         96000 Hz from about 222 days.
 */
TONEKIT_API uint64_t N100nSToSamples(uint64_t position, uint64_t sampleRate);

#ifdef __cplusplus
}
#endif

#endif
