#define POLKIT_AGENT_I_KNOW_API_IS_SUBJECT_TO_CHANGE
#include "desktop/PasswordAgent.h"

#include "desktop/VLAuthorization.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "system/Secret.h"

#include <polkit/polkit.h>
#include <polkitagent/polkitagent.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

namespace {

/// A reference to a GObject (or to what has an unref function of its own).
template <typename T, auto unref = g_object_unref>
struct Unref {
    void operator()(T* object) const { unref(object); }
};
template <typename T, auto unref = g_object_unref>
using Ref = std::unique_ptr<T, Unref<T, unref>>;

constexpr int noError = 0;
constexpr int pending = -1;

}  // namespace

struct PasswordAgent::Private {
    std::string user;
    Secret password;
    Ref<GMainContext, g_main_context_unref> context{g_main_context_new()};
    Ref<GCancellable> cancellable{g_cancellable_new()};
    std::atomic<int> result = pending;  ///< of registering
    std::atomic<bool> isEnding = false;
    std::thread thread;

    // The agent's own thread only.
    Ref<PolkitAgentSession> session;
    bool isAnswered = false;

    void serve();
    gpointer registerListener(PolkitAgentListener* listener);
    void finishRegistering(const Ref<GError, g_error_free>& error);
    void beginSession(PolkitIdentity* identity, const char* cookie, Ref<GTask> task);
    [[nodiscard]] Ref<PolkitIdentity> identityAmong(GList* identities) const;
};

// ---- The listener that polkit calls

namespace {

struct Listener {
    PolkitAgentListener parent;
    PasswordAgent::Private* agent;
};
struct ListenerClass {
    PolkitAgentListenerClass parent;
};
G_DEFINE_TYPE(Listener, listener, POLKIT_AGENT_TYPE_LISTENER)

void initiateAuthentication(PolkitAgentListener* self, const gchar* action, const gchar*, const gchar*,
                            PolkitDetails*, const gchar* cookie, GList* identities, GCancellable* cancellable,
                            GAsyncReadyCallback callback, gpointer data) {
    auto& agent = *reinterpret_cast<Listener*>(self)->agent;
    Ref<GTask> task(g_task_new(self, cancellable, callback, data));
    Ref<PolkitIdentity> identity = agent.identityAmong(identities);
    if (std::strcmp(action, VLAuthorization::right) != 0 || !identity || agent.session)
        return g_task_return_new_error(task.get(), POLKIT_ERROR, POLKIT_ERROR_NOT_AUTHORIZED, "not answered");
    agent.beginSession(identity.get(), cookie, std::move(task));
}

gboolean initiateAuthenticationFinish(PolkitAgentListener*, GAsyncResult* result, GError** error) {
    return g_task_propagate_boolean(G_TASK(result), error);
}

void listener_class_init(ListenerClass* type) {
    type->parent.initiate_authentication = initiateAuthentication;
    type->parent.initiate_authentication_finish = initiateAuthenticationFinish;
}

void listener_init(Listener*) {}

/// A second question means that the password did not do, or that more than one is wanted.
void answer(PolkitAgentSession* session, const gchar*, gboolean, gpointer data) {
    auto& agent = *static_cast<PasswordAgent::Private*>(data);
    if (std::exchange(agent.isAnswered, true)) return polkit_agent_session_cancel(session);
    polkit_agent_session_response(session, agent.password.c_str());
}

/// Whether it was granted polkit knows itself, from its own helper. (A false without an error it would wait
/// on.)
void completed(PolkitAgentSession*, gboolean, gpointer data) {
    const Ref<GTask> task(static_cast<GTask*>(data));
    g_task_return_boolean(task.get(), true);
}

}  // namespace

Ref<PolkitIdentity> PasswordAgent::Private::identityAmong(GList* identities) const {
    Ref<PolkitIdentity> wanted(polkit_unix_user_new_for_name(user.c_str(), nullptr));
    for (const GList* item = identities; wanted && item; item = item->next)
        if (polkit_identity_equal(wanted.get(), POLKIT_IDENTITY(item->data))) return wanted;
    return {};
}

void PasswordAgent::Private::beginSession(PolkitIdentity* identity, const char* cookie, Ref<GTask> task) {
    session.reset(polkit_agent_session_new(identity, cookie));
    g_signal_connect(session.get(), "request", G_CALLBACK(answer), this);
    g_signal_connect(session.get(), "completed", G_CALLBACK(completed), task.release());
    polkit_agent_session_initiate(session.get());
}

// ---- The agent's thread

void PasswordAgent::Private::finishRegistering(const Ref<GError, g_error_free>& error) {
    if (!error) return result.store(noError);
    VLLog::printToSystemLog(
        QStringLiteral("polkit does not answer: %1").arg(QString::fromUtf8(error->message)));
    result.store(error->code == noError ? POLKIT_ERROR_FAILED : error->code);
}

gpointer PasswordAgent::Private::registerListener(PolkitAgentListener* listener) {
    GError* error = nullptr;
    const Ref<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SYSTEM, cancellable.get(), &error));
    gpointer handle = nullptr;
    if (bus) {
        // Otherwise the end of the system bus would be the end of this program.
        g_dbus_connection_set_exit_on_close(bus.get(), false);
        const Ref<PolkitSubject> subject(
            polkit_unix_process_new_for_owner(getpid(), 0, static_cast<int>(getuid())));
        handle = polkit_agent_listener_register(listener, POLKIT_AGENT_REGISTER_FLAGS_NONE, subject.get(),
                                                "/org/velmora/orlendo/Agent", cancellable.get(), &error);
    }
    finishRegistering(Ref<GError, g_error_free>(error));
    return handle;
}

void PasswordAgent::Private::serve() {
    g_main_context_push_thread_default(context.get());
    {
        const Ref<Listener> listener(static_cast<Listener*>(g_object_new(listener_get_type(), nullptr)));
        listener->agent = this;
        const gpointer handle = registerListener(POLKIT_AGENT_LISTENER(listener.get()));
        while (handle && !isEnding)
            g_main_context_iteration(context.get(), true);
        if (session) polkit_agent_session_cancel(session.get());
        if (handle) polkit_agent_listener_unregister(handle);
        while (g_main_context_iteration(context.get(), false)) {
        }
        session.reset();
    }
    g_main_context_pop_thread_default(context.get());
}

// ---- The agent

PasswordAgent::PasswordAgent(const QString& user, const QString& password) : d(new Private) {
    d->user = user.toStdString();
    d->password = Secret::fromText(password);
}

PasswordAgent::~PasswordAgent() {
    d->isEnding = true;
    g_cancellable_cancel(d->cancellable.get());
    g_main_context_wakeup(d->context.get());
    if (d->thread.joinable()) d->thread.join();
}

int PasswordAgent::start(std::chrono::milliseconds limit) {
    d->thread = std::thread([this] { d->serve(); });
    MainThread::waitUntil(
        [this] { return d->result != pending || VLThread::isCancelled() || MainThread::isQuitting(); },
        limit);
    const int result = d->result;
    return result == pending ? static_cast<int>(G_IO_ERROR_TIMED_OUT) : result;
}
