#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "importer/WhatsAppParser.h"
#include "store/ArchiveJson.h"
#include "store/Store.h"
#include "voice/FewShot.h"
#include "voice/PersonaBuilder.h"

namespace lumenary {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;
using Speaker = Store::Turn::Speaker;
using ::testing::ElementsAre;
using testing::readFile;

constexpr Timestamp kClock = 1795428900;  // 2026-11-23T10:15:00Z

// Ravi asks and Amma answers, in turn, a minute and a half apart; `noise` of the `count`
// messages, spread over both of them, are lines the current noise rules drop.
std::vector<ChatMessage> chat(int count, int noise = 0) {
    const char* const ravi[] = {"did you eat today", "how was the temple", "reached office safely",
                                "what are you cooking"};
    const char* const amma[] = {"yes kanna ate rice and dal", "very crowded kanna but nice",
                                "good good eat something first", "pesarattu for you kanna"};
    const char* const junk[] = {"image omitted", "<Media omitted>", "Missed voice call",
                                "This message was deleted"};
    std::vector<ChatMessage> messages;
    for (int i = 0; i < count; ++i) {
        const bool her = i % 2 == 1;
        // i -> i * 7919 mod count is a permutation, so exactly `noise` messages fall below it.
        const bool isNoise = static_cast<long long>(i) * 7919 % count < noise;
        std::string text;
        if (isNoise) {
            text = junk[i % 4];
        } else {
            text = her ? amma[i / 2 % 4] : ravi[i / 2 % 4];
            text += ' ';
            text += std::to_string(i);
        }
        messages.push_back(ChatMessage{testing::labelledId(testing::numbered("m", i)),
                                       her ? "Amma" : "Ravi", text, 1600000000.0 + 90.0 * i});
    }
    return messages;
}

Persona personaFor(const std::string& speaker, const std::string& card = "") {
    Persona persona;
    persona.speaker = speaker;
    persona.card = card;
    return persona;
}

// A folder holding the three files as written by hand (an older version, another machine).
struct Folder {
    testing::TemporaryFolder root;
    fs::path path = root.path() / "Lumenary";

