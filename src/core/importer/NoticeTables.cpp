#include "importer/NoticeTables.h"

#include <algorithm>
#include <array>

namespace lumenary::NoticeTables {
namespace {

using std::size_t;
using std::string_view;

// Phrases are found anywhere in a body, so each is long and particular enough that nobody types
// it in a message of their own: "se unió usando el enlace de invitación de este grupo", never
// "se unió". Where a language's exact wording is uncertain, the entry is the certain core of it.
// "Added you" and "removed you" are left out of the other languages: their words are what people
// write ("wer hat dich hinzugefügt?"), and the notice lines that carry them name no sender, so
// the parser drops them before asking.

// English: the phrases the importer has always read, first and unchanged.
constexpr auto kEnglishPhrases = std::to_array<string_view>({
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
    "this message was edited",
    // Business chats, older encryption notices, and the group's other settings.
    "this business uses a secure service from meta",
    "this business is working with other companies",
    "this chat is with a business account",
    "secured with end-to-end encryption",
    "turned on disappearing messages",
    "turned off disappearing messages",
    "security code changed",
    "you blocked this contact",
    "you unblocked this contact",
    "changed the group description",
    "changed this group's settings",
    "deleted this group's icon",
    "changed the group name from",
    "changed the group name to \"",
    "changed the group name to \u201C",
    "you're now an admin",
    "you\u2019re now an admin",
});
// English: what the call-log pattern misses (it reads "Voice call, 12 min", not these).
constexpr auto kEnglishCallLogs = std::to_array<string_view>({
    "voice call, answered on other device",
    "video call, answered on other device",
    "voice call, no answer",
    "video call, no answer",
});
constexpr auto kEnglishMarkers = std::to_array<string_view>({"file attached"});

// German
constexpr auto kGermanPhrases = std::to_array<string_view>({
    "bild weggelassen",
    "video weggelassen",
    "audio weggelassen",
    "sticker weggelassen",
    "gif weggelassen",
    "dokument weggelassen",
    "kontaktkarte weggelassen",
    "medien ausgeschlossen",  // Android's "<Medien ausgeschlossen>"
    "medien weggelassen",
    "diese nachricht wurde gelöscht",
    "du hast diese nachricht gelöscht",
    "diese nachricht wurde bearbeitet",
    "warten auf diese nachricht",
    "nachrichten und anrufe sind ende-zu-ende-verschlüsselt",
    "hat die gruppe \u201E",  // created group „Familie“
    "hat die gruppe \"",
    "hat die gruppe verlassen",
    "hat den betreff",
    "hat den gruppennamen",
    "hat das gruppenbild geändert",
    "einladungslink dieser gruppe",
    "dein sicherheitscode für",
});
constexpr auto kGermanCallLogs = std::to_array<string_view>({
    "verpasster sprachanruf",
    "verpasster videoanruf",
    "sprachanruf",
    "videoanruf",
});
constexpr auto kGermanMarkers = std::to_array<string_view>({"datei angehängt"});

// Spanish
constexpr auto kSpanishPhrases = std::to_array<string_view>({
    "imagen omitida",
    "video omitido",
    "audio omitido",
    "sticker omitido",
    "gif omitido",
    "documento omitido",
    "tarjeta de contacto omitida",
    "multimedia omitido",  // Android's "<Multimedia omitido>"
    "se eliminó este mensaje",
    "eliminaste este mensaje",
    "este mensaje fue eliminado",
    "se editó este mensaje",
    "llamadas están cifrados de extremo a extremo",
    "creó el grupo",
    "salió del grupo",
    "cambió el asunto",
    "cambió el ícono de este grupo",
    "cambió el icono de este grupo",
    "se unió usando el enlace de invitación de este grupo",
    "tu código de seguridad con",
});
constexpr auto kSpanishCallLogs = std::to_array<string_view>({
    "llamada de voz perdida",
    "videollamada perdida",
    "llamada de voz",
    "videollamada",
});
constexpr auto kSpanishMarkers = std::to_array<string_view>({"archivo adjunto"});

// Portuguese
constexpr auto kPortuguesePhrases = std::to_array<string_view>({
    "imagem ocultada",
    "vídeo ocultado",
    "áudio ocultado",
    "figurinha ocultada",
    "figurinha omitida",
    "gif ocultado",
    "documento ocultado",
    "cartão de contato ocultado",
    "mídia oculta",             // Android's "<Mídia oculta>"
    "arquivo de mídia oculto",  // and its older wording
    "esta mensagem foi apagada",
    "você apagou esta mensagem",
    "esta mensagem foi eliminada",
    "esta mensagem foi editada",
    "protegidas com a criptografia de ponta a ponta",
    "criou o grupo",
    "mudou o assunto",
    "mudou a imagem deste grupo",
    "usando o link de convite deste grupo",
    "seu código de segurança com",
});
constexpr auto kPortugueseCallLogs = std::to_array<string_view>({
    "chamada de voz perdida",
    "chamada de vídeo perdida",
    "chamada de voz",
    "chamada de vídeo",
});
constexpr auto kPortugueseMarkers = std::to_array<string_view>({"arquivo anexado"});

// French
constexpr auto kFrenchPhrases = std::to_array<string_view>({
    "image absente",
    "vidéo absente",
    "audio omis",
    "sticker omis",
    "autocollant omis",
    "gif retiré",
    "document omis",
    "fiche contact omise",
    "médias omis",  // Android's "<Médias omis>"
    "ce message a été supprimé",
    "vous avez supprimé ce message",
    "ce message a été modifié",
    "les appels sont chiffrés de bout en bout",
    "a créé le groupe",
    "a changé le sujet",
    "a changé l'icône de ce groupe",
    "a changé l\u2019icône de ce groupe",
    "lien d'invitation de ce groupe",
    "lien d\u2019invitation de ce groupe",
    "votre code de sécurité avec",
});
constexpr auto kFrenchCallLogs = std::to_array<string_view>({
    "appel vocal manqué",
    "appel vidéo manqué",
    "appel vocal",
    "appel vidéo",
});
constexpr auto kFrenchMarkers = std::to_array<string_view>({"fichier joint"});

// Italian
constexpr auto kItalianPhrases = std::to_array<string_view>({
    "immagine omessa",
    "video omesso",
    "audio omesso",
    "sticker omesso",
    "gif omessa",
    "documento omesso",
    "scheda contatto omessa",
    "media omessi",  // Android's "<Media omessi>"
    "questo messaggio è stato eliminato",
    "hai eliminato questo messaggio",
    "questo messaggio è stato modificato",
    "sono crittografati end-to-end",
    "ha creato il gruppo",
    "ha cambiato l'oggetto",
    "ha cambiato l'immagine di questo gruppo",
    "tramite il link d'invito",
    "il tuo codice di sicurezza con",
});
constexpr auto kItalianCallLogs = std::to_array<string_view>({
    "chiamata vocale persa",
    "videochiamata persa",
    "chiamata vocale",
    "videochiamata",
});
constexpr auto kItalianMarkers = std::to_array<string_view>({"file allegato"});

// Dutch
constexpr auto kDutchPhrases = std::to_array<string_view>({
    "afbeelding weggelaten",
    "video weggelaten",
    "audio weggelaten",
    "sticker weggelaten",
    "gif weggelaten",
    "document weggelaten",
    "contactkaart weggelaten",
    "media weggelaten",  // Android's "<Media weggelaten>"
    "dit bericht is verwijderd",
    "je hebt dit bericht verwijderd",
    "dit bericht is bewerkt",
    "oproepen worden end-to-end versleuteld",
    "heeft de groep verlaten",
    "heeft het onderwerp gewijzigd",
    "de groepsafbeelding gewijzigd",
    "het groepsicoon gewijzigd",
    "uitnodigingslink van deze groep",
    "je beveiligingscode met",
});
constexpr auto kDutchCallLogs = std::to_array<string_view>({
    "gemiste spraakoproep",
    "gemiste video-oproep",
    "spraakoproep",
    "video-oproep",
});
constexpr auto kDutchMarkers = std::to_array<string_view>({"bestand bijgevoegd"});

// Hindi: the app writes English loanwords in Devanagari ("मैसेज", "कॉल").
constexpr auto kHindiPhrases = std::to_array<string_view>({
    "मीडिया के बिना",  // Android's "<मीडिया के बिना>"
    "यह मैसेज डिलीट कर दिया गया",
    "आपने यह मैसेज डिलीट",
    "कॉल एंड-टू-एंड एन्क्रिप्टेड",
});
constexpr auto kHindiCallLogs = std::to_array<string_view>({
    "मिस्ड वॉइस कॉल",
    "मिस्ड वीडियो कॉल",
    "वॉइस कॉल",
    "वीडियो कॉल",
});

// Indonesian
constexpr auto kIndonesianPhrases = std::to_array<string_view>({
    "gambar tidak disertakan",
    "video tidak disertakan",
    "audio tidak disertakan",
    "stiker tidak disertakan",
    "gif tidak disertakan",
    "dokumen tidak disertakan",
    "kartu kontak tidak disertakan",
    "media tidak disertakan",  // Android's "<Media tidak disertakan>"
    "pesan ini telah dihapus",
    "anda menghapus pesan ini",
    "pesan ini telah diedit",
    "terenkripsi secara end-to-end",
    "mengubah subjek",
    "mengubah ikon grup ini",
    "tautan undangan grup ini",
    "kode keamanan anda dengan",
});
constexpr auto kIndonesianCallLogs = std::to_array<string_view>({
    "panggilan suara tak terjawab",
    "panggilan video tak terjawab",
    "panggilan suara",
    "panggilan video",
});
constexpr auto kIndonesianMarkers = std::to_array<string_view>({"file terlampir"});

// Turkish
constexpr auto kTurkishPhrases = std::to_array<string_view>({
    "görüntü dahil edilmedi",
    "video dahil edilmedi",
    "ses dahil edilmedi",
    "çıkartma dahil edilmedi",
    "gif dahil edilmedi",
    "belge dahil edilmedi",
    "kişi kartı dahil edilmedi",
    "medya dahil edilmedi",  // Android's "<Medya dahil edilmedi>"
    "bu mesaj silindi",
    "bu mesajı sildiniz",
    "bu mesaj düzenlendi",
    "aramalar uçtan uca şifrelidir",
    "grubunu oluşturdu",
    "gruptan ayrıldı",
    "bu grubun simgesini değiştirdi",
    "grubun davet bağlantısını kullanarak",
    "ile güvenlik kodunuz",
});
constexpr auto kTurkishCallLogs = std::to_array<string_view>({
    "cevapsız sesli arama",
    "cevapsız görüntülü arama",
    "sesli arama",
    "görüntülü arama",
});
constexpr auto kTurkishMarkers = std::to_array<string_view>({"dosya ekli"});

constexpr std::array<string_view, 0> kNone{};

constexpr std::array kLanguages = {
    Language{"English", kEnglishPhrases, kEnglishCallLogs, kEnglishMarkers},
    Language{"German", kGermanPhrases, kGermanCallLogs, kGermanMarkers},
    Language{"Spanish", kSpanishPhrases, kSpanishCallLogs, kSpanishMarkers},
    Language{"Portuguese", kPortuguesePhrases, kPortugueseCallLogs, kPortugueseMarkers},
    Language{"French", kFrenchPhrases, kFrenchCallLogs, kFrenchMarkers},
    Language{"Italian", kItalianPhrases, kItalianCallLogs, kItalianMarkers},
    Language{"Dutch", kDutchPhrases, kDutchCallLogs, kDutchMarkers},
    Language{"Hindi", kHindiPhrases, kHindiCallLogs, kNone},
    Language{"Indonesian", kIndonesianPhrases, kIndonesianCallLogs, kIndonesianMarkers},
    Language{"Turkish", kTurkishPhrases, kTurkishCallLogs, kTurkishMarkers},
};

template <size_t... N>
constexpr auto joined(const std::array<string_view, N>&... parts) {
    std::array<string_view, (N + ...)> all{};
    size_t at = 0;
    ((std::copy(parts.begin(), parts.end(), all.begin() + static_cast<std::ptrdiff_t>(at)),
      at += N),
     ...);
    return all;
}

constexpr auto kPhrases =
    joined(kEnglishPhrases, kGermanPhrases, kSpanishPhrases, kPortuguesePhrases, kFrenchPhrases,
           kItalianPhrases, kDutchPhrases, kHindiPhrases, kIndonesianPhrases, kTurkishPhrases);
constexpr auto kCallLogs = joined(
    kEnglishCallLogs, kGermanCallLogs, kSpanishCallLogs, kPortugueseCallLogs, kFrenchCallLogs,
    kItalianCallLogs, kDutchCallLogs, kHindiCallLogs, kIndonesianCallLogs, kTurkishCallLogs);
constexpr auto kMarkers =
    joined(kEnglishMarkers, kGermanMarkers, kSpanishMarkers, kPortugueseMarkers, kFrenchMarkers,
           kItalianMarkers, kDutchMarkers, kIndonesianMarkers, kTurkishMarkers);

static_assert(std::all_of(kPhrases.begin(), kPhrases.end(),
                          [](string_view phrase) { return phrase.size() >= kShortestPhrase; }),
              "a phrase shorter than the search window would shorten every jump");

// Entries are compared with lower-cased text, so an upper-case letter would never match. (The
// letters outside ASCII are checked by the tests, which can lower-case.)
constexpr bool hasAsciiCapital(string_view entry) {
    return std::any_of(entry.begin(), entry.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}
static_assert(std::none_of(kPhrases.begin(), kPhrases.end(), hasAsciiCapital));
static_assert(std::none_of(kCallLogs.begin(), kCallLogs.end(), hasAsciiCapital));
static_assert(std::none_of(kMarkers.begin(), kMarkers.end(), hasAsciiCapital));

}  // namespace

std::span<const Language> languages() {
    return kLanguages;
}

std::span<const std::string_view> phrases() {
    return kPhrases;
}

std::span<const std::string_view> callLogs() {
    return kCallLogs;
}

std::span<const std::string_view> attachmentMarkers() {
    return kMarkers;
}

}  // namespace lumenary::NoticeTables
