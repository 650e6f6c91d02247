#pragma once
// What the desktop application's tests share besides the offscreen QApplication: a private home
// folder, and a way to let the event loop run until something happens.

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "OffscreenApplication.h"
#include "TestSupport.h"

namespace lumenary::testing {

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
