// Discovery through avahi-daemon, over the system bus.
#include "dnssd/AvahiLoop.h"
#include "dnssd/AvahiTypes.h"
#include "dnssd/Backend.h"
#include "dnssd/Interfaces.h"

#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-client/publish.h>
#include <avahi-common/error.h>
#include <dbus/dbus.h>
#include <net/if.h>

#include <mutex>
#include <utility>
#include <vector>

namespace dnssd {

namespace {

using Client = std::unique_ptr<AvahiClient, void (*)(AvahiClient*)>;

/// One interface can be asked for by its index; of several, the others are filtered out of the answers.
AvahiIfIndex browsingInterface(const QStringList& allowed) {
    if (allowed.size() != 1) return AVAHI_IF_UNSPEC;
    const unsigned index = if_nametoindex(allowed.first().toLocal8Bit().constData());
    return index ? static_cast<AvahiIfIndex>(index) : AVAHI_IF_UNSPEC;
}

std::vector<AvahiIfIndex> publishingInterfaces(const QStringList& allowed) {
    std::vector<AvahiIfIndex> indexes;
    for (const QString& name : allowed)
        if (const unsigned index = if_nametoindex(name.toLocal8Bit().constData()))
            indexes.push_back(static_cast<AvahiIfIndex>(index));
    if (allowed.isEmpty()) indexes.push_back(AVAHI_IF_UNSPEC);
    return indexes;
}

class DaemonServiceBrowser final : public Operation {
public:
    DaemonServiceBrowser(const QStringList& allowed, ServiceSink sink)
        : m_allowed(allowed), m_sink(std::move(sink)) {}
    ~DaemonServiceBrowser() override {
        if (m_browser) avahi_service_browser_free(m_browser);
    }

    bool start(AvahiClient* client, const QByteArray& type, const QByteArray& domain) {
        m_browser =
            avahi_service_browser_new(client, browsingInterface(m_allowed), AVAHI_PROTO_UNSPEC,
                                      type.constData(), orNull(domain), AvahiLookupFlags{}, &report, this);
        return m_browser != nullptr;
    }

private:
    static void report(AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                       AvahiLookupResultFlags, void* self) {
        auto* browser = static_cast<DaemonServiceBrowser*>(self);
        const auto what = toBrowseEvent(event);
        if (!what) return;
        const bool isItem = *what == BrowseEvent::Added || *what == BrowseEvent::Removed;
        if (isItem && !isAllowedInterface(browser->m_allowed, interface)) return;
        browser->m_sink(
            {*what, {interface, protocol}, QByteArray(name), QByteArray(type), QByteArray(domain)});
    }

    QStringList m_allowed;
    ServiceSink m_sink;
    AvahiServiceBrowser* m_browser = nullptr;
};

class DaemonRecordBrowser final : public Operation {
public:
    DaemonRecordBrowser(const QStringList& allowed, RecordSink sink)
        : m_allowed(allowed), m_sink(std::move(sink)) {}
    ~DaemonRecordBrowser() override {
        if (m_browser) avahi_record_browser_free(m_browser);
    }

    bool start(AvahiClient* client, const QByteArray& name, quint16 recordType) {
        m_browser = avahi_record_browser_new(client, browsingInterface(m_allowed), AVAHI_PROTO_UNSPEC,
                                             name.constData(), AVAHI_DNS_CLASS_IN, recordType,
                                             AVAHI_LOOKUP_USE_MULTICAST, &report, this);
        return m_browser != nullptr;
    }

private:
    static void report(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, uint16_t recordClass, uint16_t recordType,
                       const void* data, size_t size, AvahiLookupResultFlags, void* self) {
        auto* browser = static_cast<DaemonRecordBrowser*>(self);
        const auto what = toBrowseEvent(event);
        if (!what) return;
        if (*what != BrowseEvent::Added && *what != BrowseEvent::Removed) {
            browser->m_sink({*what, {interface, protocol}, nullptr});
            return;
        }
        if (!isAllowedInterface(browser->m_allowed, interface)) return;
        // The daemon hands out the record as it was on the wire.
        const std::unique_ptr<AvahiRecord, void (*)(AvahiRecord*)> record(
            avahi_record_new_full(name, recordClass, recordType, 0), &avahi_record_unref);
        if (!record || avahi_rdata_parse(record.get(), data, size) < 0) return;
        browser->m_sink({*what, {interface, protocol}, record.get()});
    }

    QStringList m_allowed;
    RecordSink m_sink;
    AvahiRecordBrowser* m_browser = nullptr;
};

class DaemonEntryGroup final : public EntryGroup {
public:
    DaemonEntryGroup(const QStringList& allowed, StateSink sink)
        : m_interfaces(publishingInterfaces(allowed)), m_sink(std::move(sink)) {}
    ~DaemonEntryGroup() override {
        if (m_group) avahi_entry_group_free(m_group);
    }

    bool start(AvahiClient* client) {
        m_group = avahi_entry_group_new(client, &report, this);
        return m_group != nullptr;
    }

