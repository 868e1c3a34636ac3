#include "remote/RemoteRunner.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "system/VLException.h"

#include <QThread>

#include <algorithm>
#include <latch>

namespace {

using Protocol = VLCorvalinServerProtocol::Operation;
using Groups = QList<QList<RemoteClientPtr>>;

const Protocol* protocolOf(const QString& selector) {
    return VLCorvalinServerProtocol::operation(VLCorvalinServerProtocol::Side::Agent, selector);
}

/// An absent client's name shows in the log as absent.
QVariant nameOf(const RemoteClientPtr& service) {
    return service ? QVariant(service->name()) : QVariant();
}

/// As many arguments as the selector takes.
QVariantList argumentsFor(const QString& selector, const QVariant& obj1, const QVariant& obj2) {
    QVariantList arguments{obj1, obj2};
    arguments.resize(VLCorvalinServerProtocol::argumentCount(selector));
    return arguments;
}

/// What went wrong, for people.
QString plainWords(const std::exception& exception) {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    if (!own) return QString::fromLocal8Bit(exception.what());
    if (VLException::didTimeout(exception)) return QStringLiteral("The computer did not answer in time.");
    if (own->name() == VLException::inaccessible)
        return QStringLiteral("The connection to the computer was lost.");
    const QVariantMap& info = own->userInfo();
    const qlonglong code = VLCorvalinServerProtocol::integerValue(info.value(QStringLiteral("code")));
    const QString domain = info.value(QStringLiteral("domain")).toString();
    if (code != CorvalinError::None && domain == QLatin1String(CorvalinError::domain))
        return CorvalinError::message(code, info.value(QStringLiteral("info")).toString());
    return own->reason().isEmpty() ? own->name() : own->reason();
}

/// Counts one unit of work out when it goes away: at the end of the worker, after an exception, and also when
/// the thread could not be started.
class CountOut {
public:
    explicit CountOut(TaskProgress* progress) : m_progress(progress) {}
    ~CountOut() { m_progress->decrementTaskThreadCount(); }
    CountOut(const CountOut&) = delete;
    CountOut& operator=(const CountOut&) = delete;

private:
    TaskProgress* m_progress;
};

/// Holds the workers of one run back until all of them have been counted in: the first could otherwise count
/// itself out, and so end the processing, before the next one was counted. Opens when the starter leaves.
class StartGate {
public:
    ~StartGate() { m_latch->count_down(); }
    [[nodiscard]] std::shared_ptr<std::latch> latch() const { return m_latch; }

private:
    std::shared_ptr<std::latch> m_latch = std::make_shared<std::latch>(1);
};

/// Marks the client as worked while an operation is under way.
class Processing {
public:
    explicit Processing(RemoteClient& service) : m_service(service) { m_service.setIsProcessing(true); }
    ~Processing() { m_service.setIsProcessing(false); }
    Processing(const Processing&) = delete;
    Processing& operator=(const Processing&) = delete;

private:
    RemoteClient& m_service;
};

}  // namespace

struct RemoteRunner::Split {
    Groups groups;
    int processors = 1;
    int leftOut = 0;
};

RemoteRunner::RemoteRunner(Environment environment) : m_environment(std::move(environment)) {}

// One client

VLProxyObjectPtr RemoteRunner::connectedProxy(const RemoteClientPtr& service) const {
    if (!service->isConnected() || !service->proxyObject())
        service->connectOnThread(m_environment.errorCallback);
    // Connecting takes its time on the client's own thread; this call does not wait for it.
    return service->isConnected() ? service->proxyObject() : nullptr;
}

std::chrono::milliseconds RemoteRunner::replyLimitOf(const QString& selector) const {
    const Protocol* declared = protocolOf(selector);
    const bool fetchesData = declared && declared->resultType == VLCorvalinServerProtocol::Type::Data;
    return fetchesData ? m_environment.dataReplyLimit : m_environment.replyLimit;
}

