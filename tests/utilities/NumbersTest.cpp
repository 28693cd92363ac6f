#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <utility>

#include "utilities/AngleUtilities.h"
#include "utilities/TimeUtilities.h"
#include "utilities/round.h"

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr int lowest = std::numeric_limits<int>::min();
constexpr int highest = std::numeric_limits<int>::max();

TEST(Round, HalvesGoAwayFromZero_AndTheRangeHolds) {
    struct Case {
        double value;
        int rounded;
        unsigned positive;
    };
    for (const Case& c : {Case{0.0, 0, 0},
                          {0.49999999999999994, 0, 0},
                          {-0.4, 0, 0},
                          {-0.6, -1, 0},
                          {2.5, 3, 3},
                          {-2.5, -3, 0},
                          {999999999.5, 1000000000, 1000000000},
                          {2147483647.4, highest, 2147483647},
                          {-2147483648.0, lowest, 0},
                          {4294967295.4, highest, 4294967295},
                          {1e300, highest, 4294967295},
                          {-1e300, lowest, 0},
                          {inf, highest, 4294967295},
                          {-inf, lowest, 0},
                          {nan, 0, 0}}) {
        EXPECT_EQ(iround(c.value), c.rounded) << c.value;
        EXPECT_EQ(uround(c.value), c.positive) << c.value;
    }
}

double byRepeatedSteps(double value, double min, double max) {
    while (value < min) {
        value += max - min;
    }
    while (value > max) {
        value -= max - min;
    }
    return value;
}

TEST(AngleUtility, FoldingIsThatOfRepeatedSteps_ToTheLastBit) {
    for (const double value : {0.0, 720.0, -360.0, 1e-320, -1e-320, 360.1, -0.1}) {
        EXPECT_EQ(AngleUtility::NormalizeValue(value, 360.0), byRepeatedSteps(value, 0.0, 360.0));
    }
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> turns(-2000.0, 2000.0);
    for (int i = 0; i < 2000; ++i) {
        const double value = turns(random) * 0.1;
        EXPECT_EQ(AngleUtility::NormalizeValue(value, 0.1), byRepeatedSteps(value, 0.0, 0.1));
        EXPECT_EQ(AngleUtility::NormalizeValue(value, -0.3, 0.4),
                  byRepeatedSteps(value, -0.3, 0.4));
    }
}

TEST(AngleUtility, FarValuesFoldInBoundedTime) {
    for (const auto& [azimuth, angle] :
         {std::pair{0.0, 270.0}, {89.5, 359.5}, {90.0, 0.0}, {360.0, 270.0}}) {
        EXPECT_EQ(AngleUtility::NorthAzToGDIAngle(azimuth), angle);
    }
    struct Case {
        double value, min, max, folded;
    };
    for (const Case& c : {Case{360e6, 0.0, 360.0, 360.0},
                          {-360e6, 0.0, 360.0, 0.0},
                          {360e6 + 0.5, 0.0, 360.0, 0.5},
                          {-360e6 - 0.5, 0.0, 360.0, 359.5},
                          {360e6 + 180.0, -180.0, 180.0, 180.0},
                          {-360e6 - 180.0, -180.0, 180.0, -180.0},
                          {6400.0 * 1e9 + 3150.0, -3200.0, 3200.0, 3150.0}}) {
        EXPECT_EQ(AngleUtility::NormalizeValue(c.value, c.min, c.max), c.folded) << c.value;
    }
    const double far[] = {1e300, -1e300, 1.7e308, -1.7e308, 1e17, -1e17, 9007199254740996.0};
    const double ranges[][2] = {{0.0, 360.0},          {-180.0, 180.0},
                                {0.0, 5e-324},         {1e300, 1.0001e300},
                                {-1.7e308, -1.69e308}, {9007199254740990.0, 9007199254740991.0}};
    for (const double value : far) {
        for (const auto& [min, max] : ranges) {
            const double folded = AngleUtility::NormalizeValue(value, min, max);
            EXPECT_TRUE(min <= folded && folded <= max) << value << " -> " << folded;
        }
    }
}

TEST(AngleUtility, WhatCannotBeFoldedComesBackAsItIs) {
    EXPECT_TRUE(std::isnan(AngleUtility::NormalizeValue(nan, 360.0)));
    EXPECT_EQ(AngleUtility::NormalizeValue(inf, 360.0), inf);
    EXPECT_EQ(AngleUtility::NormalizeValue(-inf, -180.0, 180.0), -inf);
    for (const double max : {0.0, -360.0, nan, inf, -inf}) {
        EXPECT_EQ(AngleUtility::NormalizeValue(-1.0, max), -1.0) << max;
    }
    EXPECT_EQ(AngleUtility::NormalizeValue(9.0, 5.0, 5.0), 9.0);
    EXPECT_EQ(AngleUtility::NormalizeValue(1.79e308, -1.7e308, 1.7e308), 1.79e308);
}

