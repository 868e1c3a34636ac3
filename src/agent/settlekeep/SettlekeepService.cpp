#include "agent/settlekeep/SettlekeepService.h"

#include "agent/AgentContext.h"
#include "agent/dispatch/OperationTable.h"
#include "agent/settlekeep/BackupStore.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "system/VLException.h"

#include <QHash>

#include <algorithm>
#include <memory>
#include <mutex>

namespace {

using PreferenceKeys::Group;
using VLCorvalinServerProtocol::accepts;
using VLCorvalinServerProtocol::integerValue;
using VLCorvalinServerProtocol::Type;

constexpr int longestName = 255;
constexpr qlonglong largestType = 99;
const QString bundleID = QStringLiteral("com.velmora.settlekeep");
const QString quickTrashTask = QStringLiteral("0");

[[noreturn]] void refuse(const QString& reason) {
    throw VLException(VLException::refused, reason);
}

QString checkedName(const QVariant& value) {
    const QString name = value.toString();
    const bool isOneLine = std::none_of(name.begin(), name.end(), [](QChar c) {
        return c.category() == QChar::Other_Control || c == QChar::LineSeparator ||
               c == QChar::ParagraphSeparator;
    });
    if (value.typeId() != QMetaType::QString || name.isEmpty() || name == u"." || name.size() > longestName ||
        !isOneLine)
        refuse(QStringLiteral("A backup cannot have this name."));
    return name;
}

int checkedType(const QVariant& value) {
    const qlonglong type = accepts(Type::Number, value) ? integerValue(value) : -1;
    if (type < 0 || type > largestType) refuse(QStringLiteral("There is no such type of backup."));
    return int(type);
}

/// The operations of one agent. One change is made at a time.
class SettlekeepService {
public:
    explicit SettlekeepService(AgentContext& agent) : m_agent(agent) {
        if (agent.consoleUser().isEmpty()) return;
        try {
            store().recover();
        } catch (const VLException& error) {
            VLLog::appendLog(error.reason());  // the next change tries again
        }
    }

    [[nodiscard]] QVariantMap backups() const {
        return m_agent.consoleUser().isEmpty() ? QVariantMap() : store().list();
    }
    [[nodiscard]] QByteArray data(const QString& path) const { return store().data(path); }
    [[nodiscard]] QVariantList lockedKeys() const {
        if (m_agent.consoleUser().isEmpty()) return {};
        const QStringList keys = store().lockedKeys();
        return {keys.begin(), keys.end()};
    }

    void backUp(quint64 peer, const QVariant& name, const QVariant& type, const QList<Group>& groups) {
        const QString checked = checkedName(name);
        const int checkedNumber = checkedType(type);
        const auto lock = beginChange();
        const QString path = store().create(checked, checkedNumber, groups);
        m_agent.log.append(peer, QStringLiteral("Backed up preferences to %@"), path);
    }
    /// `restore` does it, and returns what was done.
    template <typename Restore>
    void restore(quint64 peer, const Restore& restore) {
        const auto lock = beginChange();
        const BackupStore::Change change = noteKept(peer, restore);
        m_agent.log.append(peer, QStringLiteral("Restored preferences: %@"), change.keys.join(u','));
    }
    /// How many files and folders it were.
    qsizetype trash(quint64 peer, const QList<Group>& groups) {
        const auto lock = beginChange();
        const BackupStore::Change change =
            noteKept(peer, [&](const BackupStore& store) { return store.trash(groups); });
        m_agent.log.append(peer, QStringLiteral("Preference files moved to the trash: %i"),
                           int(change.count));
        return change.count;
    }
    /// The backup of what the last change of this console replaced; empty when that changed nothing, or was
    /// made before this program started.
    [[nodiscard]] QVariantMap lastUndo(quint64 peer) {
        QString path;
        {
            const std::lock_guard lock(m_keptMutex);
            path = m_kept.value(m_agent.consoles.consoleOf(peer));
        }
        return path.isEmpty() ? QVariantMap() : store().info(path);
    }
    void setLocked(quint64 peer, const QList<Group>& groups, bool locked) {
        const auto lock = beginChange();
        bool couldBeImmutable = true;
        const qsizetype count = store().setLocked(groups, locked, &couldBeImmutable);
        m_agent.log.append(peer,
                           locked ? QStringLiteral("Preference files locked: %i%@")
                                  : QStringLiteral("Preference files unlocked: %i%@"),
                           int(count),
                           locked && !couldBeImmutable
                               ? QStringLiteral(" (read-only: the file system has no immutable files for us)")
                               : QString());
    }

private:
    [[nodiscard]] BackupStore store() const {
        const QString user = m_agent.consoleUser();
        if (user.isEmpty())
            throw VLException(VLException::generic,
                              QStringLiteral("This computer has no user whose preferences there could be."));
        return {m_agent.tree, m_agent.settings.stateDirectory, user};
    }
    /// Nothing is changed before what was begun earlier is completed.
    [[nodiscard]] std::unique_lock<std::mutex> beginChange() {
        std::unique_lock lock(m_mutex);
        store().recover();
        return lock;
    }

