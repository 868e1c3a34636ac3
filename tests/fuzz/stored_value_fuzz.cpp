#include "agent/AgentSettings.h"
#include "agent/settlekeep/BackupInfo.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"
#include "runs/UndoData.h"

/// What lies in files that somebody else may have written: what takes back a change, the settings of an
/// agent, and what is noted down about a backup.
void readInput(const QByteArray& input) {
    const QVariantMap undo = UndoData::fromBytes(input);
    const QByteArray kept = UndoData::toBytes(undo);
    mustHold(kept.isEmpty() || UndoData::toBytes(UndoData::fromBytes(kept)) == kept, "it is kept as it was");

    const QVariantMap map = PropertyList::fromData(input).toMap();
    AgentSettings settings;
    QString error;
    const bool isApplied = settings.apply(map, QStringLiteral("/etc"), &error);
    mustHold(isApplied == error.isEmpty(), "settings are taken, or something is wrong with them");

    const QVariantMap shown = BackupInfo::describe(map, QStringLiteral("/b"), QDateTime());
    mustHold(shown.value(BackupInfo::nameKey).toString().size() <= BackupInfo::longestName,
             "names are short");
    static_cast<void>(BackupInfo::isAutomatic(map));
}

QList<QByteArray> seeds() {
    QList<QByteArray> made;
    const QVariantList values = sampleValues() + sampleAnswers();
    for (const QVariant& value : values)
        made.append(UndoData::toBytes({{QStringLiteral("plugins"), value}}));
    const QString keys = QStringLiteral("fcpPrefs");
    made.append(PropertyList::toData(BackupInfo::make(keys, keys, PreferenceKeys::groups(keys),
                                                      QDateTime(QDate(2011, 7, 1), QTime(12, 0), Qt::UTC))));
    made.append(PropertyList::toData(QVariantMap{{QStringLiteral("root"), QStringLiteral("disk")},
                                                 {QStringLiteral("port"), qlonglong(5473)},
                                                 {QStringLiteral("authorized"), QStringList{keys}},
                                                 {QStringLiteral("advertise"), true}}));
    made.removeAll(QByteArray());
    return made;
}
