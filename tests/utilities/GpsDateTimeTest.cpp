#include "utilities/GpsDateTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <limits>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using Civil = GpsDateTime::CivilTimeStruct;

constexpr std::uint32_t weekEnd = 604799999;  // [ms]
constexpr std::uint32_t last = 0xFFFFFFFF;

GpsDateTime at(std::uint32_t rollovers, std::uint32_t week, std::uint32_t milliseconds,
               std::uint32_t picoseconds = 0) {
    GpsDateTime time;
    time.m_rollovers = rollovers;
    time.m_week = week;
    time.m_milliseconds = milliseconds;
    time.m_picoseconds = picoseconds;
    return time;
}

Civil date(std::uint32_t year, std::uint32_t month, std::uint32_t day) {
    Civil civil;
    civil.year = year;
    civil.month = month;
    civil.day = day;
    return civil;
}

std::string text(const Civil& civil) {
    std::ostringstream out;
    out << civil.year << '-' << civil.month << '-' << civil.day << ' ' << civil.hours << ':'
        << civil.minutes << ':' << civil.seconds;
    return out.str();
}

}  // namespace

static void PrintTo(const GpsDateTime& time, std::ostream* out) {
    *out << "era " << time.m_rollovers << " week " << time.m_week << " ms " << time.m_milliseconds
         << " ps " << time.m_picoseconds;
}

namespace {

/** Whether the other calendar of this library makes the same of a day, counted from the epoch. */
bool timeUtilitiesAgree(const std::tm& tm, int days) {
    int year = 0;
    int month = 0;
    int day = 0;
    int monthOfYear = 0;
    int dayOfMonth = 0;
    TimeUtilities::ToCivilDate(days % 7, days / 7, &year, &month, &day);
    TimeUtilities::ToMonthDay(year, tm.tm_yday + 1, &monthOfYear, &dayOfMonth);
    return year == tm.tm_year + 1900 && month == tm.tm_mon + 1 && day == tm.tm_mday &&
           monthOfYear == month && dayOfMonth == day &&
           TimeUtilities::ToDayOfYear(year, month, day) == tm.tm_yday + 1;
}

// The C library's calendar knows no leap seconds either.
TEST(GpsDateTime, EveryDayTo2099IsThatOfTheCLibrary) {
    constexpr std::time_t day = 86400;
    std::tm begin{};
    begin.tm_year = 80;
    begin.tm_mday = 6;
    const std::time_t epoch = ::timegm(&begin);
    std::size_t wrong = 0;
    std::time_t days = 0;
    for (std::tm tm = begin; tm.tm_year < 200 && wrong < 5; ++days) {
        const std::time_t moment = epoch + days * day;
        ::gmtime_r(&moment, &tm);
        const Civil civil =
            date(static_cast<std::uint32_t>(tm.tm_year + 1900),
                 static_cast<std::uint32_t>(tm.tm_mon + 1), static_cast<std::uint32_t>(tm.tm_mday));
        const auto dayOfYear = static_cast<std::uint32_t>(tm.tm_yday + 1);
        const auto count = static_cast<std::uint32_t>(days);
        GpsDateTime time = GpsDateTime::CivilTimeToGpsDateTime(&civil, 86399U, 0);
        const GpsDateTime same = GpsDateTime::CivilTimeToGpsDateTime(&civil, 86399.0, 0);
        Civil ofDay;
        Civil back;
        Civil before;
        GpsDateTime::DayOfYearToCivilTime(dayOfYear, civil.year, &ofDay);
        const bool good =
            time == at(count / 7168, count / 7 % 1024, (count % 7 * 86400 + 86399) * 1000) &&
            same == time && GpsDateTime::DayOfYearFromCivilTime(&civil) == dayOfYear &&
            time.DayOfYear() == dayOfYear && ofDay.month == civil.month && ofDay.day == civil.day;
        EXPECT_TRUE(timeUtilitiesAgree(tm, static_cast<int>(days)));
        time.m_milliseconds += 999;
        time.m_picoseconds = 999999999;
        time.ToCivilTime(&back, 0);
        time.ToCivilTime(&before, 86400);  // a day back; ahead of the epoch the era stays
        const std::time_t yesterday = moment - day;
        std::tm tmBefore{};
        ::gmtime_r(&yesterday, &tmBefore);
        const bool alsoGood =
            back.year == civil.year && back.month == civil.month && back.day == civil.day &&
            back.hours == 23 && back.minutes == 59 && back.seconds > 59.9999 &&
            (days == 0 || before.day == static_cast<std::uint32_t>(tmBefore.tm_mday));
        wrong += good && alsoGood ? 0U : 1U;
        EXPECT_TRUE(good && alsoGood)
            << text(civil) << ", then " << text(back) << ", before " << text(before);
    }
    EXPECT_EQ(days, 43826);  // the last is New Year's Day of 2100
}

TEST(GpsDateTime, MakingCarriesAndPlacesUtcInTheWeek) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const auto set = [](std::uint32_t rollovers, std::uint32_t week, double seconds) {
        GpsDateTime time = at(rollovers, 5, 6, 7);
        time.SetTime(week, seconds);
        return time;
    };
    const auto normalized = [](GpsDateTime time) {
        time.Normalize();
        return time;
    };
    struct Case {
        const char* what;
        GpsDateTime made, expected;
    };
    for (const Case& each : std::vector<Case>{
             {"default", {}, at(1, 0, 0)},
             {"week of the next era", {1024, 0}, at(2, 0, 0)},
             {"a week of milliseconds", {0, 604800000}, at(1, 1, 0)},
             {"both", {1023, 604800001}, at(2, 0, 1)},
             {"normal stays", normalized(at(3, 1023, weekEnd, 999999999)),
              at(3, 1023, weekEnd, 999999999)},
             {"a carry through all", normalized(at(3, 1023, weekEnd, 1000000000)), at(4, 0, 0)},
             {"all at their most", normalized(at(0, last, last, last)),
              at(4194304, 6, 61367299, 294967295)},
             {"seconds", set(0, 5, 10.0), at(0, 5, 10000)},
             {"their sign is dropped", set(0, 5, -10.0), at(0, 5, 10000)},
             {"a fraction", set(0, 5, 0.0015), at(0, 5, 1, 500000000)},
             {"cut, not rounded", set(0, 5, 0.0019999999999), at(0, 5, 1, 999999999)},
             {"era kept, but for the carry", set(7, 1023, 604800.0), at(8, 0, 0)},
             {"more than 32 bits of milliseconds", set(0, 0, 604800.0 * 1024 * 3 + 1),
              at(3, 0, 1000)},
             {"no number", set(0, 5, nan), at(0, 5, 0)},
             {"no end", set(0, 5, inf), at(0, 5, 0)},
             {"UTC on the same day", {100, 90000.0, 3582.0}, at(0, 100, 86400000 + 3582000)},
             {"UTC still of yesterday", {100, 86410.0, 86392.0}, at(0, 100, 86392000)},
             {"and of last week", {100, 10.0, 86392.0}, at(0, 99, 518400000 + 86392000)},
             {"ahead of the epoch", {0, 10.0, 86392.0}, at(0, 1023, 518400000 + 86392000)},
             {"equal is the same day", {100, 10.0, 10.0}, at(0, 100, 10000)},
             {"nanoseconds", {100, 90000, 3582, 500000000.0}, at(0, 100, 89982500)},
         }) {
        EXPECT_EQ(each.made, each.expected) << each.what;
    }
    GpsDateTime time = at(2, 0, 0);
    time.SetUtcTime(0, 10.0, 86392.0);
    EXPECT_EQ(time, at(1, 1023, 518400000 + 86392000)) << "the era goes back, too";
}

