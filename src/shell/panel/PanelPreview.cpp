#include "panel/PanelPreview.h"

#include <QApplication>
#include <QPixmap>
#include <filesystem>
#include <memory>
#include <ostream>
#include <random>
#include <system_error>

#include "QtScheduler.h"
#include "panel/CompanionPanel.h"
#include "preview/OffscreenApplication.h"

namespace lumenary::PanelPreview {
namespace {

// A greeting of the kind the sample chat gives at lunchtime.
constexpr const char* kGreeting = "Did you eat kanna?";

// A store in a fresh temporary folder, removed afterwards: the preview shows the persona a new
// installation starts with and never reads or writes the user's data.
class ScratchStore {
public:
    ScratchStore()
        : folder_(std::filesystem::temp_directory_path() /
                  ("lumenary-preview-" + std::to_string(std::random_device{}()))),
          store_(folder_) {}
    ~ScratchStore() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Store& store() { return store_; }

private:
    std::filesystem::path folder_;
    Store store_;
};

bool save(const QWidget& widget, const std::filesystem::path& file, std::ostream& err) {
    if (const_cast<QWidget&>(widget).grab().save(QString::fromStdString(file.string()), "PNG"))
        return true;
    err << "lumenary: could not write " << file.string() << ".\n";
    return false;
}

}  // namespace

int render(const std::string& out, std::ostream& err) {
    const OffscreenApplication application;

    std::error_code error;
    const std::filesystem::path folder(out);
    std::filesystem::create_directories(folder, error);
    if (!std::filesystem::is_directory(folder, error)) {
        err << "lumenary: could not create the folder " << folder.string() << ".\n";
        return 1;
    }

    ScratchStore scratch;
    QtScheduler scheduler;
    CharacterAnimator animator(scheduler, [] { return 10.0; });
    Companion companion(scratch.store(), animator, scheduler);
    companion.say(kGreeting);

    for (const bool translucent : {true, false}) {
        CompanionPanel panel(animator, scratch.store(), companion,
                             CompanionPanel::Options{translucent, false});
        if (!save(panel, folder / (translucent ? "panel.png" : "panel-opaque.png"), err))
            return 1;
    }
    return 0;
}

}  // namespace lumenary::PanelPreview
