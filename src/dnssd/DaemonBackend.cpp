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
        : allowed_(allowed), sink_(std::move(sink)) {}
    ~DaemonServiceBrowser() override {
        if (browser_) avahi_service_browser_free(browser_);
    }

    bool start(AvahiClient* client, const QByteArray& type, const QByteArray& domain) {
        browser_ =
            avahi_service_browser_new(client, browsingInterface(allowed_), AVAHI_PROTO_UNSPEC,
                                      type.constData(), orNull(domain), AvahiLookupFlags{}, &report, this);
        return browser_ != nullptr;
    }

private:
    static void report(AvahiServiceBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
                       AvahiLookupResultFlags, void* self) {
        auto* browser = static_cast<DaemonServiceBrowser*>(self);
        const auto what = toBrowseEvent(event);
        if (!what) return;
        const bool isItem = *what == BrowseEvent::Added || *what == BrowseEvent::Removed;
        if (isItem && !isAllowedInterface(browser->allowed_, interface)) return;
        browser->sink_(
            {*what, {interface, protocol}, QByteArray(name), QByteArray(type), QByteArray(domain)});
    }

    QStringList allowed_;
    ServiceSink sink_;
    AvahiServiceBrowser* browser_ = nullptr;
};

class DaemonRecordBrowser final : public Operation {
public:
    DaemonRecordBrowser(const QStringList& allowed, RecordSink sink)
        : allowed_(allowed), sink_(std::move(sink)) {}
    ~DaemonRecordBrowser() override {
        if (browser_) avahi_record_browser_free(browser_);
    }

    bool start(AvahiClient* client, const QByteArray& name, quint16 recordType) {
        browser_ = avahi_record_browser_new(client, browsingInterface(allowed_), AVAHI_PROTO_UNSPEC,
                                            name.constData(), AVAHI_DNS_CLASS_IN, recordType,
                                            AVAHI_LOOKUP_USE_MULTICAST, &report, this);
        return browser_ != nullptr;
    }

private:
    static void report(AvahiRecordBrowser*, AvahiIfIndex interface, AvahiProtocol protocol,
                       AvahiBrowserEvent event, const char* name, uint16_t recordClass, uint16_t recordType,
                       const void* data, size_t size, AvahiLookupResultFlags, void* self) {
        auto* browser = static_cast<DaemonRecordBrowser*>(self);
        const auto what = toBrowseEvent(event);
        if (!what) return;
        if (*what != BrowseEvent::Added && *what != BrowseEvent::Removed) {
            browser->sink_({*what, {interface, protocol}, nullptr});
            return;
        }
        if (!isAllowedInterface(browser->allowed_, interface)) return;
        // The daemon hands out the record as it was on the wire.
        const std::unique_ptr<AvahiRecord, void (*)(AvahiRecord*)> record(
            avahi_record_new_full(name, recordClass, recordType, 0), &avahi_record_unref);
        if (!record || avahi_rdata_parse(record.get(), data, size) < 0) return;
        browser->sink_({*what, {interface, protocol}, record.get()});
    }

    QStringList allowed_;
    RecordSink sink_;
    AvahiRecordBrowser* browser_ = nullptr;
};

class DaemonEntryGroup final : public EntryGroup {
public:
    DaemonEntryGroup(const QStringList& allowed, StateSink sink)
        : interfaces_(publishingInterfaces(allowed)), sink_(std::move(sink)) {}
    ~DaemonEntryGroup() override {
        if (group_) avahi_entry_group_free(group_);
    }

    bool start(AvahiClient* client) {
        group_ = avahi_entry_group_new(client, &report, this);
        return group_ != nullptr;
    }

    int addService(const QByteArray& name, const char* type, const QByteArray& host, quint16 port,
                   const TxtRecord& txt) override {
        const StringList list = toStringList(txt);
        return onEachInterface([&](AvahiIfIndex interface) {
            return avahi_entry_group_add_service_strlst(group_, interface, AVAHI_PROTO_UNSPEC,
                                                        AvahiPublishFlags{}, name.constData(), type, nullptr,
                                                        orNull(host), port, list.get());
        });
    }

    int addAddress(const QByteArray& host, const QByteArray& text) override {
        AvahiAddress address{};
        if (!avahi_address_parse(text.constData(), AVAHI_PROTO_UNSPEC, &address))
            return AVAHI_ERR_INVALID_ADDRESS;
        return onEachInterface([&](AvahiIfIndex interface) {
            return avahi_entry_group_add_address(group_, interface, AVAHI_PROTO_UNSPEC,
                                                 AVAHI_PUBLISH_NO_REVERSE, host.constData(), &address);
        });
    }

    int commit() override { return avahi_entry_group_commit(group_); }

private:
    template <typename Add>
    int onEachInterface(Add add) {
        if (interfaces_.empty()) return AVAHI_ERR_INVALID_INTERFACE;
        for (const AvahiIfIndex interface : interfaces_)
            if (const int error = add(interface); error < 0) return error;
        return AVAHI_OK;
    }

    static void report(AvahiEntryGroup*, AvahiEntryGroupState state, void* self) {
        static_cast<DaemonEntryGroup*>(self)->sink_(toGroupState(state));
    }

    std::vector<AvahiIfIndex> interfaces_;
    StateSink sink_;
    AvahiEntryGroup* group_ = nullptr;
};

class DaemonBackend final : public Backend {
public:
    DaemonBackend(const BackendSettings& settings, std::function<void()> stateChanged)
        : settings_(settings), stateChanged_(std::move(stateChanged)) {}

    bool connect(AvahiLoop& loop) {
        int error = 0;
        client_.reset(avahi_client_new(loop.pollApi(), AVAHI_CLIENT_NO_FAIL, &report, this, &error));
        return client_ != nullptr;
    }

    BackendKind kind() const override { return BackendKind::Daemon; }

    State state() const override {
        switch (avahi_client_get_state(client_.get())) {
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
        return state() == State::Absent && avahi_client_get_state(client_.get()) != AVAHI_CLIENT_CONNECTING;
    }

    QByteArray hostName() override { return QByteArray(avahi_client_get_host_name_fqdn(client_.get())); }

    std::unique_ptr<Operation> browseServices(const QByteArray& type, const QByteArray& domain,
                                              ServiceSink sink) override {
        auto browser = std::make_unique<DaemonServiceBrowser>(settings_.interfaces, std::move(sink));
        if (!browser->start(client_.get(), type, domain)) return nullptr;
        return browser;
    }

    std::unique_ptr<Operation> browseRecords(const QByteArray& name, quint16 recordType,
                                             RecordSink sink) override {
        auto browser = std::make_unique<DaemonRecordBrowser>(settings_.interfaces, std::move(sink));
        if (!browser->start(client_.get(), name, recordType)) return nullptr;
        return browser;
    }

    std::unique_ptr<EntryGroup> createGroup(EntryGroup::StateSink sink) override {
        auto group = std::make_unique<DaemonEntryGroup>(settings_.interfaces, std::move(sink));
        if (!group->start(client_.get())) return nullptr;
        return group;
    }

    QString lastError() const override {
        return QString::fromUtf8(avahi_strerror(avahi_client_errno(client_.get())));
    }

private:
    // Called for the first time from within avahi_client_new(), so the client isn't looked at here.
    static void report(AvahiClient*, AvahiClientState, void* self) {
        static_cast<DaemonBackend*>(self)->stateChanged_();
    }

    BackendSettings settings_;
    std::function<void()> stateChanged_;
    Client client_{nullptr, &avahi_client_free};
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
