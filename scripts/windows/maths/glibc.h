/* glibc.h: what the sources of glibc's mathematics ask of the rest of glibc. Included before each of them;
 * the headers that they name are empty files. */
#pragma once
#include <errno.h>
#include <math.h>
#include <stdint.h>

#define attribute_hidden
#define __set_errno(number) (errno = (number))
#define __glibc_likely(condition) __builtin_expect((condition), 1)
#define __glibc_unlikely(condition) __builtin_expect((condition), 0)
#undef __always_inline
#define __always_inline inline __attribute__((always_inline))

/* Little-endian doubles, quiet NaNs with the high bit set, and no wider arithmetic than the type. */
#define HIGH_HALF 1
#define LOW_HALF 0
#define LITTLE_ENDI 1
#define HIGH_ORDER_BIT_IS_SET_FOR_SNAN 0
#define math_narrow_eval(value) (value)

/* Nobody changes the direction of rounding, and nobody asks for the exceptions. */
#define SET_RESTORE_ROUND_53BIT(mode)
#define SET_RESTORE_ROUND(mode)
#define math_check_force_underflow(value) ((void)(value))
#define math_check_force_underflow_nonneg(value) ((void)(value))
#define math_force_eval(value) ((void)(value))
#define math_opt_barrier(value) (value)

/* The functions have one name each. */
#define libm_alias_finite(from, to)
#define libm_alias_double(from, to)
#define libm_alias_float(from, to)
#define libm_alias_double_other(from, to)
#define strong_alias(name, alias)
#define hidden_def(name)
#define LIBM_SVID_COMPAT 0

int __branred(double x, double *a, double *aa);
