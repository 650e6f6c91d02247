#include "voice/VoiceWriter.h"

#include "providers/Keys.h"
#include "providers/ProviderChoice.h"
#include "text/TextRules.h"
#include "voice/PersonaBuilder.h"

namespace lumenary::VoiceWriter {

const char* const writerBrief =
    "You are helping someone build a small app that talks in the voice of a person they miss. You "
    "will read real messages that person sent, and write a description of how they talk — the "
    "description will be given to a language model as instructions.\n\n"
    "Write three short paragraphs, plain prose, no headings and no bullet points.\n\n"
    "First: how they write. Length, rhythm, punctuation, which languages and how they mix them, "
    "the words and phrases they reuse, how they address the other person.\n\n"
    "Second: what they are like. What they ask about first, what they worry about, how they give "
    "advice, how they show affection, how they react to bad news or to being ignored. Be specific "
    "and cite the kinds of thing they actually say.\n\n"
    "Third: what they talk about. Recurring subjects, people they mention, routines, anything a "
    "stranger would need to know to sound like them.\n\n"
    "Rules: write about them in the third person, as instructions to whoever will play them. Do "
    "not invent anything not evidenced in the messages. Do not soften or flatter — the point is "
    "accuracy, not a tribute. Do not mention that this is an archive, a model, or an app. Around "
    "250 words total.";

namespace {

// Her messages may hold line breaks; the sample is one line per message.
std::string flattened(const std::string& text) {
    std::string out = text;
    for (char& c : out) {
        if (c == '\n')
            c = ' ';
    }
    return out;
}

}  // namespace

bool usable(const ChatMessage& reply) {
    const std::size_t words = text::spaceWordCount(reply.text);
    return words >= 2 && words <= 60;
}

std::vector<std::size_t> spread(std::size_t poolSize, int count) {
    std::vector<std::size_t> positions;
    if (count <= 0)
        return positions;
    const auto wanted = static_cast<std::size_t>(count);
    if (wanted >= poolSize) {
        for (std::size_t i = 0; i < poolSize; ++i)
            positions.push_back(i);
        return positions;
    }
    const double step = static_cast<double>(poolSize) / static_cast<double>(count);
    positions.reserve(wanted);
    for (std::size_t i = 0; i < wanted; ++i) {
        positions.push_back(static_cast<std::size_t>(step * static_cast<double>(i)));
    }
    return positions;
}

std::vector<Exchange> stratified(const std::vector<Exchange>& exchanges, int count) {
    std::vector<const Exchange*> pool;
    for (const Exchange& exchange : exchanges) {
        if (usable(exchange.reply))
            pool.push_back(&exchange);
    }
    std::vector<Exchange> sample;
    for (std::size_t position : spread(pool.size(), count))
        sample.push_back(*pool[position]);
    return sample;
}

std::string userMessage(const Persona& persona, const std::vector<Exchange>& sample) {
    std::string transcript;
    for (const Exchange& exchange : sample) {
        if (exchange.prompt)
            transcript += "Them: " + flattened(*exchange.prompt) + "\n";
        transcript += persona.name + ": " + flattened(exchange.reply.text) + "\n\n";
    }
    const std::string card =
        PersonaBuilder::card(persona.name, persona.relationship, persona.stats);
    return "The person is " + persona.name + ", the user's " +
           text::lowercase(persona.relationship) + ".\n\nMeasured facts about their messages:\n" +
           card + "\n\nA sample of their real exchanges:\n\n" + transcript;
}

Request request(const Persona& persona, const std::vector<ChatMessage>& archive,
                const ModelClient::KeyLookup& key) {
    // Only the usable exchanges' positions are kept while choosing, so a large archive is not
    // copied to pick two hundred of its messages.
    std::vector<ExchangePosition> pool;
    forEachExchangePosition(archive, persona.speaker, [&](const ExchangePosition& position) {
        if (usable(archive[position.reply]))
            pool.push_back(position);
    });
    std::vector<Exchange> sample;
    for (std::size_t i : spread(pool.size(), sampleSize)) {
        sample.push_back(exchangeAt(archive, pool[i]));
    }

    Request request;
    request.provider = providerToCall(persona.provider, key);
    request.model = persona.model(request.provider);
    request.system = writerBrief;
    request.turns.push_back(ChatTurn{"user", userMessage(persona, sample)});
    return request;
}

Expected<std::string, ModelError> write(const Persona& persona,
                                        const std::vector<ChatMessage>& archive,
                                        const ModelClient::Options& options) {
    const ModelClient::KeyLookup key =
        options.key ? options.key : ModelClient::KeyLookup(Keys::get);
    const Request built = request(persona, archive, key);
    auto reply =
        ModelClient::complete(built.provider, built.model, built.system, built.turns, options);
    if (!reply)
        return unexpected(reply.error());
    return std::string(text::trimWhitespace(*reply));
}

}  // namespace lumenary::VoiceWriter
