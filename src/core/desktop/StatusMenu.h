#pragma once
// The companion's menu: what it offers, in which order, under which titles. The tray icon and the
// panel's right-click menu both show it.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumenary::StatusMenu {

enum class Action {
    talk,               // open the chat window
    clearConversation,  // empty the transcript, after asking
    hide,               // take her off the screen for an hour
    show,               // put her back now
    toggleLogin,        // start Lumenary at login, or stop doing so; shows a check mark
    settings,
    quit,
};

struct Item {
    std::optional<Action> action;  // nothing: a separator
    std::string title;
    std::string shortcut;  // portable key-sequence text ("Ctrl+Q"); empty for none
    bool checkable = false;

    friend bool operator==(const Item&, const Item&) = default;
};

/// The menu for the person called `name` ("Talk to " + name; an empty name leaves "Talk to ").
std::vector<Item> items(std::string_view name);

}  // namespace lumenary::StatusMenu
