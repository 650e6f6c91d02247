// The two ways the program reaches the windowing system, each handed to the part that owns it.
#include "Application.h"

#include <ostream>

#include "DesktopApplication.h"
#include "panel/PanelPreview.h"
#include "preview/CharacterPreviews.h"

namespace lumenary {

int Application::run(const std::vector<std::string>& args, std::ostream& err) {
    return DesktopApplication::run(args, err);
}

int Preview::render(const std::string& out, std::ostream& err) {
    return CharacterPreviews::states(out, err);
}
int Preview::variants(const std::string& out, std::ostream& err) {
    return CharacterPreviews::variants(out, err);
}
int Preview::screens(const std::string& out, std::ostream& err) {
    return PanelPreview::render(out, err);
}

}  // namespace lumenary
