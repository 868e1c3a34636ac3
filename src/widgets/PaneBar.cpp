#include "widgets/PaneBar.h"

#include "widgets/PaneParts.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QAction>
#include <QHBoxLayout>
#include <QToolButton>

#include <utility>

PaneBar::PaneBar(QWidget* parent) : QWidget(parent), m_buttonRow(new QHBoxLayout), m_endRow(new QHBoxLayout) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(Metrics::unit * 2, 0, Metrics::unit * 2, Metrics::unit * 1.5);
    layout->setSpacing(Metrics::unit);
    m_buttonRow->setSpacing(Metrics::unit / 2);
    m_endRow->setSpacing(Metrics::unit);
    layout->addLayout(m_buttonRow);
    layout->addStretch(1);
    layout->addLayout(m_endRow);
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
    return QList<QWidget*>(m_buttons.begin(), m_buttons.end()) + m_ends;
}

void PaneBar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fit();
}

void PaneBar::fit() {
    QList<QToolButton*> shrinking = m_buttons;
    for (QWidget* end : std::as_const(m_ends))
        if (auto* button = qobject_cast<QToolButton*>(end)) shrinking.append(button);
    for (QToolButton* button : std::as_const(shrinking))
        button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    const auto isTooNarrow = [this] {
        int needed = Metrics::unit * 5;
        for (const QToolButton* button : std::as_const(m_buttons))
            needed += button->sizeHint().width() + Metrics::unit / 2;
        for (QWidget* end : std::as_const(m_ends))
            needed += (qobject_cast<QToolButton*>(end) ? end->sizeHint() : end->minimumSize()).width() +
                      Metrics::unit;
        return needed > width();
    };
    while (!shrinking.isEmpty() && isTooNarrow())
        shrinking.takeLast()->setToolButtonStyle(Qt::ToolButtonIconOnly);
}
