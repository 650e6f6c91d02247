// Exports as phones in other languages and older WhatsApp versions write them, read end to end
// from the files in tests/data: what a person reading each export sees as messages, who wrote
// them, and when. One test per export, each fixture named for its dialect.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TestSupport.h"
#include "common/LocalTime.h"
#include "importer/ArchiveImporter.h"

namespace lumenary {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

// The messages of a fixture, read as the program reads a file the user chose. Every one must
// carry the moment its header names: a date that did not read would become the moment of the
// import, which comes after every date in these fixtures; and a chat runs forward in time, so
// a message dated before the one above it was read with the wrong order of day and month.
std::vector<ChatMessage> readExport(const std::string& fixture) {
    const Timestamp started = now();
    const auto imported = ArchiveImporter::load(testing::testData(fixture));
    EXPECT_TRUE(imported) << fixture << ": " << imported.error().description();
    if (!imported)
        return {};
    const std::vector<ChatMessage>& messages = imported->messages;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        EXPECT_LT(messages[i].date, started) << fixture << ": message " << i << " has no date";
        if (i > 0) {
            EXPECT_GE(messages[i].date, messages[i - 1].date)
                << fixture << ": message " << i << " is dated before the one above it";
        }
    }
    return messages;
}

CivilTime civilOf(const ChatMessage& message) {
    return LocalTime::civil(message.date);
}

TEST(Dialects, SpanishAndroidWithDayPeriodsAndNoComma) {
    const auto messages = readExport("android-es-pm-no-comma.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "¿Ya cenaste, hijo?"), Pair("Ravi", "Sí mamá, arroz con frijoles"),
                    Pair("Amma", "Mira qué bonita quedó la torta\nla hice para tu tía"),
                    Pair("Amma", "Buenos días 🌞"), Pair("Ravi", "Mamá, llego el sábado"),
                    Pair("Amma", "Qué alegría, te espero"), Pair("Amma", "¡Feliz año nuevo!"),
                    Pair("Ravi", "Igualmente mamá 🎉")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2025, 3, 28, 21, 29, 0}));
    // "9:33\u202Fp.\u00A0m." and "8:05\u202Fa.\u00A0m.": the no-break spaces cost no date.
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2025, 3, 28, 21, 33, 0}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2025, 3, 29, 8, 5, 0}));
    // Twelve past midnight is "12:05 a. m.".
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2026, 1, 1, 0, 5, 0}));
}

TEST(Dialects, GermanAndroidWithDottedDatesAndSeconds) {
    const auto messages = readExport("android-de-dotted-seconds.txt");
    // The photo's caption is the message; the voice note without one is dropped.
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Hast du gegessen?"), Pair("Ravi", "Ja Mama, Linsen mit Reis"),
                    Pair("Amma", "Der Tempel am Abend\nso schön"), Pair("Amma", "Guten Morgen 🌸"),
                    Pair("Amma", "Frohes neues Jahr!"), Pair("Ravi", "Ich komme am Samstag"),
                    Pair("Amma", "Schön, ich koche Dal")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 31}));
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2021, 3, 12, 22, 17, 10}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2022, 1, 1, 0, 0, 5}));
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2022, 4, 5, 18, 31, 20}));
}

TEST(Dialects, EnglishAndroidWithDashedDatesAndTwelveHourSeconds) {
    const auto messages = readExport("android-en-dashed-12h-seconds.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Did you eat?"), Pair("Ravi", "Yes amma, dal and rice"),
                    Pair("Amma", "Your cousin's wedding card\nthey want you there"),
                    Pair("Amma", "Good morning kanna"), Pair("Ravi", "Lunch break now"),
                    Pair("Amma", "Eat properly, not just tea"),
                    Pair("Amma", "Sleep now, it is late"), Pair("Ravi", "Happy new year amma")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 33}));
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2021, 3, 12, 22, 17, 40}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2021, 3, 13, 12, 30, 0}));
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2021, 3, 14, 0, 1, 15}));
    EXPECT_EQ(civilOf(messages[7]), (CivilTime{2022, 1, 2, 9, 0, 0}));
}

