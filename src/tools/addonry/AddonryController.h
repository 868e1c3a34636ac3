#pragma once

#include "tools/Tool.h"
#include "tools/addonry/VLPluginItem.h"

#include <QList>

#include <atomic>

/// The plug-ins of the selected clients, merged by name.
class AddonryController : public ToolController {
    Q_OBJECT
public:
    using ToolController::ToolController;

    /// Rebuilds the merged rows. Worker thread. A run that is cancelled leaves the rows as they were, and one
    /// that ends after a later one was installed is dropped.
    void refreshAddonryPlugins();

    [[nodiscard]] const QList<VLPluginItem>& addonryArray() const { return m_addonryArray; }  ///< main thread
    void setAddonryArray(QList<VLPluginItem> rows);  ///< main thread; in the order given

    void refresh() override { refreshAddonryPlugins(); }
    void clearData() override;
    [[nodiscard]] ToolReport report() const override;

    /// Orders rows by one of their values ("name", "version", "type", "disabled", "accessType", "state").
    static void sortRows(QList<VLPluginItem>& rows, const QString& column, bool descending);

private:
    [[nodiscard]] bool isStopped(int run) const;
    void populate();
    static void sortAsStored(QList<VLPluginItem>& rows);
    void install(QList<VLPluginItem> rows, int refresh, int run);

    QList<VLPluginItem> m_addonryArray;
    std::atomic<int> m_lastRefresh{0};
    int m_installedRefresh = 0;  ///< main thread
};
