// record_test.cpp: a difference between two runs of a case is traced to the call that it comes from.
#include "tests/tiers/tiers.h"

#include <gtest/gtest.h>

namespace tonekit::tiers {

namespace {

int Twice(int value, const char *)
{
    return 2 * value;
}

// Wrong for 7 alone.
int TwiceUnlessSeven(int value, const char *)
{
    return value == 7 ? 15 : 2 * value;
}

void Nothing() {}

// Ten calls of a function, each recorded in four bytes, before each third one a call of another.
Record RunOf(int (*function)(int, const char *), size_t described)
{
    Record record(described);
    const Bodies bodies('A', false, &record);
    const auto traced = bodies.Named("Twice", function);
    for (int value = 0; value < 10; ++value) {
        if (value % 3 == 1)
            bodies.Named("Nothing", Nothing)();
        record.AddValue(traced(value, "text"));
    }
    return record;
}

} // namespace

TEST(Record, FindsTheFirstByteThatDiffers)
{
    EXPECT_EQ(28u, FirstDifference(RunOf(Twice, 0), RunOf(TwiceUnlessSeven, 0)));
    EXPECT_EQ(40u, FirstDifference(RunOf(Twice, 0), RunOf(Twice, 0)));
}

TEST(Record, FindsTheCallBeforeAByte)
{
    const Record record = RunOf(Twice, 0);
    EXPECT_EQ(1u, record.CallBefore(0));
    EXPECT_EQ(1u, record.CallBefore(3));
    EXPECT_EQ(3u, record.CallBefore(4)); // the second is of Nothing
    EXPECT_EQ(11u, record.CallBefore(28));
    EXPECT_EQ(13u, record.CallBefore(39));
}

TEST(Record, NamesTheCallWithItsNumbersAndWhatWasCalledJustBefore)
{
    EXPECT_EQ("after call 11, Twice(7, *), or earlier of Nothing", RunOf(Twice, 11).DescribeCall(11));
    EXPECT_EQ("after call 9, Twice(6, *)", RunOf(Twice, 9).DescribeCall(9));
    EXPECT_EQ("after call 9, Twice(...)", RunOf(Twice, 0).DescribeCall(9));
}

TEST(Record, SaysThatNothingWasCalledBeforeAByte)
{
    Record record;
    record.AddValue('x');
    EXPECT_EQ(0u, record.CallBefore(0));
    EXPECT_EQ("before any call", record.DescribeCall(0));
}

TEST(Record, KeepsTheCallAfterWhichAGuardZoneWasFirstSeenChanged)
{
    Record record;
    const Bodies bodies('A', false, &record);
    GuardedBuffer whole(5), torn(0);
    bodies.Named("Nothing", Nothing)();
    record.Guards(whole);
    EXPECT_TRUE(record.Intact());
    bodies.Named("Nothing", Nothing)();
    torn.data()[0] ^= 1;
    record.Guards(torn);
    bodies.Named("Nothing", Nothing)();
    record.Guards(torn);
    EXPECT_FALSE(record.Intact());
    EXPECT_EQ(2u, record.TearingCall());
}

} // namespace tonekit::tiers
