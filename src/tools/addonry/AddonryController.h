#pragma once

#include "tools/addonry/AddonryUndo.h"
#include "tools/addonry/VLPluginItem.h"
#include "tools/merged/MergedController.h"

/// The plug-ins of the selected clients, merged by name, and what can be done with them.
///
/// Workers block and log their own failures. Each works for one run, on as many clients at once as that may;
/// one that was cancelled starts nothing more. Then it refreshes the rows on a further thread. The changes
/// that a synchronisation consists of do not refresh, the synchronisation does when it is done: there would
/// be one reading of all clients for every copy that differs.
class AddonryController : public MergedController<VLPluginItem> {
    Q_OBJECT
public:
    using MergedController::MergedController;

    // Main thread: what the pane calls. Return at once.
    /// Brings every row whose clients differ to the newest version and the commonest settings; where as many
    /// copies are set one way as another, to those of the client that was read first.
    void addonrySyncAction();
    void addonryEnableAllAction();
    void addonryDisableAllAction();
    /// Writes the value into the rows (a whole row: and its children), then has the clients do it, one target
    /// after the other on one worker. Targets that are gone are skipped.
    void setDisabled(const QList<RowTarget>& targets, bool disabled);
    void setAccessType(const QList<RowTarget>& targets, qlonglong accessType);

    // Worker threads.
    /// Rebuilds the merged rows. A run that is cancelled leaves the rows as they were, and one that ends
    /// after a later one was installed is dropped.
    void refreshAddonryPlugins();
    void addonrySyncPlugins();
    void addonryEnablePlugin(const Edit& disabled);
    void addonryChangeAccessType(const Edit& accessType);
    /// Whether the change needs an administrator of the client; null: of any selected client. What is not to
    /// change is invalid. Of copies that lie in one place and are set alike one is sent: every client looks
    /// on its own disk, and there may be a hundred thousand of them.
    [[nodiscard]] bool addonryNeedsAdminAccess(const QList<ClientCopy>& copies, const QVariant& destDisabled,
                                               const QVariant& destAccess,
                                               const RemoteClientPtr& service) const;

    [[nodiscard]] const QList<VLPluginItem>& addonryArray() const { return rows(); }  ///< main thread
    void setAddonryArray(QList<VLPluginItem> rows) { setRows(std::move(rows)); }      ///< main thread

    void refresh() override { refreshAddonryPlugins(); }
    /// How plug-ins were set, by AddonryUndo. What was installed or updated stays.
    [[nodiscard]] bool takeBack(const VLServicePtr& client, const QVariantMap& undo) override;

    /// Of one row's copies that with the newest "version", among alike ones with the newest "moddate".
    /// Nothing where there is none.
    [[nodiscard]] static std::optional<ClientCopy> newestPlugin(const QList<ClientCopy>& plugins);

protected:
    [[nodiscard]] QString table() const override { return QStringLiteral("addonryOutline"); }
    [[nodiscard]] QStringList reportTitles() const override;
    [[nodiscard]] QStringList reportCells(const VLPluginItem& row) const override;
    [[nodiscard]] QString differenceWord(const VLPluginItem& row) const override;

private:
    struct Change;
    [[nodiscard]] static const Change& enabling();
    [[nodiscard]] static const Change& changingAccess();
    [[nodiscard]] static const QString& keyOf(const Change& change);

    void startChanges(const Change& change, const QList<Edit>& edits);
    [[nodiscard]] Run::Keeping keepingOf(const Change& change, const QList<Edit>& edits) const;
    [[nodiscard]] Run::Keeping keepingOfSync() const;
    [[nodiscard]] Run::Keeping keepingFormer(const QString& changed,
                                             const std::function<bool(const QVariantMap&)>& isMeant) const;

    // Workers.
    void runChanges(const Change& change, const QList<Edit>& edits);
    void applyToAll(const Change& change, qlonglong value);
    void applyToCopies(const Change& change, const QList<ClientCopy>& copies, qlonglong value);
    void applyToRows(const Change& change, const QList<ClientCopy>& copies, qlonglong value);
    void apply(const Change& change, const RemoteClientPtr& client, const ClientCopy& copy, qlonglong value,
               bool needsAdmin) const;
    void applyAll(const Change& change, const RemoteClientPtr& client,
                  const QList<AddonryUndo::Plan::Step>& steps) const;
    using Plugins = QList<QVariantMap>;
    [[nodiscard]] std::optional<Plugins> pluginsOf(const RemoteClientPtr& client) const;
    void syncRow(VLPluginItem& row);
    [[nodiscard]] bool transferNewest(VLPluginItem& row);
    static void noteStoppedAt(const VLPluginItem& row);
    void noteNotTransferred(const VLPluginItem& row, const ClientCopy& newest) const;
    void updateInstances(const VLPluginItem& row, const ClientCopy& newest, const QVariant& data);
    void installWhereMissing(VLPluginItem& row, const ClientCopy& newest, const QVariant& data);
    void applyCommon(const Change& change, const VLPluginItem& row, const QVariant& common);
};
