#include "ExportGenerator.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace lumenary::ExportGenerator {
namespace {

// SplitMix64, written out rather than taken from <random>: the standard distributions differ
// between library implementations, and the benchmarks must read the same bytes everywhere.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() {
        std::uint64_t z = (state_ += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    /// Uniform in [0, 1).
    double unit() { return static_cast<double>(next() >> 11) * 0x1.0p-53; }
    /// Uniform in [0, n); the modulo bias is far below anything a benchmark could notice.
    std::size_t below(std::size_t n) { return n == 0 ? 0 : static_cast<std::size_t>(next() % n); }
    /// Uniform in [low, high].
    long between(long low, long high) {
        return low + static_cast<long>(below(static_cast<std::size_t>(high - low + 1)));
    }
    bool chance(double p) { return unit() < p; }
    template <typename Sequence>
    const auto& pickFrom(const Sequence& items) {
        return items[below(std::size(items))];
    }

private:
    std::uint64_t state_;
};

/// Words drawn with Zipf-like frequencies: the first entries are common, the tail is rare, as in
/// any real vocabulary. The shape decides how long retrieval's posting lists get.
class Lexicon {
public:
    Lexicon(std::vector<std::string> words, double exponent) : words_(std::move(words)) {
        cumulative_.reserve(words_.size());
        double total = 0;
        for (std::size_t rank = 0; rank < words_.size(); ++rank) {
            total += 1.0 / std::pow(static_cast<double>(rank) + 3.0, exponent);
            cumulative_.push_back(total);
        }
    }

