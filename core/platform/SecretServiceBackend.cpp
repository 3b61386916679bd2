#include "platform/SecretServiceBackend.h"

#include <libsecret/secret.h>
#include <memory>

namespace Larkhaven {

namespace {

constexpr const char* contentType = "application/octet-stream";

struct ObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct ErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
struct ValueUnref {
    void operator()(SecretValue* value) const { secret_value_unref(value); }
};
struct ItemsFree {
    void operator()(GList* items) const { g_list_free_full(items, g_object_unref); }
};
struct TableUnref {
    void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};

using Service = std::unique_ptr<SecretService, ObjectUnref>;
using Error = std::unique_ptr<GError, ErrorFree>;
using Value = std::unique_ptr<SecretValue, ValueUnref>;
using Items = std::unique_ptr<GList, ItemsFree>;
using Attributes = std::unique_ptr<GHashTable, TableUnref>;

const SecretSchema* schema()
{
    static const SecretSchema schema = [] {
        SecretSchema made{};
        made.name = "com.tundra42.larkhaven";
        made.flags = SECRET_SCHEMA_NONE;
        made.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        made.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return made;
    }();
    return &schema;
}

Attributes attributes(const QString& service, const QString& account)
{
    return Attributes(secret_attributes_build(schema(), "service", service.toUtf8().constData(), "account",
                                              account.toUtf8().constData(), nullptr));
}

/// Whether the service had answered before the call.
enum class Phase { connecting, connected };

KeychainStatus statusOf(const GError* error, Phase phase)
{
    if (g_error_matches(error, SECRET_ERROR, SECRET_ERROR_IS_LOCKED))
        return KeychainStatus::interactionNotAllowed;
    // A service that is there but gives no answer in time must not be taken for one without the item.
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
        g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED))
        return KeychainStatus::failed;
    const bool absent =
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NAME_HAS_NO_OWNER) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SPAWN_EXEC_FAILED) ||
        g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_SPAWN_CHILD_EXITED) ||
        error->domain == G_SPAWN_ERROR ||
        // No bus at all. A service that breaks off in mid-call is there, and may hold the item.
        (error->domain == G_IO_ERROR && phase == Phase::connecting);
    return absent ? KeychainStatus::notAvailable : KeychainStatus::failed;
}

struct Search {
    KeychainStatus status = KeychainStatus::success;
    Items items;
};

/// Finds the item, unlocking its collection; `success` means that there is one and that it is open.
Search search(const QString& service, const QString& account)
{
    GError* error = nullptr;
    const Service connection(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error));
    if (!connection) {
        const Error owned(error);
        return {statusOf(owned.get(), Phase::connecting), nullptr};
    }
    constexpr auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS);
    Items items(secret_service_search_sync(connection.get(), schema(), attributes(service, account).get(),
                                           flags, nullptr, &error));
    if (error) {
        const Error owned(error);
        return {statusOf(owned.get(), Phase::connected), nullptr};
    }
    if (!items)
        return {KeychainStatus::itemNotFound, nullptr};
    if (secret_item_get_locked(static_cast<SecretItem*>(items->data)))
        return {KeychainStatus::interactionNotAllowed, nullptr};
    return {KeychainStatus::success, std::move(items)};
}

Value secretValue(const QByteArray& data)
{
    return Value(secret_value_new(data.constData(), static_cast<gssize>(data.size()), contentType));
}

/// The status of a call that filled `error`, which is freed.
KeychainStatus finish(GError* error)
{
    if (!error)
        return KeychainStatus::success;
    const Error owned(error);
    return statusOf(owned.get(), Phase::connected);
}

} // namespace

KeychainBackend::ReadResult SecretServiceBackend::read(const QString& service, const QString& account)
{
    const Search found = search(service, account);
    if (found.status != KeychainStatus::success)
        return {found.status, std::nullopt};
    const Value value(secret_item_get_secret(static_cast<SecretItem*>(found.items->data)));
    if (!value)
        return {KeychainStatus::success, std::nullopt};
    gsize length = 0;
    const gchar* bytes = secret_value_get(value.get(), &length);
    return {KeychainStatus::success, QByteArray(bytes, static_cast<qsizetype>(length))};
}

KeychainStatus SecretServiceBackend::update(const QString& service, const QString& account,
                                            const QByteArray& data)
{
    const Search found = search(service, account);
    if (found.status != KeychainStatus::success)
        return found.status;
    GError* error = nullptr;
    secret_item_set_secret_sync(static_cast<SecretItem*>(found.items->data), secretValue(data).get(), nullptr,
                                &error);
    return finish(error);
}

KeychainStatus SecretServiceBackend::add(const QString& service, const QString& account,
                                         const QByteArray& data, const QString& label)
{
    GError* error = nullptr;
    const Service connection(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, nullptr, &error));
    if (!connection) {
        const Error owned(error);
        return statusOf(owned.get(), Phase::connecting);
    }
    secret_service_store_sync(connection.get(), schema(), attributes(service, account).get(),
                              SECRET_COLLECTION_DEFAULT, label.toUtf8().constData(), secretValue(data).get(),
                              nullptr, &error);
    return finish(error);
}

KeychainStatus SecretServiceBackend::remove(const QString& service, const QString& account)
{
    const Search found = search(service, account);
    if (found.status != KeychainStatus::success)
        return found.status;
    GError* error = nullptr;
    secret_service_clear_sync(nullptr, schema(), attributes(service, account).get(), nullptr, &error);
    return finish(error);
}

} // namespace Larkhaven
