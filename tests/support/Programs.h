#pragma once

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>

#include <memory>

constexpr int patience = 60'000;  ///< milliseconds; only a hanging program takes that long

struct ProgramResult {
    int exitCode = -1;  ///< -1: it crashed or hung
    QString output, messages;
};

/// Runs a program to its end.
inline ProgramResult runProgram(
    const QString& program, const QStringList& arguments,
    const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    if (!process.waitForFinished(patience)) process.kill();
    if (process.exitStatus() != QProcess::NormalExit || process.error() != QProcess::UnknownError) return {};
    return {process.exitCode(), QString::fromLocal8Bit(process.readAllStandardOutput()),
            QString::fromLocal8Bit(process.readAllStandardError())};
}

/// Waits for the line with which an agent says that it is ready. The port that it names, or 0.
inline quint16 readAgentPort(QProcess& agent) {
    static const QRegularExpression ready(
        QStringLiteral("^corvalin-agent .+ listening on 127\\.0\\.0\\.1:(\\d+)$"));
    QElapsedTimer timer;
    timer.start();
    while (!agent.canReadLine() && timer.elapsed() < patience) {
        if (!agent.waitForReadyRead(100) && agent.state() == QProcess::NotRunning) return 0;
    }
    return ready.match(QString::fromUtf8(agent.readLine()).trimmed()).captured(1).toUShort();
}

/// Starts an agent on the sample workstation FOLDER/sample, which knows the console of FOLDER/console.crt.
/// The port is `port`, or one that the system chooses for 0, and set to 0 when the agent did not start.
inline std::unique_ptr<QProcess> startSampleAgent(const QString& program, const QString& folder,
                                                  quint16& port) {
    auto agent = std::make_unique<QProcess>();
    agent->start(program,
                 {QStringLiteral("--root"), folder + QStringLiteral("/sample"),
                  QStringLiteral("--no-advertise"), QStringLiteral("--authorize"),
                  folder + QStringLiteral("/console.crt"), QStringLiteral("--port"), QString::number(port)});
    port = readAgentPort(*agent);
    return agent;
}

/// True when the program has ended by itself, with that exit code.
inline bool hasEnded(QProcess& process, int exitCode) {
    return (process.state() == QProcess::NotRunning || process.waitForFinished(patience)) &&
           process.exitStatus() == QProcess::NormalExit && process.exitCode() == exitCode;
}
