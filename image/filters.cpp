// filters.cpp: the thirteen kernels. Whether a bound belongs to the piece below it is part of each kernel: a
// sample can lie exactly on it.
#include "image/filters.h"

#include <cmath>
#include <numbers>

namespace tonekit {

namespace {

// A sine window over `lobes` zero crossings of the ideal low-pass.
double Lanczos(double t, double lobes)
{
    if (t == 0.0)
        return 1.0;
    const double x = std::fabs(t);
    if (!(x < lobes))
        return 0.0;
    const double angle = std::numbers::pi * x;
    return lobes * std::sin(angle) * std::sin(angle / lobes) / (angle * angle);
}

} // namespace

extern "C" {

double FilterQuadraticBSpline(double t)
{
    const double x = std::fabs(t);
    if (x < 0.5)
        return 0.75 - x * x;
    if (x < 1.5)
        return 0.5 * (x - 1.5) * (x - 1.5);
    return 0.0;
}

double FilterBox(double t)
{
    return std::fabs(t) <= 0.5 ? 1.0 : 0.0;
}

double FilterCatmullRom(double t)
{
    const double x = std::fabs(t);
    if (x <= 1.0)
        return 1.5 * x * x * x - 2.5 * x * x + 1.0;
    if (x <= 2.0)
        return -0.5 * x * x * x + 2.5 * x * x - 4.0 * x + 2.0;
    return 0.0;
}

double FilterRaisedCosine(double t)
{
    return std::fabs(t) <= 1.0 ? (std::cos(std::numbers::pi * t) + 1.0) / 2.0 : 0.0;
}

double FilterCubicSixPoint(double t)
{
    const double x = std::fabs(t);
    if (x <= 1.0)
        return 4.0 / 3.0 * x * x * x - 7.0 / 3.0 * x * x + 1.0;
    if (x <= 2.0)
        return -7.0 / 12.0 * x * x * x + 3.0 * x * x - 59.0 / 12.0 * x + 5.0 / 2.0;
    if (x <= 3.0)
        return 1.0 / 12.0 * x * x * x - 2.0 / 3.0 * x * x + 7.0 / 4.0 * x - 3.0 / 2.0;
    return 0.0;
}

double FilterCubicBSpline(double t)
{
    const double x = std::fabs(t);
    if (x < 1.0)
        return 0.5 * x * x * x - x * x + 2.0 / 3.0;
    if (x < 2.0)
        return (2.0 - x) * (2.0 - x) * (2.0 - x) / 6.0;
    return 0.0;
}

double FilterHermite(double t)
{
    const double x = std::fabs(t);
    return x < 1.0 ? 2.0 * x * x * x - 3.0 * x * x + 1.0 : 0.0;
}

double FilterLanczos3(double t)
{
    return Lanczos(t, 3.0);
}

double FilterLanczos8(double t)
{
    return Lanczos(t, 8.0);
}

double FilterMitchell(double t)
{
    const double x = std::fabs(t);
    if (x < 1.0)
        return (7.0 * x * x * x - 12.0 * x * x + 16.0 / 3.0) / 6.0;
    if (x < 2.0)
        return (-7.0 / 3.0 * x * x * x + 12.0 * x * x - 20.0 * x + 32.0 / 3.0) / 6.0;
    return 0.0;
}

double FilterQuadraticInterpolating(double t)
{
    const double x = std::fabs(t);
    if (x <= 0.5)
        return 1.0 - 2.0 * x * x;
    if (x <= 1.5)
        return x * x - 2.5 * x + 1.5;
    return 0.0;
}

double FilterQuadraticBSplineExpanded(double t)
{
    const double x = std::fabs(t);
    if (x <= 0.5)
        return 0.75 - x * x;
    if (x <= 1.5)
        return 0.5 * x * x - 1.5 * x + 1.125;
    return 0.0;
}

double FilterTriangle(double t)
{
    const double x = std::fabs(t);
    return x < 1.0 ? 1.0 - x : 0.0;
}

const Filter FilterCatalogue[kFilterCount] = {
    {FilterQuadraticBSpline, 1.5},
    {FilterBox, 0.5},
    {FilterCatmullRom, 2.0},
    {FilterRaisedCosine, 1.0},
    {FilterCubicSixPoint, 3.0},
    {FilterCubicBSpline, 2.0},
    {FilterHermite, 1.0},
    {FilterLanczos3, 3.0},
    {FilterLanczos8, 8.0},
    {FilterMitchell, 2.0},
    {FilterQuadraticInterpolating, 1.5},
    {FilterQuadraticBSplineExpanded, 1.5},
    {FilterTriangle, 1.0},
};

} // extern "C"

} // namespace tonekit
