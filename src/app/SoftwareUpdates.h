#pragma once

#include <QHash>
#include <QObject>

#include <functional>

class ServiceList;

/// How many software updates wait for each client and for the console. Main thread.
class SoftwareUpdates : public QObject {
    Q_OBJECT
public:
    static constexpr auto ownHostName = "###self###";  ///< the console

    /// `services` outlives this object. `checkForUpdatesToSelf`: see AppServices.
    SoftwareUpdates(ServiceList& services, std::function<bool()> checkForUpdatesToSelf);

    [[nodiscard]] qlonglong softwareUpdateCount() const;  ///< of all
    [[nodiscard]] qlonglong softwareUpdateCount(const QString& hostName) const {
        return m_counts.value(hostName);
    }
    /// Of a client that is in the list, or of the console; what is said of others is ignored.
    void setSoftwareUpdateCount(qlonglong count, const QString& hostName);
    void forget(const QString& hostName) { store(0, hostName); }

    /// At start, as the settings say: shows the newer version that is known, or looks for one.
    void checkAtStart();
    /// Looks for a newer version of the console, on a worker; `then` hears on the main thread whether that
    /// was possible.
    void searchForUpdates(std::function<void(bool isDone)> then);

Q_SIGNALS:
    void softwareUpdateCountChanged(qlonglong total);

private:
    void store(qlonglong count, const QString& hostName);

    ServiceList& m_services;
    const std::function<bool()> m_checkForUpdatesToSelf;
    QHash<QString, qlonglong> m_counts;
};
