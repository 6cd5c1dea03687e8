#include "core/site/KeychainHelper.h"

#include "core/base/Unicode.h"

#include <libsecret/secret.h>

#include <memory>

// The secret store of a Linux desktop: the Secret Service of the session bus, such as gnome-keyring or
// KWallet.

namespace harbor {

namespace {

constexpr auto serviceName = "com.tallowick.harbor";
constexpr auto lockedText = "The keyring is locked.";

template <auto release>
struct Released {
    template <class T>
    void operator()(T* object) const
    {
        release(object);
    }
};
void freeItems(GList* items) { g_list_free_full(items, g_object_unref); }

using Service = std::unique_ptr<SecretService, Released<g_object_unref>>;
using Attributes = std::unique_ptr<GHashTable, Released<g_hash_table_unref>>;
using Items = std::unique_ptr<GList, Released<freeItems>>;
using Secret = std::unique_ptr<SecretValue, Released<secret_value_unref>>;

/// Receives the error of a GLib call.
class Failure {
public:
    Failure() = default;
    Failure(Failure const&) = delete;
    Failure& operator=(Failure const&) = delete;
    ~Failure() { g_clear_error(&error_); }
    GError** out() { return &error_; }
    explicit operator bool() const { return error_ != nullptr; }

    /// The platform's words. A prompt that was dismissed leaves no error behind, only a locked keyring.
    std::string text() const
    {
        if (!error_ || g_error_matches(error_, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
            return lockedText;
        g_dbus_error_strip_remote_error(error_);
        std::string const words = error_->message;
        if (isAboutMissingService())
            return "No secret store answers on the session's D-Bus. A Secret Service such as gnome-keyring "
                   "or KWallet has to be running ("
                + words + ")";
        return words;
    }

private:
    bool isAboutMissingService() const
    {
        return error_->domain == G_IO_ERROR
            || g_error_matches(error_, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN)
            || g_error_matches(error_, G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER)
            || g_error_matches(error_, G_DBUS_ERROR, G_DBUS_ERROR_NO_SERVER);
    }

    GError* error_ = nullptr;
};

SecretSchema const* schema()
{
    static SecretSchema const shared = [] {
        SecretSchema made {};
        made.name = "org.freedesktop.Secret.Generic";
        made.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
        made.attributes[0] = { "service", SECRET_SCHEMA_ATTRIBUTE_STRING };
        made.attributes[1] = { "account", SECRET_SCHEMA_ATTRIBUTE_STRING };
        return made;
    }();
    return &shared;
}

Attributes attributesOf(std::string const& account)
{
    return Attributes(
        secret_attributes_build(schema(), "service", serviceName, "account", account.c_str(), nullptr));
}

/// D-Bus carries only such texts; nothing can ever lie under another account.
bool canBeAnAccount(std::string const& account)
{
    return unicode::isValidUtf8(account) && account.find('\0') == std::string::npos;
}

Service connect(Failure& failure)
{
    return Service(secret_service_get_sync(SECRET_SERVICE_NONE, nullptr, failure.out()));
}

Items findItems(std::string const& account, int flags, Failure& failure)
{
    auto const service = connect(failure);
    if (!service)
        return nullptr;
    auto const attributes = attributesOf(account);
    return Items(secret_service_search_sync(service.get(), schema(), attributes.get(),
        static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | flags), nullptr, failure.out()));
}

SecretItem* itemOf(GList const* node) { return static_cast<SecretItem*>(node->data); }

}  // namespace

void KeychainHelper::saveSecret(std::string const& value, std::string const& account)
{
    if (!unicode::isValidUtf8(value))
        throw KeychainError::unexpectedData();
    if (!canBeAnAccount(account))
        throw KeychainError::saveFailed("The account is not valid text.");
    try {
        deleteSecret(account);
    } catch (KeychainError const&) {
        // What stands in the way of the new item shows when it is stored.
    }

    Failure failure;
    auto const service = connect(failure);
    if (!service)
        throw KeychainError::saveFailed(failure.text());
    auto const label = "Tallowick Harbor - " + account;
    Secret const secret(secret_value_new(value.data(), static_cast<gssize>(value.size()), "text/plain"));
    auto const stored = secret_service_store_sync(service.get(), schema(), attributesOf(account).get(),
        SECRET_COLLECTION_DEFAULT, label.c_str(), secret.get(), nullptr, failure.out());
    if (!stored)
        throw KeychainError::saveFailed(failure.text());
}

std::string KeychainHelper::readSecret(std::string const& account)
{
    if (!canBeAnAccount(account))
        throw KeychainError::itemNotFound();
    Failure failure;
    auto const items = findItems(account, SECRET_SEARCH_UNLOCK, failure);
    if (failure)
        throw KeychainError::readFailed(failure.text());
    if (!items)
        throw KeychainError::itemNotFound();

    auto* const item = itemOf(items.get());
    if (secret_item_get_locked(item))
        throw KeychainError::readFailed(lockedText);
    if (!secret_item_load_secret_sync(item, nullptr, failure.out()))
        throw KeychainError::readFailed(failure.text());
    Secret const secret(secret_item_get_secret(item));
    if (!secret)
        throw KeychainError::unexpectedData();
    gsize length = 0;
    auto const* const bytes = secret_value_get(secret.get(), &length);
    std::string value(bytes, length);
    if (!unicode::isValidUtf8(value))
        throw KeychainError::unexpectedData();
    return value;
}

bool KeychainHelper::secretExists(std::string const& account)
{
    if (!canBeAnAccount(account))
        return false;
    Failure failure;
    auto const items = findItems(account, SECRET_SEARCH_NONE, failure);
    return items != nullptr;
}

void KeychainHelper::deleteSecret(std::string const& account)
{
    if (!canBeAnAccount(account))
        return;
    Failure failure;
    auto const items = findItems(account, SECRET_SEARCH_UNLOCK, failure);
    if (failure)
        throw KeychainError::deleteFailed(failure.text());
    for (auto const* node = items.get(); node; node = node->next) {
        if (secret_item_get_locked(itemOf(node)))
            throw KeychainError::deleteFailed(lockedText);
        if (!secret_item_delete_sync(itemOf(node), nullptr, failure.out()))
            throw KeychainError::deleteFailed(failure.text());
    }
}

}  // namespace harbor
