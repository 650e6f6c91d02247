#include "common/LocalTime.h"

#include <unicode/basictz.h>
#include <unicode/datefmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

namespace lumenary {
namespace {

using namespace std::chrono;

const icu::TimeZone& machineZone() {
    static const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
    return *zone;
}

// The offset from UTC (seconds) at one moment. Consecutive calls mostly fall between the same two
// zone transitions, so each thread keeps the interval of its last answer: reading a million
// message dates then costs a handful of ICU calls instead of a million.
int offsetAt(double utcSeconds) {
    struct Interval {
        double start = 1, end = 0;  // empty
        int offset = 0;
    };
    thread_local Interval cached;
    if (utcSeconds >= cached.start && utcSeconds < cached.end) return cached.offset;

    const icu::TimeZone& zone = machineZone();
    UErrorCode status = U_ZERO_ERROR;
    int32_t raw = 0, dst = 0;
    const UDate millis = utcSeconds * 1000.0;
    zone.getOffset(millis, false, raw, dst, status);
    if (U_FAILURE(status)) return 0;
    const int offset = (raw + dst) / 1000;

    cached = Interval{};
    if (const auto* basic = dynamic_cast<const icu::BasicTimeZone*>(&zone)) {
        icu::TimeZoneTransition previous, next;
        const bool hasPrevious = basic->getPreviousTransition(millis, true, previous);
        const bool hasNext = basic->getNextTransition(millis, false, next);
        cached.start = hasPrevious ? previous.getTime() / 1000.0 : -HUGE_VAL;
        cached.end = hasNext ? next.getTime() / 1000.0 : HUGE_VAL;
        cached.offset = offset;
    }
    return offset;
}

int daysInMonth(int year, int month) {
    return static_cast<int>(
        static_cast<unsigned>(year_month_day_last{std::chrono::year{year} / month / last}.day()));
}

int64_t localSecondsOf(const CivilTime& c) {
    const sys_days days{std::chrono::year{c.year} / c.month / c.day};
    return static_cast<int64_t>(days.time_since_epoch().count()) * 86400 + c.hour * 3600 +
           c.minute * 60 + c.second;
}

// The calendar day of a count of seconds since the epoch, and the seconds into that day.
std::pair<year_month_day, int64_t> splitDay(int64_t seconds) {
    int64_t days = seconds / 86400;
    int64_t rest = seconds % 86400;
    if (rest < 0) {
        rest += 86400;
        days -= 1;
    }
    return {year_month_day{sys_days{std::chrono::days{days}}}, rest};
}

std::string toUtf8(const icu::UnicodeString& text) {
    std::string out;
    text.toUTF8String(out);
    return out;
}

// The user's locale for dates, from the environment in the order POSIX gives it.
icu::Locale userLocale() {
    for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        std::string id(value);
        id = id.substr(0, id.find_first_of(".@"));
        if (id == "C" || id == "POSIX") return icu::Locale("en", "US");
        return icu::Locale(id.c_str());
    }
    return icu::Locale("en", "US");
}

// The date-time pattern for one style. The abbreviated style joins the medium date and the short
// time with the locale's long glue ("Mar 12, 2021 at 10:15 PM"), as desktop platforms write it.
icu::UnicodeString patternFor(LocalTime::DateStyle style, const icu::Locale& locale) {
    auto patternOf = [&](icu::DateFormat::EStyle date, icu::DateFormat::EStyle time) {
        std::unique_ptr<icu::DateFormat> format(
            icu::DateFormat::createDateTimeInstance(date, time, locale));
        icu::UnicodeString pattern;
        if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(format.get())) {
            simple->toPattern(pattern);
        }
        return pattern;
    };
    switch (style) {
        case LocalTime::DateStyle::monthAndYear:
            return icu::UnicodeString(u"MMMM yyyy");
        case LocalTime::DateStyle::longDate:
            return patternOf(icu::DateFormat::kLong, icu::DateFormat::kNone);
        case LocalTime::DateStyle::abbreviatedDate:
            return patternOf(icu::DateFormat::kMedium, icu::DateFormat::kNone);
        case LocalTime::DateStyle::longWithShortTime:
            return patternOf(icu::DateFormat::kLong, icu::DateFormat::kShort);
        case LocalTime::DateStyle::abbreviatedWithShortTime: {
            icu::UnicodeString joined = patternOf(icu::DateFormat::kLong, icu::DateFormat::kShort);
            const icu::UnicodeString longDate =
                patternOf(icu::DateFormat::kLong, icu::DateFormat::kNone);
            const icu::UnicodeString mediumDate =
                patternOf(icu::DateFormat::kMedium, icu::DateFormat::kNone);
            if (!longDate.isEmpty() && joined.indexOf(longDate) >= 0) {
                return joined.findAndReplace(longDate, mediumDate);
            }
            return patternOf(icu::DateFormat::kMedium, icu::DateFormat::kShort);
        }
    }
    return {};
}

}  // namespace

