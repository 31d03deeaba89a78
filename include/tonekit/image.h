/* image.h: scaling of bitmaps, and the input and output of tonekit's JPEG codec. */
#ifndef TONEKIT_IMAGE_H
#define TONEKIT_IMAGE_H

#include <tonekit/frame.h>
#ifdef _WIN32
    #include <windows.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Bitmaps
 *
 * On Windows a bitmap is a GDI bitmap and the device is a device context. Elsewhere the host passes its own
 * bitmaps with a TonekitDevice, a record of the five operations that scaling needs.
 */

/**
 * A filter kernel: the weight of a sample at a signed distance from the output position, both in units of one
 * source pixel (one target pixel on reduction). It needn't be normalised: each output is divided by the sum
 * of its weights. It is called on the calling thread, once per weight and never per pixel.
 */
typedef double (*TonekitKernel)(double distance);

/** What a device says about a bitmap. */
typedef struct TonekitBitmapDescription {
    int32_t width;         /**< pixels in a row */
    int32_t height;        /**< rows */
    uint16_t planes;       /**< 1, or the bitmap is refused */
    uint16_t bitsPerPixel; /**< 24 or 32, or the bitmap is refused */
} TonekitBitmapDescription;

/** The form of a pixel buffer: 40 bytes, the fields of a BITMAPINFOHEADER in their order. */
typedef struct TonekitBitmapHeader {
    uint32_t size;        /**< 40 */
    int32_t width;        /**< pixels in a row */
    int32_t height;       /**< rows, positive: the first row in the buffer is line 0 of the device */
    uint16_t planes;      /**< 1 */
    uint16_t bitCount;    /**< 24 or 32 */
    uint32_t compression; /**< 0 */
    uint32_t imageSize;   /**< bytes in the buffer; each row is padded to a multiple of 4 bytes */
    int32_t xPelsPerMeter;
    int32_t yPelsPerMeter;
    uint32_t colorsUsed;
    uint32_t colorsImportant;
} TonekitBitmapHeader;

#ifdef _WIN32

typedef HDC TonekitDeviceContext;
typedef HBITMAP TonekitBitmap;

#else

typedef void *TonekitBitmap; /**< opaque to the library; null is "no bitmap" */
typedef struct TonekitDevice TonekitDevice;

/**
 * The operations of a host's own bitmaps. The library passes the record's address back at every call, so a
 * host may put the record at the beginning of a larger one. A null operation is one that always fails.
 */
struct TonekitDevice {
    /** Fills in the description of a bitmap. @return 0 on failure */
    int32_t (*getObject)(TonekitDevice *device, TonekitBitmap bitmap, TonekitBitmapDescription *description);
    /** Makes a bitmap of the device's own format. @return null on failure */
    TonekitBitmap (*createCompatibleBitmap)(TonekitDevice *device, int32_t width, int32_t height);
    /** Copies lines of a bitmap to `pixels` in the form that the header describes; usage is 0. @return lines
     * copied */
    int32_t (*getDIBits)(TonekitDevice *device, TonekitBitmap bitmap, uint32_t firstLine, uint32_t lines,
                         void *pixels, const TonekitBitmapHeader *header, uint32_t usage);
    /** Stores lines from `pixels`, in the form that the header describes, in a bitmap; usage is 0. @return
     * lines stored */
    int32_t (*setDIBits)(TonekitDevice *device, TonekitBitmap bitmap, uint32_t firstLine, uint32_t lines,
                         const void *pixels, const TonekitBitmapHeader *header, uint32_t usage);
    /** Discards a bitmap that createCompatibleBitmap made and that couldn't be completed. */
    void (*deleteObject)(TonekitDevice *device, TonekitBitmap bitmap);
};

typedef TonekitDevice *TonekitDeviceContext;

#endif

