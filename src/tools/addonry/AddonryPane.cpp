#include "tools/addonry/AddonryPane.h"

#include "tools/addonry/AddonryController.h"
#include "tools/addonry/AddonryModel.h"
#include "tools/addonry/AddonryView.h"
#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>

namespace {

enum AccessType { AllUsers = 0, CurrentUser = 1 };

}  // namespace

QWidget* makeAddonryPane(ToolController& controller, QWidget* parent) {
    return new AddonryView(static_cast<AddonryController&>(controller), parent);
}

AddonryView::AddonryView(AddonryController& controller, QWidget* parent)
    : MergedOutlineView(controller, new AddonryModel(controller.context().friendlyServiceName),
                        {QStringLiteral("addonry"), QStringLiteral("plug-in"), QStringLiteral("plug-ins"),
                         QStringLiteral("Plug-ins"), QStringLiteral("plug"),
                         QStringLiteral("Plug-ins are read as soon as a computer is connected.")},
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
    setColumnWidths({172, 74, 78, 100, 140, 78});
    start();
}

void AddonryView::installRows() {
    m_model->setRows(m_controller.addonryArray());
}

int AddonryView::keyboardColumn() const {
    return AddonryModel::Enabled;
}

void AddonryView::updateActions() {
    bool anyDiffers = false;
    for (int row = 0; row < m_model->rowTotal() && !anyDiffers; ++row)
        anyDiffers = m_model->differs(row);
    m_sync->setEnabled(anyDiffers);
    m_enableAll->setEnabled(anyRows());
    m_disableAll->setEnabled(anyRows());
}

void AddonryView::check(const Place& place, int, bool on) {
    collapse(place.row);
    m_controller.setDisabled({place.row, place.child}, !on);
}

void AddonryView::popUp(const Place& place, int, const QPoint& globalPosition) {
    const int shown = place.child < 0 ? int(m_model->rows().at(place.row).accessType())
                                      : m_model->client(place).value(QStringLiteral("accessType")).toInt();
    QMenu menu(this);
    for (const auto& [item, value] :
         {std::pair(m_allUsersItem, AllUsers), {m_currentUserItem, CurrentUser}}) {
        item->setCheckable(true);
        item->setChecked(shown >= 0 && (shown == CurrentUser) == (value == CurrentUser));
        menu.addAction(item);
    }
    const QAction* const chosen = menu.exec(globalPosition);
    if (!chosen) return;
    collapse(place.row);
    m_controller.setAccessType({place.row, place.child},
                               chosen == m_currentUserItem ? CurrentUser : AllUsers);
}

void AddonryView::forSelected(const std::function<void(const Place&)>& change) {
    for (const Place& place : selectedPlaces()) {
        if (place.isMissing) continue;
        collapse(place.row);
        change(place);
    }
}

void AddonryView::addMenuItems(QMenu& menu) {
    const QList<Place> selected = selectedPlaces();
    const bool any =
        std::any_of(selected.begin(), selected.end(), [](const Place& p) { return !p.isMissing; });
    const auto add = [&](const char* symbol, const QString& text, std::function<void(const Place&)> change) {
        QAction* const action = menu.addAction(symbolIcon(QLatin1String(symbol)), text, this,
                                               [this, change = std::move(change)] { forSelected(change); });
        action->setEnabled(any);
    };
    const auto setDisabled = [this](bool disabled) {
        return [this, disabled](const Place& p) { m_controller.setDisabled({p.row, p.child}, disabled); };
    };
    const auto setAccess = [this](int access) {
        return [this, access](const Place& p) { m_controller.setAccessType({p.row, p.child}, access); };
    };
    add("on", QStringLiteral("Enable"), setDisabled(false));
    add("off", QStringLiteral("Disable"), setDisabled(true));
    menu.addSeparator();
    add("users", QStringLiteral("Install for All Users"), setAccess(AllUsers));
    add("user", QStringLiteral("Install for Current User"), setAccess(CurrentUser));
}
