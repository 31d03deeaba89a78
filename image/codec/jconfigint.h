/* jconfigint.h: what the codec's sources ask of the compiler. */
#define BUILD "tonekit"
#define PACKAGE_NAME "mozjpeg"
#define VERSION "4.1.5"

#define INLINE inline __attribute__((always_inline))
#define HIDDEN __attribute__((visibility("hidden")))
#define THREAD_LOCAL __thread
#define FALLTHROUGH __attribute__((fallthrough));

#define SIZEOF_SIZE_T 8
#define HAVE_BUILTIN_CTZL 1

/* Nothing is read from the environment. */
#define NO_GETENV 1
#define NO_PUTENV 1
