#include "voice/Exchange.h"

namespace lumenary {
namespace {

// A reply more than six hours after the last thing anyone else said starts a conversation of its
// own rather than answering it.
constexpr double kPromptWindowSeconds = 6 * 60 * 60;

}  // namespace

void forEachExchangePosition(const std::vector<ChatMessage>& messages, const std::string& speaker,
                             const std::function<void(const ExchangePosition&)>& visit) {
    std::size_t lastOther = ExchangePosition::none;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (messages[i].sender != speaker) {
            lastOther = i;
            continue;
        }
        ExchangePosition position{i, ExchangePosition::none};
        // Dates out of order give a negative gap, which still counts as close.
        if (lastOther != ExchangePosition::none &&
            messages[i].date - messages[lastOther].date <= kPromptWindowSeconds) {
            position.prompt = lastOther;
        }
        visit(position);
    }
}

std::vector<ExchangePosition> pairExchangePositions(const std::vector<ChatMessage>& messages,
                                                    const std::string& speaker) {
    std::vector<ExchangePosition> positions;
    // One allocation of the most that can be needed: growing by doubling would leave the earlier
    // copies (megabytes each on a large archive) behind as freed but resident heap. Room never
    // written is never touched, so it costs address space rather than memory.
    positions.reserve(messages.size());
    forEachExchangePosition(messages, speaker,
                            [&](const ExchangePosition& position) { positions.push_back(position); });
    return positions;
}

Exchange exchangeAt(const std::vector<ChatMessage>& messages, const ExchangePosition& position) {
    Exchange exchange;
    exchange.reply = messages[position.reply];
    if (position.prompt != ExchangePosition::none)
        exchange.prompt = messages[position.prompt].text;
    return exchange;
}

std::vector<Exchange> pairExchanges(const std::vector<ChatMessage>& messages,
                                    const std::string& speaker) {
    const std::vector<ExchangePosition> positions = pairExchangePositions(messages, speaker);
    std::vector<Exchange> exchanges;
    exchanges.reserve(positions.size());
    for (const auto& position : positions)
        exchanges.push_back(exchangeAt(messages, position));
    return exchanges;
}

void to_json(nlohmann::ordered_json& json, const Exchange& exchange) {
    json = nlohmann::ordered_json::object();
    if (exchange.prompt)
        json["prompt"] = *exchange.prompt;
    json["reply"] = exchange.reply;
}

void from_json(const nlohmann::ordered_json& json, Exchange& exchange) {
    Exchange read;
    if (const auto prompt = json.find("prompt"); prompt != json.end() && !prompt->is_null()) {
        read.prompt = prompt->get<std::string>();
    }
    read.reply = json.at("reply").get<ChatMessage>();
    exchange = std::move(read);
}

}  // namespace lumenary
