#include "store/Store.h"

#include <cstdio>
#include <utility>

#include "importer/WhatsAppParser.h"
#include "voice/FewShot.h"
#include "voice/PersonaBuilder.h"

namespace lumenary {
namespace {

constexpr int kBankSize = 30;

// Cards written by earlier versions of the application carried this sentence; a card with it is
// the application's, not the user's.
constexpr std::string_view kMachineCardMarker = "Answer the way she would";

}  // namespace

Store::Store(std::filesystem::path folder, Options options)
    : folder_(std::move(folder)), options_(std::move(options)) {
    if (!options_.print) {
        options_.print = [](const std::string& line) {
            std::fputs(line.c_str(), stdout);
            std::fputc('\n', stdout);
            std::fflush(stdout);
        };
    }
    if (!options_.clock)
        options_.clock = [] { return now(); };
    std::error_code ignored;
    std::filesystem::create_directories(folder_, ignored);
    load();
}

void Store::setPersona(Persona persona) {
    const bool newSpeaker = persona.speaker != persona_.speaker;
    persona_ = std::move(persona);
    notify(Change::persona);
    if (newSpeaker)
        rebuildIndex();
}

void Store::appendTurn(Turn turn) {
    transcript_.push_back(std::move(turn));
    notify(Change::transcript);
}

void Store::setTranscript(std::vector<Turn> transcript) {
    transcript_ = std::move(transcript);
    notify(Change::transcript);
}

int Store::observe(Observer observer) {
    const int observation = nextObservation_++;
    observers_.emplace(observation, std::move(observer));
    return observation;
}

void Store::unobserve(int observation) {
    observers_.erase(observation);
}

void Store::notify(Change change) {
    // An observer may unobserve itself or others while being told; walk a snapshot of the keys
    // and skip any that went.
    std::vector<int> observations;
    observations.reserve(observers_.size());
    for (const auto& [observation, observer] : observers_)
        observations.push_back(observation);
    for (const int observation : observations) {
        const auto found = observers_.find(observation);
        if (found != observers_.end())
            found->second(change);
    }
}

void Store::load() {
    loadPersona();
    loadMessages();
    loadTranscript();
    rebuildIndex();
    migrate();
}

void Store::adopt(std::vector<ChatMessage> messages, std::string speaker) {
    replaceMessages(std::move(messages));
    Persona adopted = persona_;
    adopted.speaker = std::move(speaker);
    adopted.stats = PersonaBuilder::stats(adopted.speaker, messages_);
    adopted.endearments = adopted.stats.vocatives;
    adopted.fewShot = FewShot::mine(messages_, adopted.speaker, kBankSize);
    adopted.card = PersonaBuilder::card(adopted.name, adopted.relationship, adopted.stats);
    persona_ = std::move(adopted);
    notify(Change::persona);
    rebuildIndex();
    save();
}

void Store::eraseEverything() {
    for (const File file : {File::persona, File::messages, File::transcript}) {
        std::error_code error;
        std::filesystem::remove(pathOf(file), error);
        if (error) {
            // Still there: what it holds is no longer what memory will hold, so the next save
            // writes the empty value over it, as the user asked.
            onDisk(file) = OnDisk{};
        } else {
            noteAbsent(file);
        }
    }
    index_.reset();
    persona_ = Persona{};
    replaceMessages({});
    transcript_.clear();
    notify(Change::persona);
    notify(Change::index);
    notify(Change::transcript);
}

void Store::replaceMessages(std::vector<ChatMessage> messages) {
    // The index refers to the old list; it must not outlive it.
    const bool hadIndex = index_ != nullptr;
    index_.reset();
    messages_ = std::move(messages);
    messagesRevision_ = messages_.empty() ? 0 : ++lastRevision_;
    notify(Change::messages);
    if (hadIndex)
        notify(Change::index);
}

void Store::rebuildIndex() {
    // Freed first: two indexes of a large archive at once would double the peak.
    index_.reset();
    if (!messages_.empty() && !persona_.speaker.empty())
        index_ = std::make_unique<RetrievalIndex>(messages_, persona_.speaker);
    notify(Change::index);
}

void Store::migrate() {
    if (persona_.speaker.empty() || messages_.empty())
        return;
    const std::size_t total = messages_.size();
    std::size_t noise = 0;
    for (const ChatMessage& message : messages_)
        noise += WhatsAppParser::isNoise(message.text) ? 1 : 0;

    bool changed = false;
    if (noise > 0) {
        // The archive may be the only record of her left: it is filtered only once a copy of it
        // as it was is safely on disk, and never when the rules would drop half of it or more.
        const bool backedUp = backupMessages();
        if (2 * (total - noise) <= total) {
            options_.print("Noise filter wanted to drop " + std::to_string(noise) + " of " +
                           std::to_string(total) +
                           " messages; refusing and leaving the archive alone.");
            return;
        }
        if (backedUp) {
            filterNoise(total - noise);
            changed = true;
        }
    }
    if (persona_.fewShot.empty()) {
        persona_.fewShot = FewShot::mine(messages_, persona_.speaker, kBankSize);
        if (!persona_.fewShot.empty()) {
            notify(Change::persona);
            changed = true;
        }
    }
    if (changed)
        save();
}

void Store::filterNoise(std::size_t keptCount) {
    std::vector<ChatMessage> kept;
    kept.reserve(keptCount);
    for (ChatMessage& message : messages_) {
        if (!WhatsAppParser::isNoise(message.text))
            kept.push_back(std::move(message));
    }
    replaceMessages(std::move(kept));
    Persona filtered = persona_;
    filtered.stats = PersonaBuilder::stats(filtered.speaker, messages_);
    filtered.endearments = filtered.stats.vocatives;
    filtered.fewShot = FewShot::mine(messages_, filtered.speaker, kBankSize);
    if (isMachineCard(filtered.card, persona_.stats))
        filtered.card = PersonaBuilder::card(filtered.name, filtered.relationship, filtered.stats);
    persona_ = std::move(filtered);
    notify(Change::persona);
    rebuildIndex();
}

bool Store::isMachineCard(const std::string& card,
                          const PersonaStats& statsItWasWrittenFrom) const {
    // Current cards carry no marker, but one the user has not touched is exactly what the card
    // writer makes of the statistics it was written from.
    return card.empty() || card.find(kMachineCardMarker) != std::string::npos ||
           card ==
               PersonaBuilder::card(persona_.name, persona_.relationship, statsItWasWrittenFrom);
}

}  // namespace lumenary
