#include "utilities/TimeUtilities.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "utilities/AngleUtilities.h"
#include "utilities/round.h"

namespace TimeUtilities {

namespace {

constexpr double secondsPerDay = 86400.0;
constexpr double secondsPerWeek = 604800.0;
constexpr double halfDay = secondsPerDay / 2.0;
constexpr int lastDayOfWeek = 6;

/** Squares of the time errors 1 ns to 10 ms [s^2]: the bounds of the figures of merit 1 to 8. Two
 *  of the errors, squared, come out above the nearest double of the bound; neither may fall out. */
constexpr std::array tfomBounds = {1e-18, 1e-8 * 1e-8, 1e-14, 1e-12, 1e-5 * 1e-5, 1e-8, 1e-6, 1e-4};

int saturate(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::max()));
}

int daysOf(int year, int month) {
    const bool leapDay = month == 2 && IsLeapYear(year);
    return DAYS_PER_MONTH[static_cast<std::size_t>(month - 1)] + (leapDay ? 1 : 0);
}

}  // namespace

void ResolveUtcDate(double secondsOfWeek, int week, double utcSecondsOfDay, int* dayOfWeek,
                    int* utcWeek) {
    std::int64_t day = utilities::cutTo<int>(std::trunc(secondsOfWeek) / secondsPerDay);
    std::int64_t weekOfDay = week;
    const double ahead = secondsOfWeek - secondsPerDay * static_cast<double>(day) - utcSecondsOfDay;
    if (ahead < -halfDay) {
        weekOfDay -= day == 0 ? 1 : 0;
        day = day == 0 ? lastDayOfWeek : day - 1;
    } else if (ahead > halfDay) {
        weekOfDay += day == lastDayOfWeek ? 1 : 0;
        day = day == lastDayOfWeek ? 0 : day + 1;
    }
    *dayOfWeek = saturate(day);
    *utcWeek = saturate(weekOfDay);
}

void ToCivilDate(int dayOfWeek, int week, int* year, int* month, int* day) {
    MjdToCivilDate(gpsEpochMjd + 7.0 * week + dayOfWeek, year, month, day);
}

void MjdToCivilDate(double mjd, int* year, int* month, int* day) {
    const double jd = mjd + 2400000.5 + 0.5;
    const double a = std::floor(jd);
    const double c = std::floor((a + 1537 - 122.1) / 365.25);
    const double d = a + 1537 - std::floor(365.25 * c);
    const double e = std::floor(d / 30.6001);
    const double monthNumber = e - 1 - 12 * std::floor(e / 14);
    *day = utilities::cutTo<int>(std::floor(jd - a + d - std::floor(30.6001 * e)));
    *month = utilities::cutTo<int>(monthNumber);
    *year = utilities::cutTo<int>(c - 4715 - std::floor((monthNumber + 7) / 10));
}

bool IsLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int ToDayOfYear(int year, int month, int day) {
    if (month < 1 || month > 12) {
        return 0;
    }
    std::int64_t dayOfYear = day;
    for (int before = 1; before < month; ++before) {
        dayOfYear += daysOf(year, before);
    }
    return saturate(dayOfYear);
}

void ToMonthDay(int year, int dayOfYear, int* month, int* day) {
    *month = 1;
    *day = dayOfYear;
    while (*month < 12 && *day > daysOf(year, *month)) {
        *day -= daysOf(year, *month);
        ++*month;
    }
}

int TimeVar2Tfom(double variance) {
    if (!std::isfinite(variance)) {
        return static_cast<int>(tfomBounds.size()) + 1;
    }
    const auto* const bound = std::lower_bound(tfomBounds.begin(), tfomBounds.end(), variance);
    return static_cast<int>(bound - tfomBounds.begin()) + 1;
}

double normalize_to_one_day(double seconds) {
    return AngleUtility::NormalizeValue(seconds, secondsPerDay);
}

double normalize_to_one_week(double seconds) {
    return AngleUtility::NormalizeValue(seconds, secondsPerWeek);
}

}  // namespace TimeUtilities
