#include "foundation/MainThread.h"
#include "foundation/StoredSorting.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "runs/InFlight.h"
#include "system/VLException.h"
#include "tools/Tool.h"

namespace {

void logExceptionOf(const QString& operation, const std::exception& exception) {
    const QByteArray method = QStringLiteral("-[AppController %1]").arg(operation).toUtf8();
    VLException::logException(exception, method.constData());
}

}  // namespace

void ToolController::startWorker(const QString& name, std::function<void()> work) {
    VLThread::detach(name, [self = weak_from_this().lock(), name, work = std::move(work)]() mutable {
        try {
            work();
        } catch (const std::exception& exception) {
            logExceptionOf(name, exception);
        }
        work = nullptr;
        // The last to let go of it may be this worker; a controller ends on the main thread.
        if (self) onMainThread([self = std::move(self)] {});
    });
}

RunPtr ToolController::runHere() const {
    if (RunPtr run = Run::current()) return run;
    const QList<VLServicePtr> selected = context().selectedServices();
    Run::Description reading;
    reading.tool = context().tool;
    reading.action = tr("Refresh");
    reading.actionDone = tr("Read");
    return context().progress->runs().begin(reading, {selected.begin(), selected.end()});
}

bool ToolController::isStopped() {
    return Run::shallStop() || VLThread::isCancelled();
}

void ToolController::runRefresh(const QString& name, const QString& logLine, Display display,
                                const std::function<bool()>& isEmpty,
                                const std::function<void(Reading&)>& read) {
    const VLCallLock lock;
    const RunPtr run = runHere();
    const RunScope scope(run);
    onMainThreadAndWait([&] {
        if (isEmpty()) setBusy(true);
    });
    VLLog::appendLog(logLine);
    const int number = ++m_lastReading;
    if (display == Display::StatusBar) context().progress->startStatusProgress();
    try {
        Reading reading{number, run};
        read(reading);
    } catch (const std::exception& exception) {
        logExceptionOf(name, exception);
    }
    onMainThreadAndWait([this] { setBusy(false); });
    if (display == Display::StatusBar) context().progress->endStatusProgress();
}

bool ToolController::askEach(const QString& selector, Reading& reading,
                             const std::function<void(const RemoteClient&, const QVariant&)>& take) {
    const auto fetch = [&](const RemoteClientPtr& client) {
        QVariant answer = context().runner->objectFromRemoteMethod(selector, {}, {}, client);
        context().progress->incrementStatusProgress();
        return answer;
    };
    const auto hand = [&](const RemoteClientPtr& client, const QVariant& answer) {
        if (!answer.isValid()) noteUnanswered(*client, reading);
        take(*client, answer);
    };
    InFlight::readAhead<QVariant, RemoteClient>(reading.run, selector, reading.run->clients(), fetch, hand);
    return !isStopped();
}

void ToolController::noteUnanswered(const RemoteClient& client, Reading& reading) {
    const auto outcome = reading.run->outcome(Run::keyOf(client));
    reading.unanswered.append({client.hostName(), outcome ? outcome->text() : QString()});
}

QVariant ToolController::ask(const QString& selector, const QVariant& argument,
                             const RemoteClientPtr& client) const {
    if (!client) return {};  // gone meanwhile
    QVariant answer;
    InFlight inFlight(runHere(), selector);
    inFlight.start(
        client, [&] { answer = context().runner->objectFromRemoteMethod(selector, argument, {}, client); });
    inFlight.wait();
    return answer;
}

void ToolController::forEachClient(const QString& name, const QList<RemoteClientPtr>& clients,
                                   const std::function<void(const RemoteClientPtr&)>& body) const {
    const RunPtr run = runHere();
    InFlight inFlight(run, name);
    for (const RemoteClientPtr& client : clients) {
        if (!run->isFor(Run::keyOf(*client))) continue;
        const auto work = [this, &body, client] {
            body(client);
            context().progress->incrementStatusProgress();
        };
        if (isStopped() || !inFlight.start(client, work)) return;
    }
}

void ToolController::noteStopped(const QString& hostName) {
    if (const RunPtr run = Run::current())
        run->note(hostName, {Outcome::Cancelled, tr("not all of it was done there")});
}

void ToolController::noteNothingToSend(const QString& reason) {
    const RunPtr run = Run::current();
    if (!run || run->isCancelled()) return;
    for (const RemoteClientPtr& client : run->clients())
        run->note(*client, {Outcome::Failed, reason});
}

ToolController::Answered ToolController::answeredClients() const {
    QSet<QString> silent;
    for (const UnansweredClient& client : m_unanswered)
        silent.insert(client.hostName);
    Answered result;
    for (const VLServicePtr& client : context().selectedServices())
        (silent.contains(client->hostName()) ? result.alone : result.clients).append(client);
    return result;
}

QList<RemoteClientPtr> ToolController::clientsNamed(const QStringList& hostNames) const {
    QList<RemoteClientPtr> clients;
    for (const QString& hostName : hostNames)
        if (const VLServicePtr client = context().serviceWithHostName(hostName)) clients.append(client);
    return clients;
}

void ToolController::install(const Reading& reading, const std::function<void()>& install) {
    onMainThreadAndWait([&] {
        if (reading.number < m_installedReading || reading.run->isCancelled()) return;
        m_installedReading = reading.number;
        m_unanswered = reading.unanswered;
        install();
    });
}

QVariantMap sortSettings(const QString& table, const QString& column, bool descending) {
    return {{sortedColumnKey(table), column}, {sortedDescendingKey(table), descending}};
}