TEST(Dialects, EnglishIphoneWithYearFirstDates) {
    const auto messages = readExport("ios-en-year-first.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Did you reach the hostel?"), Pair("Ravi", "Yes amma, just now"),
                    Pair("Amma", "Your room looks small\nbut clean"),
                    Pair("Ravi", "Sorry amma, I was sleeping"),
                    Pair("Amma", "Happy birthday kanna 🎂"), Pair("Ravi", "Thank you amma")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2016, 8, 6, 21, 25, 11}));
    // Year, month, day: never the third of December read as the twelfth of March.
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2016, 12, 3, 8, 5, 9}));
    EXPECT_EQ(civilOf(messages[5]), (CivilTime{2017, 1, 2, 9, 31, 20}));
}

TEST(Dialects, DutchIphoneWithoutACommaAfterTheDate) {
    const auto messages = readExport("ios-nl-no-comma.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Heb je al gegeten?"), Pair("Ravi", "Ja mama, rijst met dal"),
                    Pair("Amma", "Mooi weer vandaag\nik ga naar de markt"),
                    Pair("Ravi", "Sorry, ik sliep nog"), Pair("Ravi", "Ik kom zaterdag"),
                    Pair("Amma", "Gelukkig nieuwjaar 🎉")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2017, 11, 8, 10, 47, 46}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2017, 11, 15, 19, 21, 0}));
    EXPECT_EQ(civilOf(messages[5]), (CivilTime{2018, 1, 2, 9, 0, 0}));
}

TEST(Dialects, OldAndroidLayoutWithAColonAfterTheTime) {
    const auto messages = readExport("android-old-colon-layout.txt");
    // The sender ends at the first colon after the time; the text keeps its own colons.
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Did you eat?"), Pair("Ravi", "Yes amma"),
                    Pair("Amma", "Good. Call me tonight\nafter your class"),
                    Pair("Ravi", "Train time: 6:40 pm"), Pair("Amma", "I will come to the station"),
                    Pair("Amma", "Happy new year kanna")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2017, 11, 8, 10, 47, 45}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2017, 11, 20, 18, 5, 0}));
    EXPECT_EQ(civilOf(messages[5]), (CivilTime{2018, 1, 3, 7, 30, 0}));
}

TEST(Dialects, FinnishAndroidWithKloAndDottedTimes) {
    const auto messages = readExport("android-fi-klo-dotted-time.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Söitkö jo?"), Pair("Ravi", "Söin, riisiä ja dalia"),
                    Pair("Amma", "Hyvää yötä\nnuku hyvin"), Pair("Amma", "Huomenta 🌞"),
                    Pair("Ravi", "Hyvää syntymäpäivää äiti!"), Pair("Amma", "Tule kotiin pian")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2020, 3, 23, 12, 14, 0}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2020, 3, 24, 7, 30, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2020, 4, 1, 0, 5, 0}));
    EXPECT_EQ(civilOf(messages[5]), (CivilTime{2021, 1, 6, 18, 45, 0}));
}

TEST(Dialects, FinnishIphoneWithKloAndDottedSeconds) {
    const auto messages = readExport("ios-fi-klo-dotted-seconds.txt");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Söitkö jo?"), Pair("Ravi", "Söin, riisiä ja dalia"),
                            Pair("Amma", "Hyvää yötä\nnuku hyvin"), Pair("Amma", "Huomenta 🌞"),
                            Pair("Ravi", "Hyvää syntymäpäivää äiti!"),
                            Pair("Amma", "Tule kotiin pian"), Pair("Ravi", "Tulen lauantaina")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2020, 3, 23, 12, 14, 5}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2020, 3, 24, 7, 30, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2020, 4, 1, 0, 5, 30}));
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2021, 1, 6, 18, 46, 10}));
}

