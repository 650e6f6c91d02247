// Runs against whichever backend this machine offers. ctest runs the program twice: inside a
// private D-Bus session with its own keyring, and with no session bus at all, naming the backend
// each run must find in LUMENARY_EXPECT_KEY_BACKEND so that a run set up wrongly fails rather than
// testing the other backend. Every test deletes the Lumenary keys of the backend it finds: never
// run this program against a real keyring.

#include <gtest/gtest.h>
#include <libsecret/secret.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "providers/Keys.h"

namespace lumenary {
namespace {

namespace fs = std::filesystem;

// This program links the core alone, so it keeps its own small file helpers.
class PrivateFolder {
public:
    PrivateFolder() {
        std::string pattern = (fs::temp_directory_path() / "lumenary-keys-XXXXXX").string();
        if (::mkdtemp(pattern.data()) != nullptr)
            path_ = pattern;
    }
    ~PrivateFolder() {
        std::error_code ignored;
        if (!path_.empty())
            fs::remove_all(path_, ignored);
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;

    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

class KeysTest : public ::testing::Test {
protected:
    void SetUp() override {
        // The file backend reads these on every call, so each test gets a folder of its own.
        ASSERT_FALSE(home_.path().empty());
        setenv("HOME", home_.path().c_str(), 1);
        setenv("XDG_CONFIG_HOME", (home_.path() / "config").c_str(), 1);
        const char* expected = std::getenv("LUMENARY_EXPECT_KEY_BACKEND");
        ASSERT_NE(expected, nullptr) << "set LUMENARY_EXPECT_KEY_BACKEND to secretService or file";
        ASSERT_EQ(keyring() ? "secretService" : "file", std::string(expected));
        Keys::removeAll();
    }

    static bool keyring() { return Keys::backend() == Keys::Backend::secretService; }

    static unsigned mode(const fs::path& path) {
        struct stat info {};
        return ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0;
    }

    PrivateFolder home_;
};

TEST_F(KeysTest, SetTrimsReplacesAndBlankRemovesOneProviderOnly) {
    Keys::set("  sk-open\n", Provider::openAI);
    EXPECT_EQ(Keys::get(Provider::openAI), "sk-open");
    // No-break space and line separator are white space too, as in a key pasted from a web page.
    Keys::set("\t\u00A0sk-new\u2028\r\n", Provider::openAI);
    EXPECT_EQ(Keys::get(Provider::openAI), "sk-new");

    Keys::set("sk-claude", Provider::claude);
    Keys::set("sk-gemini", Provider::gemini);
    Keys::set("   ", Provider::gemini);
    EXPECT_EQ(Keys::get(Provider::gemini), std::nullopt);
    EXPECT_EQ(Keys::get(Provider::openAI), "sk-new");
    EXPECT_EQ(Keys::get(Provider::claude), "sk-claude");
}

TEST_F(KeysTest, AnyConfiguredTakesTheFirstInProviderOrder) {
    EXPECT_EQ(Keys::anyConfigured(), std::nullopt);
    Keys::set("sk-g", Provider::gemini);
    Keys::set("sk-o", Provider::openAI);
    EXPECT_EQ(Keys::anyConfigured(), Provider::openAI);
    Keys::set("", Provider::openAI);
    EXPECT_EQ(Keys::anyConfigured(), Provider::gemini);
    Keys::set("sk-c", Provider::claude);
    EXPECT_EQ(Keys::anyConfigured(), Provider::claude);
    Keys::removeAll();
    EXPECT_EQ(Keys::anyConfigured(), std::nullopt);
    for (Provider provider : allProviders)
        EXPECT_EQ(Keys::get(provider), std::nullopt);
}

TEST_F(KeysTest, ConcurrentSavesOfDifferentProvidersAllSurvive) {
    std::vector<std::thread> threads;
    for (Provider provider : allProviders) {
        threads.emplace_back([provider] {
            for (int round = 0; round < 5; ++round)
                Keys::set("sk-" + std::to_string(round), provider);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (Provider provider : allProviders)
        EXPECT_EQ(Keys::get(provider), "sk-4");
}

// Every item of the session's keyring with exactly these two attributes, as secret-tool sees it.
std::vector<std::pair<std::string, std::string>> itemsFor(const std::string& account) {
    SecretService* service = secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, nullptr);
    if (service == nullptr)
        return {};
    GHashTable* attributes = g_hash_table_new(g_str_hash, g_str_equal);
    g_hash_table_insert(attributes, const_cast<char*>("service"),
                        const_cast<char*>("com.quorvan.lumenary"));
    g_hash_table_insert(attributes, const_cast<char*>("account"),
                        const_cast<char*>(account.c_str()));
    const auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_UNLOCK |
                                                      SECRET_SEARCH_LOAD_SECRETS);
    GList* found =
        secret_service_search_sync(service, nullptr, attributes, flags, nullptr, nullptr);
    std::vector<std::pair<std::string, std::string>> items;  // label, secret
    for (GList* node = found; node != nullptr; node = node->next) {
        auto* item = static_cast<SecretItem*>(node->data);
        gchar* label = secret_item_get_label(item);
        SecretValue* value = secret_item_get_secret(item);
        gsize length = 0;
        const gchar* bytes = value != nullptr ? secret_value_get(value, &length) : "";
        items.emplace_back(label != nullptr ? label : "", std::string(bytes, length));
        g_free(label);
        if (value != nullptr)
            secret_value_unref(value);
    }
    g_list_free_full(found, g_object_unref);
    g_hash_table_unref(attributes);
    g_object_unref(service);
    return items;
}

TEST_F(KeysTest, KeyringItemsAreMatchedByServiceAndAccountAlone) {
    if (!keyring())
        GTEST_SKIP() << "keyring run only";
    Keys::set("sk-claude", Provider::claude);
    Keys::set("sk-open", Provider::openAI);
    Keys::set("sk-gemini", Provider::gemini);
    using Items = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(itemsFor("api-key-claude"), (Items{{"Lumenary API key (Claude)", "sk-claude"}}));
    EXPECT_EQ(itemsFor("api-key-openAI"), (Items{{"Lumenary API key (OpenAI)", "sk-open"}}));
    EXPECT_EQ(itemsFor("api-key-gemini"), (Items{{"Lumenary API key (Gemini)", "sk-gemini"}}));
    EXPECT_FALSE(fs::exists(Keys::keyFile()));

    // An item another tool saved under its own schema name is read, and replaced by set().
    SecretSchema foreign{};
    foreign.name = "org.example.OtherTool";
    foreign.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    foreign.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    auto storeForeign = [&](const std::string& secret) {
        SecretValue* value = secret_value_new(secret.data(), static_cast<gssize>(secret.size()),
                                              "application/octet-stream");
        EXPECT_TRUE(secret_password_store_binary_sync(
            &foreign, SECRET_COLLECTION_DEFAULT, "other tool", value, nullptr, nullptr, "service",
            "com.quorvan.lumenary", "account", "api-key-openAI", nullptr));
        secret_value_unref(value);
    };
    Keys::set("", Provider::openAI);
    storeForeign("sk-foreign");
    EXPECT_EQ(Keys::get(Provider::openAI), "sk-foreign");
    Keys::set("sk-mine", Provider::openAI);
    EXPECT_EQ(itemsFor("api-key-openAI"), (Items{{"Lumenary API key (OpenAI)", "sk-mine"}}));

    Keys::set("", Provider::openAI);
    storeForeign("sk-\xFF\xFE");
    EXPECT_EQ(Keys::get(Provider::openAI), std::nullopt);
    EXPECT_EQ(Keys::anyConfigured(), Provider::claude);
}

// Every file under `folder` except `skip` that holds `needle`.
std::vector<fs::path> filesHolding(const fs::path& folder, const std::string& needle,
                                   const fs::path& skip) {
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && entry.path() != skip &&
            readFile(entry.path()).find(needle) != std::string::npos) {
            found.push_back(entry.path());
        }
    }
    return found;
}

TEST_F(KeysTest, KeyFileIsPrivateAndHoldsTheOnlyCopy) {
    if (keyring())
        GTEST_SKIP() << "file run only";
    const fs::path file = Keys::keyFile();
    EXPECT_EQ(file, home_.path() / "config/Lumenary/keys.json");
    Keys::set("sk-first-secret", Provider::openAI);
    Keys::set("sk-second-secret", Provider::openAI);
    Keys::set("sk-gemini-secret", Provider::gemini);
    EXPECT_EQ(mode(file), 0600u);
    EXPECT_EQ(mode(file.parent_path()), 0700u);
    EXPECT_EQ(mode(file.parent_path().parent_path()), 0700u);
    const auto stored = nlohmann::json::parse(readFile(file));
    EXPECT_EQ(stored,
              (nlohmann::json{{"openAI", "sk-second-secret"}, {"gemini", "sk-gemini-secret"}}));
    for (const char* secret : {"sk-first-secret", "sk-second-secret", "sk-gemini-secret"})
        EXPECT_EQ(filesHolding(home_.path(), secret, file), std::vector<fs::path>{}) << secret;

    // The file goes with its last key; its folder stays.
    Keys::set("", Provider::openAI);
    EXPECT_TRUE(fs::exists(file));
    Keys::set("\n", Provider::gemini);
    EXPECT_FALSE(fs::exists(file));
    EXPECT_TRUE(fs::is_directory(file.parent_path()));
}

TEST_F(KeysTest, DamagedKeyFileHoldsNoKeyAndIsReplacedBySet) {
    if (keyring())
        GTEST_SKIP() << "file run only";
    const fs::path file = Keys::keyFile();
    const std::vector<std::string> damaged = {"",
                                              "{",
                                              R"({"openAI": "sk-trunc)",
                                              R"(["sk-a"])",
                                              R"("sk-a")",
                                              R"({"openAI": 42})",
                                              R"({"openAI": ""})",
                                              R"({"openAI": null})",
                                              "{\"openAI\": \"sk-\xFF\"}",
                                              std::string(60000, '[')};
    for (const std::string& bytes : damaged) {
        writeFile(file, bytes);
        EXPECT_EQ(Keys::get(Provider::openAI), std::nullopt) << bytes.substr(0, 40);
        EXPECT_EQ(Keys::anyConfigured(), std::nullopt) << bytes.substr(0, 40);
        Keys::set("sk-after", Provider::gemini);
        EXPECT_EQ(Keys::get(Provider::gemini), "sk-after") << bytes.substr(0, 40);
        EXPECT_EQ(mode(file), 0600u);
    }

    // An entry of the wrong type hides only its own provider and survives other saves.
    writeFile(file, R"({"openAI": 42, "gemini": "sk-g"})");
    EXPECT_EQ(Keys::anyConfigured(), Provider::gemini);
    Keys::set("sk-c", Provider::claude);
    EXPECT_EQ(nlohmann::json::parse(readFile(file)),
              (nlohmann::json{{"openAI", 42}, {"gemini", "sk-g"}, {"claude", "sk-c"}}));

    // A folder in the file's place is unreadable, not damaged: nothing is read or replaced.
    fs::remove(file);
    fs::create_directory(file);
    Keys::set("sk-c", Provider::claude);
    EXPECT_EQ(Keys::get(Provider::claude), std::nullopt);
    EXPECT_TRUE(fs::is_directory(file));
}

}  // namespace
}  // namespace lumenary
