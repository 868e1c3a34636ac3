#include "runs/RemoteRunner.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/VLCorvalinServerProtocol.h"
#include "runs/InFlight.h"
#include "runs/RunList.h"
#include "runs/Wave.h"
#include "system/VLException.h"

#include <QThread>

#include <algorithm>
#include <latch>
#include <numeric>

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
    if (own->name() == VLException::givenUp)
        return RemoteRunner::tr("Nobody waited for the answer any longer.");
    if (VLException::didTimeout(exception)) return RemoteRunner::tr("The computer did not answer in time.");
    if (own->name() == VLException::inaccessible)
        return RemoteRunner::tr("The connection to the computer was lost.");
    if (const qlonglong code = corvalinCode(exception); code != CorvalinError::None)
        return CorvalinError::message(code, own->userInfo().value(QStringLiteral("info")).toString());
    return own->reason().isEmpty() ? own->name() : own->reason();
}

/// What the run of this thread, if it works for one, hears of an operation.
void noteOutcome(const RemoteClient& client, Outcome::Kind kind, const QString& reason = {}) {
    if (const RunPtr run = Run::current()) run->note(client, {kind, reason});
}

/// How an operation that raised this ended.
Outcome::Kind kindOf(const std::exception& exception) {
    const auto* own = dynamic_cast<const VLException*>(&exception);
    if (own && (VLException::didTimeout(exception) || own->name() == VLException::givenUp))
        return Outcome::NoAnswer;
    return own && own->name() == VLException::refused ? Outcome::Refused : Outcome::Failed;
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

/// Of the large parts of what is sent.
qint64 bytesOf(const QVariant& value) {
    if (value.typeId() == QMetaType::QByteArray) return value.toByteArray().size();
    if (value.typeId() != QMetaType::QVariantMap) return 0;
    const QVariantMap map = value.toMap();
    return std::accumulate(map.begin(), map.end(), qint64(0),
                           [](qint64 sum, const QVariant& part) { return sum + bytesOf(part); });
}

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
    QList<RemoteClientPtr> leftOut;
};

/// The answers of one many-client read. Should reads overlap, or a cancelled one end late, the answers stay
/// apart; threadedObjectDict() shows those of the read that started last. What comes in quick succession is
/// handed to the main thread together: each time the dictionary is made anew.
class RemoteRunner::Read {
public:
    /// True when the main thread is to be told.
    [[nodiscard]] bool add(const QString& hostName, const QVariant& object) {
        const std::lock_guard lock(m_mutex);
        m_answers.emplace_back(hostName, object);
        const auto now = std::chrono::steady_clock::now();
        if (now - m_lastHandOver < handOverInterval) return false;
        m_lastHandOver = now;
        return true;
    }
    [[nodiscard]] QVariantMap answers() const {
        const std::lock_guard lock(m_mutex);
        QVariantMap all;
        for (const auto& [hostName, object] : m_answers)
            all.insert(hostName, object);
        return all;
    }

private:
    static constexpr std::chrono::milliseconds handOverInterval{50};
    mutable std::mutex m_mutex;
    std::vector<std::pair<QString, QVariant>> m_answers;
    std::chrono::steady_clock::time_point m_lastHandOver = std::chrono::steady_clock::now();
};

RemoteRunner::RemoteRunner(Environment environment) : m_environment(std::move(environment)) {}

// One client

void RemoteRunner::noteSkipped(const RemoteClient& service) {
    noteOutcome(service, Outcome::Skipped,
                service.enabled() ? tr("the computer is in error") : tr("disabled"));
}

VLProxyObjectPtr RemoteRunner::connectedProxy(const RemoteClientPtr& service) const {
    if (!service->isConnected() || !service->proxyObject())
        service->connectOnThread(m_environment.errorCallback);
    // Connecting takes its time on the client's own thread; this call does not wait for it.
    return service->isConnected() ? service->proxyObject() : nullptr;
}

std::chrono::milliseconds RemoteRunner::replyLimitOf(const QString& selector) const {
    const Protocol* declared = protocolOf(selector);
    return declared && declared->largeAnswer ? m_environment.dataReplyLimit : m_environment.replyLimit;
}

