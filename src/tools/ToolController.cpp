#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "logs/VLLog.h"
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

bool ToolController::isStopped(int run) const {
    return context().progress->isCancelled(run) || VLThread::isCancelled();
}

void ToolController::runRefresh(const QString& name, const QString& logLine, Display display,
                                const std::function<bool()>& isEmpty,
                                const std::function<void(const Reading&)>& read) {
    const VLCallLock lock;
    TaskProgress& progress = *context().progress;
    onMainThreadAndWait([&] {
        if (isEmpty()) setBusy(true);
    });
    VLLog::appendLog(logLine);
    const int number = ++m_lastReading;
    if (display == Display::StatusBar) progress.startStatusProgress();
    try {
        read({number, display == Display::StatusBar ? progress.currentRun() : progress.beginRun()});
    } catch (const std::exception& exception) {
        logExceptionOf(name, exception);
    }
    onMainThreadAndWait([this] { setBusy(false); });
    if (display == Display::StatusBar) progress.endStatusProgress();
}

bool ToolController::askEach(const QString& selector, const Reading& reading,
                             const std::function<void(const VLService&, const QVariant&)>& take) {
    for (const VLServicePtr& service : context().selectedServices()) {
        if (isStopped(reading.run)) return false;
        take(*service, context().runner->objectFromRemoteMethod(selector, {}, {}, service));
        context().progress->incrementStatusProgress();
    }
    return !isStopped(reading.run);
}

void ToolController::install(const Reading& reading, const std::function<void()>& install) {
    onMainThreadAndWait([&] {
        if (reading.number < m_installedReading || context().progress->isCancelled(reading.run)) return;
        m_installedReading = reading.number;
        install();
    });
}
