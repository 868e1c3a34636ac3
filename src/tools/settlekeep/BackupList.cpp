#include "tools/settlekeep/BackupList.h"

#include "tools/merged/MergedRow.h"
#include "tools/settlekeep/PreferenceTree.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QHash>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <tuple>

namespace {

const QString nameKey = QStringLiteral("name");
const QString& hostNameKey = ClientCopy::hostNameKey;
const QString dateKey = QStringLiteral("date");
const QString keysKey = QStringLiteral("keys");
const QString typeKey = QStringLiteral("type");
const QString originKey = QStringLiteral("origin");
const QString sizeKey = QStringLiteral("size");

constexpr qsizetype mostFurtherKeys = 16;

constexpr AgentAnswer::Key keys[] = {{"date", AgentAnswer::date},
                                     {"keys", AgentAnswer::text},
                                     {"name", AgentAnswer::text},
                                     {"origin", AgentAnswer::text},
                                     {"path", AgentAnswer::filledText, true},
                                     {"size", AgentAnswer::count},
                                     {"type", AgentAnswer::count}};

}  // namespace

AgentAnswer::Entries checkedBackups(const QVariant& answer) {
    AgentAnswer::Entries backups = AgentAnswer::fromDictionary(answer, {keys, mostBackups, mostFurtherKeys});
    for (QVariantMap& backup : backups.entries)
        if (backup.contains(hostNameKey)) backup.remove(hostNameKey);  // the console's own key
    return backups;
}

QStringList furtherKeys(const QVariantMap& backup) {
    QStringList names = backup.keys();
    names.removeOne(hostNameKey);
    for (const AgentAnswer::Key& key : keys)
        names.removeOne(QLatin1String(key.name));
    return names;
}

const QStringList& backupColumnNames() {
    static const QStringList names{nameKey, hostNameKey, typeKey, dateKey, sizeKey, keysKey};
    return names;
}

QString backupName(const QVariantMap& backup) {
    const QString name = backup.value(nameKey).toString();
    return name.isEmpty() ? backup.value(QStringLiteral("path")).toString().section(u'/', -1) : name;
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
        const QString client = m_friendlyName(backup.value(hostNameKey).toString()).toCaseFolded();
        QString text;
        if (m_column == nameKey) text = name;
        if (m_column == hostNameKey) text = client;
        if (m_column == keysKey) text = applications(backup.value(keysKey).toString());
        // Behind all those that somebody made.
        const bool isAutomatic = m_column == typeKey && backup.contains(originKey);
        const qlonglong value =
            isAutomatic ? std::numeric_limits<qlonglong>::max() : number(backup.value(m_column));
        return {
            {text, m_isNumber ? value : 0}, {name, client, number(backup.value(dateKey))}, std::move(backup)};
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

namespace {

constexpr std::array typeTitles{QT_TRANSLATE_NOOP("BackupList", "Standard"),
                                QT_TRANSLATE_NOOP("BackupList", "Known Good"),
                                QT_TRANSLATE_NOOP("BackupList", "Before Update")};

QString translated(const char* text) {
    return QCoreApplication::translate("BackupList", text);
}

QString plain(const char* text) {
    return QString::fromLatin1(text);
}

QString typeOf(const QVariantMap& backup, QString (*say)(const char*)) {
    if (!backup.value(originKey).toString().isEmpty())
        return say(QT_TRANSLATE_NOOP("BackupList", "Automatic"));
    const QVariant type = backup.value(typeKey);
    if (!type.isValid()) return {};
    const qlonglong index = type.toLongLong();
    if (index >= 0 && index < qlonglong(typeTitles.size())) return say(typeTitles[std::size_t(index)]);
    return say(QT_TRANSLATE_NOOP("BackupList", "Type %1")).arg(index);
}

}  // namespace

QStringList backupTypeTitles() {
    QStringList titles;
    for (const char* title : typeTitles)
        titles.append(translated(title));
    return titles;
}

QString backupTypeText(const QVariantMap& backup) {
    return typeOf(backup, translated);
}

QString backupTypeWord(const QVariantMap& backup) {
    return typeOf(backup, plain);
}
