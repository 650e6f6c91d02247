#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "common/LocalTime.h"
#include "text/TextRules.h"
#include "voice/CountingTable.h"
#include "voice/PersonaBuilder.h"
#include "voice/VocabularyCounting.h"

namespace lumenary::PersonaBuilder {
namespace {

constexpr std::size_t kMaxTopEmoji = 6;
constexpr std::size_t kMaxOpenings = 6;
constexpr std::size_t kMaxClosings = 5;
// One use of a first or last word is an accident; two start to be a habit.
constexpr long long kMinimumHabit = 2;
// A first or last word of one character ("a", "k") says nothing about how she opens or closes.
constexpr std::size_t kMinEdgeWordCharacters = 2;
// Replies quicker than this are the same minute in an export without seconds; slower ones are a
// new conversation rather than an answer.
constexpr double kLongestReplySeconds = 3600;

struct ScriptRange {
    char32_t first, last;
    const char* label;
};
// Tested in this order; the first match decides. Everything else (emoji included) is "other",
// which is never reported.
constexpr std::array<ScriptRange, 8> kScriptRanges = {{
    {0x0C00, 0x0C7F, "Telugu"},
    {0x0900, 0x097F, "Devanagari"},
    {0x0B80, 0x0BFF, "Tamil"},
    {0x0C80, 0x0CFF, "Kannada"},
    {0x0D00, 0x0D7F, "Malayalam"},
    {0x0A80, 0x0AFF, "Gujarati"},
    {0x0980, 0x09FF, "Bengali"},
    {0x0041, 0x007A, "Latin"},  // the ASCII letters and the six signs between "Z" and "a"
}};
constexpr std::size_t kNoScript = kScriptRanges.size();

std::size_t scriptOf(char32_t c) {
    for (std::size_t i = 0; i < kScriptRanges.size(); ++i) {
        if (c >= kScriptRanges[i].first && c <= kScriptRanges[i].last)
            return i;
    }
    return kNoScript;
}

bool isSentencePunctuation(std::string_view character) {
    return character == "." || character == "!" || character == "?" || character == ",";
}

// True when no ASCII character can join a neighbour into one user-perceived character (none is a
// prepended sign, an extending mark or a joiner), read from ICU once.
bool asciiNeverJoins() {
    static const bool never = [] {
        for (UChar32 c = 0; c < 0x80; ++c) {
            switch (u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK)) {
                case U_GCB_PREPEND:
                case U_GCB_EXTEND:
                case U_GCB_SPACING_MARK:
                case U_GCB_ZWJ:
                    return false;
                default:
                    break;
            }
        }
        return true;
    }();
    return never;
}

bool isSentencePunctuationByte(char c) {
    return c == '.' || c == '!' || c == '?' || c == ',';
}

// True when no character of `s` is one of . ! ? , — a byte search settles almost every message.
// A mark can make "." part of a larger character (".́"), but only a non-ASCII neighbour can be
// such a mark, so a sign between ASCII bytes settles it too; only the rest is cut into characters.
bool lacksSentencePunctuation(std::string_view s) {
    bool undecided = false;
    for (std::size_t i = 0; i < s.size(); ++i) {
        if (!isSentencePunctuationByte(s[i]))
            continue;
        const bool asciiBefore = i == 0 || static_cast<unsigned char>(s[i - 1]) < 0x80;
        const bool asciiAfter = i + 1 == s.size() || static_cast<unsigned char>(s[i + 1]) < 0x80;
        if (asciiBefore && asciiAfter && asciiNeverJoins())
            return false;
        undecided = true;
    }
    if (!undecided)
        return true;
    const std::vector<std::string_view> characters = text::characters(s);
    return std::none_of(characters.begin(), characters.end(), isSentencePunctuation);
}

std::vector<std::string> firstKeys(const CountingTable& table, std::size_t limit) {
    const auto ranked = text::rankByCount(table);
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < std::min(limit, ranked.size()); ++i)
        keys.push_back(ranked[i].first);
    return keys;
}

// What the code-point walk of one message found.
struct CodePointScan {
    bool emoji = false;
};

// Most text is ASCII: the emoji test and the script of each ASCII code point are looked up once.
struct AsciiFacts {
    bool emoji = false;
    std::size_t script = kNoScript;
};
const std::array<AsciiFacts, 128>& asciiFacts() {
    static const std::array<AsciiFacts, 128> facts = [] {
        std::array<AsciiFacts, 128> table{};
        for (char32_t c = 0; c < 128; ++c)
            table[c] = {text::isEmojiCodePoint(c), scriptOf(c)};
        return table;
    }();
    return facts;
}

