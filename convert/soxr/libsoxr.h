/* libsoxr.h: what libsoxr's sources are compiled with instead of the C library's heap; see
 * resampler_memory.h. */
#ifndef TONEKIT_SOXR_LIBSOXR_H
#define TONEKIT_SOXR_LIBSOXR_H

#include "names.h"

#include <stdlib.h>

void *tonekit_soxr_malloc(size_t bytes);
void *tonekit_soxr_calloc(size_t count, size_t bytes);
void *tonekit_soxr_realloc(void *memory, size_t bytes);
void tonekit_soxr_free(void *memory);

/* Guards the tables that all resamplers share: any number of readers, or one writer. */
void tonekit_soxr_share_tables(void);
void tonekit_soxr_cease_sharing_tables(void);
void tonekit_soxr_own_tables(void);
void tonekit_soxr_cease_owning_tables(void);

/* Grows a shared table, which is the owner's; null, and the table as it was, if there is no memory. */
void *tonekit_soxr_grow_table(void *table, size_t bytes);
void tonekit_soxr_free_table(void *table);

/* Throws; the tables are no longer owned. */
void tonekit_soxr_give_up_growing(void);

/* The filters of a key: those that are kept from before, or those that `make` makes of its argument; null if
 * it makes none. They stay until they are given back, and `drop` releases them some time later. */
void *tonekit_soxr_take_filters(const void *key, size_t bytes, void *(*make)(void *), void *argument,
                                void (*drop)(void *));
void tonekit_soxr_give_back_filters(void *filters, void (*drop)(void *));

#define malloc tonekit_soxr_malloc
#define calloc tonekit_soxr_calloc
#define realloc tonekit_soxr_realloc
#define free tonekit_soxr_free

#endif
