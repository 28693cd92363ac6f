#include "utilities/GpsDateTime.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "utilities/round.h"

namespace {

constexpr std::uint32_t secondsPerDay = 86400;
constexpr std::uint32_t daysPerWeek = 7;
constexpr std::int64_t daysPerEra = daysPerWeek * std::int64_t{GpsDateTime::weeksPerEra};
constexpr std::uint32_t epochYear = 1980;
constexpr std::int64_t epochDayOfYear = 6;
constexpr double secondsPerWeek = 604800.0;

/** Moscow's three hours, less the 16 leap seconds of UTC in GPS time [ms]. */
constexpr std::uint32_t glonassAheadOfGps = 10784000;
constexpr std::uint32_t glonassFirstYear = 1992;

std::uint32_t daysOf(std::uint32_t year, std::size_t month) {
    const bool leapDay = month == 1 && GpsDateTime::IsLeapYear(year);
    return static_cast<std::uint32_t>(GpsDateTime::s_NumDaysInMonth[month]) + (leapDay ? 1 : 0);
}

std::uint64_t weeksOf(const GpsDateTime& time) {
    return time.m_week + std::uint64_t{GpsDateTime::weeksPerEra} * time.m_rollovers;
}

/** A civil date as days of an era. The days ahead of the epoch count as the epoch. */
struct EraDay {
    explicit EraDay(const GpsDateTime::CivilTimeStruct& civil) {
        const auto years = std::int64_t{civil.year} - epochYear;
        const std::int64_t leapYears = years > 0 ? (years + 3) / 4 : 0;
        const std::int64_t days =
            std::max<std::int64_t>(GpsDateTime::DayOfYearFromCivilTime(&civil) - epochDayOfYear +
                                       366 * leapYears + 365 * (years - leapYears),
                                   0);
        era = static_cast<std::uint32_t>(days / daysPerEra);
        week = static_cast<std::uint32_t>(days % daysPerEra / daysPerWeek);
        dayOfWeek = static_cast<std::uint32_t>(days % daysPerWeek);
    }
    std::uint32_t era;
    std::uint32_t week;
    std::uint32_t dayOfWeek;
};

}  // namespace

/** Of two instants, field by field, with nothing but the weeks negative. */
struct GpsDateTime::Difference {
    std::int64_t weeks;
    std::int64_t milliseconds;
    std::int64_t picoseconds;
};

GpsDateTime::GpsDateTime(std::uint32_t week, std::uint32_t milliseconds) {
    assign(week, milliseconds, 0);
}

GpsDateTime::GpsDateTime(int week, int seconds, int utcSeconds, double nanoseconds)
    : GpsDateTime(week, static_cast<double>(seconds), utcSeconds + nanoseconds / 1e9) {}

GpsDateTime::GpsDateTime(int week, double seconds, double utcSeconds) {
    m_rollovers = 0;
    SetUtcTime(static_cast<std::uint32_t>(week), seconds, utcSeconds);
}

void GpsDateTime::Normalize() {
    assign(m_week, m_milliseconds, m_picoseconds);
}

/** Sets all fields from counts of any size; the eras that these make come on top of ours. */
void GpsDateTime::assign(std::uint64_t weeks, std::uint64_t milliseconds,
                         std::uint64_t picoseconds) {
    milliseconds += picoseconds / picosecondsPerMillisecond;
    weeks += milliseconds / millisecondsPerWeek;
    m_picoseconds = static_cast<std::uint32_t>(picoseconds % picosecondsPerMillisecond);
    m_milliseconds = static_cast<std::uint32_t>(milliseconds % millisecondsPerWeek);
    m_week = static_cast<std::uint32_t>(weeks % weeksPerEra);
    m_rollovers += static_cast<std::uint32_t>(weeks / weeksPerEra);
}

void GpsDateTime::SetTime(std::uint32_t week, double seconds) {
    using utilities::cutTo;
    const double milliseconds = std::abs(seconds) * 1000.0;
    const double whole = std::trunc(milliseconds);
    const double ofWeek = std::fmod(whole, millisecondsPerWeek);
    const double weeks = (whole - ofWeek) / millisecondsPerWeek;
    assign(std::uint64_t{week} + cutTo<std::uint32_t>(weeks), cutTo<std::uint32_t>(ofWeek),
           cutTo<std::uint32_t>((milliseconds - whole) * picosecondsPerMillisecond));
}

