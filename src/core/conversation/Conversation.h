#pragma once
// Turns one message typed to her into her answer: a notice that points to help, one of her real
// messages with its date, or a model's reply in her voice delivered line by line at her pace.
// Results arrive through the store's transcript and the published flags, never as return values.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "character/CharacterAnimator.h"
#include "common/Scheduler.h"
#include "common/Uuid.h"
#include "providers/ChatTurn.h"
#include "providers/ModelClient.h"
#include "providers/ProviderChoice.h"
#include "store/Store.h"

namespace lumenary {

class Conversation {
public:
    /// The complete input of one model call.
    struct Request {
        Provider provider = Provider::claude;
        std::string model;
        std::string system;
        std::vector<ChatTurn> turns;  // oldest first, ending with the user's message

        friend bool operator==(const Request&, const Request&) = default;
    };

    /// The model call, made on a worker thread: the request and the persona's endpoint for its
    /// provider in, the reply or the error out.
    using Complete = std::function<Expected<std::string, ModelError>(
        const Request& request, const std::optional<std::string>& baseUrl)>;

    /// What the conversation needs from outside; empty members mean the real keyring and the
    /// real model client.
    struct Services {
        KeyLookup key;
        Complete complete;
    };

    /// `store`, `animator` and `scheduler` must outlive the conversation; the scheduler must also
    /// outlive any model call still running when the conversation goes.
    Conversation(Store& store, CharacterAnimator& animator, Scheduler& scheduler,
                 Services services = {});
    ~Conversation();
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;

    /// The user's message. Blank text does nothing. Returns at once; a model reply arrives later,
    /// and a second message may be sent while the first is still being answered.
    void send(std::string_view text);

    /// "Clear conversation": empties the transcript, saves it, and forgets the last error.
    void clear();

    /// The model request for `text`: the provider that has a key (the persona's first), its
    /// model, the system prompt with the exchanges closest to `text`, and the last 8 turns of
    /// the transcript that are not notices, ending with `text`.
    Request plan(std::string_view text) const { return plan(store_, text, services_.key); }
    /// The same for any store, so the command line can ask one question without a conversation.
    static Request plan(const Store& store, std::string_view text, const KeyLookup& key);

    /// A model request is in flight.
    bool isThinking() const { return isThinking_; }
    /// Why the last model request failed, in the user's words; cleared by every send.
    const std::optional<std::string>& lastError() const { return lastError_; }
    /// A message was answered without a model because no key is stored.
    bool needsKey() const { return needsKey_; }

    /// Calls `observer` whenever isThinking, lastError or needsKey change.
    int observe(std::function<void()> observer);
    void unobserve(int id);

private:
    void generate(const std::string& prompt);
    void finish(const Expected<std::string, ModelError>& result);
    void burst(const std::string& reply);
    void reply(std::string text, std::optional<Timestamp> realDate);
    void note(std::string text);
    void append(Store::Turn::Speaker speaker, std::string text, std::optional<Timestamp> realDate);
    static std::vector<Exchange> hits(const Store& store, std::string_view text);
    void notify();

    Store& store_;
    CharacterAnimator& animator_;
    Scheduler& scheduler_;
    Services services_;
    UuidGenerator ids_;

    bool isThinking_ = false;
    std::optional<std::string> lastError_;
    bool needsKey_ = false;

    int nextObserverId_ = 1;
    std::vector<std::pair<int, std::function<void()>>> observers_;

    // Work scheduled for later holds this weakly: a reply or burst line that arrives after the
    // conversation is gone is dropped.
    std::shared_ptr<Conversation*> alive_;
};

/// How a model reply is delivered: its lines and the pause between them.
struct BurstPlan {
    std::vector<std::string> lines;  // at most 14, trimmed of spaces and tabs, none empty
    double gapSeconds = 0.35;
};

/// Splits `reply` at line feeds and spaces the lines by her median reply time / 120, held to
/// 0.35–1.4 s, and to 0.45 s for bursts of more than 4 lines.
BurstPlan planBurst(std::string_view reply, double medianReplySeconds);

}  // namespace lumenary