/* Filters of CreateResampledBitmap. */
#define TONEKIT_SCALE_B_SPLINE_2 0u /* quadratic B-spline */
#define TONEKIT_SCALE_BOX 1u
#define TONEKIT_SCALE_CATMULL_ROM 2u
#define TONEKIT_SCALE_COSINE 3u     /* raised cosine */
#define TONEKIT_SCALE_CUBIC_6 4u    /* six-point cubic */
#define TONEKIT_SCALE_B_SPLINE_3 5u /* cubic B-spline */
#define TONEKIT_SCALE_HERMITE 6u
#define TONEKIT_SCALE_LANCZOS_3 7u
#define TONEKIT_SCALE_LANCZOS_8 8u
#define TONEKIT_SCALE_MITCHELL 9u
#define TONEKIT_SCALE_QUADRATIC 10u           /* interpolating quadratic */
#define TONEKIT_SCALE_B_SPLINE_2_EXPANDED 11u /* quadratic B-spline, multiplied out */
#define TONEKIT_SCALE_TRIANGLE 12u

/* Last-error values of the two functions below. */
#define TONEKIT_BITMAP_NO_SOURCE 0x20000001u
#define TONEKIT_BITMAP_UNREADABLE_SOURCE 0x20000002u
#define TONEKIT_BITMAP_SOURCE_NOT_FETCHED 0x20000003u
#define TONEKIT_BITMAP_TARGET_NOT_CREATED 0x20000004u
#define TONEKIT_BITMAP_UNREADABLE_TARGET 0x20000005u
#define TONEKIT_BITMAP_OUT_OF_MEMORY 0x20000006u
#define TONEKIT_BITMAP_ENGINE_FAILED 0x20000007u
#define TONEKIT_BITMAP_RESULT_NOT_STORED 0x20000008u
#define TONEKIT_BITMAP_BAD_FILTER 0x20000009u

/**
 * Scales a bitmap with one of thirteen filters.
 *
 * Each of a pixel's four bytes is filtered by itself, alpha like the colours and without premultiplication.
 * On enlargement the kernel has its own width, on reduction it is widened by the ratio. Output 0 lies exactly
 * on source 0. Positions outside the source are left out, and each output is divided by the sum of its
 * weights. An output that no source pixel reaches (with TONEKIT_SCALE_BOX, the last ones of an enlargement)
 * is 0. A call with the source's own size copies it, whatever the filter.
 *
 * | filter | kernel                        | radius | filter | kernel                         | radius |
 * |--------|-------------------------------|--------|--------|--------------------------------|--------|
 * | 0      | quadratic B-spline            | 1.5    | 7      | Lanczos, 3 lobes               | 3      |
 * | 1      | box                           | 0.5    | 8      | Lanczos, 8 lobes               | 8      |
 * | 2      | Catmull-Rom                   | 2      | 9      | Mitchell                       | 2      |
 * | 3      | raised cosine                 | 1      | 10     | interpolating quadratic        | 1.5    |
 * | 4      | six-point cubic               | 3      | 11     | quadratic B-spline, multiplied out | 1.5 |
 * | 5      | cubic B-spline                | 2      | 12     | triangle                       | 1      |
 * | 6      | Hermite                       | 1      |        |                                |        |
 *
 * @param dc      the device that the bitmap belongs to and the new one is to be compatible with; not null
 * @param source  a bitmap of one plane and 24 or 32 bits per pixel; it is left unchanged
 * @param width   width of the result in pixels: 0 becomes 1, and anything above 4096 becomes 4096
 * @param height  height of the result, limited in the same way
 * @param filter  the kernel; taken modulo 13, so that every value is a filter
 * @return a new bitmap, which the caller owns and releases (DeleteObject on Windows, its own means
 *         elsewhere), or null. With null the last-error value (GetLastError on Windows, errno elsewhere) is
 *         one of the codes below; success leaves it as it was. All that a failed call has made is released.
 *
 * | TONEKIT_BITMAP                  | meaning                                                             |
 * |---------------------------------|---------------------------------------------------------------------|
 * | 0x20000001, _NO_SOURCE          | no source bitmap                                                    |
 * | 0x20000002, _UNREADABLE_SOURCE  | the source can't be read, or isn't one plane of 24 or 32 bits       |
 * | 0x20000003, _SOURCE_NOT_FETCHED | the source's pixels couldn't be fetched in full                     |
 * | 0x20000004, _TARGET_NOT_CREATED | the target bitmap couldn't be created                               |
 * | 0x20000005, _UNREADABLE_TARGET  | the target can't be read, or isn't one plane of 24 or 32 bits       |
 * | 0x20000006, _OUT_OF_MEMORY      | no memory for a pixel buffer, or a bitmap too large for one (4 GiB) |
 * | 0x20000007, _ENGINE_FAILED      | out of memory, an empty bitmap, or a kernel that throws             |
 * | 0x20000008, _RESULT_NOT_STORED  | the result couldn't be stored in full                               |
 * | 0x20000009, _BAD_FILTER         | a bad filter argument                                               |
 *
 * No state is kept: calls on different bitmaps may run at once, as far as the device allows it. No exception
 * leaves the call; one that a kernel or an operation of the device raises counts as that one's failure.
 */
