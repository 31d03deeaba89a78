/* jconfigint.h: what the codec's sources ask of the compiler. */
#define BUILD "tonekit"
#define PACKAGE_NAME "mozjpeg"
#define VERSION "4.1.5"

#define INLINE inline __attribute__((always_inline))
#define HIDDEN __attribute__((visibility("hidden")))
#define THREAD_LOCAL __thread
#define FALLTHROUGH __attribute__((fallthrough));

/* How to find the lowest bit of a size_t. Where `long` has 32 bits, the compiler's function for it looks at
 * no more. */
#define SIZEOF_SIZE_T 8
#ifdef _WIN32
    #define HAVE_INTRIN_H 1
    #define HAVE_BITSCANFORWARD64 1
#else
    #define HAVE_BUILTIN_CTZL 1
#endif

/* Nothing is read from the environment. */
#define NO_GETENV 1
#define NO_PUTENV 1
