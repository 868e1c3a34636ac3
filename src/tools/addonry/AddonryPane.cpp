#include "tools/addonry/AddonryView.h"
#include "widgets/PaneBar.h"
#include "widgets/PaneParts.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>
#include <QTreeView>

using enum VLPluginItem::AccessType;

Tool addonryTool() {
    return {.identifier = QStringLiteral("addonry"),
            .title = AddonryView::tr("Addonry"),
            .subtitle = AddonryView::tr("Compare, enable and synchronise the plug-ins of the editing suite"),
            .clearingPlace = 7,
            .settings = sortSettings(QStringLiteral("addonryOutline"), QStringLiteral("name")),
            .makeController = controllerMaker<AddonryController>(),
            .makePane = paneMaker<AddonryView, AddonryController>()};
}

AddonryView::AddonryView(AddonryController& controller, QWidget* parent)
    : MergedOutlineView(
          controller, new Model(addonryLook(), controller.context().friendlyServiceName),
          QStringLiteral("addonry"),
          {.title = tr("Plug-ins"),
           .symbol = QStringLiteral("plug"),
           .one = tr("%1 plug-in"),
           .many = tr("%1 plug-ins"),
           .filter = tr("Filter plug-ins"),
           .differencesOnly = tr("Show only plug-ins that are not the same on all computers that answered"),
           .noMatch = tr("No matching plug-in"),
           .noneShown = tr("No plug-in passes the filter."),
           .whenNoneSelected = tr("Select computers to list their plug-ins"),
           .reading = tr("Reading plug-ins…"),
           .whenDisconnected = tr("Plug-ins are read as soon as a computer is connected."),
           .noneFound = tr("No plug-ins found on the selected computers"),
           .notRead = tr("Plug-ins have not been read yet"),
           .unansweredAlone = tr("nothing is installed there")},
          parent),
      m_controller(controller),
      m_model(static_cast<Model*>(model())),
      m_allUsersItem(new QAction(symbolIcon(QStringLiteral("users")), tr("All Users"), this)),
      m_currentUserItem(new QAction(symbolIcon(QStringLiteral("user")), tr("Current User"), this)) {
    m_allUsersItem->setObjectName(QStringLiteral("addonryAllUsersItem"));
    m_currentUserItem->setObjectName(QStringLiteral("addonryCurrentUserItem"));
    addSyncButton(QStringLiteral("addonrySyncBtn"),
                  tr("Bring the newest version of every plug-in that differs to all "
                     "selected computers that answered, with the settings that most of "
                     "them have"),
                  [this] { m_controller.addonrySyncAction(); });
    addButtonForAll(QStringLiteral("addonryEnableAllBtn"), QStringLiteral("on"), wordsForEnabling(),
                    [this] { m_controller.addonryEnableAllAction(); });
    addButtonForAll(QStringLiteral("addonryDisableAllBtn"), QStringLiteral("off"), wordsForDisabling(),
                    [this] { m_controller.addonryDisableAllAction(); });
    turnBoxesWithSpace(view(), VLPluginItem::Enabled);
    // The drawing before the name and the status say the same as the columns that go first.
    const QList<int> first{VLPluginItem::Type, VLPluginItem::Computers};
    start({{760, {172, 74, 78, 100, 140, 78}},
           {520, {146, 66, 78, 90, 120, 78}, first},
           {0, {146, 66, 78, 90, 120, 78}, first + QList<int>{VLPluginItem::Access}}});
}

void AddonryView::installRows() {
    m_model->setRows(m_controller.addonryArray());
}

// ---- Edits

void AddonryView::setDisabled(const QList<RowTarget>& targets, bool disabled) {
    m_controller.setDisabled(targets, disabled);
    collapse(targets);
}

void AddonryView::setAccessType(const QList<RowTarget>& targets, qlonglong accessType) {
    m_controller.setAccessType(targets, accessType);
    collapse(targets);
}

void AddonryView::check(const RowTarget& target, int, bool on) {
    setDisabled({target}, !on);
}

void AddonryView::popUp(const Place& place, const QPoint& globalPosition) {
    const ClientCopy* const copy = m_model->copy(place);
    const qlonglong shown =
        copy ? copy->number(PluginKeys::accessTypeKey) : m_model->rows().at(place.row).accessType();
    QMenu* const menu = makeContextMenu(view(), QStringLiteral("addonryAccessMenu"));
    for (const auto& [item, value] :
         {std::pair(m_allUsersItem, AllUsers), {m_currentUserItem, CurrentUser}}) {
        item->setCheckable(true);
        item->setChecked(shown >= 0 && (shown == CurrentUser) == (value == CurrentUser));
        menu->addAction(item);
    }
    connect(menu, &QMenu::triggered, this, [this, edited = m_model->target(place)](const QAction* chosen) {
        setAccessType({edited}, chosen == m_currentUserItem ? CurrentUser : AllUsers);
    });
    menu->popup(globalPosition);
}

void AddonryView::addMenuItems(QMenu& menu) {
    const auto add = [&](const char* symbol, const QString& text, auto change) {
        addChangeItem(menu, symbol, text, change);
    };
    using Targets = QList<RowTarget>;
    add("on", tr("Enable"), [this](const Targets& targets) { setDisabled(targets, false); });
    add("off", tr("Disable"), [this](const Targets& targets) { setDisabled(targets, true); });
    menu.addSeparator();
    add("users", tr("Install for All Users"),
        [this](const Targets& targets) { setAccessType(targets, AllUsers); });
    add("user", tr("Install for Current User"),
        [this](const Targets& targets) { setAccessType(targets, CurrentUser); });
}
