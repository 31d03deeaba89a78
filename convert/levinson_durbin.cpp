// levinson_durbin.cpp: prediction coefficients from an autocorrelation.
#include "convert/lpc.h"

namespace tonekit {

static void Damp(double *a, int32_t count)
{
    double factor = 0.999;
    for (int32_t j = 0; j < count; ++j, factor *= 0.999)
        a[j] *= factor;
}

// Coefficients of order i from those of order i - 1 and the new last one, a[i] = k: each pair that mirrors
// the other is updated together, and in the middle of an odd number is one that is its own mirror.
static void Reflect(double *a, int32_t i, double k)
{
    for (int32_t j = 0; j < i / 2; ++j) {
        const double t = a[j];
        a[j] = a[j] + a[i - 1 - j] * k;
        a[i - 1 - j] = a[i - 1 - j] + t * k;
    }
    if (i % 2 != 0)
        a[i / 2] = a[i / 2] + a[i / 2] * k;
}

int32_t LevinsonDurbin(const double *r, double *a, int32_t order)
{
    if (order < 0)
        return order;
    if (order == 0) {
        a[0] = -1.0;
        return 1;
    }
    const double floor = 1e-9 * r[0] + 1e-10;
    double error = r[0] * 1.0000000001;
    int32_t used = order;
    for (int32_t i = 0; i < order; ++i) {
        if (floor > error) {
            for (int32_t j = i; j < order; ++j)
                a[j] = 0.0;
            if (i == 0) {
                a[0] = -1.0;
                return 1;
            }
            used = i;
            break;
        }
        double k = -r[i + 1];
        for (int32_t j = 0; j < i; ++j)
            k -= a[j] * r[i - j];
        k /= error;
        a[i] = k;
        Reflect(a, i, k);
        error *= 1.0 - k * k;
    }
    Damp(a, used);
    return used;
}

} // namespace tonekit
