#include "tools/settlekeep/BackupList.h"

#include "foundation/VLFormat.h"
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
const QString hostNameKey = QStringLiteral("hostname");
const QString dateKey = QStringLiteral("date");
const QString keysKey = QStringLiteral("keys");

bool isUsableText(const QVariant& value) {
    return value.typeId() == QMetaType::QString && value.toString().size() <= BackupList::maximumTextLength;
}

/// A number that is no text, not negative, and small enough to be what it says it is.
QVariant usableNumber(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
            return value.toLongLong() >= 0 ? QVariant(value.toLongLong()) : QVariant();
        case QMetaType::Double:
            if (const double real = value.toDouble(); real >= 0 && real < 1e15)
                return static_cast<qlonglong>(real);
            return {};
        default:
            return {};
    }
}

QVariant usable(const QString& key, const QVariant& value) {
    if (key == nameKey || key == keysKey) return isUsableText(value) ? value : QVariant();
    if (key == dateKey)
        return value.typeId() == QMetaType::QDateTime && value.toDateTime().isValid() ? value : QVariant();
    return usableNumber(value);
}

/// Nothing for an entry that could not be restored.
std::optional<QVariantMap> clean(const QVariant& entry, int& wrongValues) {
    if (entry.typeId() != QMetaType::QVariantMap) return std::nullopt;
    const QVariantMap received = entry.toMap();
    const QVariant path = received.value(pathKey);
    if (!isUsableText(path) || path.toString().isEmpty()) return std::nullopt;
    QVariantMap backup{{pathKey, path}};
    for (const QString& key : backupColumnNames()) {
        const auto value = received.constFind(key);
        if (key == hostNameKey || value == received.constEnd()) continue;  // that one is ours to give
        const QVariant kept = usable(key, *value);
        if (kept.isValid())
            backup.insert(key, kept);
        else
            ++wrongValues;
    }
    return backup;
}

}  // namespace

BackupList BackupList::fromAnswer(const QVariant& answer) {
    BackupList list;
    if (answer.typeId() != QMetaType::QVariantMap) {
        list.complaint =
            vlFormat(QStringLiteral("not a dictionary but %@"), QLatin1String(answer.typeName()));
        return list;
    }
    const QVariantMap entries = answer.toMap();
    int wrongValues = 0;
    for (const QVariant& entry : entries) {
        if (list.backups.size() >= maximumEntries) break;
        if (auto backup = clean(entry, wrongValues)) list.backups.append(*std::move(backup));
    }
    const auto leftOut = static_cast<int>(entries.size() - list.backups.size());
    if (leftOut > 0 || wrongValues > 0) {
        list.complaint =
            vlFormat(QStringLiteral("%i of %i entries left out, %i values of a wrong kind ignored"), leftOut,
                     static_cast<int>(entries.size()), wrongValues);
    }
    return list;
}

const QStringList& backupColumnNames() {
    static const QStringList names{
        nameKey, hostNameKey, QStringLiteral("type"), dateKey, QStringLiteral("size"), keysKey};
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
          m_isNumber(column == dateKey || column == u"type" || column == u"size"),
          m_friendlyName(friendlyName) {}

    [[nodiscard]] Keyed operator()(QVariantMap backup) {
        const QString name = backupName(backup).toCaseFolded();
        const QString client = m_friendlyName(backup.value(hostNameKey).toString()).toCaseFolded();
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
