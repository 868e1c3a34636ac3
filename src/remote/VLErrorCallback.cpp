#include "remote/VLErrorCallback.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
#include "remote/LogBudget.h"
#include "remote/VLCorvalinServerProtocol.h"

#include <QHash>

#include <algorithm>
#include <limits>
#include <map>
#include <mutex>
#include <utility>

namespace {

using VLCorvalinServerProtocol::Type;

QString textUnder(QLatin1StringView key, const QVariantMap& dictionary) {
    return VLCorvalinServerProtocol::textValue(dictionary.value(key));
}

/// A peer's text in one short line, for the log.
QString shown(const QString& text) {
    constexpr qsizetype length = 120;
    return text.left(length).simplified();
}

bool isSuiteError(const QVariantMap& error) {
    return textUnder(QLatin1StringView("domain"), error) == QLatin1String(CorvalinError::domain);
}

/// A code that is no number is an unknown one.
qlonglong codeOf(const QVariantMap& error) {
    const QVariant code = error.value(QStringLiteral("code"));
    return VLCorvalinServerProtocol::accepts(Type::Number, code)
               ? VLCorvalinServerProtocol::integerValue(code)
               : -1;
}

QString withoutEndingDot(const QString& hostName) {
    return hostName.endsWith(u'.') ? hostName.chopped(1) : hostName;
}

/// An agent that asks without end gets a worker that mostly sleeps.
constexpr std::chrono::milliseconds pauseBetweenRequests{500};

}  // namespace

/// One worker at a time for each purpose and host, so that an agent cannot make the console start threads
/// without end. A request that comes while its worker runs is done once more by the same worker.
class VLErrorCallback::HostWorkers : public std::enable_shared_from_this<HostWorkers> {
public:
    void run(const QString& purpose, const QString& hostName,
             const std::function<void(const QString& hostName)>& work) {
        if (!work) return;
        const QString key = purpose + u' ' + hostName;
        auto turn = takeTurn(key);
        if (!turn) return;
        VLThread::detach(purpose, [turn = std::move(turn), work, hostName] {
            do {
                work(hostName);
            } while (turn->oneMore() && VLThread::sleepFor(pauseBetweenRequests));
        });
    }

private:
    /// The right to work on a key; given back also when the thread was not started or the work failed.
    class Turn {
    public:
        Turn(std::shared_ptr<HostWorkers> workers, QString key)
            : m_workers(std::move(workers)), m_key(std::move(key)) {}
        ~Turn() {
            const std::lock_guard lock(m_workers->m_mutex);
            if (!m_ended) m_workers->m_requestedAgain.remove(m_key);
        }
        Turn(const Turn&) = delete;
        Turn& operator=(const Turn&) = delete;

        [[nodiscard]] bool oneMore() {
            const std::lock_guard lock(m_workers->m_mutex);
            if (std::exchange(m_workers->m_requestedAgain[m_key], false)) return true;
            m_workers->m_requestedAgain.remove(m_key);
            m_ended = true;
            return false;
        }

    private:
        std::shared_ptr<HostWorkers> m_workers;
        QString m_key;
        bool m_ended = false;  ///< the key may be another's by now
    };

    [[nodiscard]] std::shared_ptr<Turn> takeTurn(const QString& key) {
        const std::lock_guard lock(m_mutex);
        const auto running = m_requestedAgain.find(key);
        if (running != m_requestedAgain.end()) {
            *running = true;
            return nullptr;
        }
        m_requestedAgain.insert(key, false);
        return std::make_shared<Turn>(shared_from_this(), key);
    }

    std::mutex m_mutex;
    QHash<QString, bool> m_requestedAgain;  ///< has a key for every worker that runs
};

/// What the agents said last about maintenance. Any thread.
class VLErrorCallback::Maintenance {
public:
    void set(const QString& hostName, bool needed) {
        const std::lock_guard lock(m_mutex);
        m_needed.insert(hostName, needed);
    }
    [[nodiscard]] bool isNeeded(const QString& hostName) const {
        const std::lock_guard lock(m_mutex);
        return m_needed.value(hostName);
    }

private:
    mutable std::mutex m_mutex;
    QHash<QString, bool> m_needed;
};

/// What each sender may cause. Any thread.
class VLErrorCallback::Budgets {
public:
    explicit Budgets(int perMinute) : m_perMinute(perMinute) {}

