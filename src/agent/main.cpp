#include "agent/AgentCommandLine.h"
#include "agent/AgentDaemon.h"
#include "agent/AgentLock.h"
#include "agent/identity/MaintenanceRequest.h"
#include "agent/sample/SampleTree.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/TlsIdentity.h"
#include "system/SignalWatcher.h"
#include "system/VLException.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTextStream>

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

/// How long tasks under way may take to end with the agent.
constexpr std::chrono::seconds longestTaskEnd{10};

void say(FILE* stream, const QString& text) {
    QTextStream(stream) << text << (text.endsWith(u'\n') ? "" : "\n") << Qt::flush;
}

/// Several agents on one machine must not write to one log; the file name takes no other characters.
QString logName(const AgentSettings& settings) {
    QString name = settings.name;
    for (QChar& c : name) {
        if (!c.isLetterOrNumber() && c != u' ' && c != u'-' && c != u'_') c = u'-';
    }
    return QStringLiteral("corvalin-agent ") + name.left(60);
}

/// Replaces the process by a new one of the same program. The port stays the same, also where the system
/// had chosen it, so that consoles that know it find the agent again. Returns only when that failed.
void startAnew(const QString& program, QStringList arguments, quint16 port) {
    const QStringList samePort{QStringLiteral("--port"), QString::number(port)};
    if (arguments.mid(arguments.size() - samePort.size()) != samePort) arguments.append(samePort);
    std::vector<QByteArray> encoded;
    for (const QString& argument : std::as_const(arguments))
        encoded.push_back(QFile::encodeName(argument));
    std::vector<char*> pointers;
    for (QByteArray& argument : encoded)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    execv(QFile::encodeName(program).constData(), pointers.data());
    say(stderr,
        QStringLiteral("corvalin-agent: unable to start anew: %1").arg(QString::fromUtf8(strerror(errno))));
}

int serve(const AgentSettings& settings) {
    const AgentLock lock(settings);  // before the log, which may be the other agent's too
    const QString program = QCoreApplication::applicationFilePath();  // now: the file may be replaced later
    quint16 port = 0;
    bool shallRelaunch = false, hasEnded = false;
    int exitCode = 0;
    {
        VLLog::createNewLog(logName(settings));
        AgentDaemon daemon(settings);
        const SignalWatcher signals({SIGINT, SIGTERM, SIGHUP}, [&daemon](int signal) {
            if (signal == SIGHUP) return daemon.reload();
            QCoreApplication::quit();
        });
        port = daemon.port();
        say(stdout, QStringLiteral("corvalin-agent %1 listening on %2:%3")
                        .arg(settings.name, settings.listenAddress)
                        .arg(port));
        QCoreApplication::exec();
        shallRelaunch = daemon.shallRelaunch();
        exitCode = daemon.exitCode();
        hasEnded = daemon.finish();
    }
    VLThread::cancelAll();
    hasEnded = VLThread::joinAll(longestTaskEnd) && hasEnded;
    if (!shallRelaunch && !hasEnded) std::_Exit(exitCode);
    if (!shallRelaunch) return exitCode;
    startAnew(program, QCoreApplication::arguments(), port);
    return 1;
}

int run(const AgentCommand& command) {
    using Action = AgentCommand::Action;
    const QString& state = command.settings.stateDirectory;
    switch (command.action) {
        case Action::Print:
            say(stdout, command.text);
            return 0;
        case Action::Fail:
            say(stderr, command.text);
            return 2;
        case Action::MakeSample:
            SampleTree::make(command.sampleDirectory, command.sampleProfile);
            say(stdout,
                QStringLiteral("Sample workstation %1 made; start its agent with: corvalin-agent --config %2")
                    .arg(command.sampleProfile)
                    .arg(QDir(command.sampleDirectory).absoluteFilePath(QStringLiteral("agent.conf"))));
            return 0;
        case Action::PrintFingerprint:
            say(stdout, certificateFingerprint(
                            TlsIdentity::loadOrCreate(state, QStringLiteral("agent"), command.settings.name)
                                .certificate));
            return 0;
        case Action::RequestMaintenance:
            return MaintenanceRequest::request(state) ? 0 : 1;
        case Action::CancelMaintenance:
            return MaintenanceRequest::cancel(state) ? 0 : 1;
        case Action::Serve:
            return serve(command.settings);
    }
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    // A peer that goes away while it is written to is an error of that connection, not of the agent.
    std::signal(SIGPIPE, SIG_IGN);
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("corvalin-agent"));
    QCoreApplication::setOrganizationName(QStringLiteral("Velmora"));
    QCoreApplication::setApplicationVersion(QStringLiteral(CORVALIN_AGENT_VERSION));
    MainThread::adopt();
    try {
        return run(AgentCommand::parse(QCoreApplication::arguments()));
    } catch (const VLException& error) {
        say(stderr, QStringLiteral("corvalin-agent: ") + error.reason());
    } catch (const std::exception& error) {
        say(stderr, QStringLiteral("corvalin-agent: ") + QString::fromUtf8(error.what()));
    }
    return 1;
}
