#pragma once

#include "clients/ClientDirectory.h"
#include "clients/VLServiceGroup.h"
#include "foundation/Snapshot.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

#include <memory>

/// The known clients and the groups, and which of them are selected.
///
/// Everything that changes the list runs on the main thread; the look-ups and selectedServices() are for any
/// thread. Signals come on the main thread.
class ServiceList : public QObject {
    Q_OBJECT
public:
    explicit ServiceList(QObject* parent = nullptr);
    ~ServiceList() override;

    /// Every known client, sorted by name. Any thread.
    [[nodiscard]] QList<VLServicePtr> serviceArray() const { return m_services.services(); }

    // Groups: main thread, in the order in which they were made.
    [[nodiscard]] QList<VLServiceGroupPtr> groups() const;
    /// Clients of the list that `absent` holds are its members at once.
    VLServiceGroupPtr addGroup(const QString& name, const QList<RememberedClient>& absent = {});
    /// The clients in it stay in the list.
    void removeGroup(const VLServiceGroupPtr& group);
    void renameGroup(const VLServiceGroupPtr& group, const QString& name);
    void forgetAbsentClients(const VLServiceGroupPtr& group);
    /// What is wrong with a name for `group` (null: for a new one), as a sentence; empty when nothing is.
    [[nodiscard]] QString groupNameProblem(const QString& name, const VLServiceGroupPtr& group = {}) const;
    /// Clients leave the groups they are in and join this one; null: none.
    void moveToGroup(const QList<VLServicePtr>& services, const VLServiceGroupPtr& group);
    [[nodiscard]] VLServiceGroupPtr groupOf(const VLServicePtr& service) const;
    [[nodiscard]] RememberedClient remembered(const VLServicePtr& service) const;
    /// Of the group that is always there and holds every client.
    [[nodiscard]] static QString allComputersTitle() { return tr("All Computers"); }

    void addServiceToList(const VLServicePtr& service);
    /// Takes the record out of the list and out of its group, which remembers the client; the record itself
    /// is left alone. False when it was not in it.
    bool removeServiceFromList(const VLServicePtr& service);

    /// The first record whose host name, or one of its other names, is `hostName` (a missing trailing dot is
    /// added); null when there is none. A host name counts before another client's other names, which are
    /// what agents call themselves. Any thread, constant time.
    [[nodiscard]] VLServicePtr serviceWithHostName(const QString& hostName) const {
        return m_services.withHostName(hostName);
    }
    [[nodiscard]] VLServicePtr serviceWithIPAddress(const QString& address) const;
    /// The name shown for a client: its record's name, else the host name itself. Any thread.
    [[nodiscard]] QString friendlyServiceName(const QString& hostName) const;

    /// The clients selected in the client list, in list order. Any thread.
    [[nodiscard]] QList<VLServicePtr> selectedServices() const;
    void setSelectedServices(const QList<VLServicePtr>& services) { setSelection(services, {}); }
    /// These clients, and whichever the groups hold at any time.
    void setSelection(const QList<VLServicePtr>& services, const QList<VLServiceGroupPtr>& groups);
    /// The two parts of the selection; both are empty while all are selected. Main thread.
    [[nodiscard]] const QList<VLServicePtr>& chosenServices() const { return m_chosen; }
    [[nodiscard]] const QList<VLServiceGroupPtr>& chosenGroups() const { return m_chosenGroups; }
    /// The selection is every client of the list, also those that come later.
    void selectAll();
    [[nodiscard]] bool allSelected() const { return m_allSelected; }

    /// Something shown of this record (or, for null, of any) has changed. The look-up index is renewed.
    void serviceChanged(const VLServicePtr& service);

Q_SIGNALS:
    void serviceAdded(const VLServicePtr& service);
    void serviceRemoved(const VLServicePtr& service);
    void serviceUpdated(const VLServicePtr& service);  ///< null: any
    void selectionChanged();
    void groupsChanged();        ///< their names or members
    void storedGroupsChanged();  ///< so that they must be stored: not when a client only comes or goes

private:
    /// The selection as other threads see it: all clients, whichever those are, or these.
    struct Selected {
        bool all = true;
        QList<VLServicePtr> services;
    };
    void joinRememberedGroup(const VLServicePtr& service);
    void noteHost(const VLService& service);
    [[nodiscard]] QList<VLServicePtr> chosenNow() const;
    bool updateSelected();
    void updateSelection();

    ClientDirectory m_services;
    Snapshot<Selected> m_selected;
    QList<VLServiceGroupPtr> m_groups;
    QHash<QString, QString> m_hostNames;  ///< the client first seen on an advertised host
    QSet<QString> m_sharedHosts;          ///< from which several agents advertise
    bool m_allSelected = true;
    QList<VLServicePtr> m_chosen;
    QList<VLServiceGroupPtr> m_chosenGroups;
};
