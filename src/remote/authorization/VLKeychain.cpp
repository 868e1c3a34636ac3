#include "remote/authorization/VLKeychain.h"

#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"

#include <QByteArray>

#include <libsecret/secret.h>

#include <functional>
#include <list>
#include <memory>
#include <mutex>

namespace {

/// What an item is found by. Empty names are left out, which makes a search for several.
struct Attributes {
    QString service, kind, account, host;

    [[nodiscard]] bool matches(const Attributes& item) const {
        return service == item.service && kind == item.kind &&
               (account.isEmpty() || account == item.account) && (host.isEmpty() || host == item.host);
    }
};

// ---- GLib's objects, released as they go

template <auto release>
struct Release {
    template <typename Object>
    void operator()(Object* object) const {
        release(object);
    }
};
template <typename Object>
using ObjectPtr = std::unique_ptr<Object, Release<g_object_unref>>;
using TablePtr = std::unique_ptr<GHashTable, Release<g_hash_table_unref>>;
using ValuePtr = std::unique_ptr<SecretValue, Release<secret_value_unref>>;

/// An error as GLib's functions fill it in.
class Error {
public:
    ~Error() { g_clear_error(&m_error); }
    Error() = default;
    Error(const Error&) = delete;
    Error& operator=(const Error&) = delete;
    operator GError**() { return &m_error; }
    [[nodiscard]] bool isSet() const { return m_error != nullptr; }
    [[nodiscard]] int code() const { return m_error ? m_error->code : 0; }
    [[nodiscard]] bool isCancelled() const {
        return g_error_matches(m_error, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
    }
    [[nodiscard]] QString message() const {
        return m_error ? QString::fromUtf8(m_error->message) : QString();
    }

private:
    GError* m_error = nullptr;
};

const SecretSchema* schema() {
    static const SecretSchema schema{"org.velmora.Orlendo.HostPassword",
                                     SECRET_SCHEMA_NONE,
                                     {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"kind", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {"host", SECRET_SCHEMA_ATTRIBUTE_STRING},
                                      {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                     0,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr,
                                     nullptr};
    return &schema;
}

TablePtr table(const Attributes& attributes) {
    TablePtr table(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free));
    const auto insert = [&](const char* key, const QString& value) {
        if (!value.isEmpty())
            g_hash_table_insert(table.get(), g_strdup(key), g_strdup(value.toUtf8().constData()));
    };
    insert("service", attributes.service);
    insert("kind", attributes.kind);
    insert("account", attributes.account);
    insert("host", attributes.host);
    return table;
}

/// Waits on this thread for one asynchronous operation after the other. The blocking forms of the library
/// cannot be ended from outside, and one may be waiting for the user.
class Waiter {
public:
    Waiter() : m_context(g_main_context_new()), m_cancellable(g_cancellable_new()) {
        g_main_context_push_thread_default(m_context);
        m_tick = g_timeout_source_new(100);
        g_source_set_callback(m_tick, &Waiter::tick, this, nullptr);
        g_source_attach(m_tick, m_context);
    }
    ~Waiter() {
        g_source_destroy(m_tick);
        g_source_unref(m_tick);
        g_main_context_pop_thread_default(m_context);
        g_main_context_unref(m_context);
    }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    using Start = std::function<void(GCancellable*, GAsyncReadyCallback, gpointer)>;
    [[nodiscard]] GAsyncResult* wait(const Start& start) {
        m_result.reset();
        start(m_cancellable.get(), &Waiter::finished, this);
        while (!m_result)
            g_main_context_iteration(m_context, TRUE);
        return m_result.get();
    }

private:
    static void finished(GObject*, GAsyncResult* result, gpointer self) {
        static_cast<Waiter*>(self)->m_result.reset(G_ASYNC_RESULT(g_object_ref(result)));
    }
    static gboolean tick(gpointer self) {
        if (VLThread::isCancelled()) g_cancellable_cancel(static_cast<Waiter*>(self)->m_cancellable.get());
        return G_SOURCE_CONTINUE;
    }

    GMainContext* m_context;
    ObjectPtr<GCancellable> m_cancellable;
    GSource* m_tick = nullptr;
    ObjectPtr<GAsyncResult> m_result;
};

// ---- Where the items are

struct SecretItemPtr : ObjectPtr<SecretItem> {
    using ObjectPtr<SecretItem>::unique_ptr;
};

/// The passwords of a session without a Secret Service.
struct SessionItem {
    Attributes attributes;
    Secret password;
};

struct Store {
    std::mutex turn;  ///< held during a call
    bool hasNoService = false;
    std::list<SessionItem> sessionItems;
};

Store& store() {
    static Store store;
    return store;
}

/// One call: takes its turn and finds out who keeps the passwords.
class Call {
public:
    Call() : m_turn(store().turn) {
        if (!store().hasNoService) connect();
    }
    ~Call() {
        // The library's own connection hands its events to the loop of the thread that made it.
        if (m_service) secret_service_disconnect();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    [[nodiscard]] SecretService* service() const { return m_service.get(); }
    [[nodiscard]] Waiter& waiter() { return m_waiter; }
    /// Null where the Secret Service keeps them.
    [[nodiscard]] std::list<SessionItem>* sessionItems() const {
        return store().hasNoService ? &store().sessionItems : nullptr;
    }

    /// Every item of these attributes. They are unlocked, or bring their passwords, only when the flags say
    /// so.
    [[nodiscard]] std::list<SecretItemPtr> search(const Attributes& attributes, int additionalFlags = 0) {
        const auto flags = static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | additionalFlags);
        const TablePtr names = table(attributes);
        Error error;
        GAsyncResult* result = m_waiter.wait([&](auto* cancellable, auto callback, auto data) {
            secret_service_search(service(), schema(), names.get(), flags, cancellable, callback, data);
        });
        GList* found = secret_service_search_finish(service(), result, error);
        if (error.isSet())
            VLLog::appendLog(QStringLiteral("status %d from SecKeychainSearchCreateFromAttributes\n"),
                             error.code());
        std::list<SecretItemPtr> items;
        for (GList* link = found; link; link = link->next)
            items.emplace_back(static_cast<SecretItem*>(link->data));
        g_list_free(found);
        return items;
    }

private:
    void connect() {
        Error error;
        const ObjectPtr<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, error));
        if (bus) {
            g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
            GAsyncResult* result = m_waiter.wait([](auto* cancellable, auto callback, auto data) {
                secret_service_get(SECRET_SERVICE_OPEN_SESSION, cancellable, callback, data);
            });
            m_service.reset(secret_service_get_finish(result, error));
        }
        if (m_service || error.isCancelled()) return;
        store().hasNoService = true;
        VLLog::appendLog(
            QStringLiteral("There is no keychain here (%@); passwords are kept until the program ends."),
            error.message());
    }

