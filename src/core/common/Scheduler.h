#pragma once
// Time and threads for the long-lived objects (the conversation, the animator), so that their
// rules run the same under the desktop's event loop and under a test's manual clock.
//
// "The owner's thread" is the thread that created the object using the scheduler: the GUI thread
// in the desktop application. Timers fire there, one task at a time.

#include <cstdint>
#include <functional>

#include "common/LocalTime.h"

namespace lumenary {

class Scheduler {
public:
    using Task = std::function<void()>;
    using TimerId = std::uint64_t;

    virtual ~Scheduler() = default;

    /// The current time.
    virtual Timestamp now() const = 0;

    /// Runs `task` once on the owner's thread after `seconds` (0 or less: as soon as the current
    /// task has finished). May be called from any thread.
    virtual TimerId after(double seconds, Task task) = 0;
    /// Runs `task` on the owner's thread every `seconds` until cancelled.
    virtual TimerId every(double seconds, Task task) = 0;
    /// Stops a timer; an unknown or already finished timer is ignored.
    virtual void cancel(TimerId id) = 0;

    /// Runs `work` on a worker thread, for blocking calls (the network, the keyring, a large
    /// save). `work` hands its result back with `after(0, …)`.
    virtual void background(Task work) = 0;
};

}  // namespace lumenary
