#pragma once
// What the desktop application's tests share: a QApplication on the offscreen platform for the
// whole test program, a private home folder, and a way to let the event loop run until
// something happens.

#include <gtest/gtest.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "TestSupport.h"

namespace lumenary::testing {

class DesktopEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
        app_ = std::make_unique<QApplication>(argc_, argv_);
        QApplication::setQuitOnLastWindowClosed(false);
    }
    void TearDown() override { app_.reset(); }

private:
    int argc_ = 1;
    char name_[9] = "lumenary";
    char* argv_[2] = {name_, nullptr};
    std::unique_ptr<QApplication> app_;
};

inline ::testing::Environment* const desktopEnvironment =
    ::testing::AddGlobalTestEnvironment(new DesktopEnvironment);

/// HOME and the XDG folders inside a temporary folder while the object lives, so that the
/// autostart entry and the key file go there.
class PrivateHome {
public:
    PrivateHome() {
        setenv("HOME", home_.path().c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home_.path() / ".config").c_str(), 1);
        setenv("XDG_DATA_HOME", (home_.path() / ".local/share").c_str(), 1);
    }
    const std::filesystem::path& path() const { return home_.path(); }

private:
    TemporaryFolder home_;
};

/// Runs the event loop until `done` is true or `milliseconds` have passed; gives `done`'s last
/// answer.
inline bool runEventsUntil(const std::function<bool()>& done, int milliseconds = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > milliseconds)
            return false;
        QEventLoop loop;
        QTimer::singleShot(5, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

}  // namespace lumenary::testing