    const std::lock_guard<std::mutex> m_turn;
    Waiter m_waiter;
    ObjectPtr<SecretService> m_service;
};

/// Runs `work` where it may block, and where there is somebody to keep passwords.
void onWorker(const std::function<void(Call&)>& work) {
    if (MainThread::isCurrent()) {
        VLLog::appendLog(QStringLiteral("Error: trying to use the keychain on main thread. Aborting..."));
        return;
    }
    Call call;
    if (call.service() || call.sessionItems()) work(call);
}

ValuePtr value(const Secret& password) {
    return ValuePtr(secret_value_new(password.c_str(), password.view().size(), "text/plain"));
}

/// False also when the user would not unlock or make the keychain.
bool addToService(Call& call, const Attributes& attributes, const Secret& password) {
    const QByteArray label =
        QStringLiteral("%1: %2, %3").arg(attributes.service, attributes.account, attributes.host).toUtf8();
    const TablePtr names = table(attributes);
    const ValuePtr secret = value(password);
    Error error;
    GAsyncResult* result = call.waiter().wait([&](auto* cancellable, auto callback, auto data) {
        secret_service_store(call.service(), schema(), names.get(), SECRET_COLLECTION_DEFAULT,
                             label.constData(), secret.get(), cancellable, callback, data);
    });
    const bool isStored = secret_service_store_finish(call.service(), result, error);
    if (error.isSet()) VLLog::appendLog(QStringLiteral("Error creating new item: %d\n"), error.code());
    return isStored;
}

void modifyInService(Call& call, const Attributes& attributes, const Secret& password) {
    const auto items = call.search(attributes, SECRET_SEARCH_UNLOCK);
    for (const SecretItemPtr& item : items) {
        const ValuePtr secret = value(password);
        Error error;
        GAsyncResult* result = call.waiter().wait([&](auto* cancellable, auto callback, auto data) {
            secret_item_set_secret(item.get(), secret.get(), cancellable, callback, data);
        });
        secret_item_set_secret_finish(item.get(), result, error);
        if (error.isSet()) VLLog::appendLog(QStringLiteral("Error modifying item: %d"), error.code());
    }
}

void deleteItems(const Attributes& attributes) {
    onWorker([&](Call& call) {
        if (auto* items = call.sessionItems()) {
            items->remove_if([&](const SessionItem& item) { return attributes.matches(item.attributes); });
            return;
        }
        // What is locked is not cleared, without an error.
        if (call.search(attributes, SECRET_SEARCH_UNLOCK).empty()) return;
        const TablePtr names = table(attributes);
        Error error;
        GAsyncResult* result = call.waiter().wait([&](auto* cancellable, auto callback, auto data) {
            secret_service_clear(call.service(), schema(), names.get(), cancellable, callback, data);
        });
        secret_service_clear_finish(call.service(), result, error);
        if (error.isSet()) VLLog::appendLog(QStringLiteral("Error deleting item: %d\n"), error.code());
    });
}

SessionItem* sessionItem(std::list<SessionItem>& items, const Attributes& attributes) {
    for (SessionItem& item : items)
        if (attributes.matches(item.attributes)) return &item;
    return nullptr;
}

}  // namespace