TEST(Dialects, EnglishAndroidWhoseClockChangedFromTwentyFourHoursToTwelve) {
    const auto messages = readExport("android-en-mixed-clock.txt");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Did you eat?"), Pair("Ravi", "Yes amma"),
                            Pair("Amma", "Good morning"), Pair("Amma", "Are you home?"),
                            Pair("Ravi", "Just reached"), Pair("Amma", "Sleep now kanna"),
                            Pair("Ravi", "Having lunch"), Pair("Amma", "Call me when free")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 0}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 5, 20, 21, 40, 0}));
    EXPECT_EQ(civilOf(messages[5]), (CivilTime{2021, 5, 21, 0, 15, 0}));
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2021, 5, 21, 12, 20, 0}));
    EXPECT_EQ(civilOf(messages[7]), (CivilTime{2021, 6, 2, 18, 30, 0}));
}

TEST(Dialects, PortugueseAndroidWithLowerCaseDayPeriods) {
    const auto messages = readExport("android-pt-lowercase-pm.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Já jantou, filho?"), Pair("Ravi", "Sim mãe, arroz e feijão"),
                    Pair("Amma", "Dorme cedo\namanhã é dia longo"), Pair("Amma", "Bom dia 🌻"),
                    Pair("Ravi", "Almoçando agora"), Pair("Amma", "Feliz ano novo!"),
                    Pair("Ravi", "Feliz ano novo, mãe \u2764\uFE0F")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 0}));  // "10:15\u202Fpm"
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2021, 3, 12, 22, 18, 0}));  // "10:18\u00A0pm"
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 3, 13, 7, 5, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2021, 3, 13, 12, 10, 0}));  // "12:10 p. m."
    EXPECT_EQ(civilOf(messages[5]), (CivilTime{2022, 1, 1, 0, 3, 0}));
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2022, 1, 1, 0, 4, 0}));
}

TEST(Dialects, FrenchIphoneWithoutACommaAfterTheDate) {
    const auto messages = readExport("ios-fr-no-comma.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Tu as mangé ?"), Pair("Ravi", "Oui maman, du riz et du dal"),
                    Pair("Amma", "Dors tôt mon chéri\ndemain est une longue journée"),
                    Pair("Amma", "Bonjour \u2600\uFE0F"), Pair("Ravi", "Bonne année maman")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 33}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 3, 13, 7, 6, 30}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2022, 1, 2, 9, 0, 0}));
}

TEST(Dialects, ItalianIphoneNotices) {
    const auto messages = readExport("ios-it-notices.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Hai mangiato?"), Pair("Ravi", "Sì mamma, riso e dal"),
                    Pair("Amma", "Vai a dormire presto\ndomani è una giornata lunga"),
                    Pair("Amma", "Buongiorno tesoro"), Pair("Ravi", "Buon Natale mamma 🎄")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 33}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2021, 12, 25, 10, 0, 0}));
}

TEST(Dialects, HindiAndroidNotices) {
    const auto messages = readExport("android-hi-notices.txt");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "खाना खाया बेटा?"), Pair("Ravi", "हाँ माँ, दाल चावल"),
                            Pair("Amma", "जल्दी सो जाना\nकल लंबा दिन है"), Pair("Amma", "सुप्रभात 🙏"),
                            Pair("Ravi", "Happy Diwali maa 🪔")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 0}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 3, 13, 7, 5, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2021, 11, 4, 9, 0, 0}));
}

TEST(Dialects, IndonesianAndroidWithDottedTimesAndNoComma) {
    const auto messages = readExport("android-id-dotted-time.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Sudah makan, Nak?"), Pair("Ravi", "Sudah Bu, nasi dan dal"),
                    Pair("Amma", "Tidur yang cepat ya\nbesok hari yang panjang"),
                    Pair("Amma", "Selamat pagi 🌞"), Pair("Ravi", "Selamat tahun baru, Bu")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 0}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 3, 13, 7, 5, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2022, 1, 1, 0, 5, 0}));
}

