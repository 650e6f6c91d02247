#include "QtScheduler.h"

#include <QDateTime>
#include <QThread>
#include <QThreadPool>
#include <atomic>
#include <cmath>

namespace lumenary {
namespace {

int milliseconds(double seconds) {
    if (!(seconds > 0))
        return 0;
    return static_cast<int>(std::min(std::ceil(seconds * 1000), 2'000'000'000.0));
}

// Ids are handed out from any thread (after() may be called by background work).
std::atomic<Scheduler::TimerId> nextTimerId{1};

}  // namespace

QtScheduler::QtScheduler(QObject* parent) : QObject(parent) {}

QtScheduler::~QtScheduler() {
    // Work still running on the pool may hand results back; they arrive at a dead object's queue
    // and are dropped with it.
    for (auto& [id, timer] : timers_)
        timer->stop();
}

Timestamp QtScheduler::now() const {
    return static_cast<Timestamp>(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
}

Scheduler::TimerId QtScheduler::start(double seconds, bool repeating, Task task) {
    const TimerId id = nextTimerId++;
    auto arm = [this, id, seconds, repeating, task = std::move(task)]() mutable {
        auto* timer = new QTimer(this);
        timer->setSingleShot(!repeating);
        timer->setTimerType(Qt::PreciseTimer);
        timers_[id] = timer;
        connect(timer, &QTimer::timeout, this, [this, id, repeating, task] {
            if (!repeating)
                cancel(id);
            task();
        });
        timer->start(milliseconds(seconds));
    };
    if (QThread::currentThread() == thread()) {
        arm();
    } else {
        QMetaObject::invokeMethod(this, std::move(arm), Qt::QueuedConnection);
    }
    return id;
}

Scheduler::TimerId QtScheduler::after(double seconds, Task task) {
    return start(seconds, false, std::move(task));
}

Scheduler::TimerId QtScheduler::every(double seconds, Task task) {
    return start(seconds, true, std::move(task));
}

void QtScheduler::cancel(TimerId id) {
    auto found = timers_.find(id);
    if (found == timers_.end())
        return;
    found->second->stop();
    found->second->deleteLater();
    timers_.erase(found);
}

void QtScheduler::background(Task work) {
    QThreadPool::globalInstance()->start(std::move(work));
}

}  // namespace lumenary
