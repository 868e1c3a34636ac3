#include "widgets/PaneBar.h"

#include "widgets/PaneParts.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>

#include <utility>

PaneBar::PaneBar(QWidget* parent)
    : QWidget(parent),
      m_buttonRow(new QHBoxLayout),
      m_endRow(new QHBoxLayout),
      m_more(new QToolButton(this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit * 1.5);
    layout->setSpacing(Metrics::unit);
    m_buttonRow->setSpacing(Metrics::unit / 2);
    m_endRow->setSpacing(Metrics::unit);
    layout->addLayout(m_buttonRow);
    layout->addWidget(m_more);
    layout->addStretch(1);
    layout->addLayout(m_endRow);
    setUpBarButton(*m_more);
    m_more->setObjectName(QStringLiteral("moreBtn"));
    m_more->setText(tr("More"));
    m_more->setToolTip(tr("What has no room beside"));
    m_more->setToolButtonStyle(Qt::ToolButtonTextOnly);
    m_more->setPopupMode(QToolButton::InstantPopup);
    m_more->setMenu(new QMenu(m_more));
    m_more->hide();
    connect(m_more->menu(), &QMenu::aboutToShow, this, &PaneBar::fillMoreMenu);
}

void PaneBar::insert(QToolButton* button) {
    setUpBarButton(*button);
    m_buttonRow->addWidget(button);
    m_buttons.append(button);
}

QToolButton* PaneBar::addButton(const QString& name, const QString& symbol, const QString& text,
                                const QString& toolTip, std::function<void()> action) {
    auto* button = new QToolButton(this);
    button->setObjectName(name);
    button->setText(text);
    button->setIcon(symbolIcon(symbol));
    button->setToolTip(toolTip);
    connect(button, &QToolButton::clicked, this, std::move(action));
    insert(button);
    return button;
}

QToolButton* PaneBar::addButton(QAction* action) {
    auto* button = new QToolButton(this);
    button->setDefaultAction(action);
    button->setObjectName(action->objectName() + QStringLiteral("Btn"));
    insert(button);
    return button;
}

void PaneBar::addAtEnd(QWidget* widget) {
    m_endRow->addWidget(widget);
    m_ends.append(widget);
}

QList<QWidget*> PaneBar::parts() const {
    return QList<QWidget*>(m_buttons.begin(), m_buttons.end()) << m_more << m_ends;
}

void PaneBar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fit();
}

void PaneBar::fillMoreMenu() {
    m_more->menu()->clear();
    for (QToolButton* const button : std::as_const(m_inMenu)) {
        QAction* const item =
            m_more->menu()->addAction(button->icon(), button->text(), button, &QToolButton::click);
        item->setEnabled(button->isEnabled());
    }
}

bool PaneBar::isTooNarrow() const {
    int needed = Metrics::unit * 6;  // the margins, and the two gaps around the stretch
    for (const QToolButton* button : m_buttons)
        if (!m_inMenu.contains(button)) needed += button->sizeHint().width() + Metrics::unit / 2;
    if (!m_inMenu.isEmpty()) needed += m_more->sizeHint().width() + Metrics::unit;
    for (QWidget* end : m_ends)
        needed +=
            (qobject_cast<QToolButton*>(end) ? end->sizeHint() : end->minimumSize()).width() + Metrics::unit;
    return needed > width();
}

void PaneBar::fit() {
    QList<QToolButton*> shrinking = m_buttons;
    for (QWidget* end : std::as_const(m_ends))
        if (auto* button = qobject_cast<QToolButton*>(end)) shrinking.append(button);
    for (QToolButton* button : std::as_const(shrinking))
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_inMenu.clear();
    while (!shrinking.isEmpty() && isTooNarrow()) {
        QToolButton* const last = shrinking.takeLast();
        last->setToolButtonStyle(m_wordy.contains(last) ? Qt::ToolButtonTextOnly : Qt::ToolButtonIconOnly);
    }
    for (auto button = m_buttons.crbegin(); button != m_buttons.crend() && isTooNarrow(); ++button)
        m_inMenu.prepend(*button);
    for (QToolButton* button : std::as_const(m_buttons))
        button->setVisible(!m_inMenu.contains(button));
    m_more->setVisible(!m_inMenu.isEmpty());
}