QVariant RemoteRunner::sendMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                                  const RemoteClientPtr& service, std::chrono::milliseconds limit) const {
    const VLProxyObjectPtr proxy = connectedProxy(service);
    if (!proxy) {
        VLLog::appendLog(QStringLiteral("Unable to connect to server %@"), service->name());
        return {};
    }
    const Processing processing(*service);
    if (!proxy->respondsToSelector(selector, m_environment.probeLimit)) {
        VLLog::appendLog(QStringLiteral("Proxy object doesn't respond to selector %@"), selector);
        return {};
    }
    VLLog::appendLog(QStringLiteral("Performing method on remote object..."));
    return proxy->perform(selector, argumentsFor(selector, obj1, obj2), limit);
}

QVariant RemoteRunner::checkedAnswer(const QString& selector, const QVariant& answer,
                                     const RemoteClientPtr& service) const {
    using namespace VLCorvalinServerProtocol;
    const Operation* declared = protocolOf(selector);
    if (!declared || !answer.isValid()) return answer;
    if (declared->result == Result::Nothing) return {};
    if (accepts(declared->resultType, answer)) return answer;
    const QString expected = typeName(declared->resultType), received = typeName(answer);
    VLLog::appendLog(QStringLiteral("Client %@ answered %@ with the wrong type: expected %@, received %@."),
                     service->name(), selector, expected, received);
    reportFailure(service,
                  QStringLiteral("The answer to \"%1\" has the wrong type: expected %2, received %3.")
                      .arg(selector, expected, received));
    return {};
}

void RemoteRunner::reportFailure(const RemoteClientPtr& service, const QString& reason) const {
    if (!m_environment.clientFailed) return;
    const QString hostName = service->hostName();
    m_environment.clientFailed(hostName.isEmpty() ? service->name() : hostName, reason);
}

QVariant RemoteRunner::guarded(const char* method, const QString& selector, const RemoteClientPtr& service,
                               const std::function<QVariant()>& body) const {
    try {
        return body();
    } catch (const std::exception& exception) {
        VLException::logException(exception, method);
        // Arguments that cannot be sent are this side's fault: the client is well.
        if (!dynamic_cast<const VLUnsentCallException*>(&exception)) service->setIsConnected(false);
        reportFailure(service,
                      QStringLiteral("The operation \"%1\" failed. %2").arg(selector, plainWords(exception)));
        return {};
    }
}

void RemoteRunner::executeRemoteMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                                       const RemoteClientPtr& service) {
    VLLog::appendLog(QStringLiteral("Executing remote method %@ on host %@"), selector, nameOf(service));
    if (!service) {
        VLLog::appendLog(QStringLiteral("Service doesn't exist"));
        return;
    }
    guarded("-[AppController executeRemoteMethod:withObject:withObject:service:]", selector, service, [&] {
        const Protocol* declared = protocolOf(selector);
        const bool refused = service->errorCode() > 0 && !(declared && declared->executeOnErrorClient);
        return refused || !service->enabled() ? QVariant()
                                              : sendMethod(selector, obj1, obj2, service, noTimeLimit);
    });
}

QVariant RemoteRunner::objectFromRemoteMethod(const QString& selector, const QVariant& obj1,
                                              const QVariant& obj2, const RemoteClientPtr& service) {
    VLLog::appendLog(QStringLiteral("Getting object from remote method %@ on host %@"), selector,
                     nameOf(service));
    if (!service) {
        VLLog::appendLog(QStringLiteral("Service doesn't exist"));
        return {};
    }
    const auto body = [&]() -> QVariant {
        const Protocol* declared = protocolOf(selector);
        if (service->errorCode() > 0 && !(declared && declared->readOnErrorClient)) return {};
        if (!service->enabled() && !(declared && declared->readOnDisabledClient)) return {};
        const std::chrono::milliseconds limit = replyLimitOf(selector);
        return checkedAnswer(selector, sendMethod(selector, obj1, obj2, service, limit), service);
    };
    return guarded("-[AppController objectFromRemoteMethod:withObject:withObject:service:]", selector,
                   service, body);
}

