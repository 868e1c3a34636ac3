#include "app/BatchRun.h"

#include "app/ReportTable.h"
#include "base/VLFormat.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"

#include <QPointer>
#include <QTimer>

#include <algorithm>

namespace {

constexpr std::chrono::milliseconds pollInterval{50};
constexpr std::chrono::milliseconds settleTime{2000};  ///< without a new client, when no number is expected
constexpr std::chrono::milliseconds paintTime{400};    ///< for pictures and rows to be drawn
constexpr std::chrono::seconds longestIdleWait{60};

QString backendText(ServiceBrowser::Backend backend) {
    switch (backend) {
        case ServiceBrowser::Backend::Daemon:
            return QStringLiteral("the Avahi daemon");
        case ServiceBrowser::Backend::Embedded:
            return QStringLiteral("Avahi's embedded core");
        case ServiceBrowser::Backend::None:
            break;
    }
    return QStringLiteral("none (no usable network interface)");
}

std::chrono::milliseconds elapsed(const QElapsedTimer& timer) {
    return std::chrono::milliseconds(timer.elapsed());
}

QString plural(qsizetype count) {
    return count == 1 ? QString() : QStringLiteral("s");
}

}  // namespace

BatchRun::BatchRun(AppController& controller, CommandLine commandLine, Output output, QObject* parent)
    : QObject(parent),
      m_controller(controller),
      m_commandLine(std::move(commandLine)),
      m_output(std::move(output)) {}

void BatchRun::callLater(std::chrono::milliseconds delay, void (BatchRun::*step)()) {
    QTimer::singleShot(delay, this, step);
}

QString BatchRun::toolInWork() const {
    return m_commandLine.reportTool.isEmpty() ? m_controller.toolSet().visibleTool()
                                              : m_commandLine.reportTool;
}

QList<VLServicePtr> BatchRun::connectedClients() const {
    QList<VLServicePtr> connected = m_controller.services().serviceArray();
    connected.removeIf([](const VLServicePtr& service) { return !service->isConnected(); });
    return connected;
}

void BatchRun::start() {
    m_waiting.start();
    m_sinceLastChange.start();
    lookForClients();
}

void BatchRun::lookForClients() {
    const bool isOver = elapsed(m_waiting) >= m_commandLine.wait;
    if (!isOver && !areClientsComplete()) return callLater(pollInterval, &BatchRun::lookForClients);
    describeClients();
    m_waiting.restart();
    waitForIdle();
}

/// With a number given, when that many are connected; without, when some are and no other came for a while.
bool BatchRun::areClientsComplete() {
    const qsizetype count = connectedClients().size();
    if (m_commandLine.expectedClients > 0) return count >= m_commandLine.expectedClients;
    if (count != m_lastCount) m_sinceLastChange.restart();
    m_lastCount = count;
    return count > 0 && elapsed(m_sinceLastChange) >= settleTime;
}

void BatchRun::describeClients() {
    const QList<VLServicePtr> connected = connectedClients();
    m_output.message(QStringLiteral("Discovery: ") + (m_commandLine.browses
                                                          ? backendText(m_controller.discovery().backend())
                                                          : QStringLiteral("turned off")));
    m_output.message(
        QStringLiteral("%1 client%2 connected").arg(connected.size()).arg(plural(connected.size())));
    for (const VLServicePtr& service : connected)
        m_output.message(QStringLiteral("  %1 (%2:%3)%4")
                             .arg(service->name(), service->ipAddress(), QString::number(service->port()),
                                  service->isManual() ? QStringLiteral(", added by hand") : QString()));

    const QList<VLServicePtr> all = m_controller.services().serviceArray();
    for (const VLServicePtr& service : all) {
        if (service->isConnected()) continue;
        const QString reason = service->connectionError();
        m_output.message(
            QStringLiteral("Missing: %1 - %2")
                .arg(service->name(), reason.isEmpty() ? QStringLiteral("not connected") : reason));
    }
    const qsizetype lacking = m_commandLine.expectedClients - connected.size();
    if (lacking <= 0) return;
    m_exitCode = 1;
    m_output.message(QStringLiteral("%1 of %2 expected clients did not connect within %3 seconds")
                         .arg(lacking)
                         .arg(m_commandLine.expectedClients)
                         .arg(m_commandLine.wait.count()));
    if (const qsizetype unseen = m_commandLine.expectedClients - all.size(); unseen > 0)
        m_output.message(QStringLiteral("Not found at all: %1 client%2").arg(unseen).arg(plural(unseen)));
}

/// The pane's own refresh may still be at work for the last client that came.
void BatchRun::waitForIdle() {
    const bool isIdle = !m_controller.taskThreads().isProcessing();
    if (!isIdle && elapsed(m_waiting) < longestIdleWait)
        return callLater(pollInterval, &BatchRun::waitForIdle);
    refreshTool();
}

void BatchRun::refreshTool() {
    ToolController* const tool = m_controller.toolSet().toolController(toolInWork());
    if (!tool) return deliver();
    // The program may be told to end while the worker is on its way.
    VLThread::detach(QStringLiteral("batchRun"), [self = QPointer(this), tool] {
        tool->refresh();
        onMainThread([self] {
            if (self) self->deliver();
        });
    });
}

void BatchRun::deliver() {
    if (!m_commandLine.reportTool.isEmpty()) {
        const ToolController* const tool = m_controller.toolSet().toolController(m_commandLine.reportTool);
        if (tool && tool->hasResult()) {
            m_output.report(reportTable(tool->report()));
            nameUnanswered(*tool);
        } else {
            m_output.message(QStringLiteral("The report could not be made; the log says why."));
            m_exitCode = 1;
        }
    }
    if (m_commandLine.screenshotFile.isEmpty()) return Q_EMIT finished(m_exitCode);
    m_waiting.restart();
    callLater(paintTime, &BatchRun::takePicture);
}

void BatchRun::nameUnanswered(const ToolController& tool) {
    for (const UnansweredClient& client : tool.unanswered()) {
        const QString name = tool.context().friendlyServiceName(client.hostName);
        m_output.message(
            printableText(QStringLiteral("No answer from ") + name +
                          (client.reason.isEmpty() ? QString() : QStringLiteral(": ") + client.reason)));
        m_exitCode = 1;
    }
}

void BatchRun::takePicture() {
    if (m_controller.taskThreads().isProcessing() && elapsed(m_waiting) < longestIdleWait)
        return callLater(paintTime, &BatchRun::takePicture);
    if (m_output.takePicture(m_commandLine.screenshotFile)) {
        m_output.message(QStringLiteral("Picture: ") + m_commandLine.screenshotFile);
    } else {
        m_output.message(QStringLiteral("The picture could not be saved as ") + m_commandLine.screenshotFile);
        m_exitCode = 1;
    }
    Q_EMIT finished(m_exitCode);
}
