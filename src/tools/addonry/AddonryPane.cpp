#include "tools/addonry/AddonryPane.h"

#include "tools/addonry/AddonryController.h"
#include "tools/addonry/AddonryModel.h"
#include "tools/addonry/AddonryView.h"
#include "tools/addonry/PluginKeys.h"
#include "widgets/PaneParts.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>
#include <QSet>
#include <QToolButton>
#include <QTreeView>

using enum VLPluginItem::AccessType;

QWidget* makeAddonryPane(ToolController& controller, QWidget* parent) {
    return new AddonryView(static_cast<AddonryController&>(controller), parent);
}

AddonryView::AddonryView(AddonryController& controller, QWidget* parent)
    : MergedOutlineView(controller, new AddonryModel(controller.context().friendlyServiceName),
                        QStringLiteral("addonry"),
                        {QStringLiteral("plug-in"), QStringLiteral("plug-ins"), QStringLiteral("Plug-ins"),
                         QStringLiteral("plug")},
                        parent),
      m_controller(controller),
      m_model(static_cast<AddonryModel*>(outline().model())),
      m_allUsersItem(new QAction(QStringLiteral("All Users"), this)),
      m_currentUserItem(new QAction(QStringLiteral("Current User"), this)) {
    m_allUsersItem->setObjectName(QStringLiteral("addonryAllUsersItem"));
    m_currentUserItem->setObjectName(QStringLiteral("addonryCurrentUserItem"));
    m_sync =
        addButton(QStringLiteral("addonrySyncBtn"), QStringLiteral("sync"), QStringLiteral("Synchronise"),
                  QStringLiteral("Bring the newest version of every plug-in that differs to all selected "
                                 "computers, with the settings that most of them have"),
                  [this] { m_controller.addonrySyncAction(); });
    m_enableAll =
        addButton(QStringLiteral("addonryEnableAllBtn"), QStringLiteral("on"), QStringLiteral("Enable All"),
                  QStringLiteral("Enable every plug-in on all selected computers"),
                  [this] { m_controller.addonryEnableAllAction(); });
    m_disableAll = addButton(QStringLiteral("addonryDisableAllBtn"), QStringLiteral("off"),
                             QStringLiteral("Disable All"),
                             QStringLiteral("Disable every plug-in on all selected computers"),
                             [this] { m_controller.addonryDisableAllAction(); });
    turnBoxesWithSpace(outline(), AddonryModel::Enabled);
    // The drawing before the name and the status say the same as the columns that go first.
    start({{760, {172, 74, 78, 100, 140, 78}, {}},
           {0, {160, 70, 78, 94, 126, 78}, {AddonryModel::Type, AddonryModel::Computers}}});
}

void AddonryView::installRows() {
    m_model->setRows(m_controller.addonryArray());
}

void AddonryView::updateActions() {
    m_sync->setEnabled(anyDiffers());
    m_enableAll->setEnabled(anyRows());
    m_disableAll->setEnabled(anyRows());
}

// ---- Edits

AddonryView::Target AddonryView::target(const Place& place) const {
    const QString& name = m_model->rows().at(place.row).name();
    if (place.child < 0) return {name};
    const QVariantMap copy = m_model->client(place);
    const QString host = ClientCopies::hostNameOf(copy);
    if (host.isEmpty()) return {};  // nobody could be told; and without a host all would be meant
    return {name, host, copy.value(PluginKeys::pathKey).toString()};
}

QList<AddonryView::Target> AddonryView::selectedTargets() const {
    QList<Target> targets;
    for (const Place& place : selectedPlaces())
        targets.append(target(place));
    return targets;
}

void AddonryView::setDisabled(const QList<Target>& targets, bool disabled) {
    m_controller.setDisabled(targets, disabled);
    collapseRows(targets);
}

void AddonryView::setAccessType(const QList<Target>& targets, qlonglong accessType) {
    m_controller.setAccessType(targets, accessType);
    collapseRows(targets);
}

void AddonryView::collapseRows(const QList<Target>& targets) {
    QSet<QString> names;
    for (const Target& target : targets)
        if (target.hostName.isEmpty()) names.insert(target.name);
    collapse(names);
}

void AddonryView::check(const Place& place, int, bool on) {
    setDisabled({target(place)}, !on);
}

void AddonryView::popUp(const Place& place, const QPoint& globalPosition) {
    const qlonglong shown = place.child < 0
                                ? m_model->rows().at(place.row).accessType()
                                : m_model->client(place).value(PluginKeys::accessTypeKey).toLongLong();
    QMenu* const menu = makeContextMenu(outline(), QStringLiteral("addonryAccessMenu"));
    for (const auto& [item, value] :
         {std::pair(m_allUsersItem, AllUsers), {m_currentUserItem, CurrentUser}}) {
        item->setCheckable(true);
        item->setChecked(shown >= 0 && (shown == CurrentUser) == (value == CurrentUser));
        menu->addAction(item);
    }
    connect(menu, &QMenu::triggered, this, [this, edited = target(place)](const QAction* chosen) {
        setAccessType({edited}, chosen == m_currentUserItem ? CurrentUser : AllUsers);
    });
    menu->popup(globalPosition);
}

void AddonryView::addMenuItems(QMenu& menu) {
    const QList<Target> targets = selectedTargets();
    const auto add = [&](const char* symbol, const QString& text, auto change) {
        QAction* const action = menu.addAction(symbolIcon(QLatin1String(symbol)), text, this, change);
        action->setEnabled(!targets.isEmpty());
    };
    add("on", QStringLiteral("Enable"), [this, targets] { setDisabled(targets, false); });
    add("off", QStringLiteral("Disable"), [this, targets] { setDisabled(targets, true); });
    menu.addSeparator();
    add("users", QStringLiteral("Install for All Users"),
        [this, targets] { setAccessType(targets, AllUsers); });
    add("user", QStringLiteral("Install for Current User"),
        [this, targets] { setAccessType(targets, CurrentUser); });
}