QVariant RemoteRunner::objectFromRemoteTask(const QString& task, const QString& bundleID,
                                            const QVariantMap& options, const RemoteClientPtr& service) {
    return sendTask(task, bundleID, options, service, m_environment.replyLimit);
}

QVariant RemoteRunner::sendTask(const QString& task, const QString& bundleID, const QVariantMap& options,
                                const RemoteClientPtr& service, std::chrono::milliseconds limit) const {
    const QVariant optionsOrNone = options.isEmpty() ? QVariant() : QVariant(options);
    VLLog::appendLog(
        QStringLiteral("Getting object from remote task %@ for app %@ with options %@ on host %@"), task,
        bundleID, optionsOrNone, nameOf(service));
    if (!service) return {};
    const QString selector = QStringLiteral("executeTask:bundleID:options:");
    const auto body = [&]() -> QVariant {
        if (service->errorCode() > 0 || !service->enabled()) return {};
        const VLProxyObjectPtr proxy = connectedProxy(service);
        if (!proxy) {
            VLLog::appendLog(QStringLiteral("Unable to connect to %@"), service->name());
            return {};
        }
        VLLog::appendLog(QStringLiteral("Launching task..."));
        const Processing processing(*service);
        if (!proxy->respondsToSelector(selector, m_environment.probeLimit)) return {};
        return checkedAnswer(selector, proxy->perform(selector, {task, bundleID, optionsOrNone}, limit),
                             service);
    };
    return guarded("-[AppController objectFromRemoteTask:bundleID:options:forService:]", selector, service,
                   body);
}

void RemoteRunner::executeRemoteTask(const QString& task, const QString& bundleID, const QVariantMap& options,
                                     const RemoteClientPtr& service) {
    try {
        static_cast<void>(sendTask(task, bundleID, options, service, noTimeLimit));
    } catch (const std::exception& exception) {
        VLException::logException(exception,
                                  "-[AppController executeRemoteTask:bundleID:options:forService:]");
    }
}

// All selected clients

RemoteRunner::Split RemoteRunner::split() const {
    const VLCallLock lock;
    const QList<RemoteClientPtr> services = m_environment.selectedServices();
    const int processors = std::max(
        1, m_environment.processorCount ? m_environment.processorCount() : QThread::idealThreadCount());
    Split split{{}, processors, 0};
    if (services.isEmpty()) return split;

    const qsizetype groupCount = std::min<qsizetype>(processors, services.size());
    const qsizetype groupSize = services.size() / groupCount;
    for (qsizetype i = 0; i < groupCount; ++i)
        split.groups.append(services.sliced(i * groupSize, groupSize));
    split.leftOut = static_cast<int>(services.size() - groupCount * groupSize);
    return split;
}

QList<QList<RemoteClientPtr>> RemoteRunner::selectedServicesForCores() const {
    return split().groups;
}

/// The same, and says how many clients will not be worked.
RemoteRunner::Split RemoteRunner::splitForWork() const {
    Split work = split();
    if (work.leftOut > 0) {
        VLLog::appendLog(
            QStringLiteral("%i of the selected clients are left out: their number is no multiple of "
                           "the %i processors."),
            work.leftOut, work.processors);
        if (m_environment.clientsLeftOut) m_environment.clientsLeftOut(work.leftOut);
    }
    return work;
}

