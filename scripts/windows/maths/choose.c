/* choose.c: the mathematical functions by their usual names: the variant that glibc chooses by the processor.
 * (Processors with a four-operand FMA alone have one more there, which is left out here.) */

#define VARIANTS(result, name, parameters, arguments)                                                        \
    result name##_base parameters;                                                                           \
    result name##_fma parameters;                                                                            \
    result name parameters                                                                                   \
    {                                                                                                        \
        __builtin_cpu_init(); /* a library's initialisers call too */                                        \
        return __builtin_cpu_supports("fma") && __builtin_cpu_supports("avx2") ? name##_fma arguments        \
                                                                               : name##_base arguments;      \
    }

VARIANTS(double, asin, (double x), (x))
VARIANTS(double, cos, (double x), (x))
VARIANTS(double, exp, (double x), (x))
VARIANTS(double, log, (double x), (x))
VARIANTS(double, pow, (double x, double y), (x, y))
VARIANTS(double, sin, (double x), (x))
VARIANTS(double, tan, (double x), (x))
VARIANTS(float, cosf, (float x), (x))
VARIANTS(void, sincos, (double x, double *sine, double *cosine), (x, sine, cosine))
VARIANTS(void, sincosf, (float x, float *sine, float *cosine), (x, sine, cosine))

/* The compiler's own is in one object with functions of the names above. */
long double sinl(long double x);
long double cosl(long double x);
void sincosl(long double x, long double *sine, long double *cosine)
{
    *sine = sinl(x);
    *cosine = cosl(x);
}
