#include "tools/settlekeep/BackupList.h"

#include "tools/AgentAnswer.h"
#include "tools/ClientCopies.h"
#include "tools/settlekeep/PreferenceTree.h"

#include <QDateTime>
#include <QHash>

#include <algorithm>
#include <iterator>
#include <optional>
#include <tuple>

namespace {

const QString pathKey = QStringLiteral("path");
const QString nameKey = QStringLiteral("name");
using ClientCopies::hostNameKey;
const QString dateKey = QStringLiteral("date");
const QString keysKey = QStringLiteral("keys");
const QString typeKey = QStringLiteral("type");
const QString sizeKey = QStringLiteral("size");

/// Not negative: an index or a size.
QVariant count(const QVariant& value) {
    const QVariant number = AgentAnswer::number(value);
    return number.toLongLong() >= 0 ? number : QVariant();
}
constexpr AgentAnswer::Key optionalKeys[] = {{"name", AgentAnswer::text},
                                             {"type", count},
                                             {"date", AgentAnswer::date},
                                             {"size", count},
                                             {"keys", AgentAnswer::text}};

/// Nothing for an entry that could not be restored.
std::optional<QVariantMap> clean(const QVariant& entry, int& wrongValues) {
    const QVariantMap received = entry.toMap();
    const QVariant path = AgentAnswer::text(received.value(pathKey));
    if (path.toString().isEmpty()) return std::nullopt;
    QVariantMap backup{{pathKey, path}};
    wrongValues += AgentAnswer::copyKeys(received, optionalKeys, backup);
    return backup;
}

}  // namespace

BackupList BackupList::fromAnswer(const QVariant& answer) {
    BackupList list;
    if (!AgentAnswer::isDictionary(answer, list.complaint)) return list;
    const QVariantMap entries = answer.toMap();
    int wrongValues = 0;
    for (const QVariant& entry : entries) {
        if (list.backups.size() >= maximumEntries) break;
        if (auto backup = clean(entry, wrongValues)) list.backups.append(*std::move(backup));
    }
    list.complaint = AgentAnswer::complaint(entries.size(), list.backups.size(), wrongValues);
    return list;
}

const QStringList& backupColumnNames() {
    static const QStringList names{nameKey, hostNameKey, typeKey, dateKey, sizeKey, keysKey};
    return names;
}

QString backupName(const QVariantMap& backup) {
    const QString name = backup.value(nameKey).toString();
    return name.isEmpty() ? backup.value(pathKey).toString().section(u'/', -1) : name;
}

namespace {

struct Keyed {
    std::tuple<QString, qlonglong> first;
    std::tuple<QString, QString, qlonglong> then;
    QVariantMap backup;
};

class KeyMaker {
public:
    KeyMaker(const QString& column, const std::function<QString(const QString&)>& friendlyName)
        : m_column(column),
          m_isNumber(column == dateKey || column == typeKey || column == sizeKey),
          m_friendlyName(friendlyName) {}

    [[nodiscard]] Keyed operator()(QVariantMap backup) {
        const QString name = backupName(backup).toCaseFolded();
        const QString client = m_friendlyName(ClientCopies::hostNameOf(backup)).toCaseFolded();
        QString text;
        if (m_column == nameKey) text = name;
        if (m_column == hostNameKey) text = client;
        if (m_column == keysKey) text = applications(backup.value(keysKey).toString());
        return {{text, m_isNumber ? number(backup.value(m_column)) : 0},
                {name, client, number(backup.value(dateKey))},
                std::move(backup)};
    }

private:
    [[nodiscard]] static qlonglong number(const QVariant& value) {
        return value.typeId() == QMetaType::QDateTime ? value.toDateTime().toMSecsSinceEpoch()
                                                      : value.toLongLong();
    }
    /// Most backups are about the same ones.
    [[nodiscard]] QString applications(const QString& keys) {
        const auto known = m_applications.constFind(keys);
        if (known != m_applications.constEnd()) return *known;
        return *m_applications.insert(keys, PreferenceTree::coveredApplications(keys).toCaseFolded());
    }

    const QString& m_column;
    const bool m_isNumber;
    const std::function<QString(const QString&)>& m_friendlyName;
    QHash<QString, QString> m_applications;
};

}  // namespace

void sortBackups(QList<QVariantMap>& backups, const QString& column, bool descending,
                 const std::function<QString(const QString& hostName)>& friendlyName) {
    QList<Keyed> keyed;
    keyed.reserve(backups.size());
    std::transform(backups.cbegin(), backups.cend(), std::back_inserter(keyed),
                   KeyMaker(column, friendlyName));
    std::stable_sort(keyed.begin(), keyed.end(), [descending](const Keyed& a, const Keyed& b) {
        if (a.first != b.first) return descending ? b.first < a.first : a.first < b.first;
        return a.then < b.then;
    });
    std::transform(keyed.begin(), keyed.end(), backups.begin(),
                   [](Keyed& entry) { return std::move(entry.backup); });
}

const QStringList& backupTypeTitles() {
    static const QStringList titles{QStringLiteral("Standard"), QStringLiteral("Known Good"),
                                    QStringLiteral("Before Update")};
    return titles;
}

QString backupTypeText(const QVariant& type) {
    if (!type.isValid()) return {};
    const qlonglong index = type.toLongLong();
    const QStringList& titles = backupTypeTitles();
    return index >= 0 && index < titles.size() ? titles.at(index) : QStringLiteral("Type %1").arg(index);
}
