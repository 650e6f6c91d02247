#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zip.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "TestSupport.h"
#include "importer/ArchiveImporter.h"
#include "importer/WhatsAppParser.h"

namespace lumenary {
namespace {

using ArchiveImporter::ImportError;
using ArchiveImporter::SenderCount;
using ::testing::ElementsAre;
using testing::TemporaryFolder;
using testing::testData;

// A zip with these entries, in this order, written with libzip.
std::filesystem::path writeZip(const TemporaryFolder& folder, const std::string& name,
                               const std::vector<std::pair<std::string, std::string>>& entries) {
    const std::filesystem::path path = folder.path() / name;
    int error = 0;
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    EXPECT_NE(archive, nullptr);
    for (const auto& [entry, content] : entries) {
        zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
        EXPECT_GE(zip_file_add(archive, entry.c_str(), source, ZIP_FL_ENC_UTF_8), 0);
    }
    EXPECT_EQ(zip_close(archive), 0);
    return path;
}

// Everything but the random ids.
void expectSameMessages(const std::vector<ChatMessage>& actual,
                        const std::vector<ChatMessage>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t i = 0; i < actual.size(); ++i) {
        ASSERT_EQ(actual[i].sender, expected[i].sender) << i;
        ASSERT_EQ(actual[i].text, expected[i].text) << i;
        ASSERT_EQ(actual[i].date, expected[i].date) << i;
    }
}

TEST(ArchiveImporter, ReadsAZipExportWithItsVoiceNotes) {
    const auto imported = ArchiveImporter::load(testData("ios-export-with-voice-note.zip"));
    ASSERT_TRUE(imported) << imported.error().description();
    EXPECT_EQ(imported->voiceNotes, 1);
    EXPECT_EQ(imported->messages.size(), 5u);
    EXPECT_THAT(imported->senders, ElementsAre(SenderCount{"Amma", 3}, SenderCount{"Ravi", 2}));

    const auto text = ArchiveImporter::load(testData("ios-12h-nnbsp.txt"));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->voiceNotes, 0);
    EXPECT_EQ(testing::sendersAndTexts(text->messages),
              testing::sendersAndTexts(imported->messages));
}

TEST(ArchiveImporter, ChoosesTheChatFileInTheOrderOfTheZipsDirectory) {
    const TemporaryFolder folder;
    const std::string chat = "12/03/21, 22:15 - Amma: from the chat\n";
    const std::string notes = "12/03/21, 22:15 - Amma: from the notes\n";
    const auto read = [](const std::filesystem::path& zip) {
        const auto imported = ArchiveImporter::load(zip);
        EXPECT_TRUE(imported) << imported.error().description();
        return imported ? testing::sendersAndTexts(imported->messages)
                        : std::vector<std::pair<std::string, std::string>>{};
    };
    using Texts = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(read(writeZip(folder, "a.zip", {{"notes.txt", notes}})),
              (Texts{{"Amma", "from the notes"}}));
    EXPECT_EQ(read(writeZip(folder, "b.zip", {{"notes.txt", notes}, {"x/_chat.txt", chat}})),
              (Texts{{"Amma", "from the chat"}}));
    // The extension counts in any case; voice notes too.
    const auto upper = ArchiveImporter::load(writeZip(
        folder, "CHAT.ZIP",
        {{"1-AUDIO.OPUS", "x"}, {"Chat/_CHAT.TXT", chat}, {"2-AUDIO.opus", "y"}, {"d/", ""}}));
    ASSERT_TRUE(upper);
    EXPECT_EQ(upper->voiceNotes, 2);
    EXPECT_EQ(testing::sendersAndTexts(upper->messages), (Texts{{"Amma", "from the chat"}}));
    // A Mac's resource-fork files come first in its zip's directory and are never the chat,
    // nor voice notes.
    const std::string fork("\0\5\26\7\0\2\0\0Mac OS X", 16);
    const auto mac = ArchiveImporter::load(writeZip(folder, "mac.zip",
                                                    {{"__MACOSX/._chat.txt", fork},
                                                     {"__MACOSX/x/._1-AUDIO.opus", fork},
                                                     {"x/._notes.txt", fork},
                                                     {"_chat.txt", chat}}));
    ASSERT_TRUE(mac);
    EXPECT_EQ(testing::sendersAndTexts(mac->messages), (Texts{{"Amma", "from the chat"}}));
    EXPECT_EQ(mac->voiceNotes, 0);
}