    struct Grant {
        bool isGranted = false;
        int leftOut = 0;              ///< what was refused before
        bool isFirstRefusal = false;  ///< of this minute
    };
    [[nodiscard]] Grant take(const QString& sender, const QDateTime& now) {
        const LogBudget::Time time{std::chrono::milliseconds(now.toMSecsSinceEpoch())};
        const std::lock_guard lock(m_mutex);
        const auto [entry, isNew] = m_budgets.try_emplace(sender, m_perMinute);
        Budget& budget = entry->second;
        if (!budget.limit.take(time)) return {false, 0, !std::exchange(budget.isRefusing, true)};
        budget.isRefusing = false;
        return {true, budget.limit.takeLeftOut(), false};
    }

private:
    struct Budget {
        explicit Budget(int perMinute) : limit(perMinute) {}
        LogBudget limit;
        bool isRefusing = false;
    };
    const int m_perMinute;
    std::mutex m_mutex;
    std::map<QString, Budget> m_budgets;
};

template <typename... Values>
void VLErrorCallback::logCall(const QString& sender, const QString& format, const Values&... values) const {
    const Budgets::Grant grant = m_logBudgets->take(sender, m_clock());
    if (grant.leftOut > 0)
        VLLog::appendLog(QStringLiteral("%i lines about callbacks of %@ were left out."), grant.leftOut,
                         sender);
    if (grant.isGranted) VLLog::appendLog(format, values...);
}

VLErrorCallback::VLErrorCallback(Parent parent, Clock clock)
    : m_parent(std::move(parent)),
      m_clock(std::move(clock)),
      m_refreshPending(std::make_shared<std::atomic<bool>>(false)),
      m_workers(std::make_shared<HostWorkers>()),
      m_maintenance(std::make_shared<Maintenance>()),
      m_logBudgets(std::make_shared<Budgets>(LogBudget::linesPerMinute)),
      m_noticeBudgets(std::make_shared<Budgets>(noticesPerMinute)) {
    if (!m_clock) m_clock = [] { return QDateTime::currentDateTimeUtc(); };
}

VLErrorCallback::~VLErrorCallback() = default;

// Calls of agents

VLErrorCallback::Handler VLErrorCallback::handlerOf(const QString& selector) {
    static const QHash<QString, Handler> handlers{
        {QStringLiteral("ping"), &VLErrorCallback::ignore},
        {QStringLiteral("cancelProcessing"), &VLErrorCallback::ignore},
        {QStringLiteral("requestMaintenance:"), &VLErrorCallback::receiveAboutHost},
        {QStringLiteral("cancelMaintenance:"), &VLErrorCallback::receiveAboutHost},
        {QStringLiteral("updateConfig:"), &VLErrorCallback::receiveAboutHost},
        {QStringLiteral("forceConfigReload:"), &VLErrorCallback::receiveAboutHost},
        {QStringLiteral("willDisconnect:"), &VLErrorCallback::receiveAboutHost},
        {QStringLiteral("faultscopeAddLogs:hostName:"), &VLErrorCallback::receiveAddLogs},
        {QStringLiteral("setSoftwareUpdateCount:hostname:"), &VLErrorCallback::receiveUpdateCount},
        {QStringLiteral("taskFinished"), &VLErrorCallback::receiveNotice},
        {QStringLiteral("incrementProgress"), &VLErrorCallback::receiveNotice},
        {QStringLiteral("addErrorToQueue:hostname:"), &VLErrorCallback::receiveError},
        {QStringLiteral("addErrorToQueue:userInfo:"), &VLErrorCallback::receiveError},
        {QStringLiteral("addStringToQueue:hostname:"), &VLErrorCallback::receiveError},
        {QStringLiteral("addStringToQueue:userInfo:"), &VLErrorCallback::receiveError},
        {QStringLiteral("addExceptionToQueue:hostname:"), &VLErrorCallback::receiveError},
    };
    return handlers.value(selector, nullptr);
}

QVariant VLErrorCallback::receive(const QString& selector, const QVariantList& arguments,
                                  const QString& sender) {
    using namespace VLCorvalinServerProtocol;
    const Operation* declared = operation(Side::Console, selector);
    const Handler handler = declared ? handlerOf(selector) : nullptr;
    const QString error = handler ? argumentError(*declared, arguments) : QStringLiteral("unknown selector");
    if (error.isEmpty() && knows(sender))
        (this->*handler)(selector, arguments, sender);
    else if (!error.isEmpty())
        logCall(sender, QStringLiteral("Ignoring callback %@ of %@: %@."), shown(selector), sender, error);
    return {};
}

void VLErrorCallback::ignore(const QString&, const QVariantList&, const QString&) {}