    Folder() { fs::create_directories(path); }
    fs::path operator/(std::string_view name) const { return path / name; }
    void write(std::string_view name, const std::string& bytes) const {
        root.write("Lumenary/" + std::string(name), bytes);
    }
    void write(const Persona& persona) const { write("persona.json", Json(persona).dump(2)); }
    void write(const std::vector<ChatMessage>& messages) const {
        write("messages.json", ArchiveJson::encode(messages));
    }
    std::set<std::string> names() const {
        std::set<std::string> all;
        for (const auto& entry : fs::directory_iterator(path))
            all.insert(entry.path().filename().string());
        return all;
    }
    std::map<std::string, std::string> contents() const {
        std::map<std::string, std::string> all;
        for (const std::string& name : names())
            all[name] = readFile(path / name);
        return all;
    }
    ino_t inode(std::string_view name) const {
        struct stat info {};
        return ::stat((path / name).c_str(), &info) == 0 ? info.st_ino : 0;
    }
};

Store::Options quiet(std::vector<std::string>* printed = nullptr) {
    Store::Options options;
    options.print = [printed](const std::string& line) {
        if (printed != nullptr)
            printed->push_back(line);
    };
    options.clock = [] { return kClock; };
    return options;
}

Store::Turn turn(Speaker speaker, std::string text, std::optional<Timestamp> realDate = {}) {
    return Store::Turn{Uuid::random(), speaker, std::move(text), realDate};
}

// Runs `body` in a child process and gives its exit code: for faults (a size limit, a lost
// privilege) that must not leak into the rest of the test program.
int inChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST(Store, AFreshFolderStartsEmptyAndStaysEmpty) {
    testing::TemporaryFolder root;
    const fs::path folder = root.path() / "deep" / "er" / "Lumenary";
    std::vector<std::string> printed;
    Store store(folder, quiet(&printed));
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(store.persona(), Persona{});
    EXPECT_TRUE(store.messages().empty());
    EXPECT_EQ(store.index(), nullptr);
    EXPECT_TRUE(store.transcript().empty());
    EXPECT_TRUE(store.save());
    store.eraseEverything();
    EXPECT_TRUE(fs::is_empty(folder));
    EXPECT_TRUE(printed.empty());
}

TEST(Store, KeepsWhatItSavesAndWritesOnlyWhatChanged) {
    Folder folder;
    std::vector<Store::Change> changes;
    {
        Store store(folder.path, quiet());
        store.observe([&](Store::Change change) { changes.push_back(change); });
        store.adopt(chat(200), "Amma");
        ASSERT_NE(store.index(), nullptr);
        EXPECT_EQ(store.index()->exchangeCount(), 100u);
        EXPECT_EQ(store.persona().stats, PersonaBuilder::stats("Amma", chat(200)));
        EXPECT_EQ(store.persona().endearments, std::vector<std::string>{"kanna"});
        EXPECT_EQ(store.persona().fewShot, FewShot::mine(chat(200), "Amma", 30));
        store.appendTurn(turn(Speaker::me, "did you eat"));
        store.appendTurn(turn(Speaker::her, "yes kanna", 1615567532.75));
        store.appendTurn(turn(Speaker::notice, "Add a key"));
        EXPECT_TRUE(store.save());
    }
    EXPECT_THAT(changes, ElementsAre(Store::Change::messages, Store::Change::persona,
                                     Store::Change::index, Store::Change::transcript,
                                     Store::Change::transcript, Store::Change::transcript));
    EXPECT_EQ(folder.names(),
              (std::set<std::string>{"chat.json", "messages.json", "persona.json"}));

    const Json chatFile = Json::parse(readFile(folder / "chat.json"));
    EXPECT_EQ(testing::keys(chatFile[0]), (std::vector<std::string>{"id", "speaker", "text"}));
    EXPECT_EQ(chatFile[1]["realDate"], "2021-03-12T16:45:32Z");
    EXPECT_EQ(chatFile[2]["speaker"], "notice");

    const auto inodes = [&] {
        return std::vector<ino_t>{folder.inode("persona.json"), folder.inode("messages.json"),
                                  folder.inode("chat.json")};
    };
    const std::vector<ino_t> before = inodes();
    Store again(folder.path, quiet());
    EXPECT_EQ(again.messages(), chat(200));
    EXPECT_EQ(again.persona().fewShot, FewShot::mine(chat(200), "Amma", 30));
    ASSERT_EQ(again.transcript().size(), 3u);
    EXPECT_EQ(again.transcript()[1].realDate, 1615567532.0);
    EXPECT_EQ(again.transcript()[2].speaker, Speaker::notice);
    ASSERT_NE(again.index(), nullptr);
    EXPECT_TRUE(again.save());
    EXPECT_EQ(inodes(), before);  // loading and saving unchanged values writes nothing

    again.appendTurn(turn(Speaker::me, "one more"));
    EXPECT_TRUE(again.save());
    std::vector<ino_t> after = inodes();
    EXPECT_EQ(after[0], before[0]);
    EXPECT_EQ(after[1], before[1]);
    EXPECT_NE(after[2], before[2]);

    Persona renamed = again.persona();
    renamed.name = "Paati";
    again.setPersona(renamed);
    EXPECT_TRUE(again.save());
    EXPECT_NE(inodes()[0], after[0]);
    EXPECT_EQ(inodes()[1], before[1]);

    renamed.speaker = "Ravi";
    again.setPersona(renamed);
    ASSERT_NE(again.index(), nullptr);
    EXPECT_EQ(again.index()->exchange(0).reply.sender, "Ravi");
}

// Empty, cut short, not text at all, and well-formed with a value of the wrong type.
std::vector<std::string> damagedVersions(const std::string& good, const std::string& wrongType) {
    return {"", good.substr(0, good.size() / 2), std::string("\x89PNG\r\n\x1a\n\0\xff", 10),
            wrongType};
}

TEST(Store, SetsDamagedFilesAsideInsteadOfWritingOverThem) {
    Json wrongPersona = Json(personaFor("Amma"));
    wrongPersona["name"] = 5;
    const std::map<std::string, std::vector<std::string>> damaged = {
        {"persona.json", damagedVersions(Json(personaFor("Amma")).dump(2), wrongPersona.dump())},
        {"messages.json",
         damagedVersions(ArchiveJson::encode(chat(10)),
                         R"([{"id": "00112233-4455-6677-8899-AABBCCDDEEFF", "sender": 1,
                             "text": "x", "date": "2021-03-12T16:45:32Z"}])")},
        {"chat.json", damagedVersions(Json::array({Json(turn(Speaker::me, "hi"))}).dump(),
                                      R"([{"id": "00112233-4455-6677-8899-AABBCCDDEEFF",
                                           "speaker": "robot", "text": "x"}])")},
    };
    for (const auto& [name, versions] : damaged) {
        Folder folder;
        std::vector<std::string> copies;
        for (const std::string& bytes : versions) {
            folder.write(name, bytes);
            std::vector<std::string> printed;
            Store store(folder.path, quiet(&printed));
            EXPECT_EQ(store.persona(), Persona{}) << name;
            EXPECT_TRUE(store.messages().empty()) << name;
            EXPECT_TRUE(store.transcript().empty()) << name;
            EXPECT_TRUE(printed.empty());
            // A change saved afterwards writes around the copy, never over it; an empty archive
            // is not written at all.
            store.appendTurn(turn(Speaker::me, "still here"));
            EXPECT_TRUE(store.save()) << name;
            fs::remove(folder / "chat.json");
            copies.push_back(bytes);
        }
        const std::string stem = fs::path(name).stem().string() + ".damaged-20261123T101500Z";
        EXPECT_EQ(folder.names(), (std::set<std::string>{stem + ".json", stem + "-2.json",
                                                         stem + "-3.json", stem + "-4.json"}))
            << name;
        EXPECT_EQ(readFile(folder / (stem + ".json")), copies[0]);
        EXPECT_EQ(readFile(folder / (stem + "-3.json")), copies[2]);
    }

    // A file that cannot be read at all (here a folder of that name) is left where it is, and
    // nothing is written in its place.
    Folder folder;
    fs::create_directory(folder / "chat.json");
    Store store(folder.path, quiet());
    store.appendTurn(turn(Speaker::me, "hello"));
    EXPECT_FALSE(store.save());
    EXPECT_TRUE(fs::is_directory(folder / "chat.json"));
    EXPECT_EQ(folder.names(), std::set<std::string>{"chat.json"});
}

