// turns_test.cpp: turns are long whatever the clock says once, and rows of results are numbers.
#include "tests/support/measured_rows.h"
#include "tests/support/turns.h"

#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>

namespace tonekit {

namespace {

// A clock that sees a call of so many nanoseconds, and adds 5 ms to one of its measurements.
class Clock {
public:
    Clock(double nanoseconds, int late) : nanoseconds_(nanoseconds), late_(late) {}
    double operator()(unsigned times) const
    {
        return 1e-9 * nanoseconds_ * times + (asked_++ == late_ ? 0.005 : 0);
    }
    int Asked() const { return asked_; }

private:
    double nanoseconds_;
    int late_;
    mutable int asked_ = 0;
};

TEST(TurnsTest, LastsThreeMilliseconds)
{
    EXPECT_EQ(1500001u, TimesPerTurn(Clock(2, -1)));
    EXPECT_EQ(4u, TimesPerTurn(Clock(1e6, -1)));
    EXPECT_EQ(1u, TimesPerTurn(Clock(3e6, -1)));
    EXPECT_EQ(1u, TimesPerTurn(Clock(9e6, -1)));
}

TEST(TurnsTest, DoesNotBelieveOneLateMeasurement)
{
    for (int late = 0; late < 20; ++late)
        EXPECT_EQ(1500001u, TimesPerTurn(Clock(2, late))) << late;
}

TEST(TurnsTest, MeasuresLongCallsOnce)
{
    const Clock clock(2e8, -1);
    EXPECT_EQ(1u, TimesPerTurn(clock));
    EXPECT_EQ(1, clock.Asked());
}

TEST(TurnsTest, EndsWithCallsThatTakeNoTime)
{
    EXPECT_EQ(1u << 24, TimesPerTurn(Clock(0, -1)));
}

TEST(TurnsTest, TakesTheMiddle)
{
    EXPECT_EQ(2, Median({9, 1, 2}));
    EXPECT_EQ(3, Median({4, 1, 3, 2}));
    EXPECT_EQ(7, Median({7}));
}

TEST(MeasuredRowsTest, RefusesWhatIsNoNumber)
{
    const double wrong[] = {std::numeric_limits<double>::quiet_NaN(),
                            std::numeric_limits<double>::infinity()};
    for (const double value : wrong) {
        EXPECT_THROW(AppendRow("no/such/file", {"table", "row", value, 1, 1, 0}), std::domain_error);
        EXPECT_THROW(AppendRow("no/such/file", {"table", "row", 1, value, 1, 0}), std::domain_error);
        EXPECT_THROW(AppendRow("no/such/file", {"table", "row", 1, 1, value, 0}), std::domain_error);
    }
    EXPECT_THROW(AppendRow("no/such/file", {"table", "row", 1, 1, 1, 0}), std::runtime_error);
}

} // namespace

} // namespace tonekit
