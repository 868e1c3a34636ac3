#include "agent/advertise/ServicePublisher.h"

#include "dnssd/AvahiLoop.h"
#include "dnssd/Interfaces.h"
#include "dnssd/Names.h"
#include "dnssd/Stack.h"

#include <avahi-common/alternative.h>
#include <avahi-common/error.h>
#include <avahi-common/malloc.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr auto serviceType = "_corvalin._tcp";
constexpr auto portType = "_corvalinport._tcp";
constexpr int maxTxtValueBytes = 240;  // key, "=" and value share 255 bytes
// All agents of a machine would start cores of their own while its daemon is merely being restarted.
constexpr auto embeddedDelay = 10000ms;
constexpr auto retryDelay = 10000ms;
// Three rounds of probing take two seconds; whoever hears nothing after this starts over.
constexpr auto publishLimit = 15000ms;
// Multicast DNS wants hosts to slow down when names go on colliding.
constexpr int fastRenames = 15;
constexpr auto renameDelay = 100ms;
constexpr auto slowRenameDelay = 5000ms;

QByteArray fromAvahi(char* text) {
    const std::unique_ptr<char, void (*)(void*)> owned(text, &avahi_free);
    return QByteArray(owned.get());
}

/// The part of a host name in front of the domain, in the letters that host names may have.
QByteArray toHostLabel(const QString& name) {
    QByteArray label = dnssd::toLabel(name.section(QLatin1Char('.'), 0, 0));
    for (char& c : label) {
        const bool isAllowed = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (!isAllowed) c = '-';
    }
    return label;
}

dnssd::Stack::Settings stackSettings(const ServicePublisher::Settings& settings) {
    return {.backend = {.interfaces = settings.loopbackOnly ? dnssd::loopbackInterfaces()
                                                            : dnssd::interfacesFromEnvironment(),
                        .publishesHost = settings.hostName.isEmpty()},
            .mustPublish = true,
            .embeddedDelay = embeddedDelay};
}

ServicePublisher::Backend toBackend(dnssd::BackendKind kind) {
    switch (kind) {
        case dnssd::BackendKind::Daemon:
            return ServicePublisher::Backend::Daemon;
        case dnssd::BackendKind::Embedded:
            return ServicePublisher::Backend::Embedded;
        case dnssd::BackendKind::None:
            break;
    }
    return ServicePublisher::Backend::None;
}

}  // namespace

class ServicePublisher::Worker {
public:
    Worker(Settings settings, StateCallback stateChanged)
        : settings_(std::move(settings)), stateChanged_(std::move(stateChanged)) {}

    ~Worker() { stop(); }

    void start() {
        if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
    }

    void stop() {
        isStopping_ = true;
        loop_.wake();
        if (thread_.joinable()) thread_.join();
    }

private:
    /// What is published, each with a name that may be taken.
    enum Part { Host, Port, Service };
    struct Entry {
        std::unique_ptr<dnssd::EntryGroup> group;
        bool isEstablished = false;
        unsigned long generation = 0;  ///< tells late news of an earlier group from that of this one
    };

    void run() {
        stack_ = std::make_unique<dnssd::Stack>(
            loop_, stackSettings(settings_),
            dnssd::Stack::Delegate{.ready = [this](dnssd::Backend&) { begin(); }, .lost = [this] { end(); }});
        stack_->start();
        if (!stack_->backend()) report({});
        while (!isStopping_)
            loop_.serveUntil(dnssd::AvahiLoop::Clock::now() + 1h);
        stack_.reset();
    }

    void begin() {
        hostLabel_ = toHostLabel(settings_.hostName);
        portName_ = dnssd::toInstanceName(settings_.registeredName, portType);
        serviceName_ = dnssd::toInstanceName(settings_.name, serviceType);
        renames_ = 0;
        publish();
    }

    void end() {
        withdraw();
        report({});
    }

    void drop(Part part) {
        ++entries_[part].generation;
        entries_[part].group.reset();
        entries_[part].isEstablished = false;
    }

    void withdraw() {
        loop_.stopTimer(timer_);
        for (const Part part : {Service, Port, Host})
            drop(part);
    }

    /// The names that others refer to come first: a service whose TXT record changed while it is being probed
    /// would collide with its own earlier record.
    void publish() {
        withdraw();
        if (!backend()) return;
        hostName_ = ownHostName(backend()->hostName());
        if (portName_.isEmpty())
            portName_ = dnssd::toInstanceName(
                QStringLiteral("CorvalinNetClient - %1.").arg(QString::fromUtf8(hostName_)), portType);
        report({});
        if (hostLabel_.isEmpty() || publish(Host)) publish(Port);
    }

    bool publish(Part part) {
        const int error = add(part);
        if (error == AVAHI_ERR_COLLISION) {
            rename(part);
        } else if (error < 0) {
            fail(QString::fromUtf8(avahi_strerror(error)));
        } else {
            loop_.stopTimer(timer_);
            timer_ = loop_.startTimer(publishLimit, [this] { publish(); });
        }
        return error >= 0;
    }

