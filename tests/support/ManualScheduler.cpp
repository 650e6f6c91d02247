#include "ManualScheduler.h"

#include <limits>

namespace lumenary::testing {

Timestamp ManualScheduler::now() const {
    std::lock_guard lock(mutex_);
    return now_;
}

Scheduler::TimerId ManualScheduler::after(double seconds, Task task) {
    std::lock_guard lock(mutex_);
    const TimerId id = nextId_++;
    timers_.emplace(id, Timer{now_ + (seconds > 0 ? seconds : 0), 0, std::move(task)});
    return id;
}

Scheduler::TimerId ManualScheduler::every(double seconds, Task task) {
    std::lock_guard lock(mutex_);
    const TimerId id = nextId_++;
    // A repeating timer with no interval would fire forever within one advance().
    const double interval = seconds > 1e-9 ? seconds : 1e-9;
    timers_.emplace(id, Timer{now_ + interval, interval, std::move(task)});
    return id;
}

void ManualScheduler::cancel(TimerId id) {
    std::lock_guard lock(mutex_);
    timers_.erase(id);
}

void ManualScheduler::background(Task work) {
    std::lock_guard lock(mutex_);
    background_.push_back(std::move(work));
}

void ManualScheduler::advance(double seconds) {
    std::unique_lock lock(mutex_);
    const Timestamp end = now_ + (seconds > 0 ? seconds : 0);
    for (;;) {
        // The earliest due timer; ids grow, so the map's order breaks ties by creation.
        auto next = timers_.end();
        Timestamp earliest = std::numeric_limits<Timestamp>::infinity();
        for (auto it = timers_.begin(); it != timers_.end(); ++it) {
            if (it->second.due < earliest) {
                earliest = it->second.due;
                next = it;
            }
        }
        if (next == timers_.end() || earliest > end) break;
        now_ = earliest;
        Task task = next->second.task;
        if (next->second.interval > 0) {
            next->second.due += next->second.interval;
        } else {
            timers_.erase(next);
        }
        lock.unlock();
        task();  // may set or cancel timers, its own included
        lock.lock();
    }
    now_ = end;
}

int ManualScheduler::runBackground() {
    int ran = 0;
    for (;;) {
        Task work;
        {
            std::lock_guard lock(mutex_);
            if (background_.empty()) return ran;
            work = std::move(background_.front());
            background_.pop_front();
        }
        work();
        ++ran;
    }
}

std::size_t ManualScheduler::pendingTimers() const {
    std::lock_guard lock(mutex_);
    return timers_.size();
}

std::size_t ManualScheduler::pendingBackground() const {
    std::lock_guard lock(mutex_);
    return background_.size();
}

}  // namespace lumenary::testing
