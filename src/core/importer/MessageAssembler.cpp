#include "importer/MessageAssembler.h"

#include <sys/mman.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "importer/DateShapes.h"
#include "importer/NoiseRules.h"

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

namespace {

enum class Body {
    message,
    attachment,  // its caption, on the lines after it, is the message
    noise,
};

Body kindOf(std::string_view body) {
    // An attachment line is noise too, so it is told first.
    if (body.back() == ')' && NoiseRules::isAttachmentLine(body))
        return Body::attachment;
    return NoiseRules::isNoiseTrimmed(body) ? Body::noise : Body::message;
}

// A string of exactly the size of its text: a million of them make the archive, and appending
// to a growing string would leave room to spare in many.
std::string joinedByNewline(std::string_view first, std::string_view second) {
    std::string joined(first.size() + 1 + second.size(), '\n');
    std::copy(first.begin(), first.end(), joined.begin());
    std::copy(second.begin(), second.end(),
              joined.end() - static_cast<std::ptrdiff_t>(second.size()));
    return joined;
}

}  // namespace

void MessageAssembler::add(const DraftBatch& batch) {
    for (const MessageDraft& draft : batch.drafts) {
        auto read = [&](DateOrder order) {
            return DateShapes::readAny(draft.dateField, draft.timeField, order).value_or(NAN);
        };
        auto& undecided = undecided_[static_cast<std::size_t>(draft.layout)];
        if (draft.notice) {
            undecided.push_back({kNotice, read(DateOrder::dayFirst), read(DateOrder::monthFirst)});
            continue;
        }
        std::string text;
        switch (kindOf(draft.body)) {
            case Body::noise:
                // Lines that continue a dropped notice belong to the message kept before it.
                if (!draft.more.empty() && !messages_.empty())
                    messages_.back().text.append("\n").append(draft.more);
                continue;
            case Body::attachment:
                if (draft.more.empty())
                    continue;  // no caption, no message
                text = std::string(draft.more);
                break;
            case Body::message:
                text = draft.more.empty() ? std::string(draft.body)
                                          : joinedByNewline(draft.body, draft.more);
                break;
        }
        const double date = read(draft.order.value_or(DateOrder::dayFirst));
        if (!draft.order)
            undecided.push_back({messages_.size(), date, read(DateOrder::monthFirst)});
        messages_.push_back(
            ChatMessage{uuids_.next(), std::string(draft.sender), std::move(text), date});
    }
}

std::optional<DateOrder> MessageAssembler::settle(const LayoutOutcome& outcome,
                                                  const std::vector<Undecided>& undecided) {
    bool monthFirst = outcome.order == DateOrder::monthFirst;
    if (!outcome.order) {
        // No number above 12 anywhere: an export is written in time order, so the reading that
        // steps back in time less often is the right one, with day first on a tie. The app's
        // notices are written in time order too, so their dates count as well.
        long long dayFirstSteps = 0, monthFirstSteps = 0;
        double lastDayFirst = NAN, lastMonthFirst = NAN;
        auto step = [](double date, double& last, long long& steps) {
            if (std::isnan(date))
                return;
            if (!std::isnan(last) && date < last)
                ++steps;
            last = date;
        };
        for (const Undecided& reading : undecided) {
            step(reading.dayFirst, lastDayFirst, dayFirstSteps);
            step(reading.monthFirst, lastMonthFirst, monthFirstSteps);
        }
        if (monthFirstSteps < dayFirstSteps) {
            // An app notice was kept or dropped on its day-first reading.
            if (outcome.undecidedNoticeJudgedDayFirst)
                return DateOrder::monthFirst;
            monthFirst = true;
        }
    }
    if (monthFirst) {
        for (const Undecided& reading : undecided) {
            if (reading.message != kNotice)
                messages_[reading.message].date = reading.monthFirst;
        }
    }
    return std::nullopt;
}

std::optional<LayoutOrders> MessageAssembler::finish(const ParseOutcome& outcome) {
    LayoutOrders again;
    bool parseAgain = false;
    // A parse that stopped early saw only part of the text: nothing else can be settled on it.
    for (std::size_t layout = 0; layout < again.size(); ++layout) {
        again[layout] = outcome.layouts[layout].secondPassOrder;
        parseAgain = parseAgain || again[layout].has_value();
    }
    if (parseAgain)
        return again;
    for (std::size_t layout = 0; layout < again.size(); ++layout) {
        again[layout] = settle(outcome.layouts[layout], undecided_[layout]);
        parseAgain = parseAgain || again[layout].has_value();
    }
    if (parseAgain)
        return again;
    for (ChatMessage& message : messages_) {
        if (std::isnan(message.date))
            message.date = outcome.importTime;
    }
    return std::nullopt;
}

}  // namespace lumenary