void GpsDateTime::SetUtcTime(std::uint32_t week, double secondsOfWeek, double utcSecondsOfDay) {
    const double timeOfDay = std::fmod(secondsOfWeek, secondsPerDay);
    double startOfDay = secondsOfWeek - timeOfDay;
    if (timeOfDay < utcSecondsOfDay) {
        startOfDay -= secondsPerDay;
        if (startOfDay < 0) {
            startOfDay += secondsPerWeek;
            m_rollovers -= week == 0 && m_rollovers > 0 ? 1 : 0;
            week = week == 0 ? weeksPerEra - 1 : week - 1;
        }
    }
    SetTime(week, startOfDay + utcSecondsOfDay);
}

std::strong_ordering operator<=>(const GpsDateTime& a, const GpsDateTime& b) {
    return std::tie(a.m_rollovers, a.m_week, a.m_milliseconds, a.m_picoseconds) <=>
           std::tie(b.m_rollovers, b.m_week, b.m_milliseconds, b.m_picoseconds);
}

GpsDateTime operator+(const GpsDateTime& a, const GpsDateTime& b) {
    GpsDateTime sum;
    sum.m_rollovers = std::max(a.m_rollovers, b.m_rollovers);
    sum.assign(std::uint64_t{a.m_week} + b.m_week,
               std::uint64_t{a.m_milliseconds} + b.m_milliseconds,
               std::uint64_t{a.m_picoseconds} + b.m_picoseconds);
    return sum;
}

GpsDateTime& GpsDateTime::operator+=(const GpsDateTime& other) {
    return *this = *this + other;
}

GpsDateTime::Difference GpsDateTime::differenceOf(const GpsDateTime& a, const GpsDateTime& b) {
    Difference difference{std::int64_t{a.m_week} - b.m_week,
                          std::int64_t{a.m_milliseconds} - b.m_milliseconds,
                          std::int64_t{a.m_picoseconds} - b.m_picoseconds};
    while (difference.picoseconds < 0) {
        difference.picoseconds += picosecondsPerMillisecond;
        --difference.milliseconds;
    }
    while (difference.milliseconds < 0) {
        difference.milliseconds += millisecondsPerWeek;
        --difference.weeks;
    }
    return difference;
}

GpsDateTime GpsDateTime::TimeDifference(const GpsDateTime& a, const GpsDateTime& b) {
    GpsDateTime later = a;
    GpsDateTime earlier = b;
    later.Normalize();
    earlier.Normalize();
    if (later < earlier) {
        std::swap(later, earlier);
    }
    const Difference difference = differenceOf(later, earlier);
    const auto eras = std::int64_t{later.m_rollovers} - earlier.m_rollovers;
    GpsDateTime result;
    result.assign(static_cast<std::uint64_t>(difference.weeks + weeksPerEra * eras),
                  static_cast<std::uint64_t>(difference.milliseconds),
                  static_cast<std::uint64_t>(difference.picoseconds));
    return result;
}

GpsDateTime GpsDateTime::GoBackInTime(const GpsDateTime& t, const GpsDateTime& delta) {
    Difference difference = differenceOf(t, delta);
    std::int64_t eras = t.m_rollovers;
    if (difference.weeks < 0) {
        const std::int64_t borrowed = (-difference.weeks + weeksPerEra - 1) / weeksPerEra;
        difference.weeks += borrowed * weeksPerEra;
        eras -= borrowed;
    }
    GpsDateTime result;
    result.m_rollovers = static_cast<std::uint32_t>(std::max<std::int64_t>(eras, 0));
    result.assign(static_cast<std::uint64_t>(difference.weeks),
                  static_cast<std::uint64_t>(difference.milliseconds),
                  static_cast<std::uint64_t>(difference.picoseconds));
    return result;
}