// Walks the code points of `s` with ICU's decoder (no allocation per message), counting emoji and
// marking the scripts seen. Invalid bytes decode as U+FFFD, which is neither.
CodePointScan scanCodePoints(std::string_view s, CountingTable& emoji,
                             std::array<bool, kScriptRanges.size() + 1>& scriptsSeen) {
    const auto& ascii = asciiFacts();
    static const bool asciiHoldsEmoji =
        std::any_of(ascii.begin(), ascii.end(), [](const AsciiFacts& f) { return f.emoji; });
    static const std::vector<std::size_t> asciiScripts = [&ascii] {
        std::vector<std::size_t> scripts;
        for (const AsciiFacts& f : ascii) {
            if (std::find(scripts.begin(), scripts.end(), f.script) == scripts.end()) {
                scripts.push_back(f.script);
            }
        }
        return scripts;
    }();
    // Once every script an ASCII character can show has been seen, ASCII text has nothing more
    // to tell, and the walk only looks for the next non-ASCII byte.
    const bool asciiSettled =
        !asciiHoldsEmoji && std::all_of(asciiScripts.begin(), asciiScripts.end(),
                                        [&](std::size_t script) { return scriptsSeen[script]; });
    CodePointScan scan;
    const auto* bytes = reinterpret_cast<const uint8_t*>(s.data());
    const auto length = static_cast<int32_t>(s.size());
    int32_t i = 0;
    while (i < length) {
        if (bytes[i] < 0x80) {
            if (!asciiSettled) {
                const AsciiFacts& facts = ascii[bytes[i]];
                scriptsSeen[facts.script] = true;
                if (facts.emoji) {
                    emoji.add(s.substr(static_cast<std::size_t>(i), 1));
                    scan.emoji = true;
                }
            }
            ++i;
            continue;
        }
        const int32_t start = i;
        UChar32 c = 0;
        U8_NEXT(bytes, i, length, c);
        const auto codePoint = static_cast<char32_t>(c < 0 ? 0xFFFD : c);
        scriptsSeen[scriptOf(codePoint)] = true;
        if (text::isEmojiCodePoint(codePoint)) {
            // A valid code point's text is its own bytes.
            emoji.add(
                s.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start)));
            scan.emoji = true;
        }
    }
    return scan;
}

void addEdgeWord(std::string_view word, CountingTable& table, std::string& lower) {
    // Measured before lowercasing and trimming, so "!!" counts under the empty text.
    if (text::characterCount(word) < kMinEdgeWordCharacters)
        return;
    text::lowercase(word, lower);
    table.add(text::trimPunctuation(lower));
}

// Reply times and bursts over the whole archive. A reply is her message after someone else's; a
// burst is the number of her messages in a row, recorded when her next reply starts. The first
// message is never a reply, so a run of hers that opens the archive counts one short, and the run
// still open at the end is never recorded.
struct Rhythm {
    double medianReplySeconds = 0;
    double averageBurst = 1.0;
};

Rhythm measureRhythm(const std::string& name, const std::vector<ChatMessage>& messages) {
    Rhythm rhythm;
    std::vector<double> replySeconds;
    long long burstSum = 0, burstCount = 0, run = 0;
    for (std::size_t i = 1; i < messages.size(); ++i) {
        if (messages[i].sender != name)
            continue;
        if (messages[i - 1].sender == name) {
            ++run;
            continue;
        }
        const double seconds = messages[i].date - messages[i - 1].date;
        if (seconds > 0 && seconds < kLongestReplySeconds)
            replySeconds.push_back(seconds);
        if (run > 0) {
            burstSum += run;
            ++burstCount;
        }
        run = 1;
    }
    if (!replySeconds.empty()) {
        // The upper median for an even count: the element at count / 2 once sorted.
        const auto middle =
            replySeconds.begin() + static_cast<std::ptrdiff_t>(replySeconds.size() / 2);
        std::nth_element(replySeconds.begin(), middle, replySeconds.end());
        rhythm.medianReplySeconds = *middle;
    }
    if (burstCount > 0) {
        rhythm.averageBurst = static_cast<double>(burstSum) / static_cast<double>(burstCount);
    }
    return rhythm;
}

// Her recurring phrases, the other side's topic tally and her rhythm: about half of the work, so
// it gets a thread of its own.
struct Background {
    std::vector<std::string> phrases;
    CountingTable otherTopics;
    Rhythm rhythm;
};

Background measureInBackground(const std::string& name, const HerMessages& her,
                               const std::vector<ChatMessage>& messages) {
    Background measured;
    {
        // The counter holds every token and pair of her messages (tens of megabytes on a large
        // archive), so it is gone before the other side's tally starts allocating.
        VocabularyCounting::PhraseCounter phrases;
        // Reused for every message, so the loop allocates only for what it has not seen before.
        std::vector<std::string_view> tokens;
        std::string lower;
        for (const ChatMessage* message : her) {
            text::lowercase(message->text, lower);
            text::letterOrNumberRuns(lower, tokens);
            phrases.add(tokens);
        }
        measured.phrases = VocabularyCounting::rankPhrases(phrases);
    }
    measured.otherTopics =
        VocabularyCounting::topicTally(VocabularyCounting::otherSide(her, messages));
    measured.rhythm = measureRhythm(name, messages);
    return measured;
}