// A folder holding a small adopted archive with one line of conversation.
void fillFolder(const Folder& folder) {
    Store store(folder.path, quiet());
    store.adopt(chat(40), "Amma");
    store.appendTurn(turn(Speaker::me, "hi amma"));
    ASSERT_TRUE(store.save());
    for (const std::string& name : folder.names())
        fs::permissions(folder / name, fs::perms::owner_read | fs::perms::owner_write |
                                           fs::perms::group_read | fs::perms::others_read);
}

TEST(Store, AReadOnlyFolderKeepsItsFiles) {
    Folder folder;
    fillFolder(folder);
    const auto before = folder.contents();
    fs::permissions(folder.path, fs::perms::owner_read | fs::perms::owner_exec |
                                     fs::perms::group_read | fs::perms::group_exec |
                                     fs::perms::others_read | fs::perms::others_exec);
    const int code = inChild([&] {
        // Permissions do not bind the superuser: drop to the unprivileged account first.
        if (::geteuid() == 0 && ::setuid(65534) != 0)
            return 77;
        Store store(folder.path, quiet());
        if (store.persona().speaker != "Amma" || store.transcript().size() != 1)
            return 2;
        store.appendTurn(turn(Speaker::me, "are you there"));
        store.adopt(chat(100), "Amma");
        return store.save() ? 3 : 0;
    });
    fs::permissions(folder.path, fs::perms::owner_all);
    if (code == 77)
        GTEST_SKIP() << "cannot give up the superuser's rights here";
    EXPECT_EQ(code, 0);
    EXPECT_EQ(folder.contents(), before);
}

