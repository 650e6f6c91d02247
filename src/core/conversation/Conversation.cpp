#include "conversation/Conversation.h"

#include <algorithm>
#include <cmath>

#include "conversation/Guardrails.h"
#include "conversation/SystemPrompt.h"
#include "providers/Keys.h"
#include "text/TextRules.h"

namespace lumenary {
namespace {

constexpr int kRetrievalLimit = 6;
constexpr std::size_t kHistoryTurns = 8;
constexpr std::size_t kMostLines = 14;

constexpr const char* kNothingLikeThat =
    "I never said anything quite like that. Turn off Her words only and I can answer properly.";
constexpr const char* kBringOurChats = "Bring our chats across and I'll sound more like myself.";

Expected<std::string, ModelError> completeWithModelClient(const Conversation::Request& request,
                                                          const std::optional<std::string>& baseUrl,
                                                          const KeyLookup& key) {
    ModelClient::Options options;
    options.baseUrl = baseUrl;
    options.key = key;
    return ModelClient::complete(request.provider, request.model, request.system, request.turns,
                                 options);
}

}  // namespace

BurstPlan planBurst(std::string_view reply, double medianReplySeconds) {
    BurstPlan plan;
    std::size_t start = 0;
    while (start <= reply.size()) {
        std::size_t end = reply.find('\n', start);
        if (end == std::string_view::npos)
            end = reply.size();
        std::string_view line = reply.substr(start, end - start);
        // A reply written with CRLF line ends breaks at the same places.
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        line = text::trimSpacesAndTabs(line);
        if (!line.empty())
            plan.lines.emplace_back(line);
        start = end + 1;
    }

    double gap = medianReplySeconds / 120;
    if (!(gap >= 0.35))
        gap = 0.35;  // also catches a median that is not a number
    gap = std::min(gap, 1.4);
    if (plan.lines.size() > 4 && gap > 0.45)
        gap = 0.45;
    plan.gapSeconds = gap;

    if (plan.lines.size() > kMostLines)
        plan.lines.resize(kMostLines);
    return plan;
}

Conversation::Conversation(Store& store, CharacterAnimator& animator, Scheduler& scheduler,
                           Services services)
    : store_(store),
      animator_(animator),
      scheduler_(scheduler),
      services_(std::move(services)),
      alive_(std::make_shared<Conversation*>(this)) {
    if (!services_.key)
        services_.key = Keys::get;
    if (!services_.complete) {
        KeyLookup key = services_.key;
        services_.complete = [key](const Request& request,
                                   const std::optional<std::string>& baseUrl) {
            return completeWithModelClient(request, baseUrl, key);
        };
    }
}

Conversation::~Conversation() = default;

void Conversation::send(std::string_view text) {
    const std::string trimmed(text::trimWhitespace(text));
    if (trimmed.empty())
        return;
    lastError_.reset();
    notify();
    append(Store::Turn::Speaker::me, trimmed, std::nullopt);

    if (Guardrails::looksLikeCrisis(trimmed)) {
        note(Guardrails::crisisReply(store_.persona().name));
        return;
    }

    const std::vector<Exchange> found = hits(store_, trimmed);
    if (!firstConfigured(services_.key)) {
        if (!found.empty())
            reply(found.front().reply.text, found.front().reply.date);
        needsKey_ = true;
        notify();
        return;
    }
    if (store_.persona().herWordsOnly) {
        if (!found.empty()) {
            reply(found.front().reply.text, found.front().reply.date);
        } else {
            note(store_.index() != nullptr ? kNothingLikeThat : kBringOurChats);
        }
        return;
    }
    generate(trimmed);
}

void Conversation::clear() {
    store_.setTranscript({});
    store_.save();
    lastError_.reset();
    notify();
}

std::vector<Exchange> Conversation::hits(const Store& store, std::string_view text) {
    const RetrievalIndex* index = store.index();
    return index != nullptr ? index->search(text, kRetrievalLimit) : std::vector<Exchange>{};
}

Conversation::Request Conversation::plan(const Store& store, std::string_view text,
                                         const KeyLookup& key) {
    const Persona& persona = store.persona();
    Request request;
    request.provider = providerToCall(persona.provider, key ? key : KeyLookup(Keys::get));
    request.model = persona.model(request.provider);
    request.system = SystemPrompt::build(persona, hits(store, text));

    std::vector<ChatTurn> history;
    for (const Store::Turn& turn : store.transcript()) {
        if (turn.speaker == Store::Turn::Speaker::notice)
            continue;
        history.push_back(
            ChatTurn{turn.speaker == Store::Turn::Speaker::me ? "user" : "assistant", turn.text});
    }
    if (history.size() > kHistoryTurns) {
        history.erase(history.begin(), history.end() - static_cast<long>(kHistoryTurns));
    }
    if (history.empty() || history.back().role != "user" || history.back().content != text) {
        history.push_back(ChatTurn{"user", std::string(text)});
    }
    request.turns = std::move(history);
    return request;
}

void Conversation::generate(const std::string& prompt) {
    isThinking_ = true;
    animator_.setSpeaking(true);
    notify();

    Request request = plan(prompt);
    std::optional<std::string> baseUrl = store_.persona().endpoint(request.provider);
    std::weak_ptr<Conversation*> alive = alive_;
    Scheduler* scheduler = &scheduler_;
    scheduler_.background([scheduler, alive, complete = services_.complete,
                           request = std::move(request), baseUrl = std::move(baseUrl)] {
        auto result = complete(request, baseUrl);
        scheduler->after(0, [alive, result = std::move(result)] {
            if (auto self = alive.lock())
                (*self)->finish(result);
        });
    });
}

void Conversation::finish(const Expected<std::string, ModelError>& result) {
    isThinking_ = false;
    animator_.setSpeaking(false);
    animator_.setState(CharacterState::idle);
    if (result) {
        notify();
        burst(*result);
    } else {
        lastError_ = result.error().description();
        notify();
    }
}

void Conversation::burst(const std::string& text) {
    const BurstPlan plan = planBurst(text, store_.persona().stats.medianReplySeconds);
    std::weak_ptr<Conversation*> alive = alive_;
    for (std::size_t i = 0; i < plan.lines.size(); ++i) {
        if (i == 0) {
            reply(plan.lines[0], std::nullopt);
            continue;
        }
        scheduler_.after(static_cast<double>(i) * plan.gapSeconds, [alive, line = plan.lines[i]] {
            if (auto self = alive.lock())
                (*self)->reply(line, std::nullopt);
        });
    }
}

void Conversation::reply(std::string text, std::optional<Timestamp> realDate) {
    append(Store::Turn::Speaker::her, std::move(text), realDate);
}

void Conversation::note(std::string text) {
    append(Store::Turn::Speaker::notice, std::move(text), std::nullopt);
}

void Conversation::append(Store::Turn::Speaker speaker, std::string text,
                          std::optional<Timestamp> realDate) {
    store_.appendTurn(Store::Turn{ids_.next(), speaker, std::move(text), realDate});
    store_.save();
}

int Conversation::observe(std::function<void()> observer) {
    const int id = nextObserverId_++;
    observers_.emplace_back(id, std::move(observer));
    return id;
}

void Conversation::unobserve(int id) {
    std::erase_if(observers_, [id](const auto& entry) { return entry.first == id; });
}

void Conversation::notify() {
    // A copy, so an observer may unobserve while being called.
    const auto observers = observers_;
    for (const auto& [id, observer] : observers)
        observer();
}

}  // namespace lumenary