TEST(ArchiveImporter, ExplainsWhatItCannotRead) {
    const auto notAZip = ArchiveImporter::load(testData("not-a-zip.zip"));
    ASSERT_FALSE(notAZip);
    EXPECT_EQ(notAZip.error().kind, ImportError::Kind::unreadable);
    EXPECT_EQ(notAZip.error().description(), "Could not read that file. Not a zip archive.");
    const auto empty = ArchiveImporter::load(testData("empty.zip"));
    ASSERT_FALSE(empty);
    EXPECT_EQ(empty.error().description(), "Could not read that file. Not a zip archive.");

    const auto noText = ArchiveImporter::load(testData("zip-without-text.zip"));
    ASSERT_FALSE(noText);
    EXPECT_EQ(noText.error().kind, ImportError::Kind::noChatFile);
    EXPECT_EQ(noText.error().description(),
              "That zip has no _chat.txt inside. In WhatsApp, open the chat, tap the contact "
              "name, then Export Chat \u2192 Without Media.");

    const TemporaryFolder folder;
    const auto missing = ArchiveImporter::load(folder.path() / "missing.txt");
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().kind, ImportError::Kind::fileUnreadable);
    EXPECT_EQ(missing.error().description(),
              "Could not open \u201Cmissing.txt\u201D: No such file or directory.");
    std::filesystem::create_directory(folder.path() / "export.zip");
    const auto directory = ArchiveImporter::load(folder.path() / "export.zip");
    ASSERT_FALSE(directory);
    EXPECT_EQ(directory.error().description(),
              "Could not read \u201C"
              "export.zip\u201D: Is a directory.");
}

TEST(ArchiveImporter, ReadsTheSameExportInEveryEncoding) {
    const std::string utf8 = testing::readFile(testData("android-24h.txt"));
    const auto expected = WhatsAppParser::parse(utf8);
    ASSERT_EQ(expected.size(), 6u);
    std::u16string wide;
    for (const unsigned char c : utf8)
        wide += static_cast<char16_t>(c);  // the fixture is ASCII
    auto utf16 = [&](bool littleEndian) {
        std::string bytes;
        for (const char16_t unit : wide) {
            const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
            bytes += littleEndian ? std::string{low, high} : std::string{high, low};
        }
        return bytes;
    };
    const TemporaryFolder folder;
    for (const auto& path :
         {testData("utf16le-bom.txt"), folder.write("le.txt", utf16(true)),
          folder.write("be.txt", "\xFE\xFF" + utf16(false)),
          folder.write("be-bare.txt", utf16(false)), folder.write("bom.txt", "\xEF\xBB\xBF" + utf8),
          writeZip(folder, "utf16.zip", {{"_chat.txt", utf16(true)}})}) {
        const auto imported = ArchiveImporter::load(path);
        ASSERT_TRUE(imported) << path;
        EXPECT_EQ(testing::sendersAndTexts(imported->messages), testing::sendersAndTexts(expected))
            << path;
    }
    const auto latin1 = ArchiveImporter::load(testData("latin1.txt"));
    ASSERT_TRUE(latin1);
    EXPECT_EQ(testing::sendersAndTexts(latin1->messages),
              (std::vector<std::pair<std::string, std::string>>{
                  {"Jos\u00E9", "Ol\u00E1 m\u00E3e, est\u00E1 tudo bem?"},
                  {"M\u00E3e", "Sim, querido. Beijos\nn\u00E3o esque\u00E7as o casaco"}}));
}

TEST(ArchiveImporter, GivesNothingButNoErrorForFilesWithoutMessages) {
    const TemporaryFolder folder;
    std::mt19937 random(3);
    std::string binary(200000, '\0');
    for (char& byte : binary)
        byte = static_cast<char>(random());
    for (const auto& path :
         {folder.write("empty.txt", ""), folder.write("binary.txt", binary),
          folder.write("report.txt",
                       "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n1 0 obj\n<< /Type /Catalog >>\n"
                       "endobj\nstream\n\x78\x9C\xED\xC1\x01\x0D\x00\x00\nendstream\n"),
          folder.write("long-line.txt", std::string(5 << 20, '[')),
          testData("system-lines-only.txt")}) {
        const auto imported = ArchiveImporter::load(path);
        ASSERT_TRUE(imported) << path;
        EXPECT_TRUE(imported->messages.empty()) << path;
        EXPECT_TRUE(imported->senders.empty()) << path;
    }
}

