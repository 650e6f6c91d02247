#include "desktop/StatusMenu.h"

namespace lumenary::StatusMenu {

std::vector<Item> items(std::string_view name) {
    const Item separator{};
    return {
        Item{Action::talk, "Talk to " + std::string(name), "", false},
        separator,
        Item{Action::clearConversation, "Clear conversation", "", false},
        separator,
        Item{Action::hide, "Hide her for an hour", "", false},
        Item{Action::show, "Show her", "", false},
        separator,
        Item{Action::toggleLogin, "Open at login", "", true},
        separator,
        Item{Action::settings, "Settings\u2026", "Ctrl+,", false},
        Item{Action::quit, "Quit Lumenary", "Ctrl+Q", false},
    };
}

}  // namespace lumenary::StatusMenu