    std::string_view pick(Random& random) const {
        const double x = random.unit() * cumulative_.back();
        const auto at = std::upper_bound(cumulative_.begin(), cumulative_.end(), x);
        const auto index = static_cast<std::size_t>(at - cumulative_.begin());
        return words_[std::min(index, words_.size() - 1)];
    }

private:
    std::vector<std::string> words_;
    std::vector<double> cumulative_;
};

// Roughly in order of how often they come up in a family chat.
constexpr std::string_view kCommonWords =
    "i you the to is it and ok a what me in my no of that for so are now not do have be at "
    "this on was will we can just all with go come yes how he she there time good when then "
    "if about home today eat know call one tell also did your get here see from they going "
    "want more like back still work very night morning office sleep food day fine tomorrow "
    "done why take care where after before some house him them but only said give make think "
    "already yesterday much little too well need hmm haan ya sure thanks sorry happy miss "
    "love rice curry dal tea coffee milk water doctor medicine temple bus train ticket money "
    "phone battery weather rain hot cold fever tablet hospital market vegetables chicken "
    "fish egg sweets festival pooja leave holiday weekend sunday meeting manager project "
    "deadline salary rent flat room friend wedding marriage function relatives uncle aunty "
    "cousin baby school exam news movie song video photo shirt saree shopping cooking "
    "kitchen cooker gas fridge clothes bed blanket sweater walk exercise tired busy late "
    "early hungry sick better worry tension stress stressful proud careful slowly properly "
    "again always never everyday soon later tonight evening afternoon lunch dinner breakfast "
    "tiffin snacks fruits mango juice buttermilk curd pickle ghee salt spicy tasty cook "
    "cooked ate eaten eating drink slept reached started coming went bought sent called "
    "waiting remember forgot hope pray god health family father brother sister neighbour "
    "traffic auto car price new old big small nice bad beautiful cute funny nothing "
    "something everything because yet maybe really please 2 10 5";

// Her own language spelled in English letters.
constexpr std::string_view kTeluguWords =
    "kada na ayyo tinnava bagunnava emi chestunnav jagratha sare ledu avunu chala ippudu "
    "inka enti padukko annam pappu koora baaga chusko tinu nidra ekkada intiki vellu repu "
    "ninna podi pulusu pachadi perugu neellu tondarga nenu nuvvu manchidi vaddu kavali randi";

const std::array kEndearments = {"kanna", "kanna", "kanna", "ra", "ra", "nanna", "bujji", "chinna"};
const std::array kOpenings = {
    "Good morning kanna", "Good morning",    "Hi nanna",       "Hi kanna", "Did you eat",
    "Tinnava?",           "Bagunnava",       "Emi chestunnav", "Ok ra",    "Kanna",
    "Reached?",           "Good night kanna"};
const std::array kClosings = {"take care", "ok?",        "bye ra",     "jagratha",
                              "call me",   "good night", "sleep early"};
const std::array kHerEmoji = {"🙏", "🙏",    "😊", "😊", "❤️", "😂",
                              "😂", "🥰", "👍", "🎂", "🪔",   "🤗"};
const std::array kHisEmoji = {"😂", "😂", "👍", "😊", "❤️", "🙏", "😅"};
const std::array kTeluguScript = {
    "బాగున్నావా కన్నా?", "తిన్నావా?", "జాగ్రత్త నాన్నా", "దేవుడు నిన్ను చల్లగా చూడాలి", "పుట్టినరోజు శుభాకాంక్షలు కన్నా",
    "నిద్రపో కన్నా"};
const std::array kNames = {"Lakshmi", "Suresh", "Padma", "Kiran", "Srinivas", "Anjali", "Venkat"};
const std::array kQueries = {"i haven't eaten yet",
                             "work is stressful today",
                             "how do i cook rice",
                             "i miss you",
                             "did you sleep well amma",
                             "what should i cook tonight",
                             "my manager shouted at me",
                             "got the promotion amma",
                             "feeling sick today",
                             "should i come home for sankranti",
                             "how do you make pappu",
                             "lakshmi called me today",
                             "i am so tired",
                             "reached home safely",
                             "can't sleep amma",
                             "it is raining here",
                             "had dinner with suresh",
                             "the flat is so quiet",
                             "going to the temple",
                             "fever since morning",
                             "how much water for rice",
                             "miss your food",
                             "train is late",
                             "i forgot to call",
                             "made rasam today",
                             "good morning amma",
                             "there is too much work",
                             "weekend plans",
                             "padma aunty sent sweets",
                             "what are you doing"};

std::vector<std::string> splitAtSpaces(std::string_view words) {
    std::vector<std::string> result;
    while (!words.empty()) {
        const std::size_t end = std::min(words.find(' '), words.size());
        if (end > 0)
            result.emplace_back(words.substr(0, end));
        words.remove_prefix(std::min(end + 1, words.size()));
    }
    return result;
}

/// Pronounceable made-up words for the long tail of a real vocabulary (names of places, dishes,
/// colleagues, misspellings): without them every token would be common and every search slow.
std::vector<std::string> rareWords(std::size_t count) {
    static constexpr std::array syllables = {
        "ba", "be", "bi", "cha", "chi", "da", "de", "di",  "ga", "gu", "ha", "ja",
        "ji", "ka", "ke", "ki",  "ko",  "la", "li", "lu",  "ma", "me", "mi", "mo",
        "na", "ni", "no", "pa",  "pu",  "ra", "re", "ri",  "ru", "sa", "si", "su",
        "ta", "te", "ti", "va",  "vi",  "ya", "yo", "ram", "van"};
    Random random(0x5EED0F1E7731ULL);
    std::vector<std::string> words;
    words.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::string word;
        const long parts = random.between(2, 4);
        for (long p = 0; p < parts; ++p) {
            word += random.pickFrom(syllables);
        }
        words.push_back(std::move(word));
    }
    return words;
}

struct Vocabulary {
    Lexicon common{splitAtSpaces(kCommonWords), 1.0};
    Lexicon telugu{splitAtSpaces(kTeluguWords), 0.9};
    Lexicon rare{rareWords(40000), 1.0};
};

const Vocabulary& vocabulary() {
    static const Vocabulary instance;
    return instance;
}

enum class Sender { amma, ravi, lakshmi };

std::string_view senderName(Sender sender) {
    switch (sender) {
        case Sender::amma:
            return personName;
        case Sender::ravi:
            return "Ravi";
        case Sender::lakshmi:
            return "Lakshmi";
    }
    return "Ravi";
}

/// Space words in a message: mostly a handful, a quarter a long sentence, a few real paragraphs.
std::size_t wordCount(Random& random) {
    const double bucket = random.unit();
    if (bucket < 0.30)
        return static_cast<std::size_t>(random.between(1, 3));
    if (bucket < 0.65)
        return static_cast<std::size_t>(random.between(4, 8));
    if (bucket < 0.90)
        return static_cast<std::size_t>(random.between(9, 18));
    if (bucket < 0.98)
        return static_cast<std::size_t>(random.between(19, 36));
    return static_cast<std::size_t>(random.between(41, 80));
}

