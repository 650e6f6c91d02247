#pragma once
// ICU's own strict reading of the ten export formats, and generated date and time fields, for
// holding the importer's date reader to ICU.

#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <array>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "importer/DateReader.h"

namespace lumenary::testing {

/// The wall-clock reading of a date in the test zone, or nothing.
inline std::optional<CivilTime> civilOf(std::optional<Timestamp> moment) {
    if (!moment)
        return std::nullopt;
    return LocalTime::civil(*moment);
}

class IcuDateReading {
public:
    IcuDateReading() {
        static constexpr std::array<const char*, 10> kDayFirst = {
            "dd/MM/yy, h:mm:ss a",  "dd/MM/yyyy, h:mm:ss a", "dd/MM/yy, HH:mm:ss",
            "dd/MM/yyyy, HH:mm:ss", "dd/MM/yy, h:mm a",      "dd/MM/yyyy, h:mm a",
            "dd/MM/yy, HH:mm",      "dd/MM/yyyy, HH:mm",     "dd.MM.yy, HH:mm",
            "dd-MM-yyyy, HH:mm"};
        for (const char* pattern : kDayFirst) {
            std::string monthFirst = pattern;
            monthFirst.replace(0, 5, std::string(monthFirst, 3, 2) + monthFirst[2] + "dd");
            dayFirst_.push_back(formatter(pattern));
            monthFirst_.push_back(formatter(monthFirst));
        }
    }

    /// `joined` is a date field, ", " and a time field. Moments after the year 32767, which
    /// the reader's calendar arithmetic does not reach, count as not read.
    std::optional<Timestamp> read(const std::string& joined, DateOrder order) const {
        constexpr Timestamp kYear32768 = 971890963200;
        const icu::UnicodeString text = icu::UnicodeString::fromUTF8(joined);
        for (const auto& format : order == DateOrder::dayFirst ? dayFirst_ : monthFirst_) {
            icu::ParsePosition position(0);
            const UDate millis = format->parse(text, position);
            if (position.getErrorIndex() < 0 && position.getIndex() == text.length()) {
                if (millis / 1000.0 >= kYear32768)
                    return std::nullopt;
                return millis / 1000.0;
            }
        }
        return std::nullopt;
    }

private:
    static std::unique_ptr<icu::SimpleDateFormat> formatter(const std::string& pattern) {
        UErrorCode status = U_ZERO_ERROR;
        auto format = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern),
                                                              icu::Locale("en_US_POSIX"), status);
        format->setLenient(false);
        format->adoptTimeZone(icu::TimeZone::createDefault());
        return format;
    }

    std::vector<std::unique_ptr<icu::SimpleDateFormat>> dayFirst_, monthFirst_;
};

/// Date and time fields near the shapes exports write, with the variations that decide a read:
/// one to five digits, other scripts' digits, signs, separators, every kind of white space, the
/// forms of AM and PM, and stray characters. Letters that ICU's number parser would take as an
/// exponent or "NaN" are left out: the reader does not follow ICU there.
class DateFieldGenerator {
public:
    explicit DateFieldGenerator(unsigned seed, std::vector<std::string> days = {})
        : random_(seed), days_(std::move(days)) {}

    std::pair<std::string, std::string> next() {
        std::string date;
        if (!days_.empty() && chance(0.8)) {
            date = days_[random_() % days_.size()];
        } else {
            const char separator = pick({'/', '/', '/', '.', '-'});
            date = space() + number(1, 28) + separatorOr(separator) + space() + number(1, 12) +
                   separatorOr(separator) + space() + year();
        }
        const bool twelveHour = chance(0.5);
        std::string time = space() + number(twelveHour ? 1 : 0, twelveHour ? 12 : 23) +
                           separatorOr(':') + space() + number(0, 59);
        if (chance(0.5))
            time += separatorOr(':') + number(0, 59);
        if (twelveHour ? chance(0.9) : chance(0.1))
            time += whiteSpace() + amPm();
        if (chance(0.05))
            time += whiteSpace();
        if (chance(0.1))
            mutate(date);
        if (chance(0.1))
            mutate(time);
        return {date, time};
    }

private:
    bool chance(double p) { return std::uniform_real_distribution<double>(0, 1)(random_) < p; }

    template <typename T>
    T pick(std::initializer_list<T> items) {
        return *(items.begin() + random_() % items.size());
    }

