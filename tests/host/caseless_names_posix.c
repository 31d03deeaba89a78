/* caseless_names_posix.c: makes the system's calls take names in folders called "caseless" in any case for
   the program it is loaded into: they use small letters there, of ASCII and \u00e0 to \u00fe. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

static const char kFolder[] = "/caseless/";

/* The name that the system gets. A name that doesn't fit is left as it is. */
static const char *Mapped(const char *name, char *room, size_t size)
{
    const char *const folder = strstr(name, kFolder);
    if (!folder || strlen(name) >= size)
        return name;
    strcpy(room, name);
    for (unsigned char *c = (unsigned char *)room + (folder - name) + strlen(kFolder); *c; ++c) {
        if (*c >= 'A' && *c <= 'Z')
            *c += 'a' - 'A';
        else if (*c == 0xC3 && c[1] >= 0x80 && c[1] < 0x9F)
            c[1] += 0x20;
    }
    return room;
}

#define NEXT(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))
#define ONE_NAME(result, name, parameters, arguments)                                                        \
    result name parameters                                                                                   \
    {                                                                                                        \
        char room[4096];                                                                                     \
        const char *const mapped = Mapped(path, room, sizeof room);                                          \
        return NEXT(name) arguments;                                                                         \
    }

int access(const char *, int);
int unlink(const char *);
ONE_NAME(int, stat, (const char *path, struct stat *status), (mapped, status))
ONE_NAME(int, lstat, (const char *path, struct stat *status), (mapped, status))
ONE_NAME(int, access, (const char *path, int mode), (mapped, mode))
ONE_NAME(int, unlink, (const char *path), (mapped))
ONE_NAME(int, mkdir, (const char *path, mode_t mode), (mapped, mode))
ONE_NAME(int, chmod, (const char *path, mode_t mode), (mapped, mode))

/* As the system, which returns names as it gets them. */
char *realpath(const char *path, char *resolved)
{
    char room[4096];
    const char *const mapped = Mapped(path, room, sizeof room);
    char *const result = NEXT(realpath)(mapped, resolved);
    return result && mapped != path ? strcpy(result, path) : result;
}

int rename(const char *from, const char *to)
{
    char room[4096];
    char roomOfTo[4096];
    return NEXT(rename)(Mapped(from, room, sizeof room), Mapped(to, roomOfTo, sizeof roomOfTo));
}

int open(const char *path, int flags, ...)
{
    char room[4096];
    va_list rest;
    va_start(rest, flags);
    const int mode = va_arg(rest, int);
    va_end(rest);
    return ((int (*)(const char *, int, ...))dlsym(RTLD_NEXT, "open"))(Mapped(path, room, sizeof room), flags,
                                                                       mode);
}
