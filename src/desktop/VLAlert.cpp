#include "desktop/VLAlert.h"

#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <utility>

namespace {

using namespace std::chrono_literals;

constexpr auto eventWait = 10ms;
constexpr auto workerPoll = 1s;
constexpr int applicationIsQuitting = -1;  // what an event loop returns that is not allowed to start

/// Main thread only.
VLAlert::Presenter& presenter() {
    static VLAlert::Presenter instance;
    return instance;
}

void insertGiven(QVariantMap& description, const char* key, const QString& text) {
    if (!text.isNull()) description.insert(QLatin1String(key), text);
}

}  // namespace

bool VLAlertHandlers::respondsToSelector(const QString& selector) const {
    return static_cast<bool>(m_handlers.value(selector));
}

void VLAlertHandlers::performSelector(const QString& selector, VLAlert&, int returnCode) {
    if (const Handler handler = m_handlers.value(selector)) handler(returnCode);
}

void VLAlert::setPresenter(Presenter newPresenter) {
    presenter() = std::move(newPresenter);
}

// ---- Showing

int VLAlert::alertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                       const QString& alternateButton, const QString& otherButton,
                                       const QString& informativeText, QObject* parentWindow,
                                       const VLAlertDelegatePtr& delegate, const QString& didEndSelector,
                                       bool block, std::shared_ptr<VLAlert> alertObject) {
    const std::shared_ptr<VLAlert> alert = alertObject ? std::move(alertObject) : std::make_shared<VLAlert>();
    alert->setParentWindow(parentWindow);
    alert->setDelegate(delegate);
    alert->begin();
    const QString selector = didEndSelector.isEmpty() ? QLatin1String(defaultSelector) : didEndSelector;
    if (!alert->delegate().respondsToSelector(selector)) {
        VLLog::printToSystemLog(
            vlFormat(QStringLiteral("Alert error: delegate does not respond to selector %@"), selector));
        return OtherReturn;
    }

    QVariantMap description;
    insertGiven(description, "messageText", messageText);
    insertGiven(description, "defaultButtonTitle", defaultButton);
    insertGiven(description, "alternateButtonTitle", alternateButton);
    insertGiven(description, "otherButtonTitle", otherButton);
    insertGiven(description, "informativeText", informativeText);
    insertGiven(description, "didEndSelector", selector);
    const bool isShown = onMainThreadAndWait([&] { alert->alertSheetWithDictionary(description); });
    if (!block || !isShown) return OtherReturn;

    alert->waitUntilEnded();
    onMainThreadAndWait([&] { alert->orderOut(); });
    return alert->returnCode();
}

int VLAlert::alertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                       const QString& alternateButton, const QString& otherButton,
                                       const QString& informativeText, QObject* parentWindow,
                                       const VLAlertDelegatePtr& delegate, const QString& didEndSelector,
                                       bool block) {
    return alertSheetWithMessageText(messageText, defaultButton, alternateButton, otherButton,
                                     informativeText, parentWindow, delegate, didEndSelector, block, nullptr);
}

int VLAlert::alertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                       const QString& alternateButton, const QString& otherButton,
                                       const QString& informativeText, QObject* parentWindow, bool block) {
    return alertSheetWithMessageText(messageText, defaultButton, alternateButton, otherButton,
                                     informativeText, parentWindow, nullptr, {}, block);
}

int VLAlert::alertSheetWithMessageText(const QString& messageText, const QString& informativeText,
                                       QObject* parentWindow) {
    return alertSheetWithMessageText(messageText, {}, {}, {}, informativeText, parentWindow, true);
}

void VLAlert::ask(const QString& messageText, const QString& confirm, const QString& informativeText,
                  QObject* parentWindow, std::function<void()> confirmed, const QString& didEndSelector) {
    const auto ended = [confirmed = std::move(confirmed)](int returnCode) {
        if (returnCode == DefaultReturn) confirmed();
    };
    alertSheetWithMessageText(
        messageText, confirm, QCoreApplication::translate("VLAlert", "Cancel"), {}, informativeText,
        parentWindow,
        std::make_shared<VLAlertHandlers>(QHash<QString, VLAlertHandlers::Handler>{{didEndSelector, ended}}),
        didEndSelector, false);
}

