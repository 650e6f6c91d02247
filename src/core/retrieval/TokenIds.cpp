#include "retrieval/TokenIds.h"

namespace lumenary {
namespace {

// FNV-1a: tokens are a few bytes long, where it is as good as any and needs no seed.
std::uint64_t hashOf(std::string_view token) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : token) {
        hash ^= static_cast<unsigned char>(c);
        hash *= 1099511628211ULL;
    }
    return hash;
}

}  // namespace

std::string_view TokenIds::text(std::uint32_t id) const {
    return std::string_view(texts_).substr(starts_[id], starts_[id + 1] - starts_[id]);
}

// The slot holding `token`, or the empty slot where it would go. The table is never more than
// half full, so the probe always ends.
std::size_t TokenIds::slotOf(std::string_view token, std::uint64_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
        const std::uint32_t entry = slots_[slot];
        if (entry == 0 || text(entry - 1) == token)
            return slot;
    }
}

void TokenIds::grow() {
    std::vector<std::uint32_t> old = std::move(slots_);
    slots_.assign(old.empty() ? 1024 : old.size() * 2, 0);
    for (const std::uint32_t entry : old) {
        if (entry != 0)
            slots_[slotOf(text(entry - 1), hashOf(text(entry - 1)))] = entry;
    }
}

std::uint32_t TokenIds::intern(std::string_view token) {
    if ((size() + 1) * 2 > slots_.size())
        grow();
    if (starts_.empty())
        starts_.push_back(0);
    const std::size_t slot = slotOf(token, hashOf(token));
    if (slots_[slot] != 0)
        return slots_[slot] - 1;
    const auto id = static_cast<std::uint32_t>(size());
    texts_.append(token);
    starts_.push_back(static_cast<std::uint32_t>(texts_.size()));
    slots_[slot] = id + 1;
    return id;
}

std::optional<std::uint32_t> TokenIds::find(std::string_view token) const {
    if (slots_.empty())
        return std::nullopt;
    const std::uint32_t entry = slots_[slotOf(token, hashOf(token))];
    if (entry == 0)
        return std::nullopt;
    return entry - 1;
}

}  // namespace lumenary
