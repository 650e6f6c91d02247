#include "importer/DateShapes.h"

namespace lumenary::DateShapes {

// Placeholder until the shapes are read: only the ten formats.
std::optional<Timestamp> read(std::string_view, std::string_view, DateOrder) {
    return std::nullopt;
}

std::optional<Timestamp> readAny(std::string_view dateField, std::string_view timeField,
                                 DateOrder order) {
    if (auto moment = DateReader::read(dateField, timeField, order))
        return moment;
    return read(dateField, timeField, order);
}

bool isYearFirst(std::string_view) {
    return false;
}

}  // namespace lumenary::DateShapes
