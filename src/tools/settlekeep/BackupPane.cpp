#include "tools/settlekeep/BackupPane.h"

#include "desktop/VLAlert.h"
#include "tools/settlekeep/BackupList.h"
#include "tools/settlekeep/BackupModel.h"
#include "widgets/PaneBar.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>
#include <QPointer>
#include <QTreeView>

BackupPane::BackupPane(SettlekeepController& controller, QWidget* parent)
    : ToolPane(controller,
               {QStringLiteral("settlekeep"), QStringLiteral("settlekeepBackupTableView"),
                QStringLiteral("settlekeepBackupTable")},
               {.title = tr("Backups"),
                .symbol = QStringLiteral("archive"),
                .one = tr("%1 backup"),
                .many = tr("%1 backups"),
                .filter = tr("Filter backups"),
                .noMatch = tr("No matching backup"),
                .noneShown = tr("No backup passes the filter."),
                .whenNoneSelected = tr("Select computers to list their backups"),
                .reading = tr("Reading backups…"),
                .whenDisconnected = tr("Backups are read as soon as a computer is connected."),
                .noneFound = tr("No backups found on the selected computers"),
                .notRead = tr("Backups have not been read yet"),
                .whenNone = tr("Tick preferences above and choose Back Up.")},
               parent),
      m_controller(controller),
      m_model(new BackupModel(controller.context().friendlyServiceName, this)),
      m_restore(new QAction(symbolIcon(QStringLiteral("restore")), tr("Restore…"), this)) {
    m_restore->setObjectName(QStringLiteral("settlekeepRestore"));
    m_restore->setToolTip(
        tr("Puts the preferences of the selected backup in place on every selected computer.\n"
           "Those that are there now are replaced."));
    connect(m_restore, &QAction::triggered, this, [this] { restore(selectedBackup()); });
    bar().addButton(m_restore);
    view().setRootIsDecorated(false);
    view().setItemsExpandable(false);
    view().setSelectionMode(QAbstractItemView::SingleSelection);
    start(m_model, backupColumnNames(), BackupModel::KeyRole,
          {{900, {220, 170, 120, 150, 84}}, {700, {180, 140, 100, 132, 76}}, {0, {140, 110, 90, 122, 70}}});
}

void BackupPane::installRows() {
    m_model->setBackups(m_controller.settlekeepBackupArray());
}

void BackupPane::applyFilter(const QString& text, bool) {
    m_model->setFilter(text);
}

int BackupPane::rowTotal() const {
    return m_model->rowTotal();
}

QString BackupPane::summary() const {
    const QString backups = counted(rowTotal());
    const int computers = m_model->computerCount();
    return computers == 1 ? tr("%1 on 1 computer").arg(backups)
                          : tr("%1 on %2 computers").arg(backups).arg(computers);
}

QVariantMap BackupPane::selectedBackup() const {
    const QModelIndexList rows = view().selectionModel()->selectedRows();
    return rows.isEmpty() ? QVariantMap() : m_model->backup(rows.first());
}

void BackupPane::updateActions() {
    m_restore->setEnabled(!m_controller.context().selectedServices().isEmpty() &&
                          view().selectionModel()->hasSelection());
}

void BackupPane::restore(const QVariantMap& backup) {
    const QList<VLServicePtr> services = m_controller.context().selectedServices();
    if (backup.isEmpty() || services.isEmpty()) return;
    QStringList names;
    for (const VLServicePtr& service : services)
        names.append(service->name());
    const QString question =
        services.size() == 1
            ? tr("Restore “%1” on %2?").arg(backupName(backup), names.first())
            : tr("Restore “%1” on %2 computers?").arg(backupName(backup), QString::number(services.size()));
    VLAlert::ask(question, tr("Restore"),
                 tr("The preferences in this backup replace those on %1.").arg(listed(names, 20)), window(),
                 [controller = QPointer(&m_controller), backup, services] {
                     if (controller) controller->settlekeepRestore(backup, services);
                 });
}

void BackupPane::addMenuItems(QMenu& menu) {
    // While the menu is open a refresh may change what is selected; it is about what it was opened on.
    QAction* const item = menu.addAction(m_restore->icon(), m_restore->text(), this,
                                         [this, backup = selectedBackup()] { restore(backup); });
    item->setEnabled(m_restore->isEnabled());
}
