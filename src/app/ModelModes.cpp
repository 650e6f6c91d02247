#include "ModelModes.h"

#include <ctime>
#include <filesystem>
#include <ostream>
#include <thread>

#include "LoginItem.h"
#include "common/XdgPaths.h"
#include "conversation/Conversation.h"
#include "importer/ArchiveImporter.h"
#include "providers/Keys.h"
#include "providers/ModelClient.h"
#include "store/Store.h"
#include "text/TextRules.h"

namespace lumenary::ModelModes {
namespace {

// The model call runs on its own thread while this one waits, as the desktop's calls never block
// the thread that owns the store.
Expected<std::string, ModelError> completeOffThread(const Conversation::Request& request,
                                                    const std::optional<std::string>& baseUrl) {
    std::optional<Expected<std::string, ModelError>> result;
    std::thread worker([&] {
        ModelClient::Options options;
        options.baseUrl = baseUrl;
        result = ModelClient::complete(request.provider, request.model, request.system,
                                       request.turns, options);
    });
    worker.join();
    return std::move(*result);
}

// Seeding replaces the archive, and one already in the data folder may be the only copy of her
// messages. It is copied aside first ("before-demo-<seconds>/"), and nothing is seeded when that
// fails.
bool keepExistingData(const std::filesystem::path& folder) {
    namespace fs = std::filesystem;
    std::error_code error;
    if (!fs::exists(folder / Store::messagesFile, error))
        return true;
    const fs::path aside = folder / ("before-demo-" + std::to_string(std::time(nullptr)));
    fs::create_directories(aside, error);
    if (error)
        return false;
    for (std::string_view name : {Store::personaFile, Store::messagesFile, Store::transcriptFile}) {
        const fs::path from = folder / name;
        if (!fs::exists(from, error))
            continue;
        fs::copy_file(from, aside / name, fs::copy_options::skip_existing, error);
        if (error)
            return false;
    }
    return true;
}

}  // namespace

std::string expandTilde(const std::string& path) {
    if (path == "~")
        return XdgPaths::home().string();
    if (path.starts_with("~/"))
        return (XdgPaths::home() / path.substr(2)).string();
    return path;
}

int ping(const std::string& message, std::ostream& out) {
    const Store store(Store::defaultFolder());
    const Persona& persona = store.persona();
    Provider provider = persona.provider;
    if (!Keys::get(provider)) {
        const std::optional<Provider> configured = Keys::anyConfigured();
        if (!configured) {
            out << kNoKey << '\n';
            return 1;
        }
        provider = *configured;
    }
    Conversation::Request request{provider,
                                  persona.model(provider),
                                  "Reply with the single word: ok",
                                  {ChatTurn{"user", message}}};
    out << displayName(provider) << " \u00B7 " << request.model << '\n';
    out.flush();

    const auto reply = completeOffThread(request, persona.endpoint(provider));
    if (!reply) {
        out << "Failed: " << reply.error().description() << '\n';
        return 1;
    }
    out << text::trimWhitespace(*reply) << '\n';
    return 0;
}

int ask(const std::string& question, std::ostream& out) {
    if (!Keys::anyConfigured()) {
        out << kNoKey << '\n';
        return 1;
    }
    const Store store(Store::defaultFolder());
    const Conversation::Request request = Conversation::plan(store, question, Keys::get);
    const auto reply = completeOffThread(request, store.persona().endpoint(request.provider));
    if (!reply) {
        out << "Failed: " << reply.error().description() << '\n';
        return 1;
    }
    out << *reply << '\n';
    return 0;
}

int unregisterLoginItem(std::ostream& err) {
    if (LoginItem::status() != LoginItem::Status::enabled)
        return 0;
    if (const auto failure = LoginItem::set(false)) {
        err << "Could not remove the login item: " << *failure << '\n';
        return 1;
    }
    return 0;
}

int seedDemo(const std::string& exportPath, const std::optional<std::string>& preferredName,
             std::ostream& out, std::ostream& err) {
    std::error_code error;
    std::filesystem::path path = std::filesystem::absolute(expandTilde(exportPath), error);
    if (error)
        path = expandTilde(exportPath);
    path = path.lexically_normal();

    auto imported = ArchiveImporter::load(path);
    const std::optional<std::string> sender =
        imported ? ArchiveImporter::suggestSpeaker(imported->senders, preferredName) : std::nullopt;
    if (!sender) {
        err << "Could not seed from " << path.string() << '\n';
        return 1;
    }

    const std::filesystem::path folder = Store::defaultFolder();
    if (!keepExistingData(folder)) {
        err << "Could not keep a copy of the archive already in " << folder.string()
            << ", so nothing was seeded.\n";
        return 1;
    }
    Store store(folder);
    Persona persona = store.persona();
    persona.name = *sender;
    persona.relationship = "Mother";
    persona.onboarded = true;
    persona.herWordsOnly = true;
    store.setPersona(std::move(persona));
    const std::size_t count = imported->messages.size();
    store.adopt(std::move(imported->messages), *sender);
    out << "Seeded " << count << " messages as " << *sender << ". Starting\u2026\n";
    return 0;
}

}  // namespace lumenary::ModelModes