/// Starts one counted thread per group.
void RemoteRunner::runOnGroups(const Groups& groups, const QString& threadName,
                               const std::function<bool()>& isCancelled, const ClientWork& work) const {
    TaskProgress* const progress = m_environment.progress;
    const StartGate gate;
    for (const QList<RemoteClientPtr>& services : groups) {
        if (isCancelled()) break;
        if (services.isEmpty()) continue;
        progress->incrementTaskThreadCount();
        auto countOut = std::make_shared<CountOut>(progress);
        auto body = [progress, threadName, isCancelled, work, services, allCountedIn = gate.latch(),
                     countOut = std::move(countOut)]() mutable {
            const std::shared_ptr<CountOut> last = std::move(countOut);
            allCountedIn->wait();
            try {
                for (const RemoteClientPtr& service : services) {
                    if (isCancelled()) break;
                    work(service);
                    progress->incrementStatusProgress();
                }
            } catch (const std::exception& exception) {
                const QByteArray method = QStringLiteral("-[AppController %1]").arg(threadName).toUtf8();
                VLException::logException(exception, method.constData());
            }
        };
        VLThread::detach(threadName, std::move(body));
    }
}

QVariant RemoteRunner::objectsFromRemoteMethod(const QString& selector, const QVariant& obj1,
                                               const QVariant& obj2) {
    const Split work = splitForWork();
    if (work.groups.isEmpty()) return {};
    TaskProgress* const progress = m_environment.progress;
    progress->setProcessingCancelled(false);
    progress->startStatusProgress();
    const auto read = std::make_shared<Read>();
    resetThreadedObjectDict(read);
    runOnGroups(
        work.groups, QStringLiteral("objectsFromRemoteMethodOnThread:"),
        [progress] { return progress->processingCancelled(); },
        [this, selector, obj1, obj2, read](const RemoteClientPtr& service) {
            const QVariant object = objectFromRemoteMethod(selector, obj1, obj2, service);
            const QString hostName = service->hostName();
            if (object.isValid() && !hostName.isEmpty()) threadedObjectDictSetObject(object, hostName, read);
        });
    progress->waitOnProcessingWithTimeout(300);
    return read->answers.get();
}

void RemoteRunner::executeRemoteMethods(const QString& selector, const QVariant& obj1, const QVariant& obj2) {
    const Split work = splitForWork();
    if (work.groups.isEmpty()) return;
    TaskProgress* const progress = m_environment.progress;
    progress->setProcessingCancelled(false);
    progress->startStatusProgress();
    runOnGroups(
        work.groups, QStringLiteral("executeRemoteMethodsOnThread:"),
        [progress] { return progress->processingCancelled(); },
        [this, selector, obj1, obj2](const RemoteClientPtr& service) {
            executeRemoteMethod(selector, obj1, obj2, service);
        });
    progress->waitOnProcessing();
}

void RemoteRunner::executeRemoteTasks(const QString& task, const QString& bundleID,
                                      const QVariantMap& options) {
    const Split work = splitForWork();
    TaskProgress* const progress = m_environment.progress;
    // Nothing here clears the flag, so one that an earlier, cancelled run left set must not stop these tasks.
    const bool cancelledBefore = progress->processingCancelled();
    runOnGroups(
        work.groups, QStringLiteral("executeRemoteTasksOnThread:"),
        [progress, cancelledBefore] { return !cancelledBefore && progress->processingCancelled(); },
        [this, task, bundleID, options](const RemoteClientPtr& service) {
            executeRemoteTask(task, bundleID, options, service);
        });
}

// Answers

void RemoteRunner::setThreadedObjectDict(const QVariantMap& dictionary) {
    onMainThreadAndWait([this, dictionary] {
        const VLCallLock lock;
        m_threadedObjectDict.set(dictionary);
    });
}

void RemoteRunner::resetThreadedObjectDict(const ReadPtr& read) {
    onMainThreadAndWait([this, read] {
        m_currentRead = read;
        setThreadedObjectDict({});
    });
}

void RemoteRunner::threadedObjectDictSetObject(const QVariant& object, const QString& key,
                                               const ReadPtr& read) {
    // The copy is made on the main thread too: the hand-off is what keeps two workers from losing each
    // other's entry.
    onMainThreadAndWait([this, object, key, read] {
        QVariantMap answers = read->answers.get();
        answers.insert(key, object);
        read->answers.set(answers);
        if (read == m_currentRead) setThreadedObjectDict(answers);
    });
}
