#include "agent/faultscope/CrashLogs.h"
#include "fuzz/Fuzzing.h"
#include "fuzz/SampleValues.h"

#include <algorithm>

/// The text of a crash log, of which consoles are told what kind of code crashed where.
void readInput(const QByteArray& input) {
    const CrashLog log = CrashLogs::parse(QString::fromUtf8(input));
    const auto isShort = [](const QString& text) {
        return text.size() <= 300 && std::none_of(text.begin(), text.end(), [](QChar character) {
                   return character.category() == QChar::Other_Control;
               });
    };
    mustHold(isShort(log.application) && isShort(log.cause), "what is shown is a short line");
    mustHold(!log.cause.isEmpty(), "there always is a cause");
}

QList<QByteArray> seeds() {
    QList<QByteArray> made;
    for (int profile = 1; profile <= SampleTree::profileCount; ++profile) {
        const SampleAgent agent(profile);
        QDirIterator files(agent.disk(QString()), {QStringLiteral("*.crash")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            made.append(contentsOf(files.next()));
    }
    return made;
}
