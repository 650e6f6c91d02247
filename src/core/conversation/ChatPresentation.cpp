#include "conversation/ChatPresentation.h"

#include "common/LocalTime.h"
#include "text/TextRules.h"

namespace lumenary::ChatPresentation {
namespace {

// A persona saved before she was named (or with a name of only spaces) still reads as a sentence.
std::string nameOrShe(const Persona& persona) {
    const std::string_view name = text::trimWhitespace(persona.name);
    return name.empty() ? std::string("She") : std::string(name);
}

}  // namespace

std::string windowTitle(const Persona& persona) {
    const std::string_view name = text::trimWhitespace(persona.name);
    return name.empty() ? std::string("Lumenary") : std::string(name);
}

Banners banners(const Persona& persona, bool anyKey, const std::optional<std::string>& lastError) {
    Banners shown;
    if (!anyKey) {
        shown.key =
            KeyBanner{nameOrShe(persona) + " can only repeat old messages right now.",
                      "Add an API key and she'll talk properly, in her own voice.", "Add a key"};
    }
    if (lastError) {
        shown.error = ErrorBanner{nameOrShe(persona) + " couldn't answer.", *lastError, "Settings"};
    }
    return shown;
}

BubbleKind bubbleKind(const Store::Turn& turn) {
    switch (turn.speaker) {
        case Store::Turn::Speaker::me:
            return BubbleKind::mine;
        case Store::Turn::Speaker::her:
            return turn.realDate ? BubbleKind::herReal : BubbleKind::hers;
        case Store::Turn::Speaker::notice:
            return BubbleKind::notice;
    }
    return BubbleKind::notice;
}

std::optional<std::string> realMessageCaption(const Store::Turn& turn) {
    if (!turn.realDate)
        return std::nullopt;
    return "Real message · " +
           LocalTime::format(*turn.realDate, LocalTime::DateStyle::abbreviatedWithShortTime);
}

EmptyState emptyState(const Persona& persona, bool indexed) {
    EmptyState state{"Say something to her.", ""};
    if (indexed) {
        state.detail = nameOrShe(persona) + " will answer with things she really wrote — " +
                       std::to_string(persona.stats.messageCount) + " messages are indexed.";
    } else {
        state.detail =
            "No archive yet. Import a WhatsApp export in Settings and she'll sound like herself.";
    }
    return state;
}

std::string composerPlaceholder(const Persona& persona) {
    const std::string_view name = text::trimWhitespace(persona.name);
    return "Message " + (name.empty() ? std::string("her") : std::string(name)) + "…";
}

bool canSend(std::string_view draft) {
    return !text::trimSpacesAndTabs(draft).empty();
}

bool canClear(const std::vector<Store::Turn>& transcript) {
    return !transcript.empty();
}

bool scrollsToNewest(std::size_t before, std::size_t after) {
    return after != before && after > 0;
}

void setHerWordsOnly(Store& store, bool on) {
    if (store.persona().herWordsOnly != on) {
        Persona persona = store.persona();
        persona.herWordsOnly = on;
        store.setPersona(std::move(persona));
    }
    store.save();
}

}  // namespace lumenary::ChatPresentation
