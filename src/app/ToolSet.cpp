#include "app/ToolSet.h"

#include "app/TaskThreads.h"
#include "clients/ServiceList.h"
#include "foundation/VLThread.h"

#include <QGuiApplication>

#include <algorithm>

namespace {

bool isApplicationActive() {
    return QGuiApplication::applicationState() == Qt::ApplicationActive;
}

void startOnThread(std::function<void()> operation) {
    VLThread::detach(QStringLiteral("autoRefresh"), std::move(operation));
}

}  // namespace

ToolSet::ToolSet(QList<Tool> tools, ServiceList& services, TaskThreads& taskThreads)
    : m_tools(std::move(tools)),
      m_services(services),
      m_taskThreads(taskThreads),
      m_autoRefresh({
          [this] { return m_taskThreads.isProcessing(); },
          [this] { return m_taskThreads.isInstallingUpdate(); },
          isApplicationActive,
          startOnThread,
      }),
      m_refreshRequest({
          [this] { return m_autoRefresh.hasOperation() && !m_autoRefresh.canRefreshNow(); },
          [this] { return isSelectionSettled(); },
          [this] { refreshVisibleTool(); },
      }) {
    connect(&m_services, &ServiceList::selectionChanged, this, &ToolSet::followSelection);
    connect(&m_taskThreads, &TaskThreads::isProcessingChanged, this, [this](bool processing) {
        if (processing || !m_autoRefresh.hasOperation())
            m_autoRefresh.toolbarRefreshDisable();
        else
            m_autoRefresh.toolbarRefreshEnable();
    });
}

const Tool* ToolSet::tool(const QString& identifier) const {
    const auto found = std::find_if(m_tools.begin(), m_tools.end(),
                                    [&](const Tool& tool) { return tool.identifier == identifier; });
    return found == m_tools.end() ? nullptr : &*found;
}

ToolController* ToolSet::toolController(const QString& identifier) {
    if (const auto made = m_controllers.constFind(identifier); made != m_controllers.constEnd())
        return made->get();
    const Tool* const found = tool(identifier);
    if (!found || !found->makeController) return nullptr;
    ToolContext context = m_context;
    context.tool = identifier;
    std::shared_ptr<ToolController> controller = found->makeController(context);
    m_controllers.insert(identifier, controller);
    return controller.get();
}

void ToolSet::setVisibleTool(const QString& identifier) {
    m_autoRefresh.setupAutoRefresh({}, 0);
    m_visibleTool = identifier;
    if (toolController(identifier)) {
        const std::shared_ptr<ToolController> controller = m_controllers.value(identifier);
        controller->becomesVisible();
        m_autoRefresh.setupAutoRefresh([controller] { controller->refresh(); },
                                       tool(identifier)->refreshInterval);
        if (m_autoRefresh.canRefreshNow())
            refreshVisibleTool();
        else
            m_refreshRequest.request();
    }
    Q_EMIT visibleToolChanged(identifier);
}

void ToolSet::refreshVisibleTool() {
    const QList<VLServicePtr> selected = m_services.selectedServices();
    m_refreshedFor = {selected.begin(), selected.end()};
    refresh();
}

bool ToolSet::isSelectionSettled() const {
    const QList<VLServicePtr> selected = m_services.selectedServices();
    return std::none_of(selected.begin(), selected.end(), [](const VLServicePtr& service) {
        return service->spinning() && !service->isConnected();
    });
}

void ToolSet::followSelection() {
    const QList<VLServicePtr> list = m_services.selectedServices();
    const std::set<VLServicePtr> selected(list.begin(), list.end());
    const bool hasLost =
        std::any_of(m_refreshedFor.begin(), m_refreshedFor.end(),
                    [&](const VLServicePtr& service) { return !selected.contains(service); });
    const bool hasGained = std::any_of(selected.begin(), selected.end(), [this](const VLServicePtr& service) {
        return !m_refreshedFor.contains(service) && service->isConnected();
    });
    if (hasLost || hasGained || !m_services.allSelected()) requestRefresh();
}

void ToolSet::clearData() {
    m_taskThreads.setProcessingCancelled(true);
    QList<Tool> tools = m_tools;
    std::stable_sort(tools.begin(), tools.end(),
                     [](const Tool& a, const Tool& b) { return a.clearingPlace < b.clearingPlace; });
    for (const Tool& tool : std::as_const(tools))
        if (const auto controller = m_controllers.value(tool.identifier)) controller->clearData();
}

void ToolSet::stopSpinners() {
    for (const auto& controller : std::as_const(m_controllers))
        controller->stopSpinner();
}

void ToolSet::stop() {
    m_refreshRequest.cancel();
    m_autoRefresh.setupAutoRefresh({}, 0);
    m_refreshedFor.clear();
}
