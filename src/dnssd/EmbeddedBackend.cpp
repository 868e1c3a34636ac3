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
    explicit CoreServiceBrowser(ServiceSink sink) : sink_(std::move(sink)) {}
    ~CoreServiceBrowser() override {
        if (browser_) avahi_s_service_browser_free(browser_);
    }

    bool start(AvahiServer* server, const QByteArray& type, const QByteArray& domain) {
        browser_ = avahi_s_service_browser_new(server, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, type.constData(),
                                               orNull(domain), AvahiLookupFlags{}, &report, this);
        return browser_ != nullptr;
    }

private:
    static void report(AvahiSServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                       AvahiLookupResultFlags, void* self) {
        if (const auto what = toBrowseEvent(event))
            static_cast<CoreServiceBrowser*>(self)->sink_(
                {*what, {interface, protocol}, QByteArray(name), QByteArray(type), QByteArray(domain)});
    }

    ServiceSink sink_;
    AvahiSServiceBrowser* browser_ = nullptr;
};

class CoreRecordBrowser final : public Operation {
public:
    explicit CoreRecordBrowser(RecordSink sink) : sink_(std::move(sink)) {}
    ~CoreRecordBrowser() override {
        if (browser_) avahi_s_record_browser_free(browser_);
    }

    bool start(AvahiServer* server, const QByteArray& name, quint16 recordType) {
        const std::unique_ptr<AvahiKey, void (*)(AvahiKey*)> key(
            avahi_key_new(name.constData(), AVAHI_DNS_CLASS_IN, recordType), &avahi_key_unref);
        if (!key) return false;
        browser_ = avahi_s_record_browser_new(server, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC, key.get(),
                                              AVAHI_LOOKUP_USE_MULTICAST, &report, this);
        return browser_ != nullptr;
    }

private:
    static void report(AvahiSRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, AvahiRecord* record, AvahiLookupResultFlags, void* self) {
        if (const auto what = toBrowseEvent(event))
            static_cast<CoreRecordBrowser*>(self)->sink_({*what, {interface, protocol}, record});
    }

    RecordSink sink_;
    AvahiSRecordBrowser* browser_ = nullptr;
};

class CoreEntryGroup final : public EntryGroup {
public:
    explicit CoreEntryGroup(StateSink sink) : sink_(std::move(sink)) {}
    ~CoreEntryGroup() override {
        if (group_) avahi_s_entry_group_free(group_);
    }

    bool start(AvahiServer* server) {
        server_ = server;
        group_ = avahi_s_entry_group_new(server, &report, this);
        return group_ != nullptr;
    }

    int addService(const QByteArray& name, const char* type, const QByteArray& host, quint16 port,
                   const TxtRecord& txt) override {
        const StringList list = toStringList(txt);
        return avahi_server_add_service_strlst(server_, group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                               AvahiPublishFlags{}, name.constData(), type, nullptr,
                                               orNull(host), port, list.get());
    }

    int addAddress(const QByteArray& host, const QByteArray& text) override {
        AvahiAddress address{};
        if (!avahi_address_parse(text.constData(), AVAHI_PROTO_UNSPEC, &address))
            return AVAHI_ERR_INVALID_ADDRESS;
        return avahi_server_add_address(server_, group_, AVAHI_IF_UNSPEC, AVAHI_PROTO_UNSPEC,
                                        AVAHI_PUBLISH_NO_REVERSE, host.constData(), &address);
    }

    int commit() override { return avahi_s_entry_group_commit(group_); }

private:
    static void report(AvahiServer*, AvahiSEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<CoreEntryGroup*>(self)->sink_(toGroupState(state));
    }

    StateSink sink_;
    AvahiServer* server_ = nullptr;
    AvahiSEntryGroup* group_ = nullptr;
};

class EmbeddedBackend final : public Backend {
public:
    EmbeddedBackend(AvahiLoop& loop, std::function<void()> stateChanged)
        : loop_(loop), stateChanged_(std::move(stateChanged)) {}

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
        server_.reset(avahi_server_new(loop_.pollApi(), &config, &report, this, &error));
        avahi_server_config_free(&config);
        return server_ != nullptr;
    }

    BackendKind kind() const override { return BackendKind::Embedded; }

    State state() const override {
        switch (avahi_server_get_state(server_.get())) {
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

    bool isBroken() const override { return avahi_server_get_state(server_.get()) == AVAHI_SERVER_FAILURE; }

    QByteArray hostName() override { return QByteArray(avahi_server_get_host_name_fqdn(server_.get())); }

    std::unique_ptr<Operation> browseServices(const QByteArray& type, const QByteArray& domain,
                                              ServiceSink sink) override {
        auto browser = std::make_unique<CoreServiceBrowser>(std::move(sink));
        if (!browser->start(server_.get(), type, domain)) return nullptr;
        return browser;
    }

    std::unique_ptr<Operation> browseRecords(const QByteArray& name, quint16 recordType,
                                             RecordSink sink) override {
        auto browser = std::make_unique<CoreRecordBrowser>(std::move(sink));
        if (!browser->start(server_.get(), name, recordType)) return nullptr;
        return browser;
    }

    std::unique_ptr<EntryGroup> createGroup(EntryGroup::StateSink sink) override {
        auto group = std::make_unique<CoreEntryGroup>(std::move(sink));
        if (!group->start(server_.get())) return nullptr;
        return group;
    }

    QString lastError() const override {
        return QString::fromUtf8(avahi_strerror(avahi_server_errno(server_.get())));
    }

private:
    static void report(AvahiServer*, AvahiServerState state, void* self) {
        auto* backend = static_cast<EmbeddedBackend*>(self);
        if (state == AVAHI_SERVER_COLLISION)
            backend->loop_.post([backend, alive = std::weak_ptr(backend->alive_)] {
                if (!alive.expired()) backend->takeOtherHostName();
            });
        backend->stateChanged_();
    }

    /// Another machine has our host name already: go on as "name-2".
    void takeOtherHostName() {
        const std::unique_ptr<char, void (*)(void*)> name(
            avahi_alternative_host_name(avahi_server_get_host_name(server_.get())), &avahi_free);
        if (name) avahi_server_set_host_name(server_.get(), name.get());
    }

    AvahiLoop& loop_;
    std::function<void()> stateChanged_;
    const std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    Server server_{nullptr, &avahi_server_free};
};

}  // namespace

std::unique_ptr<Backend> startEmbedded(AvahiLoop& loop, const BackendSettings& settings,
                                       std::function<void()> stateChanged) {
    auto backend = std::make_unique<EmbeddedBackend>(loop, std::move(stateChanged));
    if (!backend->start(settings)) return nullptr;
    return backend;
}

}  // namespace dnssd
