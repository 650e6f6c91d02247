#pragma once
// Dense integer ids for token texts, so the retrieval index stores four bytes per token occurrence
// instead of a string.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumenary {

class TokenIds {
public:
    /// The id of `token`, giving it the next free id (0, 1, 2, ...) when it is new.
    std::uint32_t intern(std::string_view token);
    /// The id of `token`, or nothing when it was never interned.
    std::optional<std::uint32_t> find(std::string_view token) const;
    /// The text of `id` (< size()); valid until the next intern.
    std::string_view text(std::uint32_t id) const;
    std::size_t size() const { return starts_.empty() ? 0 : starts_.size() - 1; }

private:
    std::size_t slotOf(std::string_view token, std::uint64_t hash) const;
    void grow();

    std::string texts_;                  // every token's text, back to back
    std::vector<std::uint32_t> starts_;  // where each id's text starts in texts_, plus the end
    std::vector<std::uint32_t> slots_;   // open addressing: id + 1, or 0 for an empty slot
};

}  // namespace lumenary
