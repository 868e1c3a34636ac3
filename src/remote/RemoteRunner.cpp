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

/// The code of an agent's own error; none for every other exception.
qlonglong corvalinCode(const std::exception& exception) {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    const QVariantMap info = own ? own->userInfo() : QVariantMap();
    if (info.value(QStringLiteral("domain")).toString() != QLatin1String(CorvalinError::domain))
        return CorvalinError::None;
    return VLCorvalinServerProtocol::integerValue(info.value(QStringLiteral("code")));
}

/// Under which the error queue files what concerns a client.
QString queueName(const RemoteClient& service) {
    const QString hostName = service.hostName();
    return hostName.isEmpty() ? service.name() : hostName;
}

/// What went wrong, for people.
QString plainWords(const std::exception& exception) {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    if (!own) return QString::fromLocal8Bit(exception.what());
    if (VLException::didTimeout(exception)) return QStringLiteral("The computer did not answer in time.");
    if (own->name() == VLException::inaccessible)
        return QStringLiteral("The connection to the computer was lost.");
    if (const qlonglong code = corvalinCode(exception); code != CorvalinError::None)
        return CorvalinError::message(code, own->userInfo().value(QStringLiteral("info")).toString());
    return own->reason().isEmpty() ? own->name() : own->reason();
}

/// Counts one unit of work in, and out when it goes away: at the end of the worker, after an exception, and
/// also when the thread could not be started.
class CountedWork {
public:
    explicit CountedWork(TaskProgress* progress)
        : m_progress(progress), m_counting(progress->incrementTaskThreadCount()) {}
    ~CountedWork() { m_progress->decrementTaskThreadCount(m_counting); }
    CountedWork(const CountedWork&) = delete;
    CountedWork& operator=(const CountedWork&) = delete;

private:
    TaskProgress* const m_progress;
    const int m_counting;
};

/// These calls block, and hand work over to the main thread.
bool refusesMainThread() {
    if (!MainThread::isCurrent()) return false;
    VLLog::appendLog(QStringLiteral("Error: trying to call a client on main thread. Aborting..."));
    return true;
}

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
    const bool fetchesLogs = selector == QLatin1String("gatherLogs") ||
                             selector == QLatin1String("logWithFilename:") ||
                             selector == QLatin1String("fcsCrashLog:");
    return fetchesData || fetchesLogs ? m_environment.dataReplyLimit : m_environment.replyLimit;
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
    if (m_environment.clientFailed) m_environment.clientFailed(queueName(*service), reason);
}

QVariant RemoteRunner::guarded(const char* method, const QString& selector, const RemoteClientPtr& service,
                               const std::function<QVariant()>& body) const {
    try {
        return body();
    } catch (const std::exception& exception) {
        operationFailed(exception, method, selector, service);
        return {};
    }
}

void RemoteRunner::operationFailed(const std::exception& exception, const char* method,
                                   const QString& selector, const RemoteClientPtr& service) const {
    VLException::logException(exception, method);
    // Arguments that cannot be sent are this side's fault: the client is well.
    if (!dynamic_cast<const VLUnsentCallException*>(&exception)) service->setIsConnected(false);
    if (corvalinCode(exception) != CorvalinError::None && m_environment.clientReportedError) {
        // Its agent leaves that to whoever waits for the operation.
        const QVariantMap error = dynamic_cast<const VLException&>(exception).userInfo();
        return m_environment.clientReportedError(queueName(*service), error);
    }
    reportFailure(service,
                  QStringLiteral("The operation \"%1\" failed. %2").arg(selector, plainWords(exception)));
}

void RemoteRunner::executeRemoteMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                                       const RemoteClientPtr& service) {
    if (refusesMainThread()) return;
    VLLog::appendLog(QStringLiteral("Executing remote method %@ on host %@"), selector, nameOf(service));
    if (!service) {
        VLLog::appendLog(QStringLiteral("Service doesn't exist"));
        return;
    }
    guarded("-[AppController executeRemoteMethod:withObject:withObject:service:]", selector, service, [&] {
        return mayExecute(selector, *service) ? sendMethod(selector, obj1, obj2, service, noTimeLimit)
                                              : QVariant();
    });
}

