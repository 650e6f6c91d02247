#pragma once
// The second stage of parsing an export: drafts become messages, each with its own id, and the
// dates of the messages read before the date order was known are settled at the end.
//
// Internal to the importer.

#include <cstddef>
#include <optional>
#include <vector>

#include "common/Uuid.h"
#include "importer/ChatMessage.h"
#include "importer/LineParser.h"

namespace lumenary {

/// Not thread-safe; one per parse.
class MessageAssembler {
public:
    /// `textBytes`: the size of the text, when known, so that room for its messages is made
    /// once.
    explicit MessageAssembler(std::size_t textBytes = 0);

    void add(const DraftBatch& batch);

    /// Settles the dates with what the parser learnt. Gives the orders to parse the whole text
    /// again with (set for the layouts that need it), or nothing when the messages are ready for
    /// takeMessages().
    std::optional<LayoutOrders> finish(const ParseOutcome& outcome);

    std::vector<ChatMessage> takeMessages() { return std::move(messages_); }

private:
    /// A date read both ways before its layout's order was known.
    struct Undecided {
        std::size_t message;  // its index in messages_, or kNotice
        double dayFirst;
        double monthFirst;
    };
    static constexpr std::size_t kNotice = static_cast<std::size_t>(-1);

    /// Settles one layout: gives the order to parse again with, if the text must be.
    std::optional<DateOrder> settle(const LayoutOutcome& outcome,
                                    const std::vector<Undecided>& undecided);

    std::vector<ChatMessage> messages_;
    std::array<std::vector<Undecided>, 2> undecided_;  // by Layout, in text order
    UuidGenerator uuids_;
};

}  // namespace lumenary
