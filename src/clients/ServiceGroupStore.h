#pragma once

#include <QObject>
#include <QVariant>

class ServiceList;

/// Keeps the groups of the client list in the user defaults under "serviceGroups": an array with a
/// dictionary for each group, of its "name" and its "services" (archived records). Main thread.
class ServiceGroupStore : public QObject {
    Q_OBJECT
public:
    /// `services` outlives this object.
    explicit ServiceGroupStore(ServiceList& services, QObject* parent = nullptr);

    /// Makes the stored groups; whatever is wrong with an entry costs that entry alone, with a log line, and
    /// is kept as it is under "serviceGroupsUnreadable". From here on every change is stored. Once, at start.
    void populate();

private:
    bool addStoredGroup(const QVariant& value);
    void keepUnreadable();
    void store() const;

    ServiceList& m_services;
    QVariantList m_unreadable;  ///< while the groups are read
};
