#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

/// Advertises an agent by DNS-SD: an instance of "_corvalin._tcp" that consoles browse for, and an instance
/// of
/// "_corvalinport._tcp" under which its port can be looked up by name. Goes through the Avahi daemon, or the
/// embedded core where none answers; publishes anew after the daemon was restarted.
class ServicePublisher {
public:
    struct Settings {
        /// Instance name shown by consoles. Cut to 63 bytes of UTF-8, or to fewer when it has many characters
        /// beyond ASCII (see dnssd::toInstanceName), as is the registered name.
        QString name;
        /// Name under which the port is registered, also published as TXT "name". Empty: "CorvalinNetClient -
        /// " and the host name with a trailing dot.
        QString registeredName;
        QString model;  ///< TXT "model"; left out when empty
        quint16 port = 0;
        /// Advertise on this machine only: for an agent that is bound to 127.0.0.1. Otherwise on the
        /// interfaces of CORVALIN_DISCOVERY_INTERFACES, or on all of them.
        bool loopbackOnly = false;
        /// A host name of the agent's own ("edit-bay-1", without domain), published together with
        /// `hostAddresses` (text form). It tells several agents on one machine apart. Empty: this machine's
        /// name and addresses.
        QString hostName;
        QStringList hostAddresses;
    };

    enum class Backend { None, Daemon, Embedded };

    /// What stands on the network now. Names can differ from the wanted ones where those were taken.
    struct State {
        Backend backend = Backend::None;
        bool isPublished = false;
        QString name;
        QString registeredName;
        QString hostName;  ///< with trailing dot
        QString error;     ///< why nothing is published; empty while that is still under way
        bool operator==(const State&) const = default;
    };
    /// Called for every change, on the publisher's thread. It must not destroy the publisher.
    using StateCallback = std::function<void(const State&)>;

    explicit ServicePublisher(Settings settings, StateCallback stateChanged = {});
    /// Withdraws everything (other machines are told) and ends the thread.
    ~ServicePublisher();
    ServicePublisher(const ServicePublisher&) = delete;
    ServicePublisher& operator=(const ServicePublisher&) = delete;

    /// Starts the thread. Returns at once.
    void start();
    /// As the destructor. Any thread but the publisher's.
    void stop();

private:
    class Worker;
    std::unique_ptr<Worker> m_worker;
};