int VLAlert::timedAlertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                            const QString& alternateButton, const QString& otherButton,
                                            const QString& informativeText, QObject* parentWindow,
                                            std::chrono::milliseconds interval) {
    const auto alert = std::make_shared<VLAlert>();
    const bool isTimed =
        VLThread::detach(QStringLiteral("defaultReturnAfterTimeInterval"),
                         [alert, interval] { alert->defaultReturnAfterTimeInterval(interval); });
    if (!isTimed)  // the main thread's event loop runs while the alert shows
        onMainThread([alert, interval] { QTimer::singleShot(interval, [alert] { alert->timeIsOver(); }); });
    return alertSheetWithMessageText(messageText, defaultButton, alternateButton, otherButton,
                                     informativeText, parentWindow, nullptr, {}, true, alert);
}

/// The time of a timed alert may have passed already; that stays its answer.
void VLAlert::begin() {
    const std::lock_guard lock(m_mutex);
    m_alertEnded = m_timePassed;
    m_returnCode = m_timePassed ? DefaultReturn : OtherReturn;
}

void VLAlert::alertSheetWithDictionary(const QVariantMap& description) {
    const QString selector = description.value(QStringLiteral("didEndSelector")).toString();
    if (!presenter()) {
        VLLog::appendLogAndPrint(QStringLiteral("Alert without a window: %1 %2")
                                     .arg(description.value(QStringLiteral("messageText")).toString(),
                                          description.value(QStringLiteral("informativeText")).toString()));
        return sheetEnded(selector, OtherReturn);
    }
    m_alert = presenter()(description, m_parentWindow, [self = shared_from_this(), selector](int code) {
        self->sheetEnded(selector, code);
    });
}

void VLAlert::waitUntilEnded() const {
    if (!MainThread::isCurrent()) {
        while (!alertEnded() && !MainThread::isQuitting() && VLThread::sleepFor(workerPoll)) {
        }
        return;
    }
    QEventLoop loop;
    QTimer tick;
    tick.setInterval(eventWait);
    QObject::connect(&tick, &QTimer::timeout, &loop, &QEventLoop::quit);
    tick.start();
    while (!alertEnded() && !MainThread::isQuitting()) {
        if (loop.exec() == applicationIsQuitting) return;
    }
}

// ---- Ending

/// The answer is recorded even when the delegate is someone else: a caller may be waiting for it.
void VLAlert::sheetEnded(const QString& didEndSelector, int returnCode) {
    m_alert = nullptr;
    alertDidEnd(returnCode);
    if (m_delegate && !MainThread::isQuitting())
        m_delegate->performSelector(didEndSelector, *this, returnCode);
}

void VLAlert::orderOut() {
    if (const OrderOut orderOut = std::exchange(m_alert, nullptr)) orderOut();
}

void VLAlert::alertDidEnd(int returnCode) {
    const std::lock_guard lock(m_mutex);
    if (std::exchange(m_alertEnded, true)) return;
    m_returnCode = returnCode;
}

void VLAlert::defaultReturnAfterTimeInterval(std::chrono::milliseconds interval) {
    if (VLThread::sleepFor(interval)) timeIsOver();
}

void VLAlert::timeIsOver() {
    const std::lock_guard lock(m_mutex);
    m_timePassed = true;
    if (!std::exchange(m_alertEnded, true)) m_returnCode = DefaultReturn;
}

// ---- Fields

bool VLAlert::alertEnded() const {
    const std::lock_guard lock(m_mutex);
    return m_alertEnded;
}

void VLAlert::setAlertEnded(bool ended) {
    const std::lock_guard lock(m_mutex);
    m_alertEnded = ended;
}

int VLAlert::returnCode() const {
    const std::lock_guard lock(m_mutex);
    return m_returnCode;
}

void VLAlert::setReturnCode(int returnCode) {
    const std::lock_guard lock(m_mutex);
    m_returnCode = returnCode;
}

VLAlertDelegate& VLAlert::delegate() {
    return m_delegate ? *m_delegate : *this;
}

bool VLAlert::respondsToSelector(const QString& selector) const {
    return selector == QLatin1String(defaultSelector);
}

void VLAlert::performSelector(const QString&, VLAlert&, int returnCode) {
    alertDidEnd(returnCode);
}
