#pragma once

#include "tools/Tool.h"
#include "tools/addonry/VLPluginItem.h"

#include <QList>

/// The plug-ins of the selected clients, merged by name, and what can be done with them.
///
/// Workers block and log their own failures. Each ends the status display and then refreshes the rows on a
/// further thread; in this order, because the refresh starts a display of its own. A worker whose run is
/// cancelled stops at its next client. The changes that a synchronisation consists of do not refresh, the
/// synchronisation does when it is done: a refresh that ends lifts whatever wait is under way, so the next
/// change would be sent while clients still work on the one before, and there would be one reading of all
/// clients for every copy that differs.
class AddonryController : public ToolController {
    Q_OBJECT
public:
    using ToolController::ToolController;

    // Main thread: what the pane calls. Return at once.
    /// Brings every row whose clients differ to the newest version and the commonest settings; where as many
    /// copies are set one way as another, to those of the client that was read first.
    void addonrySyncAction();
    void addonryEnableAllAction();
    void addonryDisableAllAction();
    /// A row of addonryArray(), or one client's copy in it. By their names, because the rows are replaced
    /// while a menu is open.
    struct Target {
        QString name;
        QString hostName = {};  ///< empty: the whole row
        QString fullPath = {};  ///< tells the copies of one client apart
    };
    /// Writes the value into the rows (a whole row: and its children), then has the clients do it, one target
    /// after the other on one worker. Targets that are gone are skipped.
    void setDisabled(const QList<Target>& targets, bool disabled);
    void setAccessType(const QList<Target>& targets, qlonglong accessType);

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
    /// VLPluginItem or copies; what is not to change is invalid. Of copies that lie in one place and are set
    /// alike one is sent: every client looks on its own disk, and there may be a hundred thousand of them.
    [[nodiscard]] bool addonryNeedsAdminAccess(const QVariantList& plugins, const QVariant& destDisabled,
                                               const QVariant& destAccess, const VLServicePtr& service) const;

    [[nodiscard]] const QList<VLPluginItem>& addonryArray() const { return m_addonryArray; }  ///< main thread
    void setAddonryArray(QList<VLPluginItem> rows);                                           ///< main thread

    void refresh() override { refreshAddonryPlugins(); }
    void clearData() override;
    [[nodiscard]] ToolReport report() const override;

    /// Of one client's copies, or a row's: that with the newest "version", among alike ones with the newest
    /// "moddate". Empty for none.
    [[nodiscard]] static QVariantMap newestPlugin(const QVariantList& plugins);

private:
    struct Change;
    [[nodiscard]] static const Change& enabling();
    [[nodiscard]] static const Change& changingAccess();
    [[nodiscard]] static const QString& keyOf(const Change& change);

    // Main thread.
    void edit(const Change& change, const QList<Target>& targets, qlonglong value);
    [[nodiscard]] static QVariant write(const Change& change, VLPluginItem& row, const Target& target,
                                        qlonglong value);
    void startChanges(const Change& change, const QList<QVariantMap>& requests);

    // Workers. `run`: of TaskProgress.
    [[nodiscard]] QList<VLPluginItem> copyOfRows() const;
    void runChanges(const Change& change, const QList<QVariantMap>& requests);
    void attempt(const Change& change, const QVariantMap& request, int run);
    void apply(const Change& change, const QVariantMap& request, int run);
    void applyToAll(const Change& change, const QVariant& value, int run);
    void applyToInstance(const Change& change, const QVariantMap& instance, const QVariant& value, int run);
    void applyToRow(const Change& change, const VLPluginItem& row, const QVariant& value);
    void syncRow(VLPluginItem& row, int run);
    [[nodiscard]] bool transferNewest(VLPluginItem& row, int run);
    void updateInstances(const VLPluginItem& row, const QVariantMap& newest, const QVariant& data, int run);
    void installWhereMissing(VLPluginItem& row, const QVariantMap& newest, const QVariant& data, int run);
    void applyCommon(const Change& change, const VLPluginItem& row, const QVariant& common, int run);
    void populate(const Reading& reading);

    QList<VLPluginItem> m_addonryArray;
};
