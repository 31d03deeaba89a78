// filters_test.cpp: the thirteen kernels at their pieces and on their bounds.
#include "image/filters.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

namespace tonekit {
namespace {

struct Point {
    double t;
    double weight;
};

void Expect(TonekitKernel kernel, std::initializer_list<Point> points)
{
    for (const Point &point : points) {
        EXPECT_NEAR(kernel(point.t), point.weight, 2e-15) << "at " << point.t;
        EXPECT_NEAR(kernel(-point.t), point.weight, 2e-15) << "at " << -point.t;
    }
}

TEST(Filters, CatalogueHasTheKernelsAndRadiiInTheirOrder)
{
    const TonekitKernel kernels[] = {FilterQuadraticBSpline,
                                     FilterBox,
                                     FilterCatmullRom,
                                     FilterRaisedCosine,
                                     FilterCubicSixPoint,
                                     FilterCubicBSpline,
                                     FilterHermite,
                                     FilterLanczos3,
                                     FilterLanczos8,
                                     FilterMitchell,
                                     FilterQuadraticInterpolating,
                                     FilterQuadraticBSplineExpanded,
                                     FilterTriangle};
    const double radii[] = {1.5, 0.5, 2.0, 1.0, 3.0, 2.0, 1.0, 3.0, 8.0, 2.0, 1.5, 1.5, 1.0};
    ASSERT_EQ(kFilterCount, 13u);
    for (uint32_t i = 0; i < kFilterCount; ++i) {
        EXPECT_EQ(FilterCatalogue[i].kernel, kernels[i]) << i;
        EXPECT_EQ(FilterCatalogue[i].radius, radii[i]) << i;
    }
}

TEST(Filters, QuadraticBSplinesAreTheSameCurve)
{
    for (const TonekitKernel kernel : {FilterQuadraticBSpline, FilterQuadraticBSplineExpanded})
        Expect(
            kernel,
            {{0.0, 0.75}, {0.25, 0.6875}, {0.5, 0.5}, {1.0, 0.125}, {1.25, 0.03125}, {1.5, 0.0}, {1.6, 0.0}});
}

TEST(Filters, BoxIncludesItsBound)
{
    Expect(FilterBox, {{0.0, 1.0}, {0.5, 1.0}, {0.5000000001, 0.0}});
}

TEST(Filters, CatmullRom)
{
    Expect(FilterCatmullRom, {{0.0, 1.0}, {0.5, 0.5625}, {1.0, 0.0}, {1.5, -0.0625}, {2.0, 0.0}, {2.5, 0.0}});
}

TEST(Filters, RaisedCosineIncludesItsBound)
{
    Expect(FilterRaisedCosine, {{0.0, 1.0}, {0.5, 0.5}, {1.0 / 3.0, 0.75}, {1.0, 0.0}, {1.5, 0.0}});
}

TEST(Filters, CubicSixPoint)
{
    Expect(FilterCubicSixPoint, {{0.0, 1.0},
                                 {0.5, 7.0 / 12.0},
                                 {1.0, 0.0},
                                 {1.5, -3.0 / 32.0},
                                 {2.0, 0.0},
                                 {2.5, 1.0 / 96.0},
                                 {3.0, 0.0},
                                 {3.1, 0.0}});
}

TEST(Filters, CubicBSpline)
{
    Expect(FilterCubicBSpline,
           {{0.0, 2.0 / 3.0}, {0.5, 23.0 / 48.0}, {1.0, 1.0 / 6.0}, {1.5, 1.0 / 48.0}, {2.0, 0.0}});
}

TEST(Filters, Hermite)
{
    Expect(FilterHermite, {{0.0, 1.0}, {0.25, 0.84375}, {0.5, 0.5}, {1.0, 0.0}, {1.5, 0.0}});
}

TEST(Filters, LanczosIsOneAtZeroAndEndsBelowItsLobes)
{
    const double square = std::numbers::pi * std::numbers::pi;
    Expect(FilterLanczos3,
           {{0.0, 1.0}, {0.5, 6.0 / square}, {1.5, -4.0 / (3.0 * square)}, {2.5, 0.24 / square}});
    Expect(FilterLanczos3, {{1.0, 0.0}, {2.0, 0.0}, {3.0, 0.0}, {3.5, 0.0}});
    Expect(FilterLanczos8,
           {{0.0, 1.0}, {0.5, 0.6325370350028462}, {7.5, -0.0028112757111237664}, {8.0, 0.0}, {8.5, 0.0}});
    EXPECT_EQ(FilterLanczos3(-0.0), 1.0);
    EXPECT_NE(FilterLanczos3(std::nextafter(3.0, 0.0)), 0.0);
    EXPECT_NE(FilterLanczos8(std::nextafter(8.0, 0.0)), 0.0);
}

TEST(Filters, Mitchell)
{
    Expect(FilterMitchell,
           {{0.0, 8.0 / 9.0}, {0.5, 77.0 / 144.0}, {1.0, 1.0 / 18.0}, {1.5, -5.0 / 144.0}, {2.0, 0.0}});
}

TEST(Filters, QuadraticInterpolatingJumpsAtItsInnerBound)
{
    Expect(FilterQuadraticInterpolating,
           {{0.0, 1.0}, {0.25, 0.875}, {0.5, 0.5}, {1.0, 0.0}, {1.25, -0.0625}, {1.5, 0.0}, {1.75, 0.0}});
}

TEST(Filters, Triangle)
{
    Expect(FilterTriangle, {{0.0, 1.0}, {0.25, 0.75}, {1.0, 0.0}, {2.0, 0.0}});
}

TEST(Filters, NothingIsWeighedAtAnInfiniteOrUndefinedDistance)
{
    for (const Filter &filter : FilterCatalogue) {
        EXPECT_EQ(filter.kernel(std::numeric_limits<double>::infinity()), 0.0);
        EXPECT_EQ(filter.kernel(std::numeric_limits<double>::quiet_NaN()), 0.0);
    }
}

} // namespace
} // namespace tonekit
