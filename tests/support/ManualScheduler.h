#pragma once
// A scheduler whose clock moves only when a test says so: timers fire during advance(), and
// background work runs when the test calls runBackground(), on the test's own thread.

#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "common/Scheduler.h"

namespace lumenary::testing {

class ManualScheduler final : public Scheduler {
public:
    explicit ManualScheduler(Timestamp start = 1'700'000'000) : now_(start) {}

    Timestamp now() const override;
    TimerId after(double seconds, Task task) override;
    TimerId every(double seconds, Task task) override;
    void cancel(TimerId id) override;
    void background(Task work) override;

    /// Moves the clock forward by `seconds`, firing every timer that falls due on the way, in
    /// time order (equal times in the order they were set), each with the clock at its time.
    void advance(double seconds);
    /// Fires what is due now without moving the clock (tasks set with after(0, …)).
    void runDue() { advance(0); }
    /// Runs queued background work, including work queued while running, until none is left.
    /// Returns how many pieces ran.
    int runBackground();

    /// Timers still waiting to fire.
    std::size_t pendingTimers() const;
    std::size_t pendingBackground() const;

private:
    struct Timer {
        Timestamp due;
        double interval;  // 0 for a one-shot timer
        Task task;
    };

    mutable std::mutex mutex_;
    Timestamp now_;
    TimerId nextId_ = 1;
    std::map<TimerId, Timer> timers_;
    std::deque<Task> background_;
};

}  // namespace lumenary::testing