void appendWords(std::string& out, Random& random, std::size_t count, Sender sender) {
    const Vocabulary& words = vocabulary();
    const double teluguShare = sender == Sender::amma ? 0.12 : 0.02;
    for (std::size_t i = 0; i < count; ++i) {
        if (!out.empty() && out.back() != '\n')
            out += ' ';
        const double source = random.unit();
        if (source < teluguShare) {
            out += words.telugu.pick(random);
        } else if (source < teluguShare + 0.10) {
            out += words.rare.pick(random);
        } else if (i > 0 && source > 0.985) {
            out += random.pickFrom(kNames);
        } else {
            out += words.common.pick(random);
        }
    }
}

void capitalise(std::string& text, std::size_t from) {
    if (from < text.size() && text[from] >= 'a' && text[from] <= 'z') {
        text[from] = static_cast<char>(text[from] - 'a' + 'A');
    }
}

void appendEmoji(std::string& out, Random& random, Sender sender) {
    const long count = random.chance(0.7) ? 1 : random.between(2, 3);
    out += ' ';
    for (long i = 0; i < count; ++i) {
        out += sender == Sender::amma ? random.pickFrom(kHerEmoji) : random.pickFrom(kHisEmoji);
    }
}

void appendLink(std::string& out, Random& random) {
    static constexpr std::string_view alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    const bool video = random.chance(0.7);
    out += video ? "https://www.youtube.com/watch?v=" : "https://maps.app.goo.gl/";
    for (int i = 0; i < (video ? 11 : 16); ++i) {
        out += alphabet[random.below(alphabet.size())];
    }
}

/// A noise line as this layout's exporter writes it; iPhone exports put a left-to-right mark
/// before system texts, which the parser must strip.
void appendSpanishNoise(std::string& out, Random& random) {
    const double kind = random.unit();
    if (kind < 0.55) {
        out += "<Multimedia omitido>";
    } else if (kind < 0.75) {
        out += "Llamada de voz perdida";
    } else if (kind < 0.85) {
        out += random.chance(0.5) ? "Voice call, " : "Video call, ";
        out += std::to_string(random.between(1, 59));
        out += " min";
    } else {
        out += "Se eliminó este mensaje";
    }
}

void appendNoise(std::string& out, Random& random, Layout layout, long entryNumber) {
    if (layout == Layout::spanish) {
        appendSpanishNoise(out, random);
        return;
    }
    const bool iphone = layout == Layout::bracketed;
    const double kind = random.unit();
    if (kind < 0.55) {
        if (!iphone) {
            out += "<Media omitted>";
        } else if (random.chance(0.5)) {
            static constexpr std::array media = {"image omitted", "video omitted", "audio omitted",
                                                 "sticker omitted", "GIF omitted"};
            out += "\u200E";
            out += random.pickFrom(media);
        } else {
            out += "\u200E<attached: ";
            const std::string number = std::to_string(10000000 + entryNumber % 90000000);
            out += number;
            out += "-PHOTO.jpg>";
        }
    } else if (kind < 0.75) {
        out += iphone ? "\u200EMissed voice call" : "Missed voice call";
    } else if (kind < 0.85) {
        out += random.chance(0.5) ? "Voice call, " : "Video call, ";
        out += std::to_string(random.between(1, 59));
        out += " min";
    } else {
        out += iphone ? "\u200EThis message was deleted." : "This message was deleted";
    }
}

