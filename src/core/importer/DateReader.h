#pragma once
// Reading the date and time of a message header with the ten export formats.
//
// Internal to the importer; WhatsAppParser::parseDate is the public face.

#include <optional>
#include <string_view>

#include "common/LocalTime.h"

namespace lumenary {

/// Which of the first two numbers of a date is the day. Phones set to US English write the month
/// first ("3/25/21"); everyone else writes the day first.
enum class DateOrder {
    dayFirst,
    monthFirst,
};

namespace DateReader {

/// Reads dateField + ", " + timeField with the first of the ten formats that reads all of it,
/// in the machine's time zone, or nothing. Equal to ICU's strict (non-lenient) parsing with the
/// "en_US_POSIX" locale, except that one-digit days, minutes and seconds read as the reference
/// platform reads them (ICU 72 rejects them), years after 32767 do not read, and a number is
/// only a run of decimal digits with an optional minus sign (ICU also takes "1e1" and "NaN").
/// With DateOrder::monthFirst every format reads the first number as the month. Thread-safe.
std::optional<Timestamp> read(std::string_view dateField, std::string_view timeField,
                              DateOrder order);

/// A date and wall-clock time as a header writes them, before the calendar has checked them.
struct WrittenDate {
    long long year = 1970;
    bool twoDigitYear = false;  // the year was written with exactly two digits
    long long month = 1;
    long long day = 1;
    int hour = 0;  // on a 24-hour clock
    int minute = 0;
    int second = 0;
};

/// The moment `written` names in the machine's time zone, on the calendar `read` uses: a year
/// written with two digits lands in the same hundred years, any other is the year as written;
/// nothing for a day the calendar lacks, a time out of range or a wall time the zone skips.
/// Thread-safe.
std::optional<Timestamp> momentOf(const WrittenDate& written);

}  // namespace DateReader
}  // namespace lumenary