// A large export, read in pieces and parsed on two threads, must give what the parser gives for
// the whole text: lines cut between pieces, characters cut between pieces, direction marks,
// continuation lines, and a byte that is not UTF-8 near the end.
TEST(ArchiveImporter, ReadsLargeExportsAsTheParserReadsTheirText) {
    std::mt19937 random(99);
    std::string text;
    const char* bodies[] = {
        "Did you eat?",           "\u200E<attached: 00000012-PHOTO.jpg>",
        "Sleep early \U0001F60A", "\u0C24\u0C3F\u0C28\u0C4D\u0C28\u0C3E\u0C35\u0C3E?",
        "Missed voice call",      "ok"};
    for (int i = 0; text.size() < (5u << 19); ++i) {
        const int day = 1 + i / 20000 % 28, minute = i % 60;
        text += "[" + std::to_string(day) + "/03/2021, 9:" + (minute < 10 ? "0" : "") +
                std::to_string(minute) + ":00\u202FPM] " + (i % 3 ? "Amma" : "\u200ERavi") + ": " +
                bodies[random() % 6] + (i % 7 == 0 ? "\r\nand one more line" : "") + "\r\n";
    }
    const TemporaryFolder folder;
    const auto expected = WhatsAppParser::parse(text);
    ASSERT_GT(expected.size(), 25000u);
    for (const auto& path : {folder.write("large.txt", text),
                             writeZip(folder, "large.zip", {{"WhatsApp Chat/_chat.txt", text}})}) {
        const auto imported = ArchiveImporter::load(path);
        ASSERT_TRUE(imported) << path;
        expectSameMessages(imported->messages, expected);
    }
    // One byte of Latin-1 late in the file makes all of it Latin-1 (so that the dates still
    // read, the narrow no-break spaces become plain ones first).
    std::string latin1;
    for (std::size_t at = 0; at < text.size() - 100;) {
        const std::size_t space = std::min(text.find("\u202F", at), text.size() - 100);
        latin1.append(text, at, space - at);
        if (space < text.size() - 100)
            latin1 += ' ';
        at = space + 3;
    }
    latin1 += "caf\xE9\n";
    const auto imported = ArchiveImporter::load(folder.write("latin1-late.txt", latin1));
    ASSERT_TRUE(imported);
    std::string decoded;
    for (const unsigned char c : latin1) {
        if (c < 0x80) {
            decoded += static_cast<char>(c);
        } else {
            decoded += static_cast<char>(0xC0 | c >> 6);
            decoded += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    expectSameMessages(imported->messages, WhatsAppParser::parse(decoded));
}

TEST(ArchiveImporter, SuggestsTheSenderWhoIsThePerson) {
    const std::vector<SenderCount> senders = {{"Ravi", 900}, {"Amma", 700}};
    EXPECT_EQ(ArchiveImporter::suggestSpeaker(senders, " amma "), "Amma");
    EXPECT_EQ(ArchiveImporter::suggestSpeaker(senders, "Amm"), "Amma");
    EXPECT_EQ(ArchiveImporter::suggestSpeaker(senders, "Amma Rao"), "Amma");
    EXPECT_EQ(ArchiveImporter::suggestSpeaker(senders, std::nullopt), "Ravi");
    EXPECT_EQ(ArchiveImporter::suggestSpeaker(senders, "\t"), "Ravi");
    EXPECT_EQ(ArchiveImporter::suggestSpeaker(senders, "Lakshmi"), "Ravi");
    EXPECT_EQ(ArchiveImporter::suggestSpeaker({{"A", 5}, {"B", 5}}, std::nullopt), "A");
    EXPECT_EQ(ArchiveImporter::suggestSpeaker({}, "Amma"), std::nullopt);
}

}  // namespace
}  // namespace lumenary