// Everything else read from her messages: lengths, emoji, scripts, punctuation, openings,
// closings, hours, endearments and the people she names. Gives her side of the topic tally.
CountingTable measureWriting(const HerMessages& her, PersonaStats& result) {
    long long totalWords = 0;
    long long emojiMessages = 0, questions = 0, unpunctuated = 0;
    CountingTable emoji, openings, closings, people, vocatives, topics;
    std::array<bool, kScriptRanges.size() + 1> scriptsSeen{};
    // Reused for every message, so the loop allocates only for what it has not seen before.
    std::vector<std::string_view> words, letterRuns;
    std::string lower;
    for (const ChatMessage* message : her) {
        const std::string& body = message->text;
        text::spaceWords(body, words);
        const auto wordCount = static_cast<long long>(words.size());
        totalWords += wordCount;
        result.longestWords = std::max(result.longestWords, wordCount);

        const CodePointScan scan = scanCodePoints(body, emoji, scriptsSeen);
        if (scan.emoji)
            ++emojiMessages;
        if (body.find('?') != std::string::npos)
            ++questions;
        if (lacksSentencePunctuation(body))
            ++unpunctuated;

        if (!words.empty())
            addEdgeWord(words.front(), openings, lower);
        if (words.size() >= 2)
            addEdgeWord(words.back(), closings, lower);
        VocabularyCounting::countPeople(words, people);

        const int hour = LocalTime::civil(message->date).hour;
        if (hour >= 0 && hour < static_cast<int>(result.hourHistogram.size())) {
            ++result.hourHistogram[static_cast<std::size_t>(hour)];
        }

        text::lowercase(body, lower);
        text::letterRuns(lower, letterRuns);
        VocabularyCounting::countVocatives(letterRuns, vocatives);
        VocabularyCounting::tallyTopicWords(letterRuns, topics);
    }

    const auto count = static_cast<double>(result.messageCount);
    result.averageWords = static_cast<double>(totalWords) / count;
    result.topEmoji = firstKeys(emoji, kMaxTopEmoji);
    result.emojiRate = static_cast<double>(emojiMessages) / count;
    result.questionRatio = static_cast<double>(questions) / count;
    result.noPunctuationRatio = static_cast<double>(unpunctuated) / count;
    result.commonOpenings = firstKeys(openings.keepingAtLeast(kMinimumHabit), kMaxOpenings);
    result.commonClosings = firstKeys(closings.keepingAtLeast(kMinimumHabit), kMaxClosings);
    for (std::size_t i = 0; i < kScriptRanges.size(); ++i) {
        if (scriptsSeen[i])
            result.scripts.emplace_back(kScriptRanges[i].label);
    }
    std::sort(result.scripts.begin(), result.scripts.end());
    result.peopleNamed = VocabularyCounting::rankPeople(people);
    result.vocatives = VocabularyCounting::rankVocatives(vocatives);
    return topics;
}

}  // namespace

PersonaStats stats(const std::string& name, const std::vector<ChatMessage>& messages) {
    HerMessages her;
    for (const ChatMessage& message : messages) {
        if (message.sender == name)
            her.push_back(&message);
    }
    PersonaStats result;
    if (her.empty())
        return result;

    result.messageCount = static_cast<long long>(her.size());
    result.firstDate = messages.front().date;
    result.lastDate = messages.back().date;

    // The two parts of the work only read the archive and fill separate tables, so one runs
    // beside the other: on a two-core machine that nearly halves the time for a long archive. An
    // exception (out of memory) reaches the caller through the future; when no thread can be
    // started, the work runs here at get().
    std::future<Background> background;
    try {
        background = std::async(std::launch::async, measureInBackground, std::cref(name),
                                std::cref(her), std::cref(messages));
    } catch (const std::system_error&) {
        background = std::async(std::launch::deferred, measureInBackground, std::cref(name),
                                std::cref(her), std::cref(messages));
    }
    const CountingTable herTopics = measureWriting(her, result);
    Background measured = background.get();
    result.signaturePhrases = std::move(measured.phrases);
    result.topics = VocabularyCounting::rankTopics(herTopics, measured.otherTopics);
    result.medianReplySeconds = measured.rhythm.medianReplySeconds;
    result.averageBurst = measured.rhythm.averageBurst;
    return result;
}

}  // namespace lumenary::PersonaBuilder
