#include "clients/troubleshooter/PortTest.h"

#include "clients/ConnectionAttempts.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "remote/ConnectionFailure.h"
#include "remote/SocketConnector.h"

#include <QElapsedTimer>

namespace {

constexpr qsizetype mostTargets = 16;  // an announcement may hold any number of addresses

QString failureText(const PortTest::Target& target, const std::exception& exception) {
    const QString place = PortTest::tr("%1, port %2").arg(target.host).arg(target.port);
    switch (connectionFailure(exception)) {
        case ConnectionFailure::Refused:
            return PortTest::tr(
                       "%1 is closed: the computer answers, but no program takes connections "
                       "there.")
                .arg(place);
        case ConnectionFailure::Unreachable:
            return PortTest::tr("%1 cannot be reached: the network knows no way there.").arg(place);
        case ConnectionFailure::NoAnswer:
            return PortTest::tr("%1 does not answer: nothing came back in time.").arg(place);
        case ConnectionFailure::HostNotFound:
            return PortTest::tr("%1: the name leads to no address.").arg(target.host);
        default:
            return QStringLiteral("%1: %2").arg(place, ConnectionAttempts::reason(exception));
    }
}

PortTest::Outcome tryTarget(const PortTest::Target& target, std::chrono::milliseconds limit) {
    if (target.host.isEmpty() || target.port < 1 || target.port > 65535)
        return {target, false, PortTest::tr("An address or port of the computer is not valid.")};
    QElapsedTimer time;
    time.start();
    try {
        (void)SocketConnector::connect(target.host, static_cast<quint16>(target.port), Deadline(limit));
        return {target, true,
                PortTest::tr("%1, port %2 is open: it took the connection after %3 ms.")
                    .arg(target.host)
                    .arg(target.port)
                    .arg(time.elapsed())};
    } catch (const std::exception& exception) {
        return {target, false, failureText(target, exception)};
    }
}

}  // namespace

/// Touched on the main thread only.
struct PortTest::Run {
    PortTest* owner = nullptr;  ///< null once it was cancelled
    qsizetype pending = 0;
};

QList<PortTest::Target> PortTest::targetsOf(const VLService& service) {
    QList<Target> targets;
    const auto endpoints = ConnectionAttempts::endpoints(service);
    for (const auto& endpoint : endpoints)
        if (targets.size() < mostTargets) targets.append({endpoint.host, endpoint.port});
    return targets;
}

void PortTest::start(const QList<Target>& targets, std::chrono::milliseconds limit) {
    cancel();
    const auto run = std::make_shared<Run>(Run{this, targets.size()});
    m_run = run;
    const auto report = [run](const Outcome& outcome) {
        onMainThread([run, outcome] {
            if (run->owner) run->owner->take(outcome);
        });
    };
    for (const Target& target : targets) {
        const bool isTried = VLThread::detach(QStringLiteral("port test"),
                                              [report, target, limit] { report(tryTarget(target, limit)); });
        if (!isTried) report({target, false, tr("This computer has too much to do to try it.")});
    }
    if (!targets.isEmpty()) return;
    cancel();
    Q_EMIT finished();
}

void PortTest::cancel() {
    if (m_run) m_run->owner = nullptr;
    m_run = nullptr;
}

void PortTest::take(const Outcome& outcome) {
    const bool isLast = --m_run->pending == 0;
    if (isLast) cancel();
    Q_EMIT outcomeReady(outcome);
    if (isLast) Q_EMIT finished();
}
