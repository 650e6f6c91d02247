#pragma once
// One real moment of the archive: what someone else wrote, and her message that followed.

#include <cstddef>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "importer/ChatMessage.h"

namespace lumenary {

struct Exchange {
    std::optional<std::string> prompt;  // absent when nothing close enough in time came before
    ChatMessage reply;                  // always a message of hers; its id is the exchange's id

    const Uuid& id() const { return reply.id; }
    friend bool operator==(const Exchange&, const Exchange&) = default;
};

/// Pairs the archive into exchanges: one per message of `speaker`, in archive order. The prompt is
/// the nearest earlier message of anyone else (her own earlier messages skipped), when it was
/// written at most six hours before (or after, for out-of-order dates).
std::vector<Exchange> pairExchanges(const std::vector<ChatMessage>& messages,
                                    const std::string& speaker);

/// The same pairing as positions in `messages`, for callers that look at every exchange but keep
/// few of them and so should not copy every message of hers. `prompt` is `none` when absent.
struct ExchangePosition {
    static constexpr std::size_t none = static_cast<std::size_t>(-1);
    std::size_t reply = 0;
    std::size_t prompt = none;
};
std::vector<ExchangePosition> pairExchangePositions(const std::vector<ChatMessage>& messages,
                                                    const std::string& speaker);
/// The same pairing handed to `visit` one position at a time, in archive order, for callers that
/// keep their own compact form and should not hold the full list beside it.
void forEachExchangePosition(const std::vector<ChatMessage>& messages, const std::string& speaker,
                             const std::function<void(const ExchangePosition&)>& visit);
/// The exchange at `position`, copied out of `messages`.
Exchange exchangeAt(const std::vector<ChatMessage>& messages, const ExchangePosition& position);

/// JSON coding: "prompt" (written only when present, optional on reading) and "reply" (required).
/// Reading throws nlohmann::json::exception when "reply" is missing or malformed, or "prompt" is
/// not text.
void to_json(nlohmann::ordered_json& json, const Exchange& exchange);
void from_json(const nlohmann::ordered_json& json, Exchange& exchange);

}  // namespace lumenary