TEST(Dialects, TurkishIphoneWithDottedDatesAndNoComma) {
    const auto messages = readExport("ios-tr-dotted-no-comma.txt");
    // "İ" is kept as written, whatever the notice rules lower-case to compare.
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Yemek yedin mi oğlum?"),
                            Pair("Ravi", "Evet anne, pilav ve mercimek"),
                            Pair("Amma", "Erken yat\nyarın uzun bir gün"),
                            Pair("Amma", "Günaydın 🌷"), Pair("Amma", "İyi geceler oğlum"),
                            Pair("Ravi", "Cumhuriyet Bayramın kutlu olsun anne")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 33}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2021, 3, 13, 22, 30, 0}));
    EXPECT_EQ(civilOf(messages[5]), (CivilTime{2021, 10, 29, 10, 0, 0}));
}

TEST(Dialects, MonthFirstAndroidProvedOnlyByANotice) {
    // Every message's numbers would read either way and run forward either way; only the notice
    // "3/25/21 … Ravi added Lakshmi" shows the month comes first. Read day first, the notice
    // would not date and would hang on the birthday wish.
    const auto messages = readExport("android-month-first-by-notice.txt");
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Did you reach?"), Pair("Ravi", "Yes just now"),
                            Pair("Amma", "Good morning"), Pair("Amma", "Happy birthday kanna"),
                            Pair("Ravi", "Thank you amma"), Pair("Amma", "Call me after office"),
                            Pair("Ravi", "Ok amma")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 1, 2, 21, 5, 0}));
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2021, 2, 3, 8, 0, 0}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 3, 4, 18, 30, 0}));
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2021, 5, 6, 10, 2, 0}));
}

TEST(Dialects, MergedIphoneMonthFirstAndAndroidDayFirst) {
    // The iPhone part was written month first, the Android part day first: each is read its
    // own way, so neither loses its dates to the other's numbers.
    const auto messages = readExport("merged-ios-us-android-in.txt");
    ASSERT_THAT(
        testing::sendersAndTexts(messages),
        ElementsAre(Pair("Amma", "Did you eat?"), Pair("Ravi", "Yes amma"),
                    Pair("Amma", "Good morning kanna"), Pair("Ravi", "New phone coming next week"),
                    Pair("Amma", "Is the new phone working?"),
                    Pair("Ravi", "Yes amma, all chats moved"), Pair("Amma", "Good morning"),
                    Pair("Ravi", "Coming home Saturday")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 25, 21, 15, 32}));
    EXPECT_EQ(civilOf(messages[2]), (CivilTime{2021, 4, 2, 7, 5, 48}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 4, 10, 20, 0, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2022, 3, 25, 21, 15, 0}));
    EXPECT_EQ(civilOf(messages[6]), (CivilTime{2022, 4, 2, 7, 5, 0}));
    EXPECT_EQ(civilOf(messages[7]), (CivilTime{2022, 4, 10, 20, 0, 0}));
}

TEST(Dialects, IphoneWithBidirectionalControlsAroundNamesAndPlaceholders) {
    const auto messages = readExport("ios-bidi-controls.txt");
    // The controls go wherever they are; the emoji keep their joiner and variation selector.
    ASSERT_THAT(testing::sendersAndTexts(messages),
                ElementsAre(Pair("Amma", "Did you eat? \u2764\uFE0F"),
                            Pair("Ravi", "Yes amma \U0001F469\u200D\U0001F467"),
                            Pair("Amma", "Good night kanna\nsleep well"),
                            Pair("+91 98765 43210", "Hello aunty, this is Ravi's friend"),
                            Pair("Amma", "Happy new year kanna \U0001F389")));
    EXPECT_EQ(civilOf(messages[0]), (CivilTime{2021, 3, 12, 22, 15, 32}));
    EXPECT_EQ(civilOf(messages[3]), (CivilTime{2021, 3, 13, 7, 7, 0}));
    EXPECT_EQ(civilOf(messages[4]), (CivilTime{2022, 1, 1, 0, 0, 10}));
}

}  // namespace
}  // namespace lumenary
