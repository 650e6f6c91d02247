#include "importer/LinePatterns.h"

namespace lumenary::LinePatterns {

// Placeholder until the other shapes are matched.
std::optional<HeaderGroups> matchOtherHeader(std::string_view) {
    return std::nullopt;
}

std::optional<NoticeGroups> matchOtherNotice(std::string_view) {
    return std::nullopt;
}

}  // namespace lumenary::LinePatterns
