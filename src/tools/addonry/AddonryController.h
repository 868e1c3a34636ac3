#pragma once

#include "tools/Tool.h"
#include "tools/addonry/VLPluginItem.h"

#include <QList>

#include <atomic>

/// The plug-ins of the selected clients, merged by name, and what can be done with them.
///
/// Workers block and log their own failures. Each refreshes the rows on a further thread when it is done. A
/// worker whose run is cancelled stops at its next client.
class AddonryController : public ToolController {
    Q_OBJECT
public:
    using ToolController::ToolController;

    // Main thread: what the pane calls. Return at once.
    /// Brings every row whose clients differ to the newest version and the commonest settings.
    void addonrySyncAction();
    void addonryEnableAllAction();
    void addonryDisableAllAction();
    /// A row of addonryArray(), or one client's copy in it.
    struct Target {
        qsizetype row;
        qsizetype child = -1;  ///< index into the row's children; -1: all of them
    };
    /// Writes the value into the row (and its children), then has the clients do it. Nothing when there is
    /// no such row.
    void setDisabled(const Target& target, bool disabled);
    void setAccessType(const Target& target, qlonglong accessType);

    // Worker threads.
    /// Rebuilds the merged rows. A run that is cancelled leaves the rows as they were, and one that ends
    /// after a later one was installed is dropped.
    void refreshAddonryPlugins();
    void addonrySyncPlugins();
    /// "plugin": absent for all plug-ins, a client's copy (a dictionary), or a VLPluginItem; "disabled".
    void addonryEnablePlugin(const QVariantMap& request);
    /// The same with "accessType".
    void addonryChangeAccessType(const QVariantMap& request);
    /// Whether the change needs an administrator of the client; null: of any selected client. `plugins` are
    /// VLPluginItem or copies; what is not to change is invalid.
    [[nodiscard]] bool addonryNeedsAdminAccess(const QVariantList& plugins, const QVariant& destDisabled,
                                               const QVariant& destAccess, const VLServicePtr& service) const;

    [[nodiscard]] const QList<VLPluginItem>& addonryArray() const { return m_addonryArray; }  ///< main thread
    void setAddonryArray(QList<VLPluginItem> rows);  ///< main thread; in the order given

    void refresh() override { refreshAddonryPlugins(); }
    void clearData() override;
    [[nodiscard]] ToolReport report() const override;

    /// Orders rows by one of their values ("name", "version", "type", "disabled", "accessType", "state").
    static void sortRows(QList<VLPluginItem>& rows, const QString& column, bool descending);

    /// Of one client's copies, or a row's: that with the newest "version", among alike ones with the newest
    /// "moddate". Empty for none.
    [[nodiscard]] static QVariantMap newestPlugin(const QVariantList& plugins);

private:
    struct Change;
    [[nodiscard]] static const Change& enabling();
    [[nodiscard]] static const Change& changingAccess();
    [[nodiscard]] static const QString& keyOf(const Change& change);

    // Main thread.
    void edit(const Change& change, const Target& target, qlonglong value);
    void startChange(const Change& change, const QVariantMap& request);

    // Workers. `run`: of TaskProgress.
    [[nodiscard]] bool isStopped(int run) const;
    [[nodiscard]] QList<VLPluginItem> copyOfRows() const;
    void runChange(const Change& change, const QVariantMap& request, const char* method);
    void apply(const Change& change, const QVariantMap& request, int run);
    void applyToAll(const Change& change, const QVariant& value, int run);
    void applyToInstance(const Change& change, const QVariantMap& instance, const QVariant& value, int run);
    void applyToRow(const Change& change, const VLPluginItem& row, const QVariant& value);
    void syncRow(VLPluginItem& row, int run);
    [[nodiscard]] bool transferNewest(VLPluginItem& row, int run);
    void updateInstances(const VLPluginItem& row, const QVariantMap& newest, const QVariant& data, int run);
    void installWhereMissing(VLPluginItem& row, const QVariantMap& newest, const QVariant& data, int run);
    void applyCommon(const Change& change, const VLPluginItem& row, const QVariant& common, int run);
    void populate();
    static void sortAsStored(QList<VLPluginItem>& rows);
    void install(QList<VLPluginItem> rows, int refresh, int run);

    QList<VLPluginItem> m_addonryArray;
    std::atomic<int> m_lastRefresh{0};
    int m_installedRefresh = 0;  ///< main thread
};
