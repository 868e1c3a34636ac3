#pragma once

#include "clients/VLService.h"
#include "foundation/Snapshot.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <memory>

/// A named group of clients in the client list; the same client stands at most once in one group.
class VLServiceGroup {
public:
    explicit VLServiceGroup(QString name) : m_name(std::move(name)) {}
    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] const QList<VLServicePtr>& children() const { return m_children; }
    void addChild(const VLServicePtr& service);
    void removeChild(const VLServicePtr& service);

private:
    QString m_name;
    QList<VLServicePtr> m_children;
};

/// The known clients and the groups, and which of them are selected.
///
/// Everything that changes the list runs on the main thread; the look-ups and selectedServices() are for any
/// thread (they read an index that is replaced whole). Signals come on the main thread.
class ServiceList : public QObject {
    Q_OBJECT
public:
    explicit ServiceList(QObject* parent = nullptr);
    ~ServiceList() override;

    /// Every known client, sorted by name. Any thread.
    [[nodiscard]] QList<VLServicePtr> serviceArray() const;
    [[nodiscard]] QList<std::shared_ptr<VLServiceGroup>> groups() const;  ///< main thread

    std::shared_ptr<VLServiceGroup> addGroup(const QString& name);
    /// The clients in it stay in the list.
    void removeGroup(const std::shared_ptr<VLServiceGroup>& group);

    void addServiceToList(const VLServicePtr& service);
    /// Takes the record out of the list and out of every group; the record itself is left alone.
    void removeServiceFromList(const VLServicePtr& service);

    /// The first record whose host name, or one of its other names, is `hostName` (a missing trailing dot is
    /// added); null when there is none. A host name counts before another client's other names, which are
    /// what agents call themselves. Any thread, constant time.
    [[nodiscard]] VLServicePtr serviceWithHostName(const QString& hostName) const;
    [[nodiscard]] VLServicePtr serviceWithIPAddress(const QString& address) const;
    /// The name shown for a client: its record's name, else the host name itself. Any thread.
    [[nodiscard]] QString friendlyServiceName(const QString& hostName) const;

    /// The clients selected in the client list, in list order. Any thread.
    [[nodiscard]] QList<VLServicePtr> selectedServices() const { return m_selected.get(); }
    void setSelectedServices(const QList<VLServicePtr>& services);
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

private:
    /// Which client a name leads to. Agents choose their other names themselves, so these come second: they
    /// must not hide the client that has the name for real.
    struct Index {
        QHash<QString, VLServicePtr> byHostName;
        QHash<QString, VLServicePtr> byOtherName;
    };
    struct Names {
        QString hostName;
        QStringList others;
    };
    static void enter(Index& index, const Names& names, const VLServicePtr& service);
    void rebuildIndex();
    [[nodiscard]] bool isIndexed(const VLServicePtr& service) const;

    Snapshot<QList<VLServicePtr>> m_services;
    Snapshot<QList<VLServicePtr>> m_selected;
    Snapshot<Index> m_index;
    QHash<const VLService*, Names> m_indexedNames;  ///< what the index was made from
    QList<std::shared_ptr<VLServiceGroup>> m_groups;
    bool m_allSelected = true;
};
