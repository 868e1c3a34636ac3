// Discovery with a multicast DNS stack of our own, for hosts where no Avahi daemon answers.
#include "dnssd/AvahiLoop.h"
#include "dnssd/AvahiTypes.h"
#include "dnssd/Backend.h"
#include "logs/VLLog.h"

#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>
#include <avahi-core/core.h>
#include <avahi-core/log.h>
#include <avahi-core/lookup.h>
#include <avahi-core/publish.h>

#include <mutex>
#include <utility>

namespace dnssd {

namespace {

using Server = std::unique_ptr<AvahiServer, void (*)(AvahiServer*)>;

/// Avahi's core writes to standard error unless told otherwise; only what an administrator can act on is
/// kept.
void keepCoreMessages() {
    static std::once_flag once;
    std::call_once(once, [] {
        avahi_set_log_function([](AvahiLogLevel level, const char* text) {
            if (level <= AVAHI_LOG_ERROR)
                VLLog::appendLog(QStringLiteral("Avahi: %@"), QString::fromUtf8(text));
        });
    });
}

class CoreServiceBrowser final : public Operation {
public:
    explicit CoreServiceBrowser(ServiceSink sink) : m_sink(std::move(sink)) {}
    ~CoreServiceBrowser() override {
        if (m_browser) avahi_s_service_browser_free(m_browser);
    }

    bool start(AvahiServer* server, const QByteArray& type, const QByteArray& domain) {
        m_browser = avahi_s_service_browser_new(server, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, type.constData(),
                                                orNull(domain), AvahiLookupFlags{}, &report, this);
        return m_browser != nullptr;
    }

private:
    static void report(AvahiSServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                       AvahiLookupResultFlags, void* self) {
        if (const auto what = toBrowseEvent(event))
            static_cast<CoreServiceBrowser*>(self)->m_sink(
                {*what, {interface, protocol}, QByteArray(name), QByteArray(type), QByteArray(domain)});
    }

    ServiceSink m_sink;
    AvahiSServiceBrowser* m_browser = nullptr;
};

class CoreRecordBrowser final : public Operation {
public:
    explicit CoreRecordBrowser(RecordSink sink) : m_sink(std::move(sink)) {}
    ~CoreRecordBrowser() override {
        if (m_browser) avahi_s_record_browser_free(m_browser);
    }

    bool start(AvahiServer* server, const QByteArray& name, quint16 recordType) {
        const std::unique_ptr<AvahiKey, void (*)(AvahiKey*)> key(
            avahi_key_new(name.constData(), AVAHI_DNS_CLASS_IN, recordType), &avahi_key_unref);
        if (!key) return false;
        m_browser = avahi_s_record_browser_new(server, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, key.get(),
                                               AVAHI_LOOKUP_USE_MULTICAST, &report, this);
        return m_browser != nullptr;
    }

private:
    static void report(AvahiSRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, AvahiRecord* record, AvahiLookupResultFlags, void* self) {
        if (const auto what = toBrowseEvent(event))
            static_cast<CoreRecordBrowser*>(self)->m_sink({*what, {interface, protocol}, record});
    }

    RecordSink m_sink;
    AvahiSRecordBrowser* m_browser = nullptr;
};

class CoreEntryGroup final : public EntryGroup {
public:
    explicit CoreEntryGroup(StateSink sink) : m_sink(std::move(sink)) {}
    ~CoreEntryGroup() override {
        if (m_group) avahi_s_entry_group_free(m_group);
    }

    bool start(AvahiServer* server) {
        m_server = server;
        m_group = avahi_s_entry_group_new(server, &report, this);
        return m_group != nullptr;
    }

    int addService(const QByteArray& name, const char* type, const QByteArray& host, quint16 port,
                   const TxtRecord& txt) override {
        const StringList list = toStringList(txt);
        return avahi_server_add_service_strlst(m_server, m_group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                               AvahiPublishFlags{}, name.constData(), type, nullptr,
                                               orNull(host), port, list.get());
    }

    int addAddress(const QByteArray& host, const QByteArray& text) override {
        AvahiAddress address{};
        if (!avahi_address_parse(text.constData(), AVAHI_PROTO_UNSPEC, &address))
            return AVAHI_ERR_INVALID_ADDRESS;
        return avahi_server_add_address(m_server, m_group, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                        AVAHI_PUBLISH_NO_REVERSE, host.constData(), &address);
    }