bool RemoteRunner::mayExecute(const QString& selector, const RemoteClient& service) {
    const Protocol* declared = protocolOf(selector);
    const bool refused = service.errorCode() > 0 && !(declared && declared->executeOnErrorClient);
    return !refused && service.enabled();
}

QVariant RemoteRunner::objectFromRemoteMethod(const QString& selector, const QVariant& obj1,
                                              const QVariant& obj2, const RemoteClientPtr& service) {
    if (refusesMainThread()) return {};
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
    if (refusesMainThread()) return {};
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
        return checkedAnswer(selector, proxy->perform(selector, {task, bundleID, optionsOrNone}), service);
    };
    return guarded("-[AppController objectFromRemoteTask:bundleID:options:forService:]", selector, service,
                   body);
}

void RemoteRunner::executeRemoteTask(const QString& task, const QString& bundleID, const QVariantMap& options,
                                     const RemoteClientPtr& service) {
    try {
        static_cast<void>(objectFromRemoteTask(task, bundleID, options, service));
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

/// Starts the progress display of a waiting run. The number of the run.
int RemoteRunner::startRun() const {
    TaskProgress* const progress = m_environment.progress;
    progress->setProcessingCancelled(false);
    progress->startStatusProgress();
    return progress->currentRun();
}

/// Says how many clients will not be worked. In the run that it is about, so that the next one clears it.
void RemoteRunner::sayLeftOut(const Split& split) const {
    if (split.leftOut == 0) return;
    VLLog::appendLog(QStringLiteral("%i of the selected clients are left out: their number is no multiple of "
                                    "the %i processors."),
                     split.leftOut, split.processors);
    if (m_environment.clientsLeftOut) m_environment.clientsLeftOut(split.leftOut);
}

/// Starts one counted thread per group.
void RemoteRunner::runOnGroups(const Split& split, const QString& threadName, int run,
                               const ClientWork& work) const {
    TaskProgress* const progress = m_environment.progress;
    sayLeftOut(split);
    const StartGate gate;
    for (const QList<RemoteClientPtr>& services : split.groups) {
        if (progress->isCancelled(run)) break;
        if (services.isEmpty()) continue;
        auto counted = std::make_shared<CountedWork>(progress);
        auto body = [progress, threadName, run, work, services, allCountedIn = gate.latch(),
                     counted = std::move(counted)]() mutable {
            const std::shared_ptr<CountedWork> last = std::move(counted);
            allCountedIn->wait();
            try {
                for (const RemoteClientPtr& service : services) {
                    if (progress->isCancelled(run)) break;
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
    const Split work = split();
    if (work.groups.isEmpty()) return {};
    const int run = startRun();
    const auto read = std::make_shared<Read>();
    resetThreadedObjectDict(read);
    runOnGroups(work, QStringLiteral("objectsFromRemoteMethodOnThread:"), run,
                [this, selector, obj1, obj2, read](const RemoteClientPtr& service) {
                    const QVariant object = objectFromRemoteMethod(selector, obj1, obj2, service);
                    const QString hostName = service->hostName();
                    if (object.isValid() && !hostName.isEmpty())
                        threadedObjectDictSetObject(object, hostName, read);
                });
    m_environment.progress->waitOnProcessingWithTimeout(300);
    return read->answers.get();
}

void RemoteRunner::executeRemoteMethods(const QString& selector, const QVariant& obj1, const QVariant& obj2) {
    const Split work = split();
    if (work.groups.isEmpty()) return;
    const int run = startRun();
    runOnGroups(work, QStringLiteral("executeRemoteMethodsOnThread:"), run,
                [this, selector, obj1, obj2](const RemoteClientPtr& service) {
                    executeRemoteMethod(selector, obj1, obj2, service);
                });
    m_environment.progress->waitOnProcessing();
}

void RemoteRunner::executeRemoteTasks(const QString& task, const QString& bundleID,
                                      const QVariantMap& options) {
    // A run of its own: what cancelled an earlier one must not stop these tasks, a later cancel must.
    const int run = m_environment.progress->beginRun();
    runOnGroups(split(), QStringLiteral("executeRemoteTasksOnThread:"), run,
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