TONEKIT_API TonekitBitmap CreateResampledBitmap(TonekitDeviceContext dc, TonekitBitmap source, uint32_t width,
                                                uint32_t height, uint32_t filter);

/**
 * Scales a bitmap as CreateResampledBitmap does, with a kernel of the caller's.
 *
 * @param kernel  the kernel; a weight of exactly 0 leaves its pixel out
 * @param radius  the distance, from 0 to 16, beyond which the kernel isn't called. A radius of 0 takes for
 *                each output the one pixel nearest to it.
 * @return as CreateResampledBitmap. A null kernel or a radius below 0 or above 16 is code 0x20000009.
 */
TONEKIT_API TonekitBitmap CreateUserFilterResampledBitmap(TonekitDeviceContext dc, TonekitBitmap source,
                                                          uint32_t width, uint32_t height,
                                                          TonekitKernel kernel, double radius);

/*
 * JPEG
 *
 * The library exports a whole JPEG codec with the interface of libjpeg, API level 80, with the extensions of
 * mozjpeg. Its declarations are in <tonekit/codec/jpeglib.h> (include <stdio.h> first), and in
 * <tonekit/codec/transupp.h> those of the lossless transformations. Codec objects belong to one thread at a
 * time.
 *
 * The codec opens, reads and writes no file by itself: jpeg_stdio_src and jpeg_stdio_dest read and write
 * through two functions of the application, and pass them the stream handle that the application passed where
 * the declaration asks for a FILE pointer. The library never reads that handle: it may be anything that the
 * hooks understand, null too.
 */

/**
 * Reads up to `count` elements of `size` bytes from a stream. The codec asks for 4096 elements of 1 byte.
 *
 * @return the number of elements read; any count above 0 is valid. 0 is the end of the data: at the start of
 *         an image it is the codec's error 43, later the warning 123, and the image ends there. A count above
 *         the one asked for is taken as the one asked for.
 */
typedef size_t (*TonekitReadHook)(void *buffer, size_t size, size_t count, void *stream);

/**
 * Writes `count` elements of `size` bytes to a stream. The codec writes 4096 elements of 1 byte at a time,
 * and at the end what remains, if anything does. It never asks for a flush.
 *
 * @return the number of elements written; any other than `count` is the codec's fatal error 38
 */
typedef size_t (*TonekitWriteHook)(const void *buffer, size_t size, size_t count, void *stream);

/**
 * Sets both hooks for the whole process; until then there are none. A null hook is none: reading is then an
 * empty file (error 43) and writing a failed write (error 38).
 *
 * Set them before any codec work starts. They are called on the thread that uses the codec object, possibly
 * on several threads at once. A hook may leave by longjmp or by an exception, as the codec's error manager
 * may.
 */
TONEKIT_API void JPEG_Init(TonekitReadHook read, TonekitWriteHook write);

#ifdef __cplusplus
}
#endif

#endif
