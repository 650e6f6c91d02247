#pragma once
// The desktop's scheduler: timers are QTimers on the GUI thread, background work runs on Qt's
// global thread pool, and work handed back with after() is queued to the GUI thread.

#include <QObject>
#include <QTimer>
#include <map>

#include "common/Scheduler.h"

namespace lumenary {

class QtScheduler final : public QObject, public Scheduler {
public:
    /// Lives on (and fires on) the thread that creates it.
    explicit QtScheduler(QObject* parent = nullptr);
    ~QtScheduler() override;

    Timestamp now() const override;
    TimerId after(double seconds, Task task) override;
    TimerId every(double seconds, Task task) override;
    void cancel(TimerId id) override;
    void background(Task work) override;

private:
    TimerId start(double seconds, bool repeating, Task task);

    std::map<TimerId, QTimer*> timers_;  // owned by this object; touched on its thread only
    TimerId nextId_ = 1;
};

}  // namespace lumenary
