#pragma once

#include "agent/AgentContext.h"
#include "support/SampleAgent.h"

#include <QVariant>

/// One value of each kind, alone and inside each other.
inline QVariantList sampleValues() {
    const QVariantList plain{true,
                             qlonglong(-7),
                             qlonglong(1) << 40,
                             2.5,
                             QString(),
                             QStringLiteral("Größe & <剪辑> \U0001F3AC"),
                             QByteArray("\0\xff\n", 3),
                             QDateTime(QDate(1904, 1, 1), QTime(23, 59, 59), Qt::UTC),
                             QDateTime(QDate(2011, 7, 1), QTime(12, 0), Qt::UTC)};
    QVariantMap map;
    for (const QVariant& value : plain)
        map.insert(QLatin1String(value.typeName()), value);
    return plain +
           QVariantList{QVariant(plain), map,
                        QVariantMap{{QStringLiteral("list"), QVariantList{map, plain, QVariantList()}},
                                    {QStringLiteral("map"), QVariantMap{{QString(), map}}}}};
}

/// What the agents of the sample workstations answer where the console reads more than a plain value.
inline QVariantList sampleAnswers() {
    QVariantList answers;
    for (int profile = 1; profile <= SampleTree::profileCount; ++profile) {
        const SampleAgent agent(profile);
        agent.perform(QStringLiteral("settlekeepBackup:type:"), {QStringLiteral("Größe"), qlonglong(1)});
        for (const char* selector :
             {"addonryPluginList", "cronwellTaskDictionary", "vlAppTasks", "settlekeepBackups",
              "initialConfiguration", "systemSpecs", "varispotSystemInfo"})
            answers.append(agent.perform(QLatin1String(selector)));
    }
    return answers;
}