bool VLKeychain::outlivesProgram() {
    bool isService = false;
    onWorker([&](Call& call) { isService = !call.sessionItems(); });
    return isService;
}

bool VLKeychain::addKeychainItem(const QString& serviceName, const QString& itemKind, const QString& username,
                                 const Secret& password, const QString& hostname) {
    const Attributes attributes{serviceName, itemKind, username, hostname};
    bool isStored = false;
    onWorker([&](Call& call) {
        auto* items = call.sessionItems();
        isStored = items || addToService(call, attributes, password);
        if (!items) return;
        if (SessionItem* item = sessionItem(*items, attributes))
            item->password = Secret(password.view());
        else
            items->push_back({attributes, Secret(password.view())});
    });
    return isStored;
}

bool VLKeychain::checkForExistenceOfKeychainItem(const QString& serviceName, const QString& itemKind,
                                                 const QString& username, const QString& hostname) {
    const Attributes attributes{serviceName, itemKind, username, hostname};
    bool exists = false;
    onWorker([&](Call& call) {
        auto* items = call.sessionItems();
        exists = items ? sessionItem(*items, attributes) != nullptr : !call.search(attributes).empty();
    });
    return exists;
}

std::optional<Secret> VLKeychain::getPasswordFromKeychainItem(const QString& serviceName,
                                                              const QString& itemKind,
                                                              const QString& username,
                                                              const QString& hostname) {
    const Attributes attributes{serviceName, itemKind, username, hostname};
    std::optional<Secret> password;
    onWorker([&](Call& call) {
        if (auto* items = call.sessionItems()) {
            if (const SessionItem* item = sessionItem(*items, attributes))
                password = Secret(item->password.view());
            return;
        }
        const auto items = call.search(attributes, SECRET_SEARCH_UNLOCK | SECRET_SEARCH_LOAD_SECRETS);
        if (!items.empty()) password = getPasswordFromSecKeychainItemRef(items.front().get());
    });
    return password;
}

void VLKeychain::modifyKeychainItem(const QString& serviceName, const QString& itemKind,
                                    const QString& username, const QString& hostname,
                                    const Secret& newPassword) {
    const Attributes attributes{serviceName, itemKind, username, hostname};
    onWorker([&](Call& call) {
        auto* items = call.sessionItems();
        if (!items) return modifyInService(call, attributes, newPassword);
        if (SessionItem* item = sessionItem(*items, attributes)) item->password = Secret(newPassword.view());
    });
}

void VLKeychain::deleteKeychainItem(const QString& serviceName, const QString& itemKind,
                                    const QString& username, const QString& hostname) {
    deleteItems({serviceName, itemKind, username, hostname});
}

void VLKeychain::deleteAllKeychainItems(const QString& serviceName, const QString& itemKind) {
    deleteItems({serviceName, itemKind, {}, {}});
}

std::optional<Secret> VLKeychain::getPasswordFromSecKeychainItemRef(_SecretItem* item) {
    const ValuePtr value(secret_item_get_secret(item));
    if (!value) return std::nullopt;
    gsize length = 0;
    const gchar* bytes = secret_value_get(value.get(), &length);
    return Secret(QByteArrayView(bytes, static_cast<qsizetype>(length)));
}
