#pragma once
// Has a language model read an even sample of her real exchanges and describe how she talks; the
// description then takes the measured card's place in every prompt. Onboarding and Settings both
// call `write` the same way.

#include <optional>
#include <string>
#include <vector>

#include "common/Expected.h"
#include "importer/ChatMessage.h"
#include "providers/ModelClient.h"
#include "store/Persona.h"
#include "voice/Exchange.h"

namespace lumenary::VoiceWriter {

/// The brief the model gets as its system text.
extern const char* const writerBrief;

/// How many exchanges the model reads.
inline constexpr int sampleSize = 200;

/// Whether an exchange may be sampled: its reply has 2 to 60 space words.
bool usable(const ChatMessage& reply);

/// `count` positions spread evenly over a pool of `poolSize`, oldest first: position
/// floor(poolSize / count × i) for each i below count; the whole pool when it is not larger than
/// `count`, nothing for a count of 0 or less.
std::vector<std::size_t> spread(std::size_t poolSize, int count);

/// The usable exchanges of `exchanges`, thinned to `count` by `spread`.
std::vector<Exchange> stratified(const std::vector<Exchange>& exchanges, int count);

/// The one user message of the request: who she is, her measured card made afresh, and the
/// sampled exchanges as "Them: …" / "<name>: …" lines with line breaks flattened.
std::string userMessage(const Persona& persona, const std::vector<Exchange>& sample);

/// The request as sent: the persona's provider when it has a key, else the first provider that
/// has one (the call then fails with noKey when none has), its model, the brief and the message.
struct Request {
    Provider provider = Provider::claude;
    std::string model;
    std::string system;
    std::vector<ChatTurn> turns;
};
Request request(const Persona& persona, const std::vector<ChatMessage>& archive,
                const ModelClient::KeyLookup& key);

/// Sends `request(…)` and gives the model's description trimmed of white space and line breaks,
/// ready to become the persona's card. Blocks: run it off the GUI thread.
Expected<std::string, ModelError> write(const Persona& persona,
                                        const std::vector<ChatMessage>& archive,
                                        const ModelClient::Options& options = {});

}  // namespace lumenary::VoiceWriter