Timestamp now() {
    return duration<double>(system_clock::now().time_since_epoch()).count();
}

namespace LocalTime {

CivilTime civil(Timestamp t) {
    const double local = std::floor(t) + offsetAt(std::floor(t));
    const auto [ymd, rest] = splitDay(static_cast<int64_t>(local));
    return CivilTime{static_cast<int>(ymd.year()),
                     static_cast<int>(static_cast<unsigned>(ymd.month())),
                     static_cast<int>(static_cast<unsigned>(ymd.day())),
                     static_cast<int>(rest / 3600),
                     static_cast<int>(rest % 3600 / 60),
                     static_cast<int>(rest % 60)};
}

std::optional<Timestamp> fromCivil(const CivilTime& c) {
    // std::chrono::year holds -32767 to 32767; later years would wrap to wrong moments.
    if (c.year < -9999 || c.year > 32767 || c.month < 1 || c.month > 12 || c.day < 1 ||
        c.day > daysInMonth(c.year, c.month) || c.hour < 0 || c.hour > 23 || c.minute < 0 ||
        c.minute > 59 || c.second < 0 || c.second > 59) {
        return std::nullopt;
    }
    const double local = static_cast<double>(localSecondsOf(c));
    // A wall time maps to the moments u with u + offsetAt(u) = local. Zones change their offset
    // at most once a day, so the offsets a day before and a day after are the only candidates.
    std::optional<Timestamp> latest;
    for (const int offset : {offsetAt(local - 86400), offsetAt(local + 86400)}) {
        const double utc = local - offset;
        if (offsetAt(utc) == offset && (!latest || utc > *latest)) latest = utc;
    }
    return latest;
}

int twoDigitYearWindowStart() {
    return civil(now()).year - 80;
}

std::string format(Timestamp t, DateStyle style) {
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    static const icu::Locale locale = userLocale();
    UErrorCode status = U_ZERO_ERROR;
    icu::SimpleDateFormat formatter(patternFor(style, locale), locale, status);
    if (U_FAILURE(status)) return isoUtc(t);
    formatter.adoptTimeZone(machineZone().clone());
    icu::UnicodeString out;
    formatter.format(std::floor(t) * 1000.0, out);
    return toUtf8(out);
}

std::string isoUtc(Timestamp t) {
    const auto [ymd, rest] = splitDay(static_cast<int64_t>(std::floor(t)));
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%04d-%02u-%02uT%02d:%02d:%02dZ",
                  static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
                  static_cast<unsigned>(ymd.day()), static_cast<int>(rest / 3600),
                  static_cast<int>(rest % 3600 / 60), static_cast<int>(rest % 60));
    return buffer;
}

std::optional<Timestamp> parseIsoUtc(const std::string& text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0, used = 0;
    if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &year, &month, &day, &hour, &minute,
                    &second, &used) != 6 ||
        used != 19) {
        return std::nullopt;
    }
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || hour > 23 ||
        minute > 59 || second > 60) {
        return std::nullopt;
    }
    std::string_view rest(text);
    rest.remove_prefix(19);
    double fraction = 0;
    if (!rest.empty() && rest.front() == '.') {
        size_t digits = 1;
        while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9') ++digits;
        fraction = std::strtod(std::string(rest.substr(0, digits)).insert(0, "0").c_str(), nullptr);
        rest.remove_prefix(digits);
    }
    int offsetSeconds = 0;
    if (rest == "Z") {
    } else if (rest.size() == 6 && (rest[0] == '+' || rest[0] == '-') && rest[3] == ':') {
        int offsetHours = 0, offsetMinutes = 0;
        if (std::sscanf(std::string(rest.substr(1)).c_str(), "%2d:%2d", &offsetHours,
                        &offsetMinutes) != 2) {
            return std::nullopt;
        }
        offsetSeconds = (offsetHours * 3600 + offsetMinutes * 60) * (rest[0] == '-' ? -1 : 1);
    } else {
        return std::nullopt;
    }
    const CivilTime c{year, month, day, hour, minute, std::min(second, 59)};
    return static_cast<double>(localSecondsOf(c)) + fraction - offsetSeconds;
}

}  // namespace LocalTime
}  // namespace lumenary
