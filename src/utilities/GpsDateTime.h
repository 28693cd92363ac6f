/** An instant on the GPS time scale, with its civil date and GLONASS's. */
#pragma once

#include <array>
#include <compare>
#include <cstdint>

#include "utilities/TimeUtilities.h"

/** Counts from the GPS epoch, 1980-01-06, in eras of 1024 weeks. A value and nothing else: no
 *  clock is read, nothing throws, and every input has a result. Leap seconds are never stored; who
 *  needs them hands them in. Distinct objects may be used on any threads.
 *
 *  Every operation leaves its result normalized. The epoch is the earliest instant: what would lie
 *  ahead of it lies in era 0.
 */
class GpsDateTime {
public:
    struct CivilTimeStruct {
        std::uint32_t year = 0;     ///< Gregorian, four digits
        std::uint32_t month = 0;    ///< 1 to 12
        std::uint32_t day = 0;      ///< 1 to 31
        double seconds = 0;         ///< [s] into the minute, with fraction
        std::uint32_t hours = 0;    ///< 0 to 23
        std::uint32_t minutes = 0;  ///< 0 to 59
    };

    static constexpr std::uint32_t picosecondsPerMillisecond = 1000000000;
    static constexpr std::uint32_t millisecondsPerWeek = 604800000;
    static constexpr std::uint32_t weeksPerEra = 1024;

    /** Month lengths of a common year, from January. */
    static constexpr const std::array<int, 12>& s_NumDaysInMonth = TimeUtilities::DAYS_PER_MONTH;

    /** The start of era 1, 1999-08-22. */
    GpsDateTime() = default;
    /** In era 1, and beyond it by what the week and the milliseconds exceed theirs. */
    GpsDateTime(std::uint32_t week, std::uint32_t milliseconds);
    /** SetUtcTime, in era 0. */
    GpsDateTime(int week, int seconds, int utcSeconds, double nanoseconds);
    GpsDateTime(int week, double seconds, double utcSeconds);

    /** Carries what exceeds a field into the next one. */
    void Normalize();

    /** Week and time of week [s], whose sign is dropped. Keeps the era, but for the carry. A
     *  time that is not finite counts as no time of the week. */
    void SetTime(std::uint32_t week, double seconds);
    /** The UTC time of day [s] on the GPS day of the time of week [s], or on the day before when it
     *  is later than that. */
    void SetUtcTime(std::uint32_t week, double secondsOfWeek, double utcSecondsOfDay);

    friend bool operator==(const GpsDateTime& a, const GpsDateTime& b) = default;
    friend std::strong_ordering operator<=>(const GpsDateTime& a, const GpsDateTime& b);

    /** Adds all but the eras, of which the larger is taken. */
    friend GpsDateTime operator+(const GpsDateTime& a, const GpsDateTime& b);
    GpsDateTime& operator+=(const GpsDateTime& other);

    /** The magnitude of a - b, as a time behind the start of era 1. */
    static GpsDateTime TimeDifference(const GpsDateTime& a, const GpsDateTime& b);
    /** t - delta, whose era plays no part. */
    static GpsDateTime GoBackInTime(const GpsDateTime& t, const GpsDateTime& delta);

    /** The Gregorian rule. */
    static bool IsLeapYear(std::uint32_t year);

    /** The date in GPS time, exact to 2100-02-28. No pointer here and below may be null. */
    void ToCivilDate(std::uint32_t* year, std::uint32_t* month, std::uint32_t* day) const;
    /** Moves this value back by `leapSeconds` [s], for good, and gives its date and time. */
    void ToCivilTime(CivilTimeStruct* out, std::uint32_t leapSeconds);

    /** From 1; 0 for a month that is not 1 to 12. */
    static std::uint32_t DayOfYearFromCivilTime(const CivilTimeStruct* civil);
    std::uint32_t DayOfYear() const;
    /** Sets year, month and day; month and day stay as they are when the year has no such day. */
    static void DayOfYearToCivilTime(std::uint32_t dayOfYear, std::uint32_t year,
                                     CivilTimeStruct* out);

    /** The civil date at a time of day [s], moved ahead by the leap seconds [s]; the time of the
     *  civil record is not looked at. Leap years by the four-year rule, which holds to 2099. The
     *  era is that of the date: what the seconds carry past its end comes out at its begin. */
    static GpsDateTime CivilTimeToGpsDateTime(const CivilTimeStruct* civil,
                                              std::uint32_t secondsOfDay,
                                              std::uint32_t leapSeconds);
    static GpsDateTime CivilTimeToGpsDateTime(const CivilTimeStruct* civil, double secondsOfDay,
                                              std::uint32_t leapSeconds);

    /** GLONASS counts Moscow time [s of the day] on a day, from 1, of a four-year interval, of
     *  which number 0 begins with 1992. */
    static GpsDateTime ConvertGlonassTimeParamsToGps(std::uint32_t seconds,
                                                     std::uint32_t dayInFourYears,
                                                     std::uint32_t fourYearNumber);

    std::uint32_t m_week = 0;          ///< of the era, 0 to 1023
    std::uint32_t m_milliseconds = 0;  ///< [ms] into the week
    std::uint32_t m_picoseconds = 0;   ///< [ps] into the millisecond
    std::uint32_t m_rollovers = 1;     ///< eras completed since the epoch

private:
    struct Difference;

    void assign(std::uint64_t weeks, std::uint64_t milliseconds, std::uint64_t picoseconds);
    static Difference differenceOf(const GpsDateTime& a, const GpsDateTime& b);
};
