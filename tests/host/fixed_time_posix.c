/* fixed_time_posix.c: sets the time to the second in FIXED_TIME, for the program it is loaded into. */
#include <stdlib.h>
#include <time.h>

time_t time(time_t *result)
{
    const char *const second = getenv("FIXED_TIME");
    const time_t now = second ? (time_t)strtoll(second, NULL, 10) : 0;
    if (result)
        *result = now;
    return now;
}
