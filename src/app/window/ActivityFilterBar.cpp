#include "app/window/ActivityFilterBar.h"

#include "widgets/SearchField.h"
#include "widgets/Theme.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QSignalBlocker>

namespace {

constexpr std::chrono::milliseconds typingPause{180};
constexpr int mostVisibleItems = 20;

/// The first item stands for no filter, and has no data.
void refill(QComboBox& menu, const QList<std::pair<QString, QString>>& titlesAndValues) {
    const QSignalBlocker blocker(menu);
    const QVariant chosen = menu.currentData();
    const QString chosenTitle = menu.currentText();
    while (menu.count() > 1)
        menu.removeItem(menu.count() - 1);
    for (const auto& [title, value] : titlesAndValues)
        menu.addItem(title, value);
    if (!chosen.isValid()) return;
    if (menu.findData(chosen) < 0) menu.addItem(chosenTitle, chosen);
    menu.setCurrentIndex(menu.findData(chosen));
}

}  // namespace

ActivityFilterBar::ActivityFilterBar(std::function<QString(const QString&)> toolTitle, QWidget* parent)
    : QWidget(parent),
      m_toolTitle(std::move(toolTitle)),
      m_search(new SearchField(tr("Find in what was done"), this)),
      m_computers(addMenu("activityComputerMenu", tr("Computer"), tr("All Computers"))),
      m_tools(addMenu("activityToolMenu", tr("Tool"), tr("All Tools"))),
      m_outcomes(addMenu("activityOutcomeMenu", tr("Outcome"), tr("All Outcomes"))),
      m_changesOnly(new QCheckBox(tr("Changes only"), this)) {
    m_search->setObjectName(QStringLiteral("activitySearch"));
    m_search->setMinimumWidth(180);
    m_search->setToolTip(tr("Words in the action, the subject, the tool, the user or a computer"));
    m_changesOnly->setObjectName(QStringLiteral("activityChangesOnly"));
    m_changesOnly->setToolTip(tr("Leave out what only read"));
    fillOutcomes();
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(Metrics::unit * 1.5, Metrics::unit * 1.5, Metrics::unit * 1.5,
                               Metrics::unit * 1.5);
    layout->setSpacing(Metrics::unit);
    layout->addWidget(m_search, 1);
    for (QWidget* widget : {static_cast<QWidget*>(m_computers), static_cast<QWidget*>(m_tools),
                            static_cast<QWidget*>(m_outcomes), static_cast<QWidget*>(m_changesOnly)})
        layout->addWidget(widget);

    m_typing.setSingleShot(true);
    m_typing.setInterval(typingPause);
    connect(&m_typing, &QTimer::timeout, this, &ActivityFilterBar::filterChanged);
    connect(m_search, &QLineEdit::textChanged, &m_typing, qOverload<>(&QTimer::start));
    for (const QComboBox* menu : {m_computers, m_tools, m_outcomes})
        connect(menu, &QComboBox::currentIndexChanged, this, &ActivityFilterBar::filterChanged);
    connect(m_changesOnly, &QCheckBox::toggled, this, &ActivityFilterBar::filterChanged);
}

QComboBox* ActivityFilterBar::addMenu(const char* objectName, const QString& accessibleName,
                                      const QString& all) {
    auto* menu = new QComboBox(this);
    menu->setObjectName(QLatin1String(objectName));
    menu->setAccessibleName(accessibleName);
    menu->setMaxVisibleItems(mostVisibleItems);
    menu->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    menu->setMinimumContentsLength(13);
    menu->addItem(all);
    return menu;
}

void ActivityFilterBar::fillOutcomes() {
    QVariantList notSuccessful;
    for (int kind = Outcome::Failed; kind > Outcome::Done; --kind)
        notSuccessful << kind;
    m_outcomes->addItem(tr("Not Everywhere"), notSuccessful);
    m_outcomes->setItemData(1, tr("On one computer at least it was not done"), Qt::ToolTipRole);
    m_outcomes->insertSeparator(m_outcomes->count());
    for (int kind = Outcome::Failed; kind >= Outcome::LeftAlone; --kind)
        m_outcomes->addItem(Outcome{static_cast<Outcome::Kind>(kind), {}}.text(), QVariantList{kind});
}

void ActivityFilterBar::setFacets(const ActivityFacets& facets) {
    if (facets == m_facets) return;
    m_facets = facets;
    QList<std::pair<QString, QString>> computers, tools;
    for (const ActivityFacets::Computer& computer : facets.computers)
        computers << std::pair(computer.name, computer.value);
    for (const QString& tool : facets.tools)
        tools << std::pair(m_toolTitle(tool), tool.isEmpty() ? QStringLiteral("") : tool);
    refill(*m_computers, computers);
    refill(*m_tools, tools);
}

ActivityFilter ActivityFilterBar::filter() const {
    ActivityFilter filter;
    filter.text = m_search->text().simplified();
    filter.computer = m_computers->currentData().toString();
    if (const QVariant tool = m_tools->currentData(); tool.isValid()) filter.tool = tool.toString();
    for (const QVariant& kind : m_outcomes->currentData().toList())
        filter.outcomes << static_cast<Outcome::Kind>(kind.toInt());
    filter.changesOnly = m_changesOnly->isChecked();
    return filter;
}

void ActivityFilterBar::clear() {
    {
        const QSignalBlocker blocker(this);
        m_search->clear();
        for (QComboBox* menu : {m_computers, m_tools, m_outcomes})
            menu->setCurrentIndex(0);
        m_changesOnly->setChecked(false);
    }
    m_typing.stop();
    Q_EMIT filterChanged();
}
