#pragma once
// Runs the two stages of parsing an export together: LineParser on a worker thread, fed by the
// caller's code, while the calling thread assembles the messages. Building a million messages
// (allocating their ids and texts, touching fresh memory) costs about as much as reading them,
// so on two cores the two halves take the time of one.
//
// Internal to the importer.

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "importer/ChatMessage.h"
#include "importer/LineParser.h"

namespace lumenary::ParsePipeline {

/// How the feeding side hands its batches on.
class Handover {
public:
    virtual ~Handover() = default;
    /// Passes a batch to the assembler; false when the assembler has stopped (the feeder should
    /// stop too).
    virtual bool send(DraftBatch batch) = 0;
    /// A buffer for text that a batch will keep: reused from assembled batches when there is one.
    virtual std::unique_ptr<std::string> buffer() = 0;
};

/// Feeds the whole text to the parser, calling handover.send(parser.takeBatch()) now and then
/// (the batches keep the buffers their drafts point into). False when it gave up; why is its own
/// business.
using Feed = std::function<bool(LineParser& parser, Handover& handover)>;

struct Run {
    bool fed = false;  // false: the feed gave up
    /// Set: parse the whole text again, with the orders of `fixedOrders` and these.
    std::optional<LayoutOrders> secondPassOrders;
    std::vector<ChatMessage> messages;  // when fed and no second pass is needed
};

/// One pass over the text. `textBytes` sizes the message list; `concurrent` runs the feed on a
/// worker thread (worth it from about a megabyte of text). An exception on either side reaches
/// the caller after both have stopped.
Run run(const Feed& feed, LayoutOrders fixedOrders, std::size_t textBytes, bool concurrent);

/// The orders for the next pass: `fixed`, with those of `again` where it sets them.
LayoutOrders withSecondPassOrders(LayoutOrders fixed, const LayoutOrders& again);

/// True when a text of this size is worth a second thread on this machine.
bool worthAThread(std::size_t textBytes);

}  // namespace lumenary::ParsePipeline
