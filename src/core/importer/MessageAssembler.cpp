#include "importer/MessageAssembler.h"

#include <sys/mman.h>

#include <cmath>
#include <cstdint>
#include <string>

#include "importer/DateReader.h"

namespace lumenary {
namespace {

// A million messages take a hundred megabytes, touched page by page as they are built: with
// 2 MiB pages instead of 4 KiB ones the kernel takes 500 times fewer page faults. Only a hint;
// where transparent huge pages are off nothing changes.
void adviseHugePages(void* start, std::size_t length) {
    constexpr std::uintptr_t kHugePage = std::uintptr_t{2} << 20;
    const auto begin = (reinterpret_cast<std::uintptr_t>(start) + kHugePage - 1) & ~(kHugePage - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(start) + length) & ~(kHugePage - 1);
    if (end > begin)
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

}  // namespace

MessageAssembler::MessageAssembler(std::size_t textBytes) {
    // Room for a message per 32 bytes: more than any real export needs (a header alone takes
    // 20 to 30), so the list never has to move, while room left unused is never touched and so
    // takes no memory.
    messages_.reserve(textBytes / 32 + 16);
    adviseHugePages(messages_.data(), messages_.capacity() * sizeof(ChatMessage));
}

void MessageAssembler::add(const DraftBatch& batch) {
    for (const MessageDraft& draft : batch.drafts) {
        auto read = [&](DateOrder order) {
            return DateReader::read(draft.dateField, draft.timeField, order).value_or(NAN);
        };
        messages_.push_back(ChatMessage{uuids_.next(), std::string(draft.sender),
                                        std::string(draft.text),
                                        read(draft.order.value_or(DateOrder::dayFirst))});
        if (!draft.order)
            monthFirstReadings_.push_back(read(DateOrder::monthFirst));
    }
}

void MessageAssembler::adoptMonthFirstReadings() {
    for (std::size_t i = 0; i < monthFirstReadings_.size(); ++i) {
        messages_[i].date = monthFirstReadings_[i];
    }
}

std::optional<DateOrder> MessageAssembler::finish(const ParseOutcome& outcome) {
    if (outcome.secondPassOrder)
        return outcome.secondPassOrder;
    if (outcome.order == DateOrder::monthFirst) {
        adoptMonthFirstReadings();
    } else if (!outcome.order) {
        // No number above 12 anywhere: an export is written in time order, so the reading that
        // steps back in time less often is the right one, with day first on a tie.
        long long dayFirstSteps = 0, monthFirstSteps = 0;
        double lastDayFirst = NAN, lastMonthFirst = NAN;
        auto step = [](double date, double& last, long long& steps) {
            if (std::isnan(date))
                return;
            if (!std::isnan(last) && date < last)
                ++steps;
            last = date;
        };
        for (std::size_t i = 0; i < messages_.size(); ++i) {
            step(messages_[i].date, lastDayFirst, dayFirstSteps);
            step(monthFirstReadings_[i], lastMonthFirst, monthFirstSteps);
        }
        if (monthFirstSteps < dayFirstSteps) {
            // An app notice was kept or dropped on its day-first reading.
            if (outcome.undecidedNoticeJudgedDayFirst)
                return DateOrder::monthFirst;
            adoptMonthFirstReadings();
        }
    }
    for (ChatMessage& message : messages_) {
        if (std::isnan(message.date))
            message.date = outcome.importTime;
    }
    return std::nullopt;
}

}  // namespace lumenary
