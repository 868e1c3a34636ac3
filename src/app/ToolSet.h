#pragma once

#include "app/AutoRefresh.h"
#include "app/RefreshRequest.h"
#include "tools/Tool.h"

#include <QHash>
#include <QObject>

#include <memory>
#include <set>

class ServiceList;
class TaskThreads;

/// The tools: their controllers, which of them is visible, and when that one reads again. Main thread.
class ToolSet : public QObject {
    Q_OBJECT
public:
    /// `services` and `taskThreads` outlive this object.
    ToolSet(QList<Tool> tools, ServiceList& services, TaskThreads& taskThreads);

    /// What the controllers get; their tool's identifier is filled in. Before the first of them is made.
    void setContext(ToolContext context) { m_context = std::move(context); }

    [[nodiscard]] const QList<Tool>& tools() const { return m_tools; }
    /// Null for one that is not in the list.
    [[nodiscard]] const Tool* tool(const QString& identifier) const;
    /// The controller of a tool, made on first use; null for a tool that is not built.
    [[nodiscard]] ToolController* toolController(const QString& identifier);
    [[nodiscard]] bool hasController(const QString& identifier) const {
        return m_controllers.contains(identifier);
    }

    /// The tool whose pane is visible: its refresh operation becomes the automatic one and runs once.
    void setVisibleTool(const QString& identifier);
    [[nodiscard]] const QString& visibleTool() const { return m_visibleTool; }
    [[nodiscard]] AutoRefresh& autoRefresh() { return m_autoRefresh; }
    /// Reads the visible tool's data again, unless something is under way.
    void refresh() { m_autoRefresh.autoRefreshData(false); }
    /// The same as soon as that is possible, once for many requests.
    void requestRefresh() { m_refreshRequest.request(); }
    /// Refreshes where the selected clients have something to show that is not shown, or the other way round:
    /// a client that joins the selection by itself is left until it is connected.
    void followSelection();

    /// Forgets the results of every tool; what is being read is cancelled.
    void clearData();
    /// The user cancelled: no tool shows that it is busy.
    void stopSpinners();
    /// Nothing is read any more.
    void stop();

Q_SIGNALS:
    void visibleToolChanged(const QString& identifier);

private:
    void refreshVisibleTool();
    [[nodiscard]] bool isSelectionSettled() const;

    const QList<Tool> m_tools;
    ServiceList& m_services;
    TaskThreads& m_taskThreads;
    ToolContext m_context;
    AutoRefresh m_autoRefresh;
    RefreshRequest m_refreshRequest;
    QString m_visibleTool;
    std::set<VLServicePtr> m_refreshedFor;  ///< the selection that the visible pane was last refreshed for
    QHash<QString, std::shared_ptr<ToolController>> m_controllers;
};