    std::string digit(int d) {
        if (chance(0.97))
            return std::string(1, static_cast<char>('0' + d));
        static const std::array<std::string, 3> kZeros = {"\u0660", "\u0966", "\uFF10"};
        std::string zero = kZeros[random_() % kZeros.size()];
        zero.back() = static_cast<char>(zero.back() + d);  // the digits follow their zero
        return zero;
    }

    // Mostly a value in [low, high] written with one or two digits; sometimes any digits.
    std::string number(int low, int high) {
        std::string out;
        if (chance(0.02))
            out += pick<const char*>({"-", "\u2212", "+"});
        if (chance(0.9)) {
            const int value = low + static_cast<int>(random_() % (high - low + 1));
            if (value >= 10 || chance(0.5))
                out += digit(value / 10);
            return out + digit(value % 10);
        }
        for (int length = static_cast<int>(random_() % 6); length > 0; --length) {
            out += digit(static_cast<int>(random_() % 10));
        }
        return out;
    }

    std::string year() {
        if (chance(0.3))
            return number(0, 99);
        std::string out = pick<const char*>({"19", "20", "20", "15", "00", "99", "1"});
        return out + digit(static_cast<int>(random_() % 10)) +
               digit(static_cast<int>(random_() % 10));
    }

    std::string separatorOr(char wanted) {
        if (chance(0.95))
            return std::string(1, wanted);
        return pick<const char*>({"/", ".", "-", ":", ",", "", " /", "//"});
    }

    std::string whiteSpace() {
        if (chance(0.8))
            return " ";
        return pick<const char*>(
            {"  ", "\t", "\u00A0", "\u202F", "\u2003", "\n", "\u200E", "\u2028", ""});
    }

    std::string space() { return chance(0.93) ? "" : whiteSpace(); }

    std::string amPm() {
        return pick<const char*>({"AM", "PM", "am", "pm", "Am", "pM", "A", "p", "A.M.", "AMX", "M",
                                  "AP", "a m", "\uFF30\uFF2D"});
    }

    void mutate(std::string& s) {
        static const std::array<std::string, 8> kStray = {"x", " ", ",",      ":",
                                                          "/", "0", "\u200B", "1"};
        const std::size_t at = s.empty() ? 0 : random_() % s.size();
        if (chance(0.5) || s.empty()) {
            s.insert(at, kStray[random_() % kStray.size()]);
        } else if ((static_cast<unsigned char>(s[at]) & 0xC0) != 0x80 &&
                   static_cast<unsigned char>(s[at]) < 0x80) {
            s.erase(at, 1);
        }
    }

    std::mt19937 random_;
    std::vector<std::string> days_;
};

/// `text` with every one-digit number written with two digits, except the third number (the
/// year, whose digit count decides how it is read). ICU 72 rejects one-digit days, minutes and
/// seconds in strict mode (fixed in ICU 73); padded, ICU reads what the reference platform reads.
inline std::string withTwoDigitNumbers(const std::string& text) {
    std::string out;
    int run = 0;
    for (std::size_t i = 0; i < text.size();) {
        // ASCII digits and the three other zeros' scripts used by the generator.
        auto digitLength = [&](std::size_t at) -> std::size_t {
            if (at >= text.size())
                return 0;
            const auto b = static_cast<unsigned char>(text[at]);
            if (b >= '0' && b <= '9')
                return 1;
            if (text.compare(at, 1, "\xD9") == 0 && at + 1 < text.size()) {
                const auto c = static_cast<unsigned char>(text[at + 1]);
                if (c >= 0xA0 && c <= 0xA9)
                    return 2;  // U+0660–U+0669
            }
            if (text.compare(at, 2, "\xE0\xA5") == 0 && at + 2 < text.size()) {
                const auto c = static_cast<unsigned char>(text[at + 2]);
                if (c >= 0xA6 && c <= 0xAF)
                    return 3;  // U+0966–U+096F
            }
            if (text.compare(at, 2, "\xEF\xBC") == 0 && at + 2 < text.size()) {
                const auto c = static_cast<unsigned char>(text[at + 2]);
                if (c >= 0x90 && c <= 0x99)
                    return 3;  // U+FF10–U+FF19
            }
            return 0;
        };
        const std::size_t first = digitLength(i);
        if (first == 0) {
            out += text[i++];
            continue;
        }
        std::size_t end = i, digits = 0;
        while (const std::size_t length = digitLength(end)) {
            end += length;
            ++digits;
        }
        if (digits == 1 && ++run != 3) {
            out += '0';
        } else if (digits != 1) {
            ++run;
        }
        out.append(text, i, end - i);
        i = end;
    }
    return out;
}

}  // namespace lumenary::testing
