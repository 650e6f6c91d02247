// What WhatsApp writes in place of a message, per language, is noise; what people write with
// the same words is not.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

#include "importer/NoiseRules.h"
#include "importer/NoticeTables.h"
#include "importer/WhatsAppParser.h"
#include "text/TextRules.h"

namespace lumenary {
namespace {

TEST(NoticeTables, EnglishComesFirstWithTheLongStandingPhrasesUnchanged) {
    const std::array<std::string_view, 25> longStanding = {
        "messages and calls are end-to-end encrypted",
        "media omitted",
        "image omitted",
        "video omitted",
        "audio omitted",
        "sticker omitted",
        "gif omitted",
        "document omitted",
        "contact card omitted",
        "this message was deleted",
        "you deleted this message",
        "waiting for this message",
        "changed the subject",
        "changed this group's icon",
        "changed their phone number",
        "added you",
        "created group",
        "joined using this group's invite link",
        "your security code with",
        "changed to a new phone number",
        "you were added",
        "removed you",
        "left the group",
        "live location shared",
        "this message was edited"};
    const auto phrases = NoticeTables::phrases();
    ASSERT_GT(phrases.size(), longStanding.size());
    EXPECT_TRUE(std::equal(longStanding.begin(), longStanding.end(), phrases.begin()));

    std::vector<std::string_view> names;
    for (const NoticeTables::Language& language : NoticeTables::languages())
        names.push_back(language.name);
    EXPECT_EQ(names, (std::vector<std::string_view>{"English", "German", "Spanish", "Portuguese",
                                                    "French", "Italian", "Dutch", "Hindi",
                                                    "Indonesian", "Turkish"}));
}

TEST(NoticeTables, EntriesAreLowerCaseDistinctAndPhrasesFillTheSearchWindow) {
    std::set<std::string_view> seen;
    for (const NoticeTables::Language& language : NoticeTables::languages()) {
        EXPECT_FALSE(language.phrases.empty()) << language.name;
        EXPECT_FALSE(language.callLogs.empty()) << language.name;
        for (const auto& kind : {language.phrases, language.callLogs, language.attachmentMarkers}) {
            for (const std::string_view entry : kind) {
                EXPECT_EQ(text::lowercase(entry), entry) << language.name;
                EXPECT_EQ(text::trimWhitespace(entry), entry) << language.name;
                EXPECT_TRUE(seen.insert(entry).second) << "twice: " << entry;
            }
        }
        for (const std::string_view phrase : language.phrases)
            EXPECT_GE(phrase.size(), NoticeTables::kShortestPhrase) << phrase;
    }
    // The English call logs are only those the call-log pattern misses.
    for (const std::string_view entry : NoticeTables::languages()[0].callLogs)
        EXPECT_FALSE(NoiseRules::isCallLogByRegex(entry)) << entry;
}

TEST(NoticeTables, WhatTheAppWritesInEachLanguageIsNoise) {
    const std::vector<std::string> notices = {
        // English
        "This business uses a secure service from Meta to manage this chat. Tap to learn more.",
        "This chat is with a business account. Tap for more info.",
        "Voice call, Answered on other device",
        "Video call, No answer",
        "Voice call, No answer, Tap to call back",
        // German
        "Bild weggelassen",
        "DIESE NACHRICHT WURDE GELÖSCHT",
        "Du hast diese Nachricht gelöscht.",
        "Dein Sicherheitscode für Ravi hat sich geändert. Tippe, um mehr zu erfahren.",
        "Verpasster Sprachanruf",
        "Sprachanruf, Keine Antwort",
        // Spanish
        "imagen omitida",
        "Se eliminó este mensaje.",
        "Ravi se unió usando el enlace de invitación de este grupo",
        "Llamada de voz perdida, Toca para devolver la llamada",
        "Videollamada",
        // Portuguese
        "imagem ocultada",
        "Esta mensagem foi apagada",
        "Chamada de vídeo perdida",
        // French
        "image absente",
        "Ce message a été supprimé",
        "Appel vocal manqué",
        // Italian
        "immagine omessa",
        "Questo messaggio è stato eliminato",
        "Videochiamata persa",
        // Dutch
        "afbeelding weggelaten",
        "Dit bericht is verwijderd",
        "Gemiste spraakoproep",
        // Hindi
        "यह मैसेज डिलीट कर दिया गया",
        "मिस्ड वॉइस कॉल",
        // Indonesian
        "gambar tidak disertakan",
        "Pesan ini telah dihapus",
        "Panggilan suara tak terjawab",
        // Turkish
        "görüntü dahil edilmedi",
        "Bu mesaj silindi",
        "Cevapsız sesli arama",
    };
    for (const std::string& notice : notices)
        EXPECT_TRUE(WhatsAppParser::isNoise(notice)) << notice;
}

TEST(NoticeTables, WhatPeopleWriteWithTheSameWordsStays) {
    const std::vector<std::string> messages = {
        "Ich habe das Bild weggelegt",
        "Das Video habe ich weggelassen, war zu groß",
        "Sprachanruf morgen um zehn?",
        "Sprachanruf, wenn du später Zeit hast, ich bin ab acht Uhr wieder zu Hause",
        "tengo una llamada perdida tuya?",
        "Ravi se unió al equipo",
        "¿Quién te añadió al grupo?",
        "Vou mandar o vídeo amanhã",
        "Ce message est important",
        "Il file allegato è troppo grande",
        "Dit bericht is voor jou",
        "वीडियो कॉल करो",
        "Görüntülü arama yapalım mı?",
        "Pesan ini penting sekali",
        "Voice call, no answer from you all week and now you want to talk?",
    };
    for (const std::string& message : messages)
        EXPECT_FALSE(WhatsAppParser::isNoise(message)) << message;
}

TEST(NoticeTables, AttachmentLinesAreAFileNameAndAMarker) {
    for (const std::string_view line :
         {"IMG-20210312-WA0001.jpg (file attached)", "My notes.pdf (Datei angehängt)",
          "Scan (2).PDF (FILE ATTACHED)", "Rapport.docx (FICHIER JOINT)",
          "DATOS.xlsx (ARCHIVO ADJUNTO)", "PTT-20210312-WA0002.opus (dosya ekli)",
          "Foto.jpeg (DATEI ANGEHÄNGT)"}) {
        EXPECT_TRUE(NoiseRules::isAttachmentLine(line)) << line;
        EXPECT_TRUE(WhatsAppParser::isNoise(line)) << line;
    }
    // Text around it, a caption on the same line, or no file name: a message of its own.
    for (const std::string_view line :
         {"Look at this photo (file attached)", "I sent it. (file attached)",
          "notes.pdf (file attached) please check", "notes.pdf  (file attached)",
          "notes.pdf (file attached)\nThe caption", "Hello\nnotes.pdf (file attached)",
          "notes.pdf (attached)", "(file attached)", "notes.pdf(file attached)"}) {
        EXPECT_FALSE(NoiseRules::isAttachmentLine(line)) << line;
    }
    const std::string longest = std::string(251, 'a') + ".jpg";
    EXPECT_TRUE(NoiseRules::isAttachmentLine(longest + " (file attached)"));
    EXPECT_FALSE(NoiseRules::isAttachmentLine("a" + longest + " (file attached)"));
}

}  // namespace
}  // namespace lumenary
