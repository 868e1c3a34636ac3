#pragma once

#include "base/PropertyList.h"
#include "base/VLBundle.h"
#include "clients/VLService.h"
#include "clients/support/LoopbackAgent.h"
#include "foundation/MainThread.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QObject>
#include <QTemporaryDir>

#include <atomic>
#include <mutex>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

/// Counts and keeps the notifications of a test. Main thread.
class NotificationRecorder : public QObject {
public:
    explicit NotificationRecorder(std::initializer_list<const char*> names) {
        for (const char* name : names)
            VLNotificationCenter::defaultCenter().addObserver(
                this, QLatin1String(name), [this](const VLNotification& n) { m_notifications.append(n); });
    }
    [[nodiscard]] QList<VLNotification> all(const char* name) const {
        QList<VLNotification> result;
        for (const VLNotification& notification : m_notifications)
            if (notification.name == QLatin1String(name)) result.append(notification);
        return result;
    }
    /// The clients that those of this name are about.
    [[nodiscard]] QList<VLServicePtr> services(const char* name) const {
        QList<VLServicePtr> result;
        for (const VLNotification& notification : all(name))
            result << notification.userInfo.value(u"service"_s).value<VLServicePtr>();
        return result;
    }
    [[nodiscard]] int count(const char* name) const { return static_cast<int>(all(name).size()); }

private:
    QList<VLNotification> m_notifications;
};

class RecordingDelegate : public VLServiceDelegate {
public:
    std::atomic<int> connected{0};
    QStringList calls;  ///< main thread

    void serviceConnected(const VLServicePtr&) override { ++connected; }
    void setSoftwareUpdateCount(qlonglong count, const QString& hostName) override {
        calls << u"count %1 %2"_s.arg(count).arg(hostName);
    }
    void updateSoftwareUpdateCountForItem(const VLServicePtr& service) override {
        calls << u"fetch "_s + service->hostName();
    }
    void displayCrashDialogForClient(const VLServicePtr& service, const QString& log) override {
        calls << u"crash %1 %2"_s.arg(service->hostName(), log);
    }
};

/// A service on the loopback interface, as discovery reports it.
inline VLNetService netService(const QString& name, const QString& hostName, quint16 port) {
    return {name, u"_corvalin._tcp"_s, u"local"_s, hostName, port, {{QHostAddress::LocalHost, port, 0}}, {}};
}

/// The surroundings of the records of one test: short times, a folder of its own, and an orderly end.
class ClientsFixture {
public:
    explicit ClientsFixture(std::chrono::milliseconds reconnect = 150ms) {
        writeFile(m_directory.filePath(u"Info.plist"_s),
                  PropertyList::toData(QVariantMap{{u"VLMinClientVersion"_s, 1000},
                                                   {u"VLMinCorvalinVersion"_s, 500},
                                                   {u"CFBundleVersion"_s, u"1040"_s}}));
        m_bundle = std::make_unique<VLBundle>(m_directory.path());

        environment.identity = consoleIdentity();
        environment.pins = std::make_shared<PinnedCertificates>(m_directory.filePath(u"pins"_s));
        environment.delegate = &delegate;
        environment.cacheDirectory = m_directory.path();
        environment.bundle = m_bundle.get();
        environment.timing.reconnect = reconnect;
        environment.timing.configuration = 5s;
        environment.timing.probe = 2s;
        environment.limits.connect = 3s;
        environment.lookUpPort = [](const QString&, const QString&, std::chrono::milliseconds) {
            return std::optional<RegisteredPort>();
        };
        apply();
    }
    ~ClientsFixture() {
        end();
        VLService::setEnvironment({});
    }
    /// Ends every client and waits for the workers, before what they use goes away.
    void end() {
        for (const VLServicePtr& service : std::as_const(m_services))
            service->invalidate(false);
        if (!VLThread::joinAll(20s)) qWarning("a client's thread is left behind");
        QCoreApplication::processEvents();  // what they have posted speaks of this fixture
    }

    void apply() { VLService::setEnvironment(environment); }
    [[nodiscard]] QString path(const char* name) const { return m_directory.filePath(QLatin1String(name)); }

    VLServicePtr keep(const VLServicePtr& service) {
        m_services.append(service);
        return service;
    }
    VLServicePtr manualClient(const QString& ip, int port, const QString& name = u"Edit Bay"_s) {
        return keep(VLService::serviceWithName(name, u"%1:%2"_s.arg(ip).arg(port), ip, port, errorCallback));
    }
    VLServicePtr discoveredClient(const VLNetService& service) {
        return keep(VLService::serviceWithNetService(service, nullptr));
    }
    VLServicePtr manualClient(const LoopbackAgent& agent, const QString& name = u"Edit Bay"_s) {
        return manualClient(agent.address(), agent.port(), name);
    }

    RecordingDelegate delegate;
    VLServiceEnvironment environment;
    VLCallbackTargetPtr errorCallback;

private:
    QTemporaryDir m_directory;
    std::unique_ptr<VLBundle> m_bundle;
    QList<VLServicePtr> m_services;
};

inline QStringList names(const QList<VLServicePtr>& services) {
    QStringList result;
    for (const VLServicePtr& service : services)
        result << service->name();
    return result;
}

inline void onWorker(std::function<void()> work) {
    VLThread::detach(u"worker"_s, std::move(work));
}

inline qsizetype countLines(const QStringList& lines, const QString& start) {
    return std::count_if(lines.begin(), lines.end(),
                         [&](const QString& line) { return line.startsWith(start); });
}
