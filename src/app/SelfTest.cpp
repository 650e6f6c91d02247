#include "SelfTest.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <vector>

#include "importer/ArchiveImporter.h"
#include "retrieval/RetrievalIndex.h"
#include "text/TextRules.h"
#include "voice/FewShot.h"
#include "voice/PersonaBuilder.h"

namespace lumenary::SelfTest {
namespace {

constexpr int kBankSize = 30;
constexpr std::size_t kExchangesShown = 8;
constexpr int kHitsPerQuery = 3;
constexpr std::size_t kOnThisDayShown = 3;

// Each label is padded to 18 characters so the values line up in a column.
constexpr const char* kLabelIndent = "                  ";

std::string expandTilde(const std::string& path) {
    if (path.empty() || path[0] != '~') return path;
    if (path.size() > 1 && path[1] != '/') return path;  // "~ravi/x" names another user's home
    const char* home = std::getenv("HOME");
    return std::string(home != nullptr ? home : "") + path.substr(1);
}

std::string oneDecimal(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.1f", value);
    return buffer;
}

std::string join(const std::vector<std::string>& items, const std::string& separator) {
    std::string joined;
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (i > 0) joined += separator;
        joined += items[i];
    }
    return joined;
}

void printArchive(const ArchiveImporter::Result& result, std::ostream& out) {
    rule("ARCHIVE", out);
    out << "Messages parsed   " << result.messages.size() << '\n';
    out << "Voice notes       " << result.voiceNotes << '\n';
    std::vector<std::string> participants;
    for (const auto& sender : result.senders) {
        participants.push_back(sender.name + " (" + std::to_string(sender.count) + ")");
    }
    out << "Participants      " << join(participants, ", ") << '\n';
}

void printReadingAs(const ArchiveImporter::Result& result, const std::string& speaker,
                    bool hinted, std::ostream& out) {
    out << "Reading as        " << speaker;
    if (!hinted) out << "   (a guess \u2014 pass --as <name> to be sure)";
    out << '\n';
    if (hinted || result.senders.size() < 2) return;
    std::vector<std::string> others;
    for (const auto& sender : result.senders) {
        if (sender.name != speaker) others.push_back(sender.name);
    }
    if (others.empty()) return;
    out << kLabelIndent << "(not " << join(others, " or ") << "? re-run with --as \""
        << others.front() << "\")\n";
}

void printStatistics(const PersonaStats& stats, std::ostream& out) {
    rule("STATISTICS  (pass 1, no model)", out);
    out << "Her messages      " << stats.messageCount << '\n';
    out << "Average length    " << oneDecimal(stats.averageWords) << " words\n";
    out << "Span              " << stats.yearsSpan() << '\n';
    out << "Writes most at    " << stats.peakHour() << ":00\n";
    out << "Median reply      " << static_cast<long long>(stats.medianReplySeconds) << "s\n";
    out << "Average burst     " << oneDecimal(stats.averageBurst) << " messages\n";
    out << "Top emoji         " << join(stats.topEmoji, " ") << '\n';
    out << "Calls you         " << join(stats.vocatives, ", ") << '\n';
    out << "Opens with        " << join(stats.commonOpenings, ", ") << '\n';
}

void printBank(const std::vector<Exchange>& bank, const std::string& speaker, std::ostream& out) {
    rule("FEW-SHOT BANK  (" + std::to_string(bank.size()) + " exchanges, in every prompt)", out);
    for (std::size_t i = 0; i < std::min(bank.size(), kExchangesShown); ++i) {
        if (bank[i].prompt) out << "  Them: " << *bank[i].prompt << '\n';
        out << "  " << speaker << ": " << bank[i].reply.text << '\n';
        out << '\n';
    }
    if (bank.size() > kExchangesShown) {
        out << "  \u2026 and " << bank.size() - kExchangesShown << " more\n";
    }
}

void printRetrieval(const RetrievalIndex& index, const std::optional<std::string>& query,
                    std::ostream& out) {
    rule("RETRIEVAL  (" + std::to_string(index.exchangeCount()) + " exchanges indexed)", out);
    const std::vector<std::string> queries =
        query ? std::vector<std::string>{*query}
              : std::vector<std::string>{"i haven't eaten yet", "work is stressful today",
                                         "how do i cook rice", "i miss you"};
    for (const auto& q : queries) {
        out << "\nYou: " << q << '\n';
        const std::vector<Exchange> hits = index.search(q, kHitsPerQuery);
        if (hits.empty()) {
            out << "  (nothing matched \u2014 she would say so rather than invent)\n";
        }
        for (std::size_t i = 0; i < hits.size(); ++i) {
            out << "  " << (i == 0 ? "\u2192" : " ") << ' ' << hits[i].reply.text << '\n';
            out << "     real, "
                << LocalTime::format(hits[i].reply.date, LocalTime::DateStyle::abbreviatedWithShortTime)
                << '\n';
        }
    }
}

void printOnThisDay(const RetrievalIndex& index, Timestamp today, std::ostream& out) {
    rule("ON THIS DAY", out);
    const std::vector<ChatMessage> memories = index.onThisDay(today);
    if (memories.empty()) {
        out << "Nothing from her on this date in earlier years.\n";
        return;
    }
    for (std::size_t i = 0; i < std::min(memories.size(), kOnThisDayShown); ++i) {
        out << "\u2022 " << memories[i].text << '\n';
        out << "  " << LocalTime::format(memories[i].date, LocalTime::DateStyle::longWithShortTime)
            << '\n';
    }
}

}  // namespace

void rule(const std::string& title, std::ostream& out) {
    const std::size_t width = std::max<std::size_t>(20, text::characterCount(title));
    out << '\n' << title << '\n';
    for (std::size_t i = 0; i < width; ++i) out << "\u2500";
    out << '\n';
}

int run(const std::string& path, const std::optional<std::string>& speakerHint,
        const std::optional<std::string>& query, std::ostream& out, Timestamp today) {
    const std::string expanded = expandTilde(path);
    std::error_code error;
    if (!std::filesystem::exists(expanded, error)) {
        out << "No file at " << expanded << '\n';
        return 1;
    }

    auto imported = ArchiveImporter::load(expanded);
    if (!imported) {
        out << "Import failed: " << imported.error().description() << '\n';
        return 1;
    }
    const ArchiveImporter::Result& result = *imported;

    printArchive(result, out);
    if (result.messages.empty()) {
        out << "\nNothing parsed. If this is a real export, the format may have changed \u2014\n";
        out << "send the first three lines of _chat.txt so the parser can be updated.\n";
        return 1;
    }

    const std::string speaker = ArchiveImporter::suggestSpeaker(result.senders, speakerHint)
                                    .value_or(result.senders.front().name);
    printReadingAs(result, speaker, speakerHint.has_value(), out);

    const PersonaStats stats = PersonaBuilder::stats(speaker, result.messages);
    printStatistics(stats, out);

    rule("VOICE CARD  (what goes into the prompt)", out);
    out << PersonaBuilder::card(speaker, "Mother", stats) << '\n';

    printBank(FewShot::mine(result.messages, speaker, kBankSize), speaker, out);

    const RetrievalIndex index(result.messages, speaker);
    printRetrieval(index, query, out);
    printOnThisDay(index, today, out);

    out << '\n';
    out.flush();
    return 0;
}

}  // namespace lumenary::SelfTest
