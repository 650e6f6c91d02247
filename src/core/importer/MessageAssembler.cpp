#include "importer/MessageAssembler.h"

#include <cmath>
#include <string>

namespace lumenary {

MessageAssembler::MessageAssembler(std::size_t textBytes) {
    // Room for a message per 32 bytes: more than any real export needs (a header alone takes
    // 20 to 30), so the list never has to move, while room left unused is never touched and so
    // takes no memory.
    messages_.reserve(textBytes / 32 + 16);
}

void MessageAssembler::add(const DraftBatch& batch) {
    for (const MessageDraft& draft : batch.drafts) {
        messages_.push_back(ChatMessage{uuids_.next(), std::string(draft.sender),
                                        std::string(draft.text), draft.date});
        if (draft.undecided) monthFirstReadings_.push_back(draft.monthFirstDate);
    }
}

void MessageAssembler::adoptMonthFirstReadings() {
    for (std::size_t i = 0; i < monthFirstReadings_.size(); ++i) {
        messages_[i].date = monthFirstReadings_[i];
    }
}

std::optional<DateOrder> MessageAssembler::finish(const ParseOutcome& outcome) {
    if (outcome.secondPassOrder) return outcome.secondPassOrder;
    if (outcome.order == DateOrder::monthFirst) {
        adoptMonthFirstReadings();
    } else if (!outcome.order) {
        // No number above 12 anywhere: an export is written in time order, so the reading that
        // steps back in time less often is the right one, with day first on a tie.
        long long dayFirstSteps = 0, monthFirstSteps = 0;
        double lastDayFirst = NAN, lastMonthFirst = NAN;
        auto step = [](double date, double& last, long long& steps) {
            if (std::isnan(date)) return;
            if (!std::isnan(last) && date < last) ++steps;
            last = date;
        };
        for (std::size_t i = 0; i < messages_.size(); ++i) {
            step(messages_[i].date, lastDayFirst, dayFirstSteps);
            step(monthFirstReadings_[i], lastMonthFirst, monthFirstSteps);
        }
        if (monthFirstSteps < dayFirstSteps) {
            // An app notice was kept or dropped on its day-first reading.
            if (outcome.undecidedNoticeJudgedDayFirst) return DateOrder::monthFirst;
            adoptMonthFirstReadings();
        }
    }
    for (ChatMessage& message : messages_) {
        if (std::isnan(message.date)) message.date = outcome.importTime;
    }
    return std::nullopt;
}

}  // namespace lumenary
