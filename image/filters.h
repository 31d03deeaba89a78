// filters.h: the catalogue of resampling kernels.
#pragma once

#include <tonekit/image.h>

namespace tonekit {

extern "C" {
// The weight of a sample at distance t; 0 beyond the radius that the catalogue has.
double FilterQuadraticBSpline(double t);
double FilterBox(double t);
double FilterCatmullRom(double t);
double FilterRaisedCosine(double t);
double FilterCubicSixPoint(double t);
double FilterCubicBSpline(double t);
double FilterHermite(double t);
double FilterLanczos3(double t);
double FilterLanczos8(double t);
double FilterMitchell(double t);
double FilterQuadraticInterpolating(double t);
double FilterQuadraticBSplineExpanded(double t);
double FilterTriangle(double t);
}

struct Filter {
    TonekitKernel kernel;
    double radius; // in source pixels, on enlargement
};

inline constexpr uint32_t kFilterCount = 13;

extern "C" const Filter FilterCatalogue[kFilterCount];

} // namespace tonekit
