#pragma once
// The second stage of parsing an export: drafts become messages, each with its own id, and the
// dates of the messages read before the date order was known are settled at the end.
//
// Internal to the importer.

#include <cstddef>
#include <optional>
#include <vector>

#include "importer/ChatMessage.h"
#include "importer/LineParser.h"
#include "common/Uuid.h"

namespace lumenary {

/// Not thread-safe; one per parse.
class MessageAssembler {
public:
    /// `textBytes`: the size of the text, when known, so that room for its messages is made
    /// once.
    explicit MessageAssembler(std::size_t textBytes = 0);

    void add(const DraftBatch& batch);

    /// Settles the dates with what the parser learnt. Gives the order to parse the whole text
    /// again with, or nothing when the messages are ready for takeMessages().
    std::optional<DateOrder> finish(const ParseOutcome& outcome);

    std::vector<ChatMessage> takeMessages() { return std::move(messages_); }

private:
    void adoptMonthFirstReadings();

    std::vector<ChatMessage> messages_;
    std::vector<double> monthFirstReadings_;  // of the first messages, read both ways
    UuidGenerator uuids_;
};

}  // namespace lumenary
