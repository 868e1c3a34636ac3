#include "app/window/TargetsView.h"

#include "app/Preferences.h"
#include "app/RunStatus.h"
#include "clients/ServiceList.h"
#include "clients/view/ClientOutline.h"
#include "clients/view/ClientOutlineModel.h"
#include "foundation/VLNotificationCenter.h"
#include "widgets/ElidedLabel.h"
#include "widgets/PaneParts.h"
#include "widgets/SearchField.h"
#include "widgets/SymbolIcon.h"

#include <QMenu>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr qsizetype longestNames = 28;  // in letters
constexpr qsizetype mostListed = 40;

QString summary(const QStringList& names) {
    if (names.isEmpty()) return TargetsView::tr("No computer selected");
    const QString all = names.join(QStringLiteral(", "));
    return names.size() == 1 || all.size() <= longestNames
               ? all
               : TargetsView::tr("%1 computers").arg(names.size());
}

/// A "&" would underline the letter after it.
QString withoutMnemonics(QString text) {
    return text.replace(u'&', QStringLiteral("&&"));
}

}  // namespace

TargetsView::TargetsView(ServiceList& services, const ClientOutline& outline, LeftOut leftOut,
                         QWidget* parent)
    : QWidget(parent),
      m_services(services),
      m_outline(outline),
      m_leftOut(std::move(leftOut)),
      m_button(new QToolButton(this)),
      m_hidden(new ElidedLabel(this, ElidedLabel::Tone::Warning)) {
    setObjectName(QStringLiteral("paneTargets"));
    m_button->setObjectName(QStringLiteral("paneTargetsBtn"));
    setUpBarButton(*m_button);
    m_button->setToolTip(tr("The computers that this tool works on"));
    m_hidden->setObjectName(QStringLiteral("paneTargetsHidden"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(m_button, 0, Qt::AlignRight);
    layout->addWidget(m_hidden, 0, Qt::AlignRight);

    m_soon.setSingleShot(true);
    m_soon.setInterval(30ms);
    connect(&m_soon, &QTimer::timeout, this, &TargetsView::update);
    const auto updateSoon = [this] { m_soon.start(); };
    connect(&services, &ServiceList::selectionChanged, this, updateSoon);
    connect(&services, &ServiceList::serviceUpdated, this, updateSoon);
    connect(outline.searchField(), &QLineEdit::textChanged, this, updateSoon);
    connect(m_button, &QToolButton::clicked, this, &TargetsView::showList);
    VLNotificationCenter::defaultCenter().addObserver(this, QLatin1String(Preferences::changedNotification),
                                                      [updateSoon](const VLNotification&) { updateSoon(); });
    update();
}

TargetsView::~TargetsView() {
    VLNotificationCenter::defaultCenter().removeObserver(this);
}

void TargetsView::update() {
    const QList<VLServicePtr> selected = m_services.selectedServices();
    QStringList names;
    for (const VLServicePtr& service : selected.mid(0, 4))
        names.append(service->name());
    const QString text =
        selected.size() == names.size() ? summary(names) : tr("%1 computers").arg(selected.size());
    m_button->setText(withoutMnemonics(text));
    m_button->setIcon(
        symbolIcon(selected.size() == 1 ? QStringLiteral("computer") : QStringLiteral("computers")));
    m_button->setEnabled(!selected.isEmpty());
    const QStringList texts = warnings();
    m_hidden->setText(texts.join(QStringLiteral(" · ")));
    m_hidden->setVisible(!texts.isEmpty());
}

QStringList TargetsView::warnings() const {
    const QList<VLServicePtr> selected = m_services.selectedServices();
    const bool isSearching = !m_outline.searchField()->text().trimmed().isEmpty();
    const auto hidden =
        !isSearching ? 0
                     : std::count_if(selected.begin(), selected.end(), [this](const VLServicePtr& service) {
                           return !m_outline.model()->indexOf(service).isValid();
                       });
    QStringList texts;
    if (hidden > 0) texts.append(tr("%1 hidden by the search").arg(hidden));
    if (const QStringList leftOut = m_leftOut({selected.begin(), selected.end()}); !leftOut.isEmpty())
        texts.append(tr("%1 left out by actions on all").arg(RunStatus::shortList(leftOut)));
    return texts;
}

void TargetsView::showList() {
    const QList<VLServicePtr> selected = m_services.selectedServices();
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("paneTargetsMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const VLServicePtr& service : selected.mid(0, mostListed)) {
        QString text = withoutMnemonics(service->name());
        if (!service->isConnected()) text += tr(" – not connected");
        if (!m_outline.model()->indexOf(service).isValid()) text += tr(" – hidden by the search");
        menu->addAction(symbolIcon(QStringLiteral("computer")), text);
    }
    if (selected.size() > mostListed)
        menu->addAction(tr("… and %1 more").arg(selected.size() - mostListed))->setEnabled(false);
    menu->popup(m_button->mapToGlobal(QPoint(0, m_button->height())));
}
