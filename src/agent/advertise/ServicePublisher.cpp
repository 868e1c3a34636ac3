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
        : m_settings(std::move(settings)), m_stateChanged(std::move(stateChanged)) {}

    ~Worker() { stop(); }

    void start() {
        if (!m_thread.joinable()) m_thread = std::thread([this] { run(); });
    }

    void stop() {
        m_isStopping = true;
        m_loop.wake();
        if (m_thread.joinable()) m_thread.join();
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
        m_stack = std::make_unique<dnssd::Stack>(
            m_loop, stackSettings(m_settings),
            dnssd::Stack::Delegate{.ready = [this](dnssd::Backend&) { begin(); }, .lost = [this] { end(); }});
        m_stack->start();
        if (!m_stack->backend()) report({});
        while (!m_isStopping)
            m_loop.serveUntil(dnssd::AvahiLoop::Clock::now() + 1h);
        m_stack.reset();
    }

    void begin() {
        m_hostLabel = toHostLabel(m_settings.hostName);
        m_portName = dnssd::toInstanceName(m_settings.registeredName, portType);
        m_serviceName = dnssd::toInstanceName(m_settings.name, serviceType);
        m_renames = 0;
        publish();
    }

    void end() {
        withdraw();
        report({});
    }

    void drop(Part part) {
        ++m_entries[part].generation;
        m_entries[part].group.reset();
        m_entries[part].isEstablished = false;
    }

    void withdraw() {
        m_loop.stopTimer(m_timer);
        for (const Part part : {Service, Port, Host})
            drop(part);
    }

    /// The names that others refer to come first: a service whose TXT record changed while it is being probed
    /// would collide with its own earlier record.
    void publish() {
        withdraw();
        if (!backend()) return;
        m_hostName = ownHostName(backend()->hostName());
        if (m_portName.isEmpty())
            m_portName = dnssd::toInstanceName(
                QStringLiteral("CorvalinNetClient - %1.").arg(QString::fromUtf8(m_hostName)), portType);
        report({});
        if (m_hostLabel.isEmpty() || publish(Host)) publish(Port);
    }

    bool publish(Part part) {
        const int error = add(part);
        if (error == AVAHI_ERR_COLLISION) {
            rename(part);
        } else if (error < 0) {
            fail(QString::fromUtf8(avahi_strerror(error)));
        } else {
            m_loop.stopTimer(m_timer);
            m_timer = m_loop.startTimer(publishLimit, [this] { publish(); });
        }
        return error >= 0;
    }

    int add(Part part) {
        Entry& entry = m_entries[part];
        auto group = backend()->createGroup(
            [this, part, generation = entry.generation](dnssd::EntryGroup::State state) {
                m_loop.post([this, part, generation, state] {
                    if (generation == m_entries[part].generation) groupChanged(part, state);
                });
            });
        if (!group) return AVAHI_ERR_FAILURE;
        if (const int error = fill(part, *group); error < 0) return error;
        entry.group = std::move(group);
        return entry.group->commit();
    }

    int fill(Part part, dnssd::EntryGroup& group) {
        const QByteArray host = m_hostLabel.isEmpty() ? QByteArray() : m_hostName;
        switch (part) {
            case Host:
                for (const QString& address : m_settings.hostAddresses)
                    if (const int error = group.addAddress(m_hostName, address.toLatin1()); error < 0)
                        return error;
                return AVAHI_OK;
            case Port:
                return group.addService(m_portName, portType, host, m_settings.port, {});
            case Service:
                return group.addService(m_serviceName, serviceType, host, m_settings.port, txtRecord());
        }
        return AVAHI_ERR_INVALID_ARGUMENT;
    }

    dnssd::TxtRecord txtRecord() const {
        dnssd::TxtRecord txt{{"name", m_portName}};
        if (!m_settings.model.isEmpty())
            txt.append({"model", dnssd::toLabel(m_settings.model, maxTxtValueBytes)});
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
        m_entries[part].isEstablished = true;
        if (part == Service) {
            m_loop.stopTimer(m_timer);
            report({}, true);
            return;
        }
        if (!m_entries[Service].group && m_entries[Port].isEstablished &&
            (m_hostLabel.isEmpty() || m_entries[Host].isEstablished))
            publish(Service);
    }

    void rename(Part part) {
        QByteArray& name = part == Host ? m_hostLabel : part == Port ? m_portName : m_serviceName;
        name = fromAvahi(part == Host ? avahi_alternative_host_name(name.constData())
                                      : avahi_alternative_service_name(name.constData()));
        // Host and port name appear in the records of the service.
        if (part == Service)
            drop(Service);
        else
            withdraw();
        if (part == Host)
            m_portName =
                dnssd::toInstanceName(m_settings.registeredName, portType);  // may be made from the host name
        report({});
        m_loop.stopTimer(m_timer);
        const auto again = [this, part] { part == Service ? void(publish(Service)) : publish(); };
        m_timer = m_loop.startTimer(++m_renames <= fastRenames ? renameDelay : slowRenameDelay, again);
    }

    void fail(const QString& error) {
        withdraw();
        report(error.isEmpty() ? QStringLiteral("Unknown error") : error);
        m_timer = m_loop.startTimer(retryDelay, [this] { publish(); });
    }

    QByteArray ownHostName(const QByteArray& machineName) const {
        if (m_hostLabel.isEmpty()) return machineName;
        const qsizetype dot = machineName.indexOf('.');
        return m_hostLabel + (dot < 0 ? QByteArray(".local") : machineName.mid(dot));
    }

    dnssd::Backend* backend() const { return m_stack ? m_stack->backend() : nullptr; }

    void report(const QString& error, bool isPublished = false) {
        State state;
        state.backend = toBackend(m_stack ? m_stack->kind() : dnssd::BackendKind::None);
        state.isPublished = isPublished;
        state.error = error;
        if (error.isEmpty() && !m_isStopping && m_stack && !m_stack->hasCandidate())
            state.error = QStringLiteral("No Avahi daemon answers and no network interface can be used");
        if (isPublished) {
            state.name = QString::fromUtf8(m_serviceName);
            state.registeredName = QString::fromUtf8(m_portName);
            state.hostName = QString::fromUtf8(m_hostName) + QLatin1Char('.');
        }
        if (state == m_reported) return;
        m_reported = state;
        if (m_stateChanged) m_stateChanged(state);
    }

    const Settings m_settings;
    const StateCallback m_stateChanged;
    std::atomic<bool> m_isStopping = false;

    // The publisher's thread only.
    QByteArray m_hostLabel, m_portName, m_serviceName, m_hostName;
    State m_reported;
    int m_renames = 0;
    dnssd::AvahiLoop::TimerId m_timer = 0;
    dnssd::AvahiLoop m_loop;
    std::unique_ptr<dnssd::Stack> m_stack;
    std::array<Entry, 3> m_entries;

    std::thread m_thread;
};

ServicePublisher::ServicePublisher(Settings settings, StateCallback stateChanged)
    : m_worker(std::make_unique<Worker>(std::move(settings), std::move(stateChanged))) {}

ServicePublisher::~ServicePublisher() = default;

void ServicePublisher::start() {
    m_worker->start();
}

void ServicePublisher::stop() {
    m_worker->stop();
}
