// Placeholder until the desktop lands.
#include "Application.h"

#include "preview/CharacterPreviews.h"

#include <ostream>

namespace lumenary {

int Application::run(const std::vector<std::string>&, std::ostream& err) {
    err << "lumenary: the desktop application is not in this build yet.\n";
    return 1;
}

namespace {
int notYet(std::ostream& err) {
    err << "lumenary: the design previews are not in this build yet.\n";
    return 1;
}
}  // namespace

int Preview::render(const std::string& out, std::ostream& err) {
    return CharacterPreviews::states(out, err);
}
int Preview::variants(const std::string& out, std::ostream& err) {
    return CharacterPreviews::variants(out, err);
}
int Preview::screens(const std::string&, std::ostream& err) {
    return notYet(err);
}

}  // namespace lumenary
