#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "system/VLException.h"
#include "tools/Tool.h"

void ToolController::startWorker(const QString& name, std::function<void()> work) {
    VLThread::detach(name, [self = weak_from_this().lock(), name, work = std::move(work)]() mutable {
        try {
            work();
        } catch (const std::exception& exception) {
            const QByteArray method = QStringLiteral("-[AppController %1]").arg(name).toUtf8();
            VLException::logException(exception, method.constData());
        }
        work = nullptr;
        // The last to let go of it may be this worker; a controller ends on the main thread.
        if (self) onMainThread([self = std::move(self)] {});
    });
}
