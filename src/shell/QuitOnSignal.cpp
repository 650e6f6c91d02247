#include "QuitOnSignal.h"

#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

namespace lumenary {
namespace {

// The write end, for the handler; a plain int is all an async-signal-safe handler may touch.
volatile std::sig_atomic_t writeEnd = -1;

void onSignal(int) {
    const char byte = 1;
    // Nothing can be done about a full or closed pipe inside a handler; a quit is pending then
    // anyway.
    [[maybe_unused]] const ssize_t written = ::write(writeEnd, &byte, 1);
}

void install(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

}  // namespace

QuitOnSignal::QuitOnSignal(std::function<void()> quit) : quit_(std::move(quit)) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds_) != 0)
        return;  // the signals keep their default: the process ends without saving
    writeEnd = fds_[0];
    notifier_ = std::make_unique<QSocketNotifier>(fds_[1], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
        char byte = 0;
        [[maybe_unused]] const ssize_t read = ::read(fds_[1], &byte, 1);
        if (quit_)
            quit_();
    });
    install(onSignal);
}

QuitOnSignal::~QuitOnSignal() {
    if (notifier_ == nullptr)
        return;
    install(SIG_DFL);
    writeEnd = -1;
    notifier_.reset();
    ::close(fds_[0]);
    ::close(fds_[1]);
}

}  // namespace lumenary