// Against counts of picoseconds, which 128 bits hold.
TEST(GpsDateTime, RandomInstantsAgreeWithOneLongCount) {
    const GpsDateTime notNormal = at(1, 3000, 0);
    EXPECT_EQ(at(5, 0, 0) + notNormal, at(7, 952, 0));
    EXPECT_EQ(GpsDateTime::TimeDifference(at(5, 0, 0), notNormal), at(2, 72, 0));
    EXPECT_EQ(GpsDateTime::GoBackInTime(at(5, 0, 0), notNormal), at(2, 72, 0));
    __extension__ using Count = __int128;
    std::mt19937 random(1);
    // Often the ends of the range, so that neighbours and equals meet.
    const auto draw = [&random](std::uint32_t most) {
        const std::uint32_t any[] = {0, 1, most, static_cast<std::uint32_t>(random() % most)};
        return any[random() % 4];
    };
    const auto countOf = [](const GpsDateTime& t, std::uint32_t rollovers) {
        const Count weeks = Count{t.m_week} + Count{1024} * rollovers;
        return (weeks * 604800000 + t.m_milliseconds) * 1000000000 + t.m_picoseconds;
    };
    for (int i = 0; i < 50000; ++i) {
        const GpsDateTime a = at(draw(3), draw(1023), draw(weekEnd), draw(999999999));
        const GpsDateTime b = at(draw(3), draw(1023), draw(weekEnd), draw(999999999));
        const Count first = countOf(a, a.m_rollovers);
        const Count second = countOf(b, b.m_rollovers);
        GpsDateTime sum = b;
        sum += a;
        ASSERT_EQ(sum, a + b);
        const GpsDateTime difference = GpsDateTime::TimeDifference(a, b);
        ASSERT_TRUE(countOf(sum, sum.m_rollovers) ==
                    countOf(a, std::max(a.m_rollovers, b.m_rollovers)) + countOf(b, 0));
        ASSERT_TRUE(countOf(difference, difference.m_rollovers - 1) ==
                    (first < second ? second - first : first - second));
        ASSERT_EQ(difference, GpsDateTime::TimeDifference(b, a));
        ASSERT_TRUE((a < b) == (first < second) && (a <= b) == (first <= second));
        ASSERT_TRUE((a > b) == (first > second) && (a >= b) == (first >= second));
        ASSERT_TRUE((a == b) == (first == second) && (a != b) == (first != second));
        const GpsDateTime back = GpsDateTime::GoBackInTime(a, b);
        const Count expected = first - countOf(b, 0);
        // Ahead of the first era the weeks go round in it.
        ASSERT_TRUE(countOf(back, back.m_rollovers) ==
                    (expected < 0 ? expected + countOf(at(0, 0, 0), 1) : expected));
    }
}

