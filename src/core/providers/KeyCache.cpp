#include "providers/KeyCache.h"

#include "providers/Keys.h"

namespace lumenary {

KeyCache::KeyCache(Scheduler& scheduler, Read read)
    : scheduler_(scheduler),
      read_(read ? std::move(read) : Read(lumenary::Keys::get)),
      keys_(std::make_shared<Cached>()),
      alive_(std::make_shared<KeyCache*>(this)) {}

void KeyCache::refresh() {
    std::weak_ptr<KeyCache*> alive = alive_;
    Scheduler* scheduler = &scheduler_;
    scheduler_.background([scheduler, alive, read = read_, keys = keys_] {
        std::map<Provider, std::string> found;
        for (const Provider provider : allProviders) {
            if (auto key = read(provider))
                found.emplace(provider, std::move(*key));
        }
        scheduler->after(0, [alive, keys, found = std::move(found)]() mutable {
            auto self = alive.lock();
            if (!self)
                return;
            {
                const std::lock_guard lock(keys->mutex);
                keys->byProvider = std::move(found);
            }
            const auto observers = (*self)->observers_;
            for (const auto& [id, observer] : observers)
                observer();
        });
    });
}

KeyLookup KeyCache::lookup() const {
    return [keys = keys_](Provider provider) -> std::optional<std::string> {
        const std::lock_guard lock(keys->mutex);
        const auto found = keys->byProvider.find(provider);
        return found == keys->byProvider.end() ? std::nullopt : std::optional(found->second);
    };
}

bool KeyCache::hasAny() const {
    const std::lock_guard lock(keys_->mutex);
    return !keys_->byProvider.empty();
}

int KeyCache::observe(std::function<void()> observer) {
    const int id = nextObserverId_++;
    observers_.emplace_back(id, std::move(observer));
    return id;
}

void KeyCache::unobserve(int id) {
    std::erase_if(observers_, [id](const auto& entry) { return entry.first == id; });
}

}  // namespace lumenary