/// The answer, or nothing where it was not sent.
std::optional<QVariant> RemoteRunner::sendMethod(const QString& selector, const QVariant& obj1,
                                                 const QVariant& obj2, const RemoteClientPtr& service,
                                                 std::chrono::milliseconds limit, bool isExecution) const {
    const VLProxyObjectPtr proxy = connectedProxy(service);
    if (!proxy) {
        VLLog::appendLog(QStringLiteral("Unable to connect to server %@"), service->name());
        noteOutcome(*service, Outcome::NotConnected, service->connectionError());
        return std::nullopt;
    }
    const auto turn = isExecution ? Run::turnOf(*service) : nullptr;
    if (turn && !*turn) return std::nullopt;
    const Processing processing(*service);
    if (!proxy->respondsToSelector(selector, m_environment.probeLimit)) {
        VLLog::appendLog(QStringLiteral("Proxy object doesn't respond to selector %@"), selector);
        noteOutcome(*service, Outcome::Failed, tr("its agent does not know this operation"));
        return std::nullopt;
    }
    VLLog::appendLog(QStringLiteral("Performing method on remote object..."));
    if (!isExecution) return proxy->perform(selector, argumentsFor(selector, obj1, obj2), limit);
    const auto room = roomFor({obj1, obj2}, *service);
    if (!room) return std::nullopt;
    Run::Change change(service);
    QVariant answer = proxy->perform(selector, argumentsFor(selector, obj1, obj2), limit);
    if (!change.done()) return std::nullopt;
    noteOutcome(*service, Outcome::Done);
    return answer;
}

std::unique_ptr<ByteBudget::Part> RemoteRunner::roomFor(const QVariantList& sent,
                                                        const RemoteClient& service) const {
    const qint64 bytes =
        std::accumulate(sent.begin(), sent.end(), qint64(0),
                        [](qint64 sum, const QVariant& part) { return sum + bytesOf(part); });
    auto room = std::make_unique<ByteBudget::Part>(*m_environment.outgoing, bytes, Run::shallStop);
    if (*room) return room;
    const RunPtr run = Run::current();
    if (run && !run->isCancelled())  // given up on before its turn, which is not "nothing to do"
        run->note(service, {Outcome::NoAnswer, tr("other computers were sent to first")});
    return nullptr;
}

QVariant RemoteRunner::checkedAnswer(const QString& selector, const QVariant& answer,
                                     const RemoteClientPtr& service) const {
    using namespace VLCorvalinServerProtocol;
    const Operation* declared = protocolOf(selector);
    if (declared && declared->result == Result::Nothing) {
        noteOutcome(*service, Outcome::Done);
        return {};
    }
    if (!answer.isValid()) {
        noteOutcome(*service, Outcome::NoAnswer, tr("it answered with nothing"));
        return answer;
    }
    if (!declared || accepts(declared->resultType, answer)) {
        noteOutcome(*service, Outcome::Answered);
        return answer;
    }
    const QString expected = typeName(declared->resultType), received = typeName(answer);
    VLLog::appendLog(QStringLiteral("Client %@ answered %@ with the wrong type: expected %@, received %@."),
                     service->name(), selector, expected, received);
    const QString reason = tr("The answer to \"%1\" has the wrong type: expected %2, received %3.")
                               .arg(selector, expected, received);
    noteOutcome(*service, Outcome::Failed, reason);
    reportFailure(service, reason);
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
    noteOutcome(*service, kindOf(exception), plainWords(exception));
    // Arguments that cannot be sent are this side's fault, and so is it when nobody waits: the client is
    // well.
    const auto* own = dynamic_cast<const VLException*>(&exception);
    const bool isGivenUp = own && own->name() == VLException::givenUp;
    if (!isGivenUp && !dynamic_cast<const VLUnsentCallException*>(&exception)) service->setIsConnected(false);
    if (corvalinCode(exception) != CorvalinError::None && m_environment.clientReportedError) {
        // Its agent leaves that to whoever waits for the operation.
        const QVariantMap error = dynamic_cast<const VLException&>(exception).userInfo();
        return m_environment.clientReportedError(queueName(*service), error);
    }
    reportFailure(service, tr("The operation \"%1\" failed. %2").arg(selector, plainWords(exception)));
}