bool GpsDateTime::IsLeapYear(std::uint32_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

void GpsDateTime::ToCivilDate(std::uint32_t* year, std::uint32_t* month, std::uint32_t* day) const {
    int civilYear = 0;
    int civilMonth = 0;
    int civilDay = 0;
    const double dayOfWeek = m_milliseconds / 1000.0 / secondsPerDay;
    const double weeks = static_cast<double>(weeksOf(*this));
    TimeUtilities::MjdToCivilDate(TimeUtilities::gpsEpochMjd + daysPerWeek * weeks + dayOfWeek,
                                  &civilYear, &civilMonth, &civilDay);
    *year = static_cast<std::uint32_t>(civilYear);
    *month = static_cast<std::uint32_t>(civilMonth);
    *day = static_cast<std::uint32_t>(civilDay);
}

void GpsDateTime::ToCivilTime(CivilTimeStruct* out, std::uint32_t leapSeconds) {
    GpsDateTime back;
    back.assign(0, std::uint64_t{1000} * leapSeconds, 0);
    *this = GoBackInTime(*this, back);
    ToCivilDate(&out->year, &out->month, &out->day);
    // In integers: the last picosecond of a day must not be rounded up to the next one.
    const std::uint32_t minutes = m_milliseconds / 60000;
    out->hours = minutes / 60 % 24;
    out->minutes = minutes % 60;
    out->seconds = (m_milliseconds % 60000 + m_picoseconds / 1e9) / 1000.0;
}

std::uint32_t GpsDateTime::DayOfYearFromCivilTime(const CivilTimeStruct* civil) {
    if (civil->month < 1 || civil->month > s_NumDaysInMonth.size()) {
        return 0;
    }
    std::uint32_t dayOfYear = civil->day;
    for (std::size_t before = 0; before + 1 < civil->month; ++before) {
        dayOfYear += daysOf(civil->year, before);
    }
    return dayOfYear;
}

std::uint32_t GpsDateTime::DayOfYear() const {
    CivilTimeStruct civil;
    GpsDateTime copy = *this;
    copy.ToCivilTime(&civil, 0);
    return DayOfYearFromCivilTime(&civil);
}

void GpsDateTime::DayOfYearToCivilTime(std::uint32_t dayOfYear, std::uint32_t year,
                                       CivilTimeStruct* out) {
    out->year = year;
    for (std::size_t month = 0; month < s_NumDaysInMonth.size() && dayOfYear > 0; ++month) {
        const std::uint32_t days = daysOf(year, month);
        if (dayOfYear <= days) {
            out->month = static_cast<std::uint32_t>(month + 1);
            out->day = dayOfYear;
            return;
        }
        dayOfYear -= days;
    }
}

GpsDateTime GpsDateTime::CivilTimeToGpsDateTime(const CivilTimeStruct* civil,
                                                std::uint32_t secondsOfDay,
                                                std::uint32_t leapSeconds) {
    const EraDay day(*civil);
    const std::uint64_t seconds =
        std::uint64_t{secondsOfDay} + leapSeconds + std::uint64_t{secondsPerDay} * day.dayOfWeek;
    GpsDateTime time;
    time.assign(day.week, 1000 * seconds, 0);
    time.m_rollovers = day.era;
    return time;
}

GpsDateTime GpsDateTime::CivilTimeToGpsDateTime(const CivilTimeStruct* civil, double secondsOfDay,
                                                std::uint32_t leapSeconds) {
    const EraDay day(*civil);
    GpsDateTime time;
    time.SetTime(day.week,
                 leapSeconds + static_cast<double>(secondsPerDay * day.dayOfWeek) + secondsOfDay);
    time.m_rollovers = day.era;
    return time;
}

GpsDateTime GpsDateTime::ConvertGlonassTimeParamsToGps(std::uint32_t seconds,
                                                       std::uint32_t dayInFourYears,
                                                       std::uint32_t fourYearNumber) {
    struct Year {
        std::uint32_t lastDay;  ///< in the interval
        std::uint32_t daysAhead;
    };
    static constexpr std::array<Year, 4> years{{{366, 0}, {731, 366}, {1096, 731}, {1461, 1096}}};
    const auto* const found = std::find_if(years.begin(), years.end(), [&](const Year& year) {
        return dayInFourYears <= year.lastDay;
    });
    const bool isKnown = found != years.end();
    const auto yearInInterval = static_cast<std::uint32_t>(isKnown ? found - years.begin() : 0);
    CivilTimeStruct civil;
    DayOfYearToCivilTime(dayInFourYears - (isKnown ? found->daysAhead : 0),
                         glonassFirstYear + 4 * fourYearNumber + yearInInterval, &civil);
    return GoBackInTime(CivilTimeToGpsDateTime(&civil, seconds, 0),
                        GpsDateTime(0, glonassAheadOfGps));
}
