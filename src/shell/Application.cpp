// The two ways the program reaches the windowing system, each handed to the part that owns it.
#include "Application.h"

#include <QApplication>
#include <memory>
#include <ostream>

#include "DesktopApplication.h"
#include "chat/ChatPreview.h"
#include "panel/PanelPreview.h"
#include "preview/CharacterPreviews.h"
#include "preview/OffscreenApplication.h"

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
    // One application on the offscreen platform for both sets of pictures.
    const OffscreenApplication application;
    if (PanelPreview::render(out, err) != 0)
        return 1;
    if (!ChatPreview::render(out)) {
        err << "lumenary: could not write the chat window's pictures into " << out << ".\n";
        return 1;
    }
    return 0;
}

}  // namespace lumenary
