#include "DesktopApplication.h"

#include <QApplication>
#include <QThreadPool>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "AppDelegate.h"
#include "QuitOnSignal.h"
#include "panel/X11Desktop.h"

namespace lumenary::DesktopApplication {
namespace {

// Long enough for a keyring read or a save to end; a model call can take a minute, and quitting
// does not wait for it.
constexpr int kWorkerGraceMilliseconds = 3000;

bool isSet(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

// Picks the Qt platform through QT_QPA_PLATFORM; false, after one line on `err`, when there is
// nothing to show the application on.
bool choosePlatform(std::ostream& err) {
    if (isSet("QT_QPA_PLATFORM"))
        return true;
    const bool wayland = isSet("WAYLAND_DISPLAY");
    if (isSet("DISPLAY")) {
        if (X11Desktop::canConnect()) {
            // Wayland ignores where a window asks to be and has no "always on top"; XWayland
            // honours both.
            if (wayland)
                setenv("QT_QPA_PLATFORM", "xcb", 1);
            return true;
        }
        if (wayland)
            return true;
        err << "lumenary: the display " << std::getenv("DISPLAY")
            << " does not answer, so there is nowhere to show her. Run it from a desktop session, "
               "or try lumenary --selftest <chat>.\n";
        return false;
    }
    if (wayland)
        return true;
    err << "lumenary: no display to show her on. Run it from a desktop session, or try "
           "lumenary --selftest <chat>.\n";
    return false;
}

}  // namespace

int run(const std::vector<std::string>& args, std::ostream& err) {
    if (!choosePlatform(err))
        return 1;
    // Qt reads only the program name: the command line is the application's own.
    std::string program = args.empty() ? std::string("lumenary") : args.front();
    int argc = 1;
    char* argv[] = {program.data(), nullptr};
    QApplication app(argc, argv);
    QApplication::setApplicationName("Lumenary");
    // The panel and the chat window come and go; only a quit ends the application.
    QApplication::setQuitOnLastWindowClosed(false);
    {
        AppDelegate delegate;
        const QuitOnSignal onSignal([&delegate] { delegate.menuQuit(); });
        delegate.start();
        QApplication::exec();
        // Work still running on a worker hands its answer to the delegate's scheduler, which must
        // outlive it. The store is saved by now, so a worker that hangs (a slow provider) is left
        // behind rather than waited for.
        if (!QThreadPool::globalInstance()->waitForDone(kWorkerGraceMilliseconds)) {
            std::fflush(nullptr);
            std::_Exit(0);
        }
    }
    return 0;
}

}  // namespace lumenary::DesktopApplication