    int commit() override { return avahi_s_entry_group_commit(m_group); }

private:
    static void report(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<CoreEntryGroup*>(self)->m_sink(toGroupState(state));
    }

    StateSink m_sink;
    AvahiServer* m_server = nullptr;
    AvahiSEntryGroup* m_group = nullptr;
};

class EmbeddedBackend final : public Backend {
public:
    EmbeddedBackend(AvahiLoop& loop, std::function<void()> stateChanged)
        : m_loop(loop), m_stateChanged(std::move(stateChanged)) {}

    bool start(const BackendSettings& settings) {
        keepCoreMessages();
        AvahiServerConfig config;
        avahi_server_config_init(&config);
        config.publish_hinfo = 0;
        config.publish_workstation = 0;
        config.publish_domain = 0;
        config.publish_addresses = settings.publishesHost ? 1 : 0;
        config.enable_wide_area = 0;
        config.disallow_other_stacks = 0;
        for (const QString& name : settings.interfaces)
            config.allow_interfaces =
                avahi_string_list_add(config.allow_interfaces, name.toLocal8Bit().constData());
        int error = 0;
        m_server.reset(avahi_server_new(m_loop.pollApi(), &config, &report, this, &error));
        avahi_server_config_free(&config);
        return m_server != nullptr;
    }

    BackendKind kind() const override { return BackendKind::Embedded; }

    State state() const override {
        switch (avahi_server_get_state(m_server.get())) {
            case AVAHI_SERVER_RUNNING:
                return State::Running;
            case AVAHI_SERVER_REGISTERING:
            case AVAHI_SERVER_COLLISION:
                return State::Answering;
            case AVAHI_SERVER_INVALID:
            case AVAHI_SERVER_FAILURE:
                break;
        }
        return State::Absent;
    }

    bool isBroken() const override { return avahi_server_get_state(m_server.get()) == AVAHI_SERVER_FAILURE; }

    QByteArray hostName() override { return QByteArray(avahi_server_get_host_name_fqdn(m_server.get())); }

    std::unique_ptr<Operation> browseServices(const QByteArray& type, const QByteArray& domain,
                                              ServiceSink sink) override {
        auto browser = std::make_unique<CoreServiceBrowser>(std::move(sink));
        if (!browser->start(m_server.get(), type, domain)) return nullptr;
        return browser;
    }

    std::unique_ptr<Operation> browseRecords(const QByteArray& name, quint16 recordType,
                                             RecordSink sink) override {
        auto browser = std::make_unique<CoreRecordBrowser>(std::move(sink));
        if (!browser->start(m_server.get(), name, recordType)) return nullptr;
        return browser;
    }

    std::unique_ptr<EntryGroup> createGroup(EntryGroup::StateSink sink) override {
        auto group = std::make_unique<CoreEntryGroup>(std::move(sink));
        if (!group->start(m_server.get())) return nullptr;
        return group;
    }

    QString lastError() const override {
        return QString::fromUtf8(avahi_strerror(avahi_server_errno(m_server.get())));
    }

private:
    static void report(AvahiServer*, AvahiServerState state, void* self) {
        auto* backend = static_cast<EmbeddedBackend*>(self);
        if (state == AVAHI_SERVER_COLLISION)
            backend->m_loop.post([backend, alive = std::weak_ptr(backend->m_alive)] {
                if (!alive.expired()) backend->takeOtherHostName();
            });
        backend->m_stateChanged();
    }

    /// Another machine has our host name already: go on as "name-2".
    void takeOtherHostName() {
        const std::unique_ptr<char, void (*)(void*)> name(
            avahi_alternative_host_name(avahi_server_get_host_name(m_server.get())), &avahi_free);
        if (name) avahi_server_set_host_name(m_server.get(), name.get());
    }

    AvahiLoop& m_loop;
    std::function<void()> m_stateChanged;
    const std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    Server m_server{nullptr, &avahi_server_free};
};

}  // namespace

std::unique_ptr<Backend> startEmbedded(AvahiLoop& loop, const BackendSettings& settings,
                                       std::function<void()> stateChanged) {
    auto backend = std::make_unique<EmbeddedBackend>(loop, std::move(stateChanged));
    if (!backend->start(settings)) return nullptr;
    return backend;
}

}  // namespace dnssd