    int add(Part part) {
        Entry& entry = entries_[part];
        auto group = backend()->createGroup(
            [this, part, generation = entry.generation](dnssd::EntryGroup::State state) {
                loop_.post([this, part, generation, state] {
                    if (generation == entries_[part].generation) groupChanged(part, state);
                });
            });
        if (!group) return AVAHI_ERR_FAILURE;
        if (const int error = fill(part, *group); error < 0) return error;
        entry.group = std::move(group);
        return entry.group->commit();
    }

    int fill(Part part, dnssd::EntryGroup& group) {
        const QByteArray host = hostLabel_.isEmpty() ? QByteArray() : hostName_;
        switch (part) {
            case Host:
                for (const QString& address : settings_.hostAddresses)
                    if (const int error = group.addAddress(hostName_, address.toLatin1()); error < 0)
                        return error;
                return AVAHI_OK;
            case Port:
                return group.addService(portName_, portType, host, settings_.port, {});
            case Service:
                return group.addService(serviceName_, serviceType, host, settings_.port, txtRecord());
        }
        return AVAHI_ERR_INVALID_ARGUMENT;
    }

    dnssd::TxtRecord txtRecord() const {
        dnssd::TxtRecord txt{{"name", portName_}};
        if (!settings_.model.isEmpty())
            txt.append({"model", dnssd::toLabel(settings_.model, maxTxtValueBytes)});
        return txt;
    }

    void groupChanged(Part part, dnssd::EntryGroup::State state) {
        switch (state) {
            case dnssd::EntryGroup::State::Established:
                return established(part);
            case dnssd::EntryGroup::State::Collision:
                return rename(part);
            case dnssd::EntryGroup::State::Failed:
                return fail(backend() ? backend()->lastError() : QString());
            case dnssd::EntryGroup::State::Pending:
                return;
        }
    }

    void established(Part part) {
        // Reported again whenever an interface has come up.
        entries_[part].isEstablished = true;
        if (part == Service) {
            loop_.stopTimer(timer_);
            report({}, true);
            return;
        }
        if (!entries_[Service].group && entries_[Port].isEstablished &&
            (hostLabel_.isEmpty() || entries_[Host].isEstablished))
            publish(Service);
    }

    void rename(Part part) {
        QByteArray& name = part == Host ? hostLabel_ : part == Port ? portName_ : serviceName_;
        name = fromAvahi(part == Host ? avahi_alternative_host_name(name.constData())
                                      : avahi_alternative_service_name(name.constData()));
        // Host and port name appear in the records of the service.
        if (part == Service)
            drop(Service);
        else
            withdraw();
        if (part == Host)
            portName_ =
                dnssd::toInstanceName(settings_.registeredName, portType);  // may be made from the host name
        report({});
        loop_.stopTimer(timer_);
        const auto again = [this, part] { part == Service ? void(publish(Service)) : publish(); };
        timer_ = loop_.startTimer(++renames_ <= fastRenames ? renameDelay : slowRenameDelay, again);
    }

    void fail(const QString& error) {
        withdraw();
        report(error.isEmpty() ? QStringLiteral("Unknown error") : error);
        timer_ = loop_.startTimer(retryDelay, [this] { publish(); });
    }

    QByteArray ownHostName(const QByteArray& machineName) const {
        if (hostLabel_.isEmpty()) return machineName;
        const qsizetype dot = machineName.indexOf('.');
        return hostLabel_ + (dot < 0 ? QByteArray(".local") : machineName.mid(dot));
    }

    dnssd::Backend* backend() const { return stack_ ? stack_->backend() : nullptr; }

    void report(const QString& error, bool isPublished = false) {
        State state;
        state.backend = toBackend(stack_ ? stack_->kind() : dnssd::BackendKind::None);
        state.isPublished = isPublished;
        state.error = error;
        if (error.isEmpty() && !isStopping_ && stack_ && !stack_->hasCandidate())
            state.error = QStringLiteral("No Avahi daemon answers and no network interface can be used");
        if (isPublished) {
            state.name = QString::fromUtf8(serviceName_);
            state.registeredName = QString::fromUtf8(portName_);
            state.hostName = QString::fromUtf8(hostName_) + QLatin1Char('.');
        }
        if (state == reported_) return;
        reported_ = state;
        if (stateChanged_) stateChanged_(state);
    }

    const Settings settings_;
    const StateCallback stateChanged_;
    std::atomic<bool> isStopping_ = false;

    // The publisher's thread only.
    QByteArray hostLabel_, portName_, serviceName_, hostName_;
    State reported_;
    int renames_ = 0;
    dnssd::AvahiLoop::TimerId timer_ = 0;
    dnssd::AvahiLoop loop_;
    std::unique_ptr<dnssd::Stack> stack_;
    std::array<Entry, 3> entries_;

    std::thread thread_;
};

ServicePublisher::ServicePublisher(Settings settings, StateCallback stateChanged)
    : worker_(std::make_unique<Worker>(std::move(settings), std::move(stateChanged))) {}

ServicePublisher::~ServicePublisher() = default;

void ServicePublisher::start() {
    worker_->start();
}

void ServicePublisher::stop() {
    worker_->stop();
}