void appendBody(std::string& out, Random& random, Sender sender, Layout layout, long entry) {
    const std::size_t start = out.size();
    if (random.chance(0.04)) {
        appendNoise(out, random, layout, entry);
        return;
    }
    if (sender == Sender::ravi && random.chance(0.02)) {
        if (random.chance(0.6)) {
            appendLink(out, random);  // a bare link, which the parser drops
        } else {
            out += "see this ";
            appendLink(out, random);
        }
        return;
    }
    if (sender == Sender::amma) {
        if (random.chance(0.012)) {
            out += random.pickFrom(kTeluguScript);
            return;
        }
        if (random.chance(0.10)) {
            out += random.pickFrom(kOpenings);
            if (random.chance(0.4))
                appendEmoji(out, random, sender);
            return;
        }
    }
    std::string words;
    appendWords(words, random, wordCount(random), sender);
    if (random.chance(0.55))
        capitalise(words, 0);
    out += words;
    if (sender == Sender::amma && random.chance(0.30)) {
        out += ' ';
        out += random.pickFrom(kEndearments);
    }
    if (sender == Sender::ravi && random.chance(0.12))
        out += " amma";
    if (sender == Sender::amma && random.chance(0.08)) {
        out += ", ";
        out += random.pickFrom(kClosings);
    } else if (random.chance(0.22)) {
        out += '?';
    } else if (random.chance(0.3)) {
        out += '.';
    }
    if (random.chance(sender == Sender::amma ? 0.22 : 0.10))
        appendEmoji(out, random, sender);
    if (random.chance(0.03)) {
        // A list or a second thought on the lines below: continuation lines without a header.
        const long lines = random.between(1, 3);
        for (long i = 0; i < lines; ++i) {
            out += '\n';
            std::string line;
            appendWords(line, random, static_cast<std::size_t>(random.between(2, 8)), sender);
            out += line;
        }
    }
    if (out.size() == start)
        out += "ok";
}

// Wall-clock seconds from 2016-01-01 00:00, without any time zone: the export is text, and the
// parser reads it in whatever zone the benchmark runs in.
using WallSeconds = long long;
constexpr WallSeconds kDay = 86400;
constexpr WallSeconds kSpan = 7 * 365 * kDay;

struct WallTime {
    int year, month, day, hour, minute, second;
};

// Days since 1970-01-01 to a proleptic Gregorian date (Howard Hinnant's civil_from_days).
WallTime wallTime(WallSeconds seconds) {
    constexpr long long kDaysTo2016 = 16801;
    const long long days = kDaysTo2016 + seconds / kDay;
    const long long secondOfDay = seconds % kDay;
    const long long z = days + 719468;
    const long long era = z / 146097;
    const long long dayOfEra = z - era * 146097;
    const long long yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const long long dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const long long mp = (5 * dayOfYear + 2) / 153;
    const long long day = dayOfYear - (153 * mp + 2) / 5 + 1;
    const long long month = mp < 10 ? mp + 3 : mp - 9;
    const long long year = yearOfEra + era * 400 + (month <= 2 ? 1 : 0);
    return {static_cast<int>(year),
            static_cast<int>(month),
            static_cast<int>(day),
            static_cast<int>(secondOfDay / 3600),
            static_cast<int>(secondOfDay / 60 % 60),
            static_cast<int>(secondOfDay % 60)};
}

void appendTwoDigits(std::string& out, int value) {
    out += static_cast<char>('0' + value / 10 % 10);
    out += static_cast<char>('0' + value % 10);
}

void appendHeader(std::string& out, WallSeconds when, Layout layout) {
    const WallTime t = wallTime(when);
    if (layout == Layout::bracketed) {
        out += '[';
        appendTwoDigits(out, t.day);
        out += '/';
        appendTwoDigits(out, t.month);
        out += '/';
        out += std::to_string(t.year);
        out += ", ";
        const int hour12 = t.hour % 12 == 0 ? 12 : t.hour % 12;
        out += std::to_string(hour12);
        out += ':';
        appendTwoDigits(out, t.minute);
        out += ':';
        appendTwoDigits(out, t.second);
        out += t.hour < 12 ? " AM] " : " PM] ";
    } else if (layout == Layout::dash) {
        appendTwoDigits(out, t.day);
        out += '/';
        appendTwoDigits(out, t.month);
        out += '/';
        appendTwoDigits(out, t.year % 100);
        out += ", ";
        appendTwoDigits(out, t.hour);
        out += ':';
        appendTwoDigits(out, t.minute);
        out += " - ";
    } else {
        // No comma, a 12-hour clock and the day period with dots and no-break spaces.
        out += std::to_string(t.day);
        out += '/';
        out += std::to_string(t.month);
        out += '/';
        out += std::to_string(t.year);
        out += ' ';
        out += std::to_string(t.hour % 12 == 0 ? 12 : t.hour % 12);
        out += ':';
        appendTwoDigits(out, t.minute);
        out += t.hour < 12 ? "\u202Fa.\u00A0m. - " : "\u202Fp.\u00A0m. - ";
    }
}