    template <typename Work>
    BackupStore::Change noteKept(quint64 peer, const Work& work) {
        const QString console = m_agent.consoles.consoleOf(peer);
        const auto note = [&](const QString& path) {
            const std::lock_guard lock(m_keptMutex);
            if (path.isEmpty())
                m_kept.remove(console);
            else
                m_kept.insert(console, path);
        };
        note({});
        BackupStore::Change change = work(store());
        note(change.kept);
        return change;
    }

    AgentContext& m_agent;
    std::mutex m_mutex;
    std::mutex m_keptMutex;
    QHash<QString, QString> m_kept;  ///< by console, of which this computer knows but a few
};

void addBackupOperations(OperationTable& table, const std::shared_ptr<SettlekeepService>& service) {
    table.add(QStringLiteral("settlekeepBackups"),
              [service](const OperationCall&) { return QVariant(service->backups()); });
    table.add(QStringLiteral("settlekeepBackupData:"), [service](const OperationCall& call) {
        return QVariant(service->data(call.arguments.at(0).toString()));
    });
    table.add(QStringLiteral("settlekeepBackup:type:"), [service](const OperationCall& call) {
        service->backUp(call.peer, call.arguments.at(0), call.arguments.at(1), PreferenceKeys::mainGroups());
        return QVariant();
    });
    table.add(QStringLiteral("settlekeepBackupSelected:"), [service](const OperationCall& call) {
        const QVariantMap selection = call.arguments.at(0).toMap();
        const QVariant keys = selection.value(QStringLiteral("keys"));
        if (keys.typeId() != QMetaType::QString || keys.toString().isEmpty())
            refuse(QStringLiteral("No preferences are chosen."));
        service->backUp(call.peer, selection.value(QStringLiteral("backupName")),
                        selection.value(QStringLiteral("backupType")),
                        PreferenceKeys::groups(keys.toString()));
        return QVariant();
    });
    table.add(QStringLiteral("settlekeepRestoreLocalBackup:"), [service](const OperationCall& call) {
        service->restore(call.peer, [&](const BackupStore& store) {
            return store.restoreFrom(call.arguments.at(0).toString());
        });
        return QVariant();
    });
    table.add(QStringLiteral("settlekeepRestoreRemoteBackup:"), [service](const OperationCall& call) {
        service->restore(call.peer, [&](const BackupStore& store) {
            return store.restore(call.arguments.at(0).toByteArray());
        });
        return QVariant();
    });
    table.add(QStringLiteral("settlekeepLastUndo"),
              [service](const OperationCall& call) { return QVariant(service->lastUndo(call.peer)); });
    table.add(QStringLiteral("settlekeepLockedKeys"),
              [service](const OperationCall&) { return QVariant(service->lockedKeys()); });
}

}  // namespace

void addSettlekeepOperations(OperationTable& table, AgentContext& agent) {
    const auto service = std::make_shared<SettlekeepService>(agent);
    addBackupOperations(table, service);
    const auto add = [&](const char* selector, auto operation) {
        table.add(QString::fromLatin1(selector), [service, operation](const OperationCall& call) {
            operation(*service, call.peer, PreferenceKeys::groups(call.arguments.at(0).toString()));
            return QVariant();
        });
    };
    using Groups = QList<Group>;
    add("settlekeepTrashSelected:", [](SettlekeepService& settlekeep, quint64 peer, const Groups& groups) {
        settlekeep.trash(peer, groups);
    });
    add("settlekeepLockSelected:", [](SettlekeepService& settlekeep, quint64 peer, const Groups& groups) {
        settlekeep.setLocked(peer, groups, true);
    });
    add("settlekeepUnlockSelected:", [](SettlekeepService& settlekeep, quint64 peer, const Groups& groups) {
        settlekeep.setLocked(peer, groups, false);
    });
    agent.userTasks.add(bundleID, [service](quint64 peer, const QString& task, const QVariantMap&) {
        if (task != quickTrashTask) AgentTasks::taskNotFound(bundleID);
        return QStringLiteral("%1 preference files moved to the trash.")
            .arg(service->trash(peer, PreferenceKeys::mainGroups()));
    });
}
