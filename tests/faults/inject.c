/* inject.c: preloaded into a program, makes the n-th system call or allocation of a kind fail.
 *
 * FAULT_KIND names the call, FAULT_NUMBER says which one (from 1), FAULT_ERROR the errno (0: a count of one
 * byte). FAULT_REPORT names a file to which the number of calls goes at the end when nothing is to fail. Only
 * calls after this library's start count.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

static atomic_long calls;
static const char *kind;
static long number;
static int error;
static atomic_int ready;

__attribute__((constructor)) static void Begin(void)
{
    const char *text = getenv("FAULT_NUMBER");
    kind = getenv("FAULT_KIND");
    number = text ? atol(text) : 0;
    text = getenv("FAULT_ERROR");
    error = text ? atoi(text) : EIO;
    ready = kind != NULL;
}

__attribute__((destructor)) static void End(void)
{
    const char *name = getenv("FAULT_REPORT");
    ready = 0;
    FILE *const file = name ? fopen(name, "w") : NULL;
    if (file) {
        fprintf(file, "%ld\n", (long)calls);
        fclose(file);
    }
}

/* Whether this call is the one. */
static int Fails(const char *name)
{
    return ready && strcmp(kind, name) == 0 && ++calls == number;
}

#define REAL(type, name, ...)                                                                                \
    static type (*real)(__VA_ARGS__);                                                                        \
    if (!real)                                                                                               \
    real = (type(*)(__VA_ARGS__))dlsym(RTLD_NEXT, name)

int open(const char *path, int flags, ...)
{
    REAL(int, "open", const char *, int, ...);
    va_list rest;
    va_start(rest, flags);
    const unsigned mode = va_arg(rest, unsigned);
    va_end(rest);
    if (Fails("open"))
        return errno = error, -1;
    return real(path, flags, mode);
}

ssize_t read(int file, void *buffer, size_t size)
{
    REAL(ssize_t, "read", int, void *, size_t);
    if (Fails("read")) {
        if (error == 0)
            return real(file, buffer, size ? 1 : 0);
        return errno = error, -1;
    }
    return real(file, buffer, size);
}

ssize_t write(int file, const void *data, size_t size)
{
    REAL(ssize_t, "write", int, const void *, size_t);
    if (Fails("write")) {
        if (error == 0)
            return real(file, data, size ? 1 : 0);
        return errno = error, -1;
    }
    return real(file, data, size);
}

off_t lseek(int file, off_t offset, int whence)
{
    REAL(off_t, "lseek", int, off_t, int);
    return Fails("lseek") ? errno = error, (off_t)-1 : real(file, offset, whence);
}

int fstat(int file, struct stat *status)
{
    REAL(int, "fstat", int, struct stat *);
    return Fails("fstat") ? errno = error, -1 : real(file, status);
}

int stat(const char *path, struct stat *status)
{
    REAL(int, "stat", const char *, struct stat *);
    return Fails("stat") ? errno = error, -1 : real(path, status);
}

int lstat(const char *path, struct stat *status)
{
    REAL(int, "lstat", const char *, struct stat *);
    return Fails("stat") ? errno = error, -1 : real(path, status);
}

int ftruncate(int file, off_t size)
{
    REAL(int, "ftruncate", int, off_t);
    return Fails("ftruncate") ? errno = error, -1 : real(file, size);
}

int rename(const char *from, const char *to)
{
    REAL(int, "rename", const char *, const char *);
    return Fails("rename") ? errno = error, -1 : real(from, to);
}

int close(int file)
{
    REAL(int, "close", int);
    if (!Fails("close"))
        return real(file);
    real(file); /* as the system does: closed, with an error of earlier writes */
    return errno = error, -1;
}

int fchmodat(int folder, const char *path, mode_t mode, int flags)
{
    REAL(int, "fchmodat", int, const char *, mode_t, int);
    return Fails("chmod") ? errno = error, -1 : real(folder, path, mode, flags);
}

int fsync(int file)
{
    REAL(int, "fsync", int);
    return Fails("fsync") ? errno = error, -1 : real(file);
}

extern void *__libc_malloc(size_t size);
extern void *__libc_calloc(size_t count, size_t size);
extern void *__libc_realloc(void *memory, size_t size);

static void *NoMemory(void)
{
    errno = ENOMEM;
    return NULL;
}

void *malloc(size_t size)
{
    return Fails("memory") ? NoMemory() : __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    return Fails("memory") ? NoMemory() : __libc_calloc(count, size);
}

void *realloc(void *memory, size_t size)
{
    return Fails("memory") ? NoMemory() : __libc_realloc(memory, size);
}
