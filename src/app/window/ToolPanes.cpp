#include "app/window/ToolPanes.h"

#include "widgets/ElidedLabel.h"
#include "widgets/EmptyState.h"
#include "widgets/SymbolIcon.h"
#include "widgets/Theme.h"

#include <QLabel>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {
constexpr int iconSize = 40;
}

ToolPanes::ToolPanes(ControllerOf controllerOf, QWidget* parent)
    : QWidget(parent),
      m_controllerOf(std::move(controllerOf)),
      m_head(new QHBoxLayout),
      m_icon(new QLabel(this)),
      m_title(new ElidedLabel(this)),
      m_subtitle(new ElidedLabel(this, ElidedLabel::Tone::Secondary)),
      m_stack(new QStackedWidget(this)) {
    setObjectName(QStringLiteral("toolPanes"));
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    m_title->setObjectName(QStringLiteral("paneTitle"));
    m_title->setFont(themeFont(1.45, QFont::DemiBold));
    m_icon->setFixedSize(iconSize, iconSize);

    m_head->setContentsMargins(Metrics::unit * 2, Metrics::unit * 2, Metrics::unit * 2, Metrics::unit * 2);
    m_head->setSpacing(Metrics::unit * 1.5);
    m_head->addWidget(m_icon);
    auto* texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->addWidget(m_title);
    texts->addWidget(m_subtitle);
    m_head->addLayout(texts, 1);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(m_head);
    layout->addWidget(m_stack, 1);
}

void ToolPanes::addToHead(QWidget* widget) {
    m_head->addWidget(widget);
}

void ToolPanes::show(const Tool& tool) {
    m_icon->setPixmap(drawingIcon(QStringLiteral(":/icons/tools/%1.svg").arg(tool.identifier))
                          .pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    m_title->setText(tool.title);
    m_subtitle->setText(tool.subtitle);
    QWidget*& pane = m_panes[tool.identifier];
    if (!pane) {
        pane = makePane(tool);
        m_stack->addWidget(pane);
    }
    m_stack->setCurrentWidget(pane);
}

QWidget* ToolPanes::makePane(const Tool& tool) {
    ToolController* controller = tool.makePane ? m_controllerOf(tool.identifier) : nullptr;
    return controller ? tool.makePane(*controller, m_stack) : makeMissingPane(tool);
}

QWidget* ToolPanes::makeMissingPane(const Tool& tool) {
    auto* pane = new EmptyState(m_stack);
    pane->setObjectName(tool.identifier + QStringLiteral("Missing"));
    pane->setContents(QStringLiteral("toolbox"), tr("This tool is not part of this version yet."),
                      tr("%1 will work here on the computers selected at the left.").arg(tool.title));
    return pane;
}
