/* jconfig.h: the codec as tonekit builds it, for the codec and for callers: libjpeg API level 80, arithmetic
 * coding. */
#define JPEG_LIB_VERSION 80
#define LIBJPEG_TURBO_VERSION 4.1.5
#define LIBJPEG_TURBO_VERSION_NUMBER 4001005

#define C_ARITH_CODING_SUPPORTED 1
#define D_ARITH_CODING_SUPPORTED 1
#define MEM_SRCDST_SUPPORTED 1
#define BITS_IN_JSAMPLE 8

#define HAVE_STDDEF_H 1
#define HAVE_STDLIB_H 1
#define HAVE_UNSIGNED_CHAR 1
#define HAVE_UNSIGNED_SHORT 1

#ifdef _WIN32
/* The types that the system's own headers define as well, so that both can be included. */
    #ifndef __RPCNDR_H__
typedef unsigned char boolean;
    #endif
    #define HAVE_BOOLEAN
    #if !defined(_BASETSD_H_) && !defined(_BASETSD_H)
typedef short INT16;
typedef int INT32;
    #endif
    #define XMD_H
#endif