TEST(Store, AFullDiskLosesNothing) {
    Folder folder;
    fillFolder(folder);
    const auto before = folder.contents();
    Folder noisy;
    Persona withBank = personaFor("Amma");
    withBank.fewShot = {Exchange{"did you eat", chat(2)[1]}};
    noisy.write(withBank);
    noisy.write(chat(1000, 400));
    const auto noisyBefore = noisy.contents();

    const int code = inChild([&] {
        // Files may grow to 2 KiB: every file written here is larger. The signal would end the
        // process instead of failing the write.
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{2048, 2048};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        Store store(folder.path, quiet());
        store.adopt(chat(3000), "Amma");
        store.appendTurn(turn(Speaker::her, std::string(8000, 'x')));
        if (store.save())
            return 2;
        // Without room for the backup the archive is not filtered, though it could be.
        Store refiltered(noisy.path, quiet());
        return refiltered.messages().size() == 1000 ? 0 : 3;
    });
    EXPECT_EQ(code, 0);
    EXPECT_EQ(folder.contents(), before);
    EXPECT_EQ(noisy.contents(), noisyBefore);
}

TEST(Store, FiltersNoiseOutOfAnOldArchiveOnce) {
    const std::vector<ChatMessage> original = chat(1000, 400);
    std::vector<ChatMessage> kept;
    for (const ChatMessage& message : original) {
        if (!WhatsAppParser::isNoise(message.text))
            kept.push_back(message);
    }
    ASSERT_EQ(kept.size(), 600u);
    const PersonaStats oldStats = PersonaBuilder::stats("Amma", original);
    const std::string ownCard = "She never used full stops.";
    // Cards the application wrote, which follow the new measurements, and one the user wrote.
    for (const std::string& card :
         {std::string(), std::string("Short lines. Answer the way she would."),
          PersonaBuilder::card("Amma", "Mother", oldStats), ownCard}) {
        Folder folder;
        Persona persona = personaFor("Amma", card);
        persona.stats = oldStats;
        folder.write(persona);
        folder.write(original);
        const std::string archive = readFile(folder / "messages.json");
        std::vector<std::string> printed;
        Store store(folder.path, quiet(&printed));

        EXPECT_TRUE(printed.empty());
        EXPECT_EQ(store.messages(), kept);
        EXPECT_EQ(readFile(folder / "messages-backup.json"), archive);
        EXPECT_EQ(store.persona().stats, PersonaBuilder::stats("Amma", kept));
        EXPECT_EQ(store.persona().fewShot, FewShot::mine(kept, "Amma", 30));
        EXPECT_EQ(store.persona().card,
                  card == ownCard ? ownCard
                                  : PersonaBuilder::card("Amma", "Mother", store.persona().stats));
        EXPECT_EQ(ArchiveJson::decode(readFile(folder / "messages.json")), kept);
        EXPECT_EQ(Json::parse(readFile(folder / "persona.json")).get<Persona>(), store.persona());

        const ino_t backup = folder.inode("messages-backup.json");
        const ino_t filtered = folder.inode("messages.json");
        Store again(folder.path, quiet(&printed));
        EXPECT_EQ(again.messages(), kept);
        EXPECT_EQ(folder.inode("messages-backup.json"), backup);
        EXPECT_EQ(folder.inode("messages.json"), filtered);
        EXPECT_EQ(readFile(folder / "messages-backup.json"), archive);

        // A new archive replaces even the user's own card.
        again.adopt(chat(100), "Amma");
        EXPECT_EQ(again.persona().card,
                  PersonaBuilder::card("Amma", "Mother", PersonaBuilder::stats("Amma", chat(100))));
    }
}

TEST(Store, RefusesToDropHalfTheArchive) {
    Folder folder;
    folder.write(personaFor("Amma"));
    folder.write(chat(1000, 500));
    const std::string persona = readFile(folder / "persona.json");
    const std::string archive = readFile(folder / "messages.json");
    std::vector<std::string> printed;
    Store store(folder.path, quiet(&printed));
    EXPECT_THAT(printed, ElementsAre("Noise filter wanted to drop 500 of 1000 messages; refusing "
                                     "and leaving the archive alone."));
    EXPECT_EQ(store.messages(), chat(1000, 500));
    EXPECT_TRUE(store.persona().fewShot.empty());
    EXPECT_EQ(readFile(folder / "messages.json"), archive);
    EXPECT_EQ(readFile(folder / "persona.json"), persona);
    EXPECT_EQ(readFile(folder / "messages-backup.json"), archive);
}