bool RemoteRunner::executeRemoteMethod(const QString& selector, const QVariant& obj1, const QVariant& obj2,
                                       const RemoteClientPtr& service) {
    if (refusesMainThread()) return false;
    VLLog::appendLog(QStringLiteral("Executing remote method %@ on host %@"), selector, nameOf(service));
    if (!service) {
        VLLog::appendLog(QStringLiteral("Service doesn't exist"));
        return false;
    }
    const auto body = [&]() -> QVariant {
        if (mayExecute(selector, *service))
            return sendMethod(selector, obj1, obj2, service, noTimeLimit, true).has_value();
        noteSkipped(*service);
        return {};
    };
    return guarded("-[AppController executeRemoteMethod:withObject:withObject:service:]", selector, service,
                   body)
        .toBool();
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
        const bool isBarred = (service->errorCode() > 0 && !(declared && declared->readOnErrorClient)) ||
                              (!service->enabled() && !(declared && declared->readOnDisabledClient));
        if (isBarred) {
            noteSkipped(*service);
            return {};
        }
        const std::optional<QVariant> answer =
            sendMethod(selector, obj1, obj2, service, replyLimitOf(selector), false);
        return answer ? checkedAnswer(selector, *answer, service) : QVariant();
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
        if (service->errorCode() > 0 || !service->enabled()) {
            noteSkipped(*service);
            return {};
        }
        const VLProxyObjectPtr proxy = connectedProxy(service);
        if (!proxy) {
            VLLog::appendLog(QStringLiteral("Unable to connect to %@"), service->name());
            noteOutcome(*service, Outcome::NotConnected, service->connectionError());
            return {};
        }
        const auto turn = Run::turnOf(*service);
        if (turn && !*turn) return {};
        VLLog::appendLog(QStringLiteral("Launching task..."));
        const Processing processing(*service);
        if (!proxy->respondsToSelector(selector, m_environment.probeLimit)) {
            noteOutcome(*service, Outcome::Failed, tr("its agent runs no tasks"));
            return {};
        }
        Run::Change change(service);
        const QVariant answer = proxy->perform(selector, {task, bundleID, optionsOrNone});
        change.done();
        return checkedAnswer(selector, answer, service);
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

QList<RemoteClientPtr> RemoteRunner::clientsOfRun() const {
    const RunPtr run = Run::current();
    return run && !run->clients().isEmpty() ? run->clients() : m_environment.selectedServices();
}

RemoteRunner::Split RemoteRunner::split(const QList<RemoteClientPtr>& services) const {
    const VLCallLock lock;
    const int processors = std::max(
        1, m_environment.processorCount ? m_environment.processorCount() : QThread::idealThreadCount());
    Split split{{}, processors, {}};
    if (services.isEmpty()) return split;

    const qsizetype groupCount = std::min<qsizetype>(processors, services.size());
    const qsizetype groupSize = services.size() / groupCount;
    for (qsizetype i = 0; i < groupCount; ++i)
        split.groups.append(services.sliced(i * groupSize, groupSize));
    split.leftOut = services.sliced(groupCount * groupSize);
    return split;
}

QList<QList<RemoteClientPtr>> RemoteRunner::selectedServicesForCores() const {
    return split(clientsOfRun()).groups;
}

QStringList RemoteRunner::leftOutNames(const QList<RemoteClientPtr>& clients) const {
    QStringList names;
    if (followsUp()) return names;
    for (const RemoteClientPtr& service : split(clients).leftOut)
        names.append(service->name());
    return names;
}

RunPtr RemoteRunner::runHere() const {
    const RunPtr run = Run::current();
    return run ? run : m_environment.progress->runs().begin({}, clientsOfRun());
}

void RemoteRunner::noteLeftOut(const Split& split, const RunPtr& run) const {
    if (split.leftOut.isEmpty()) return;
    VLLog::appendLog(QStringLiteral("%i of the selected clients are left out: their number is no multiple of "
                                    "the %i processors."),
                     split.leftOut.size(), split.processors);
    for (const RemoteClientPtr& service : split.leftOut)
        run->note(*service, {Outcome::LeftOut, {}});
}

/// One group's thread: keeps as many operations under way as the run has places for.
void RemoteRunner::workGroup(const QList<RemoteClientPtr>& services, const QString& threadName,
                             const RunPtr& run, const ClientWork& work) const {
    InFlight inFlight(run, threadName);
    for (const RemoteClientPtr& service : services) {
        const auto step = [progress = m_environment.progress, work, service] {
            work(service);
            progress->incrementStatusProgress();
        };
        if (!inFlight.start(service, step)) break;
    }
}

/// Starts one counted thread per group.
std::shared_ptr<Wave> RemoteRunner::startGroups(const Groups& groups, const QString& threadName,
                                                const RunPtr& run, const ClientWork& work) const {
    TaskProgress* const progress = m_environment.progress;
    auto wave = std::make_shared<Wave>();
    const StartGate gate;
    for (const QList<RemoteClientPtr>& services : groups) {
        if (run->isCancelled()) break;
        if (services.isEmpty()) continue;
        auto counted = std::make_shared<CountedWork>(progress);
        VLThread::detach(threadName, [this, threadName, run, work, services, allCountedIn = gate.latch(),
                                      hold = std::make_shared<Run::Hold>(run), part = Wave::part(wave),
                                      counted = std::move(counted)]() mutable {
            const std::shared_ptr<void> last = std::move(part);
            const RunScope scope(run);
            const std::shared_ptr<CountedWork> counting = std::move(counted);
            allCountedIn->wait();
            workGroup(services, threadName, run, work);
        });
    }
    return wave;
}

/// The clients that the split leaves out are fewer than the processors, so one more round takes them all.
void RemoteRunner::runOnAll(const QString& threadName, const ClientWork& work, double seconds) const {
    const RunPtr run = Run::current();
    const Split all = split(clientsOfRun());
    const bool hasRest = !all.leftOut.isEmpty() && followsUp();
    std::optional<CountedWork> restToCome;
    if (hasRest) restToCome.emplace(m_environment.progress);
    startGroups(all.groups, threadName, run, work)->waitOnProcessingWithTimeout(seconds, *run);
    if (run->isCancelled()) return;
    if (!hasRest) return noteLeftOut(all, run);
    const Split rest = split(all.leftOut);
    startGroups(rest.groups, threadName, run, work)->waitOnProcessingWithTimeout(seconds, *run);
}

QVariant RemoteRunner::objectsFromRemoteMethod(const QString& selector, const QVariant& obj1,
                                               const QVariant& obj2) {
    if (clientsOfRun().isEmpty()) return {};
    const RunScope scope(runHere());
    m_environment.progress->setProcessingCancelled(false);
    m_environment.progress->startStatusProgress();
    const auto read = std::make_shared<Read>();
    const auto former = m_threadedObjectDict.shared();  // let go of on this thread, which takes a while
    resetThreadedObjectDict(read);
    const auto work = [this, selector, obj1, obj2, read](const RemoteClientPtr& service) {
        const QVariant object = objectFromRemoteMethod(selector, obj1, obj2, service);
        const QString hostName = service->hostName();
        if (object.isValid() && !hostName.isEmpty()) threadedObjectDictSetObject(object, hostName, read);
    };
    runOnAll(QStringLiteral("objectsFromRemoteMethodOnThread:"), work, 300);
    install(read);
    return read->answers();
}

void RemoteRunner::executeRemoteMethods(const QString& selector, const QVariant& obj1, const QVariant& obj2) {
    if (clientsOfRun().isEmpty()) return;
    const RunScope scope(runHere());
    m_environment.progress->setProcessingCancelled(false);
    m_environment.progress->startStatusProgress();
    const auto work = [this, selector, obj1, obj2](const RemoteClientPtr& service) {
        executeRemoteMethod(selector, obj1, obj2, service);
    };
    runOnAll(QStringLiteral("executeRemoteMethodsOnThread:"), work, 0);
}

void RemoteRunner::executeRemoteTasks(const QString& task, const QString& bundleID,
                                      const QVariantMap& options) {
    const RunPtr run = runHere();
    const RunScope scope(run);
    const QString threadName = QStringLiteral("executeRemoteTasksOnThread:");
    const auto work = [this, task, bundleID, options](const RemoteClientPtr& service) {
        executeRemoteTask(task, bundleID, options, service);
    };
    const Split all = split(clientsOfRun());
    const bool hasRest = !all.leftOut.isEmpty() && followsUp();
    // Counted before the groups are, which may be done in no time.
    auto restToCome = hasRest ? std::make_shared<CountedWork>(m_environment.progress) : nullptr;
    const std::shared_ptr<Wave> wave = startGroups(all.groups, threadName, run, work);
    if (!hasRest) return noteLeftOut(all, run);
    VLThread::detach(threadName, [this, threadName, run, work, wave, leftOut = all.leftOut,
                                  hold = std::make_shared<Run::Hold>(run), counted = std::move(restToCome)] {
        const RunScope scope(run);
        wave->waitOnProcessingWithTimeout(0, *run);
        workGroup(leftOut, threadName, run, work);
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

/// Main thread: what has come so far is shown.
void RemoteRunner::install(const ReadPtr& read) {
    onMainThreadAndWait([this, read] {
        if (read == m_currentRead) setThreadedObjectDict(read->answers());
    });
}

void RemoteRunner::threadedObjectDictSetObject(const QVariant& object, const QString& key,
                                               const ReadPtr& read) {
    if (read->add(key, object)) install(read);
}
