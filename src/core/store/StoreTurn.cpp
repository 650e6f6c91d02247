#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>

#include "common/JsonFields.h"
#include "store/JsonText.h"
#include "store/Store.h"
#include "store/TranscriptJson.h"

namespace lumenary {
namespace {

using Json = nlohmann::ordered_json;
using Speaker = Store::Turn::Speaker;

constexpr std::array<Speaker, 3> kSpeakers = {Speaker::me, Speaker::her, Speaker::notice};

// Texts of the application's own notices. Older versions put them on her side of the
// conversation, where they read as if she had said them.
constexpr std::array<std::string_view, 3> kNoticePhrases = {
    "Turn off Her words only",
    "Bring our chats across and I'll sound more like myself",
    "I don't have anything of my own to say to that one",
};

icu::UnicodeString folded(std::string_view text) {
    icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    unicode.foldCase(U_FOLD_CASE_DEFAULT);
    return unicode;
}

bool quotesNotice(std::string_view text) {
    static const std::array<icu::UnicodeString, 3> phrases = [] {
        std::array<icu::UnicodeString, 3> all;
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = folded(kNoticePhrases[i]);
        return all;
    }();
    const icu::UnicodeString foldedText = folded(text);
    for (const icu::UnicodeString& phrase : phrases) {
        if (foldedText.indexOf(phrase) >= 0)
            return true;
    }
    return false;
}

}  // namespace

std::string_view rawValue(Speaker speaker) {
    switch (speaker) {
        case Speaker::me:
            return "me";
        case Speaker::her:
            return "her";
        case Speaker::notice:
            return "notice";
    }
    return "me";
}

std::vector<Store::Turn> Store::reclassify(std::vector<Turn> turns) {
    for (Turn& turn : turns) {
        if (turn.speaker == Speaker::her && quotesNotice(turn.text))
            turn.speaker = Speaker::notice;
    }
    return turns;
}

void to_json(Json& json, const Store::Turn& turn) {
    json = Json::object();
    json["id"] = turn.id.text();
    json["speaker"] = rawValue(turn.speaker);
    json["text"] = turn.text;
    if (turn.realDate)
        json["realDate"] = LocalTime::isoUtc(*turn.realDate);
}

void from_json(const Json& json, Store::Turn& turn) {
    Store::Turn read;
    const std::string id = jsonfields::text(json, "id");
    const std::optional<Uuid> parsedId = Uuid::parse(id);
    if (!parsedId)
        throw Json::other_error::create(501, "turn id \"" + id + "\" is not a UUID", &json);
    read.id = *parsedId;
    const std::string speaker = jsonfields::text(json, "speaker");
    const auto known = std::find_if(kSpeakers.begin(), kSpeakers.end(),
                                    [&](Speaker s) { return rawValue(s) == speaker; });
    if (known == kSpeakers.end())
        throw Json::other_error::create(501, "unknown speaker \"" + speaker + "\"", &json);
    read.speaker = *known;
    read.text = jsonfields::text(json, "text");
    const auto date = json.find("realDate");
    if (date != json.end() && !date->is_null()) {
        const std::string text = date->get<std::string>();
        read.realDate = LocalTime::parseIsoUtc(text);
        if (!read.realDate)
            throw Json::other_error::create(501, "turn date \"" + text + "\" does not read", &json);
    }
    turn = std::move(read);
}

std::string TranscriptJson::encode(const std::vector<Store::Turn>& turns) {
    if (turns.empty())
        return "[]";
    std::string text = "[\n";
    for (std::size_t i = 0; i < turns.size(); ++i) {
        const Store::Turn& turn = turns[i];
        text += "  {\n    \"id\": \"";
        text += turn.id.text();
        text += "\",\n    \"speaker\": \"";
        text += rawValue(turn.speaker);
        text += "\",\n    \"text\": ";
        JsonText::appendString(text, turn.text);
        if (turn.realDate) {
            text += ",\n    \"realDate\": \"";
            text += LocalTime::isoUtc(*turn.realDate);
            text += '"';
        }
        text += i + 1 < turns.size() ? "\n  },\n" : "\n  }\n]";
    }
    return text;
}

}  // namespace lumenary
