#pragma once
// The API keys as last read from the keyring, for the desktop: the keyring is read on a worker
// thread and the answer kept, so the GUI thread never waits on it (a locked collection can keep
// a synchronous read waiting for as long as its unlock prompt is open).

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/Scheduler.h"
#include "providers/Provider.h"
#include "providers/ProviderChoice.h"

namespace lumenary {

class KeyCache {
public:
    /// Reads one provider's key; may block.
    using Read = std::function<std::optional<std::string>(Provider)>;

    /// Holds no key until the first refresh() is answered. `scheduler` must outlive the cache and
    /// any refresh still running when it goes. Without `read`, Keys::get.
    explicit KeyCache(Scheduler& scheduler, Read read = {});
    KeyCache(const KeyCache&) = delete;
    KeyCache& operator=(const KeyCache&) = delete;

    /// Reads the three providers' keys on a worker thread. The answer replaces the cached keys on
    /// the scheduler's owner thread, which then calls the observers; an answer that arrives after
    /// the cache is gone is dropped. Returns at once.
    void refresh();

    /// A lookup into the cache that never blocks for long and may be called on any thread, also
    /// after the cache is gone (it then knows the keys as last read).
    KeyLookup lookup() const;
    /// Some provider has a key, as last read.
    bool hasAny() const;

    /// Calls `observer` on the owner's thread after each answered refresh.
    int observe(std::function<void()> observer);
    void unobserve(int id);

private:
    struct Cached {
        mutable std::mutex mutex;
        std::map<Provider, std::string> byProvider;
    };

    Scheduler& scheduler_;
    Read read_;
    std::shared_ptr<Cached> keys_;
    std::shared_ptr<KeyCache*> alive_;

    int nextObserverId_ = 1;
    std::vector<std::pair<int, std::function<void()>>> observers_;
};

}  // namespace lumenary
