/** The civil and the GPS calendar. Pure functions, safe from any thread and defined for every
 *  input.
 *
 *  Weeks are counted in full from the GPS epoch, 1980-01-06; day 0 of a week is Sunday. A result
 *  beyond the range of int gives the nearest end of it.
 */
#pragma once

#include <array>

namespace TimeUtilities {

/** Month lengths of a common year, from January. */
inline constexpr std::array<int, 12> DAYS_PER_MONTH = {31, 28, 31, 30, 31, 30,
                                                       31, 31, 30, 31, 30, 31};

/** The modified Julian day of the GPS epoch. */
inline constexpr int gpsEpochMjd = 44244;

/** Day and week of the UTC date that belongs to a GPS time of week [s] and a UTC time of day [s]:
 *  that of the GPS day, or of its neighbour when the two times lie more than half a day apart.
 */
void ResolveUtcDate(double secondsOfWeek, int week, double utcSecondsOfDay, int* dayOfWeek,
                    int* utcWeek);

/** The civil date of a day of a GPS week. Exact from 1900-03-01 to 2100-02-28. */
void ToCivilDate(int dayOfWeek, int week, int* year, int* month, int* day);

/** The civil date of a modified Julian day, by the same rule. */
void MjdToCivilDate(double mjd, int* year, int* month, int* day);

/** Divisible by 4 and not by 100, or divisible by 400. */
bool IsLeapYear(int year);

/** The day of the year, counted from 1; 0 for a month that is not 1 to 12. */
int ToDayOfYear(int year, int month, int day);

/** The inverse of ToDayOfYear. What lies before the year counts as January, and what lies beyond it
 *  as December, with a `day` to match.
 */
void ToMonthDay(int year, int dayOfYear, int* month, int* day);

/** The time figure of merit, 1 to 9, of a variance [s^2]; 9 for one that is not finite. */
int TimeVar2Tfom(double variance);

/** `seconds` folded by whole days or weeks into 0 to 86400 or 604800; both ends stay as they are,
 *  and so does a value that is not finite.
 */
double normalize_to_one_day(double seconds);
double normalize_to_one_week(double seconds);

}  // namespace TimeUtilities