TEST(GpsDateTime, CivilTimeMovesTheValueBackForGood) {
    Civil civil;
    GpsDateTime time;
    time.ToCivilTime(&civil, 0);
    EXPECT_EQ(text(civil), "1999-8-22 0:0:0");
    for (const char* expected : {"1999-8-21 23:59:47", "1999-8-21 23:59:34"}) {
        time.ToCivilTime(&civil, 13);
        EXPECT_EQ(text(civil), expected);
    }
    EXPECT_EQ(time, at(0, 1023, weekEnd + 1 - 26000));
    GpsDateTime fine = at(2, 100, 3 * 86400000 + 45296789, 500000000);
    fine.ToCivilTime(&civil, 0);
    EXPECT_EQ(text(civil).substr(0, 16), "2021-3-10 12:34:");
    EXPECT_NEAR(civil.seconds, 56.7895, 1e-12);
    at(last, 1023, weekEnd).ToCivilDate(&civil.year, &civil.month, &civil.day);
    EXPECT_GT(civil.year, 2099U) << "far away, and nowhere else";
}

TEST(GpsDateTime, DatesThatAreNone) {
    struct Case {
        Civil civil;
        std::uint32_t dayOfYear;
        GpsDateTime time;
    };
    for (const Case& each : std::vector<Case>{
             {date(1980, 1, 6), 6, at(0, 0, 0)},
             {date(2000, 0, 9), 0, at(1, 18, 432000000)},   // the last day of 1999
             {date(2000, 13, 9), 0, at(1, 18, 432000000)},  // likewise
             {date(1980, 1, 5), 5, at(0, 0, 0)},            // ahead of the epoch
             {date(0, 12, 31), 366, at(0, 0, 0)},
         }) {
        EXPECT_EQ(GpsDateTime::DayOfYearFromCivilTime(&each.civil), each.dayOfYear)
            << text(each.civil);
        EXPECT_EQ(GpsDateTime::CivilTimeToGpsDateTime(&each.civil, 0U, 0), each.time)
            << text(each.civil);
    }
    for (const std::uint32_t none : {0U, 366U, last}) {
        Civil civil = date(1, 7, 8);
        GpsDateTime::DayOfYearToCivilTime(none, 2021, &civil);
        EXPECT_EQ(text(civil), "2021-7-8 0:0:0") << none;
    }
    EXPECT_TRUE(GpsDateTime::IsLeapYear(2000));
    EXPECT_FALSE(GpsDateTime::IsLeapYear(1900));
}

TEST(GpsDateTime, SecondsOfTheDayCarryIntoTheWeekButNotIntoTheEra) {
    const Civil saturday = date(1999, 8, 14);
    EXPECT_EQ(GpsDateTime::CivilTimeToGpsDateTime(&saturday, 86399U, 18), at(0, 1023, 17000));
    EXPECT_EQ(GpsDateTime::CivilTimeToGpsDateTime(&saturday, 86399.5, 18), at(0, 1023, 17500));
    EXPECT_EQ(GpsDateTime::CivilTimeToGpsDateTime(&saturday, last, last),
              at(0, (1022 + 14203) % 1024, 478590000));
    const Civil lastOfEra = date(1999, 8, 21);
    EXPECT_EQ(GpsDateTime::CivilTimeToGpsDateTime(&lastOfEra, 86399U, 18), at(0, 0, 17000));
}

// GLONASS time is Moscow's, and so 10784 s ahead of GPS time with 16 leap seconds.
TEST(GpsDateTime, GlonassParameters) {
    struct Case {
        std::uint32_t seconds, day, interval;
        const char* expected;
    };
    const Case cases[] = {{10784, 366, 0, "1992-12-31 0:0:0"}, {10784, 367, 0, "1993-1-1 0:0:0"},
                          {10784, 731, 0, "1993-12-31 0:0:0"}, {10784, 732, 0, "1994-1-1 0:0:0"},
                          {10784, 1097, 0, "1995-1-1 0:0:0"},  {10784, 1461, 0, "1995-12-31 0:0:0"},
                          {0, 1, 1, "1995-12-31 21:0:16"},     {54321, 60, 7, "2020-2-29 12:5:37"},
                          {10784, 0, 1, "1995-12-31 0:0:0"},  // no such day: the one ahead
                          {10784, 1462, 1, "1995-12-31 0:0:0"}};
    for (const Case& each : cases) {
        GpsDateTime time =
            GpsDateTime::ConvertGlonassTimeParamsToGps(each.seconds, each.day, each.interval);
        Civil civil;
        time.ToCivilTime(&civil, 0);
        EXPECT_EQ(text(civil), each.expected) << each.day;
    }
}

}  // namespace