constexpr std::string_view kEncryptionNotice =
    "Messages and calls are end-to-end encrypted. No one outside of this chat, not even "
    "WhatsApp, can read or listen to them.";

/// Seconds of a reply: log-uniform from 15 seconds to 15 minutes, so most answers come within
/// two minutes and a few much later.
WallSeconds replyGap(Random& random) {
    return static_cast<WallSeconds>(15.0 * std::pow(60.0, random.unit()));
}

/// People do not chat between one and six at night: a session that would start then waits for
/// the morning.
WallSeconds skipNight(WallSeconds when, Random& random) {
    const WallSeconds hour = when % kDay / 3600;
    if (hour >= 1 && hour < 6)
        return when - when % kDay + 6 * 3600 + random.between(0, 7200);
    return when;
}

}  // namespace

std::string generate(std::size_t messageCount, Layout layout, std::uint64_t seed) {
    Random random(seed);
    std::string out;
    out.reserve(messageCount * 84 + 256);

    WallSeconds now = 7 * 3600 + 12 * 60 + random.between(0, 59);
    appendHeader(out, now, layout);
    if (layout == Layout::bracketed) {
        out += personName;
        out += ": \u200E";
    }
    out += kEncryptionNotice;
    out += '\n';

    constexpr double kMeanSession = 14;
    std::size_t written = 0;
    while (written < messageCount) {
        // Sessions are spread so that the export spans about seven years whatever its size.
        const double remainingSpan = static_cast<double>(std::max<WallSeconds>(kSpan - now, 0));
        const double perEntry = remainingSpan / static_cast<double>(messageCount - written);
        const double pause = std::max(300.0, perEntry * kMeanSession - kMeanSession * 150);
        now =
            skipNight(now + static_cast<WallSeconds>(pause * (0.2 + 1.6 * random.unit())), random);

        const auto sessionLength = static_cast<std::size_t>(random.between(4, 24));
        Sender speaker = random.chance(0.6) ? Sender::amma : Sender::ravi;
        std::size_t inSession = 0;
        bool firstOfSession = true;
        while (inSession < sessionLength && written < messageCount) {
            // She answers in bursts of short messages; he mostly answers once.
            const double keepGoing = speaker == Sender::amma ? 0.55 : 0.3;
            std::size_t burst = 1;
            while (burst < 6 && random.chance(keepGoing))
                ++burst;
            if (speaker == Sender::lakshmi)
                burst = 1;
            for (std::size_t i = 0;
                 i < burst && inSession < sessionLength && written < messageCount;
                 ++i, ++inSession, ++written) {
                if (!firstOfSession)
                    now += i == 0 ? replyGap(random) : random.between(3, 90);
                firstOfSession = false;
                appendHeader(out, now, layout);
                out += senderName(speaker);
                out += ": ";
                appendBody(out, random, speaker, layout, static_cast<long>(written));
                out += '\n';
            }
            if (random.chance(0.03)) {
                speaker = Sender::lakshmi;
            } else {
                speaker = speaker == Sender::amma ? Sender::ravi : Sender::amma;
            }
        }
    }
    return out;
}

std::vector<std::string> sampleQueries(std::size_t count, std::uint64_t seed) {
    Random random(seed);
    std::vector<std::string> queries;
    queries.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::string query;
        if (random.chance(0.5)) {
            query = random.pickFrom(kQueries);
            if (random.chance(0.3))
                appendWords(query, random, 1, Sender::ravi);
        } else {
            appendWords(query, random, static_cast<std::size_t>(random.between(2, 12)),
                        Sender::ravi);
        }
        queries.push_back(std::move(query));
    }
    return queries;
}

bool parseLayout(std::string_view name, Layout& layout) {
    if (name == "bracketed") {
        layout = Layout::bracketed;
        return true;
    }
    if (name == "dash") {
        layout = Layout::dash;
        return true;
    }
    if (name == "spanish") {
        layout = Layout::spanish;
        return true;
    }
    return false;
}

}  // namespace lumenary::ExportGenerator
