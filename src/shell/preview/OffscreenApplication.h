#pragma once
// The application object the previews draw with: when none exists yet, one on Qt's offscreen
// platform, so that pictures can be made on a machine without a display. One made here is gone
// with this object; one that already existed is left alone.

#include <QApplication>
#include <memory>

namespace lumenary {

class OffscreenApplication {
public:
    OffscreenApplication() {
        if (QCoreApplication::instance() != nullptr)
            return;
        qputenv("QT_QPA_PLATFORM", "offscreen");
        app_ = std::make_unique<QApplication>(argc_, argv_);
    }
    OffscreenApplication(const OffscreenApplication&) = delete;
    OffscreenApplication& operator=(const OffscreenApplication&) = delete;

private:
    // QApplication keeps references to these for its whole life.
    int argc_ = 1;
    char name_[9] = "lumenary";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> app_;
};

}  // namespace lumenary