TEST(AngleUtility, ConstrainClampsOrRefusesTheRange) {
    EXPECT_EQ(AngleUtility::ConstrainRange(-1.0, 0.0, 5.0), 0.0);
    EXPECT_EQ(AngleUtility::ConstrainRange(3.0, 0.0, 5.0), 3.0);
    EXPECT_EQ(AngleUtility::ConstrainRange(inf, 0.0, 5.0), 5.0);
    EXPECT_THROW(AngleUtility::ConstrainRange(1.0, 5.0, 5.0), std::invalid_argument);
    EXPECT_THROW(AngleUtility::ConstrainRange(1.0, nan, 5.0), std::invalid_argument);
    EXPECT_THAT([] { AngleUtility::ConstrainRange(1.0, 5.5, -2.0); },
                testing::ThrowsMessage<std::invalid_argument>(
                    "maxrange must be greater than minrange: minrange:5.5 maxrange:-2"));
}

TEST(TimeUtilities, UtcDateIsThatOfTheNearerDay) {
    struct Case {
        double seconds;
        int week;
        double utc;
        int day, utcWeek;
    };
    for (const Case& c : {Case{10.0, 5, 86390.0, 6, 4},  // Sunday morning, still Saturday
                          {86410.0, 5, 86390.0, 0, 5},
                          {604790.0, 5, 5.0, 0, 6},  // Saturday night, already Sunday
                          {86390.0, 5, 5.0, 1, 5},
                          {90000.0, 5, 3582.0, 1, 5},
                          {43200.0, 5, 86400.0, 0, 5},  // half a day apart stands
                          {43199.5, 5, 86400.0, 6, 4},
                          {43200.0, 5, 0.0, 0, 5},
                          {43200.5, 5, 0.0, 1, 5},
                          {-10.0, 5, 50000.0, 6, 4},
                          {10.0, lowest, 86390.0, 6, lowest},
                          {604790.0, highest, 5.0, 0, highest},
                          {1e300, 5, 0.0, highest, 5},
                          {-1e300, 5, 0.0, lowest, 5},
                          {inf, 5, 0.0, highest, 5},
                          {nan, 5, 0.0, 0, 5},
                          {86410.0, 5, nan, 1, 5}}) {
        int day = -1;
        int utcWeek = -1;
        TimeUtilities::ResolveUtcDate(c.seconds, c.week, c.utc, &day, &utcWeek);
        EXPECT_EQ(day, c.day) << c.seconds << " " << c.utc;
        EXPECT_EQ(utcWeek, c.utcWeek) << c.seconds << " " << c.utc;
    }
}

TEST(TimeUtilities, LeapYearsAndDaysBeyondTheYear) {
    EXPECT_TRUE(TimeUtilities::IsLeapYear(2000));
    EXPECT_FALSE(TimeUtilities::IsLeapYear(1900));
    EXPECT_EQ(TimeUtilities::ToDayOfYear(1900, 3, 1), 60);
    EXPECT_EQ(TimeUtilities::ToDayOfYear(2000, 3, 1), 61);
    for (const int month : {0, -1, lowest, 13, highest}) {
        EXPECT_EQ(TimeUtilities::ToDayOfYear(2021, month, 5), 0) << month;
    }
    EXPECT_EQ(TimeUtilities::ToDayOfYear(2021, 12, highest), highest);
    struct Case {
        int dayOfYear, month, day;
    };
    const Case cases[] = {{0, 1, 0},     {-7, 1, -7},    {lowest, 1, lowest},
                          {366, 12, 32}, {999, 12, 665}, {highest, 12, highest - 334}};
    for (const Case& c : cases) {
        int month = 0;
        int day = 0;
        TimeUtilities::ToMonthDay(2021, c.dayOfYear, &month, &day);
        EXPECT_EQ(month, c.month) << c.dayOfYear;
        EXPECT_EQ(day, c.day) << c.dayOfYear;
    }
}

TEST(TimeUtilities, TfomBoundsBelongToTheBetterFigure) {
    int figure = 1;
    for (const double bound : {1e-18, 1e-16, 1e-14, 1e-12, 1e-10, 1e-8, 1e-6, 1e-4}) {
        EXPECT_EQ(TimeUtilities::TimeVar2Tfom(bound), figure) << bound;
        EXPECT_EQ(TimeUtilities::TimeVar2Tfom(bound * 1.0001), ++figure) << bound;
    }
    figure = 1;
    for (const double error : {1e-9, 1e-8, 1e-7, 1e-6, 1e-5, 1e-4, 1e-3, 1e-2}) {
        EXPECT_EQ(TimeUtilities::TimeVar2Tfom(error * error), figure++) << error;
    }
    EXPECT_EQ(TimeUtilities::TimeVar2Tfom(-1.0), 1);
    for (const double variance : {1e300, inf, -inf, nan}) {
        EXPECT_EQ(TimeUtilities::TimeVar2Tfom(variance), 9) << variance;
    }
}

TEST(TimeUtilities, FoldingIntoADayOrAWeek) {
    EXPECT_EQ(TimeUtilities::normalize_to_one_day(86400.0), 86400.0);
    EXPECT_EQ(TimeUtilities::normalize_to_one_day(86400.5), 0.5);
    EXPECT_EQ(TimeUtilities::normalize_to_one_week(604800.0), 604800.0);
    EXPECT_EQ(TimeUtilities::normalize_to_one_week(-1.0), 604799.0);
}

}  // namespace
