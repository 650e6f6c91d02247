#pragma once
// SIGTERM and SIGINT end the desktop application the way "Quit Lumenary" does (saving first),
// instead of killing it mid-write: the signal handler only writes a byte to a pipe, and the
// event loop reads it and calls back on the GUI thread.

#include <QObject>
#include <QSocketNotifier>
#include <functional>
#include <memory>

namespace lumenary {

class QuitOnSignal {
public:
    /// Installs the handlers; `quit` runs on the GUI thread for each signal that arrives while
    /// this object lives. One at a time per process.
    explicit QuitOnSignal(std::function<void()> quit);
    /// Puts the default handlers back.
    ~QuitOnSignal();
    QuitOnSignal(const QuitOnSignal&) = delete;
    QuitOnSignal& operator=(const QuitOnSignal&) = delete;

private:
    std::function<void()> quit_;
    int fds_[2] = {-1, -1};
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace lumenary