void VLErrorCallback::receiveAboutHost(const QString& selector, const QVariantList& arguments,
                                       const QString& sender) {
    if (refuses(selector, arguments.first(), sender)) return;
    const ParentPtr parent = m_parent.shared();
    const bool wantsMaintenance = selector == QLatin1String("requestMaintenance:");
    if (wantsMaintenance || selector == QLatin1String("cancelMaintenance:")) {
        if (!parent->setNeedsMaintenance) return;
        // The list is reloaded before the next request is looked at; this thread does not wait for that.
        m_maintenance->set(sender, wantsMaintenance);
        m_workers->run(QStringLiteral("maintenance"), sender,
                       [parent, maintenance = m_maintenance](const QString& hostName) {
                           onMainThreadAndWait([&] {
                               parent->setNeedsMaintenance(hostName, maintenance->isNeeded(hostName));
                           });
                       });
    } else if (selector == QLatin1String("willDisconnect:")) {
        logCall(sender, QStringLiteral("%@ will disconnect."), sender);
        m_workers->run(QStringLiteral("invalidate"), sender, parent->invalidate);
    } else {
        if (selector == QLatin1String("forceConfigReload:"))
            logCall(sender, QStringLiteral("%@ will reload config data."), sender);
        m_workers->run(QStringLiteral("fetchInitialConfiguration:"), sender, parent->fetchConfiguration);
    }
}

void VLErrorCallback::receiveAddLogs(const QString& selector, const QVariantList& arguments,
                                     const QString& sender) {
    const ParentPtr parent = m_parent.shared();
    if (refuses(selector, arguments.at(1), sender) || !parent->faultscopeAddLogs) return;
    const bool isList = VLCorvalinServerProtocol::accepts(Type::Array, arguments.first());
    const QVariantList logs = isList ? arguments.first().toList() : QVariantList();
    onMainThread([parent, logs, sender] { parent->faultscopeAddLogs(logs, sender); });
}

void VLErrorCallback::receiveUpdateCount(const QString& selector, const QVariantList& arguments,
                                         const QString& sender) {
    const ParentPtr parent = m_parent.shared();
    if (refuses(selector, arguments.at(1), sender) || !parent->setSoftwareUpdateCount) return;
    // Counts are summed up: one that no client can have must not spoil the sum.
    constexpr qlonglong most = std::numeric_limits<qint32>::max();
    const qlonglong count =
        std::clamp<qlonglong>(VLCorvalinServerProtocol::integerValue(arguments.first()), 0, most);
    onMainThread([parent, count, sender] { parent->setSoftwareUpdateCount(count, sender); });
}

void VLErrorCallback::receiveNotice(const QString& selector, const QVariantList&, const QString& sender) {
    const Budgets::Grant grant = m_noticeBudgets->take(selector + u' ' + sender, m_clock());
    if (grant.isFirstRefusal)
        logCall(sender, QStringLiteral("%@ sends %@ too often; the rest of this minute's are ignored."),
                sender, selector);
    if (!grant.isGranted) return;
    const bool finished = selector == QLatin1String("taskFinished");
    VLNotificationCenter::defaultCenter().enqueueNotification(
        finished ? QStringLiteral("vlCorvalinTaskFinished") : QStringLiteral("vlCorvalinProgressIncrement"));
}

void VLErrorCallback::receiveError(const QString& selector, const QVariantList& arguments,
                                   const QString& sender) {
    QVariantMap userInfo;
    QVariant hostName = arguments.at(1);
    if (selector.endsWith(QLatin1String(":userInfo:"))) {
        userInfo = hostName.toMap();
        hostName = userInfo.value(ErrorKey::hostName, sender);
    }
    if (refuses(selector, hostName, sender)) return;
    userInfo.insert(ErrorKey::hostName, sender);

    const QVariant& subject = arguments.first();
    QString text;
    if (selector.startsWith(QLatin1String("addErrorToQueue:"))) {
        text = descriptionForError(subject.toMap());
        addErrorToQueue(subject.toMap(), userInfo);
    } else if (selector.startsWith(QLatin1String("addStringToQueue:"))) {
        text = subject.toString();
        addStringToQueue(text, userInfo);
    } else {
        const QVariantMap exception = subject.toMap();
        text = textUnder(QLatin1StringView("reason"), exception);
        if (text.isEmpty()) text = textUnder(QLatin1StringView("name"), exception);
        addExceptionToQueue(text, sender);
    }
    const ParentPtr parent = m_parent.shared();
    const bool isRefusal =
        VLCorvalinServerProtocol::integerValue(userInfo.value(QStringLiteral("refused"))) != 0;
    if (parent->errorReported) parent->errorReported(sender, text, isRefusal);
}

bool VLErrorCallback::knows(const QString& sender) const {
    const ParentPtr parent = m_parent.shared();
    return parent->knowsHost && parent->knowsHost(sender);
}

bool VLErrorCallback::speaksForItself(const QString& hostName, const QString& sender) const {
    if (withoutEndingDot(hostName) == withoutEndingDot(sender)) return true;
    const ParentPtr parent = m_parent.shared();
    return parent->isNameOfClient && parent->isNameOfClient(sender, hostName);
}

