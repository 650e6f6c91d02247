#pragma once
// Absolute time and its reading on the machine's calendar and time zone.
//
// The zone is the process's default ICU zone (from TZ or /etc/localtime), read once on first use;
// tests set TZ before the first call. All functions are thread-safe after the first call.

#include <cstdint>
#include <optional>
#include <string>

namespace lumenary {

/// An absolute point in time: seconds since 1970-01-01 00:00:00 UTC, with fraction.
using Timestamp = double;

/// The current moment.
Timestamp now();

/// A wall-clock reading in the machine's time zone (proleptic Gregorian calendar).
struct CivilTime {
    int year = 1970;
    int month = 1;  // 1–12
    int day = 1;    // 1–31
    int hour = 0;   // 0–23
    int minute = 0;
    int second = 0;

    friend bool operator==(const CivilTime&, const CivilTime&) = default;
};

namespace LocalTime {

/// The wall-clock reading of `t` in the machine's time zone (fractions of a second dropped).
CivilTime civil(Timestamp t);

/// The moment that the wall clock of the machine's time zone shows as `c`, read strictly: a field
/// out of range (30 February, hour 24) or a wall time the zone skips (inside a daylight-saving
/// jump) gives nothing. A wall time that occurs twice gives the later of the two moments.
std::optional<Timestamp> fromCivil(const CivilTime& c);

/// The calendar year of the two-digit-year window: two-digit years are read into the hundred years
/// that start 80 years before now.
int twoDigitYearWindowStart();

/// Formats in the user's locale (LC_ALL, LC_TIME, LANG) and the machine's time zone.
enum class DateStyle {
    abbreviatedWithShortTime,  // "Mar 12, 2021, 10:15 PM" in US English
    longWithShortTime,         // "March 12, 2021 at 10:15 PM" in US English
    monthAndYear,              // "March 2021" in US English (pattern "MMMM yyyy")
    longDate,                  // "March 12, 2021" in US English
    abbreviatedDate,           // "Mar 12, 2021" in US English
};
std::string format(Timestamp t, DateStyle style);

/// ISO 8601 in UTC with whole seconds, as every stored file writes dates: "2021-03-12T16:45:32Z".
std::string isoUtc(Timestamp t);
/// Reads `isoUtc` text (also with a fraction or a numeric offset); nothing when it does not read.
std::optional<Timestamp> parseIsoUtc(const std::string& text);

}  // namespace LocalTime
}  // namespace lumenary
