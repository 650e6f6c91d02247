#include "providers/KeyringStore.h"

#include <libsecret/secret.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace lumenary::KeyringStore {
namespace {

constexpr const char* kService = "com.quorvan.lumenary";

// Long enough for the bus to start an installed but idle keyring daemon on demand, short enough
// that a hung service costs a few seconds once rather than D-Bus's default 25 s.
constexpr int kProbeTimeoutMs = 5000;

const SecretSchema& apiKeySchema() {
    static const SecretSchema schema = [] {
        SecretSchema built{};
        built.name = "com.quorvan.lumenary.ApiKey";
        // Without this flag libsecret adds the schema name as a third attribute to every search,
        // and an item saved by another tool under the same service and account would not match.
        built.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        built.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        built.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return built;
    }();
    return schema;
}

std::string accountOf(Provider provider) {
    return "api-key-" + std::string(rawValue(provider));
}

// Owns the GError a call may leave. Its message is dropped unread: nothing here is reported.
class ErrorSlot {
public:
    ErrorSlot() = default;
    ~ErrorSlot() {
        if (error_ != nullptr)
            g_error_free(error_);
    }
    ErrorSlot(const ErrorSlot&) = delete;
    ErrorSlot& operator=(const ErrorSlot&) = delete;

    GError** out() { return &error_; }

private:
    GError* error_ = nullptr;
};

// Whether GIO would find a session bus without launching one. With DBUS_SESSION_BUS_ADDRESS
// unset it tries $XDG_RUNTIME_DIR/bus and then runs `dbus-launch --autolaunch`, which under X11
// starts a private bus (and, with the activatable keyring, a keyring daemon) that outlives us.
bool sessionBusReachable() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address != nullptr) {
        return *address != '\0';
    }
    const char* runtimeDir = std::getenv("XDG_RUNTIME_DIR");
    if (runtimeDir == nullptr || *runtimeDir != '/')
        return false;
    const std::string socket = std::string(runtimeDir) + "/bus";
    struct stat info {};
    return ::stat(socket.c_str(), &info) == 0 && S_ISSOCK(info.st_mode) &&
           info.st_uid == ::geteuid();
}

}  // namespace

bool answers() {
    if (!sessionBusReachable())
        return false;
    ErrorSlot failure;
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, failure.out());
    if (bus == nullptr)
        return false;
    // ReadAlias is a Secret Service method, so a reply proves a keyring rather than any program
    // owning the name; the call also starts an activatable keyring daemon.
    GVariant* reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.secrets", "/org/freedesktop/secrets",
        "org.freedesktop.Secret.Service", "ReadAlias", g_variant_new("(s)", "default"),
        G_VARIANT_TYPE("(o)"), G_DBUS_CALL_FLAGS_NONE, kProbeTimeoutMs, nullptr, failure.out());
    g_object_unref(bus);
    if (reply == nullptr)
        return false;
    g_variant_unref(reply);
    return true;
}

std::optional<std::string> read(Provider provider) {
    const std::string account = accountOf(provider);
    ErrorSlot failure;
    SecretValue* value =
        secret_password_lookup_binary_sync(&apiKeySchema(), nullptr, failure.out(), "service",
                                           kService, "account", account.c_str(), nullptr);
    if (value == nullptr)
        return std::nullopt;
    // Read as bytes and validated here: the text lookup passes any bytes labelled "text/plain",
    // invalid UTF-8 included, and stops at an embedded zero byte.
    gsize length = 0;
    const gchar* bytes = secret_value_get(value, &length);
    std::optional<std::string> key;
    if (length > 0 && g_utf8_validate(bytes, static_cast<gssize>(length), nullptr)) {
        key.emplace(bytes, length);
    }
    secret_value_unref(value);  // the value lives in memory that is wiped when freed
    return key;
}

void store(Provider provider, std::string_view key) {
    const std::string account = accountOf(provider);
    const std::string label = "Lumenary API key (" + std::string(displayName(provider)) + ")";
    SecretValue* value =
        secret_value_new(key.data(), static_cast<gssize>(key.size()), "text/plain");
    ErrorSlot failure;
    secret_password_store_binary_sync(&apiKeySchema(), SECRET_COLLECTION_DEFAULT, label.c_str(),
                                      value, nullptr, failure.out(), "service", kService, "account",
                                      account.c_str(), nullptr);
    secret_value_unref(value);
}

void remove(Provider provider) {
    const std::string account = accountOf(provider);
    ErrorSlot failure;
    secret_password_clear_sync(&apiKeySchema(), nullptr, failure.out(), "service", kService,
                               "account", account.c_str(), nullptr);
}

}  // namespace lumenary::KeyringStore