/// True, after saying so, when the call is about another host than the agent's own. Only where that is
/// another client's does it concern the user.
bool VLErrorCallback::refuses(const QString& selector, const QVariant& hostName, const QString& sender) {
    const QString named = VLCorvalinServerProtocol::textValue(hostName);
    if (!named.isEmpty() && speaksForItself(named, sender)) return false;
    if (named.isEmpty() || !knows(named)) {
        logCall(sender, QStringLiteral("Dropping callback %@ of %@: there is no computer %@."), selector,
                sender, shown(named));
        return true;
    }
    logCall(sender, QStringLiteral("Refusing callback %@ of %@: it speaks for another computer, %@."),
            selector, sender, shown(named));
    addStringToQueue(QStringLiteral("The client software tried to speak for another computer."), sender);
    return true;
}

// The queue

void VLErrorCallback::addErrorToQueue(const QVariantMap& error, const QString& hostName) {
    addErrorToQueue(error, QVariantMap{{ErrorKey::hostName, hostName}});
}

void VLErrorCallback::addErrorToQueue(const QVariantMap& error, const QVariantMap& userInfo) {
    const VLCallLock lock;
    const QString hostName = textUnder(ErrorKey::hostName, userInfo);
    const qlonglong code = codeOf(error);
    // The keychain may be slow: never on the calling thread, which may serve a connection.
    if (isSuiteError(error) && code == CorvalinError::BadCredentials)
        m_workers->run(QStringLiteral("removeStoredPasswordForHost:"), hostName,
                       m_parent.shared()->removeStoredPasswordForHost);
    enqueue({descriptionForError(error), hostName, textUnder(ErrorKey::appName, userInfo), m_clock(), code,
             CorvalinError::actionType(code)});
}

void VLErrorCallback::addStringToQueue(const QString& text, const QString& hostName) {
    addStringToQueue(text, QVariantMap{{ErrorKey::hostName, hostName}});
}

void VLErrorCallback::addStringToQueue(const QString& text, const QVariantMap& userInfo) {
    const VLCallLock lock;
    enqueue({text,
             textUnder(ErrorKey::hostName, userInfo),
             textUnder(ErrorKey::appName, userInfo),
             m_clock(),
             {}});
}

void VLErrorCallback::addExceptionToQueue(const QString& description, const QString& hostName) {
    addStringToQueue(description, hostName);
}

void VLErrorCallback::enqueue(ErrorRecord record) {
    if (const ParentPtr parent = m_parent.shared(); parent->workOn) {
        const Work work = parent->workOn(record.hostName);
        record.tool = work.tool;
        record.action = work.action;
    }
    if (m_errorQueue.add(std::move(record))) refreshErrorButton();
}

QVariantList VLErrorCallback::errorQueue() const {
    QVariantList queue;
    const auto records = m_errorQueue.records();
    for (const ErrorQueue::RecordPtr& record : *records)
        queue.append(record->dictionary());
    return queue;
}

void VLErrorCallback::setErrorQueue(const QVariantList& queue) {
    ErrorQueue::Records records;
    for (const QVariant& record : queue)
        records.push_back(std::make_shared<const ErrorRecord>(ErrorRecord::fromDictionary(record.toMap())));
    m_errorQueue.set(std::move(records));
}

void VLErrorCallback::clearErrorQueue() {
    m_errorQueue.clear();
}

void VLErrorCallback::removeErrorsForService(const QString& hostName) {
    m_errorQueue.removeHost(hostName);
    refreshErrorButton();
}

QString VLErrorCallback::stringRepresentation() const {
    QString text;
    const auto records = m_errorQueue.records();
    for (const ErrorQueue::RecordPtr& record : *records)
        text +=
            vlFormat(QStringLiteral("%@ - %@ - %@\n"), record->hostName, record->date, record->description);
    return text;
}

void VLErrorCallback::refreshErrorButton() const {
    if (m_refreshPending->exchange(true)) return;
    onMainThread([pending = m_refreshPending] {
        *pending = false;
        VLNotificationCenter::defaultCenter().postNotification(QStringLiteral("vlCorvalinErrorLabelRefresh"));
    });
}

QString VLErrorCallback::descriptionForError(const QVariantMap& error) {
    const QString info = textUnder(QLatin1StringView("info"), error);
    if (isSuiteError(error))
        return CorvalinError::message(codeOf(error), info.left(ErrorQueue::maximumTextLength));
    const QString description = textUnder(ErrorKey::description, error);
    return description.isEmpty() ? CorvalinError::message(-1) : description;
}