TEST(Store, MinesAMissingBankOnLoad) {
    Folder folder;
    folder.write(personaFor("Amma"));
    folder.write(chat(60));
    Store store(folder.path, quiet());
    EXPECT_EQ(store.persona().fewShot, FewShot::mine(chat(60), "Amma", 30));
    EXPECT_FALSE(store.persona().fewShot.empty());
    EXPECT_EQ(Json::parse(readFile(folder / "persona.json")).get<Persona>().fewShot,
              store.persona().fewShot);

    // An archive without a single exchange leaves the bank empty and the file as it was.
    Folder lonely;
    lonely.write(personaFor("Ravi"));
    lonely.write(chat(1));
    const std::string persona = readFile(lonely / "persona.json");
    Store alone(lonely.path, quiet());
    EXPECT_NE(alone.index(), nullptr);
    EXPECT_TRUE(alone.persona().fewShot.empty());
    EXPECT_EQ(readFile(lonely / "persona.json"), persona);
}

TEST(Store, MovesTheApplicationsNoticesOutOfHerSide) {
    const std::vector<Store::Turn> turns = {
        turn(Speaker::her, "I never said that. tURN OFF her WORDS only and I can answer.", 1.0),
        turn(Speaker::her,
             "నాన్న BRING OUR CHATS ACROSS AND I'LL SOUND MORE LIKE MYSELF 🙂"),
        turn(Speaker::her, "i don't have anything of my own to say to that one"),
        turn(Speaker::her,
             "I don’t have anything of my own to say to that one"),  // another apostrophe
        turn(Speaker::me, "Turn off Her words only"),
        turn(Speaker::her, "did you eat?"),
    };
    std::vector<Store::Turn> expected = turns;
    for (const int moved : {0, 1, 2})
        expected[moved].speaker = Speaker::notice;
    EXPECT_EQ(Store::reclassify(turns), expected);

    Folder folder;
    folder.write("chat.json", Json(turns).dump());
    Store store(folder.path, quiet());
    EXPECT_EQ(store.transcript(), expected);
    EXPECT_EQ(Json::parse(readFile(folder / "chat.json")).get<std::vector<Store::Turn>>(),
              expected);

    // Nothing to move: the file is left as it is.
    const ino_t file = folder.inode("chat.json");
    Store again(folder.path, quiet());
    EXPECT_EQ(folder.inode("chat.json"), file);
}

TEST(Store, EraseEverythingKeepsTheBackupAndThePortraits) {
    Folder folder;
    folder.write(personaFor("Amma"));
    folder.write(chat(100, 10));
    folder.write("chat.json", Json(std::vector<Store::Turn>{turn(Speaker::me, "hi")}).dump());
    folder.write("portrait.png", "png");
    Store store(folder.path, quiet());
    ASSERT_TRUE(fs::exists(folder / "messages-backup.json"));
    std::vector<Store::Change> changes;
    store.observe([&](Store::Change change) { changes.push_back(change); });
    store.eraseEverything();
    EXPECT_EQ(folder.names(), (std::set<std::string>{"messages-backup.json", "portrait.png"}));
    EXPECT_EQ(store.persona(), Persona{});
    EXPECT_TRUE(store.messages().empty());
    EXPECT_EQ(store.index(), nullptr);
    EXPECT_TRUE(store.transcript().empty());
    EXPECT_THAT(changes, ElementsAre(Store::Change::messages, Store::Change::persona,
                                     Store::Change::index, Store::Change::transcript));
    EXPECT_TRUE(store.save());
    EXPECT_EQ(folder.names(), (std::set<std::string>{"messages-backup.json", "portrait.png"}));
}

TEST(Store, DefaultFolderFollowsTheDataHome) {
    const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    ::setenv("HOME", "/home/ravi", 1);
    ::setenv("XDG_DATA_HOME", "/data/ravi", 1);
    EXPECT_EQ(Store::defaultFolder(), "/data/ravi/Lumenary");
    for (const char* unusable : {"", "relative/data"}) {
        ::setenv("XDG_DATA_HOME", unusable, 1);
        EXPECT_EQ(Store::defaultFolder(), "/home/ravi/.local/share/Lumenary");
    }
    ::unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(Store::defaultFolder(), "/home/ravi/.local/share/Lumenary");
    ::setenv("HOME", home.c_str(), 1);
}

}  // namespace
}  // namespace lumenary
