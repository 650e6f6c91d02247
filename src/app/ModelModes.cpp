#include "ModelModes.h"

#include <filesystem>
#include <ostream>
#include <thread>

#include "LoginItem.h"
#include "common/XdgPaths.h"
#include "conversation/Conversation.h"
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

}  // namespace lumenary::ModelModes
