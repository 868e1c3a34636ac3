#include "system/VLTask.h"

#include "logs/VLLog.h"

#include <QProcess>

int VLTask::runTaskAndReturn(const QString& path, const QStringList& arguments) {
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(path, arguments);
    if (!process.waitForStarted(-1)) {
        VLLog::printToSystemLog(QStringLiteral("Unable to start %1: %2").arg(path, process.errorString()));
        return notStarted;
    }
    process.waitForFinished(-1);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : endedBySignal;
}