    int addService(const QByteArray& name, const char* type, const QByteArray& host, quint16 port,
                   const TxtRecord& txt) override {
        const StringList list = toStringList(txt);
        return onEachInterface([&](AvahiIfIndex interface) {
            return avahi_entry_group_add_service_strlst(m_group, interface, AVAHI_PROTO_UNSPEC,
                                                        AvahiPublishFlags{}, name.constData(), type, nullptr,
                                                        orNull(host), port, list.get());
        });
    }

    int addAddress(const QByteArray& host, const QByteArray& text) override {
        AvahiAddress address{};
        if (!avahi_address_parse(text.constData(), AVAHI_PROTO_UNSPEC, &address))
            return AVAHI_ERR_INVALID_ADDRESS;
        return onEachInterface([&](AvahiIfIndex interface) {
            return avahi_entry_group_add_address(m_group, interface, AVAHI_PROTO_UNSPEC,
                                                 AVAHI_PUBLISH_NO_REVERSE, host.constData(), &address);
        });
    }

    int commit() override { return avahi_entry_group_commit(m_group); }

private:
    template <typename Add>
    int onEachInterface(Add add) {
        if (m_interfaces.empty()) return AVAHI_ERR_INVALID_INTERFACE;
        for (const AvahiIfIndex interface : m_interfaces)
            if (const int error = add(interface); error < 0) return error;
        return AVAHI_OK;
    }

    static void report(AvahiEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<DaemonEntryGroup*>(self)->m_sink(toGroupState(state));
    }

    std::vector<AvahiIfIndex> m_interfaces;
    StateSink m_sink;
    AvahiEntryGroup* m_group = nullptr;
};

class DaemonBackend final : public Backend {
public:
    DaemonBackend(const BackendSettings& settings, std::function<void()> stateChanged)
        : m_settings(settings), m_stateChanged(std::move(stateChanged)) {}

    bool connect(AvahiLoop& loop) {
        int error = 0;
        m_client.reset(avahi_client_new(loop.pollApi(), AVAHI_CLIENT_NO_FAIL, &report, this, &error));
        return m_client != nullptr;
    }

    BackendKind kind() const override { return BackendKind::Daemon; }

    State state() const override {
        switch (avahi_client_get_state(m_client.get())) {
            case AVAHI_CLIENT_S_RUNNING:
                return State::Running;
            case AVAHI_CLIENT_S_REGISTERING:
            case AVAHI_CLIENT_S_COLLISION:
                return State::Answering;
            case AVAHI_CLIENT_CONNECTING:
            case AVAHI_CLIENT_FAILURE:
                break;
        }
        return State::Absent;
    }

    bool isBroken() const override {
        // A daemon that was asked while it starts is in no state at all, and Avahi's client then hears no
        // more of it.
        return state() == State::Absent && avahi_client_get_state(m_client.get()) != AVAHI_CLIENT_CONNECTING;
    }

    QByteArray hostName() override { return QByteArray(avahi_client_get_host_name_fqdn(m_client.get())); }

    std::unique_ptr<Operation> browseServices(const QByteArray& type, const QByteArray& domain,
                                              ServiceSink sink) override {
        auto browser = std::make_unique<DaemonServiceBrowser>(m_settings.interfaces, std::move(sink));
        if (!browser->start(m_client.get(), type, domain)) return nullptr;
        return browser;
    }

    std::unique_ptr<Operation> browseRecords(const QByteArray& name, quint16 recordType,
                                             RecordSink sink) override {
        auto browser = std::make_unique<DaemonRecordBrowser>(m_settings.interfaces, std::move(sink));
        if (!browser->start(m_client.get(), name, recordType)) return nullptr;
        return browser;
    }

    std::unique_ptr<EntryGroup> createGroup(EntryGroup::StateSink sink) override {
        auto group = std::make_unique<DaemonEntryGroup>(m_settings.interfaces, std::move(sink));
        if (!group->start(m_client.get())) return nullptr;
        return group;
    }

    QString lastError() const override {
        return QString::fromUtf8(avahi_strerror(avahi_client_errno(m_client.get())));
    }

private:
    // Called for the first time from within avahi_client_new(), so the client isn't looked at here.
    static void report(AvahiClient*, AvahiClientState, void* self) {
        static_cast<DaemonBackend*>(self)->m_stateChanged();
    }

    BackendSettings m_settings;
    std::function<void()> m_stateChanged;
    Client m_client{nullptr, &avahi_client_free};
};

}  // namespace

std::unique_ptr<Backend> connectDaemon(AvahiLoop& loop, const BackendSettings& settings,
                                       std::function<void()> stateChanged) {
    // Left to itself, libdbus looks at a plain variable to see whether another thread has done this.
    static std::once_flag threadsOnce;
    std::call_once(threadsOnce, [] { dbus_threads_init_default(); });
    auto backend = std::make_unique<DaemonBackend>(settings, std::move(stateChanged));
    if (!backend->connect(loop)) return nullptr;
    return backend;
}

}  // namespace dnssd
