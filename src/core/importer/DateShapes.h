#pragma once
// Reading the dates and times of export headers that the ten formats of DateReader miss: real
// phones in other languages and older WhatsApp versions write "28/3/2025, 9:29 p. m.",
// "12.03.21, 22:15:30", "12-03-2021, 10:15:32 PM", "2016-08-06, 21:25", "8.11.2017, 10.47.45"...
//
// Internal to the importer; WhatsAppParser::parseDate is the public face.

#include <optional>
#include <string_view>

#include "common/LocalTime.h"
#include "importer/DateReader.h"

namespace lumenary::DateShapes {

/// Reads a header date in one of the shapes beyond the ten formats, in the machine's time zone:
/// day, month and year separated by the same one of "/", "." or "-" twice (the year first when
/// it is written with three or four digits, then always year, month, day; otherwise the day or
/// month first as `order` says), and a time of hours and minutes, perhaps seconds, separated by
/// ":" or ".", on a 24-hour clock or followed by a day period ("PM", "pm", "p", "p.m.",
/// "p. m.", with any white space before or inside it, or the Arabic and Greek words). Digits of
/// any script read; white space around the fields and direction marks beside a date's
/// separators are ignored; anything else unread means nothing. Two-digit years land in the same
/// hundred years as the ten formats put them. Nothing when the fields do not read or name no
/// real moment. Thread-safe.
std::optional<Timestamp> read(std::string_view dateField, std::string_view timeField,
                              DateOrder order);

/// The ten formats first, then the shapes above: how the importer dates a header. What the ten
/// formats read keeps their reading, except a date before the year 100: "dd-MM-yyyy" takes the
/// "21" of "12-03-21, 22:15" as the year 21, which the shapes read as 2021.
std::optional<Timestamp> readAny(std::string_view dateField, std::string_view timeField,
                                 DateOrder order);

/// True when the date field is written year first ("2016-08-06"): its first number has three or
/// four digits and a separator follows it. Its numbers say nothing about whether the file writes
/// the day or the month first.
bool isYearFirst(std::string_view dateField);

}  // namespace lumenary::DateShapes
