#pragma once

#include "runs/ActivityQuery.h"

#include <QTimer>
#include <QWidget>

#include <functional>

class QCheckBox;
class QComboBox;
class SearchField;

/// What narrows the list of runs: text, computer, tool, outcome, changes only.
class ActivityFilterBar : public QWidget {
    Q_OBJECT
public:
    explicit ActivityFilterBar(std::function<QString(const QString& tool)> toolTitle,
                               QWidget* parent = nullptr);

    /// What the menus offer. What is chosen stays chosen, also when it is not offered any more.
    void setFacets(const ActivityFacets& facets);
    [[nodiscard]] ActivityFilter filter() const;
    void clear();
    [[nodiscard]] SearchField* searchField() const { return m_search; }

Q_SIGNALS:
    void filterChanged();  ///< while somebody types: when he pauses

private:
    QComboBox* addMenu(const char* objectName, const QString& accessibleName, const QString& all);
    void fillOutcomes();

    const std::function<QString(const QString&)> m_toolTitle;
    ActivityFacets m_facets;
    SearchField* m_search;
    QComboBox *m_computers, *m_tools, *m_outcomes;
    QCheckBox* m_changesOnly;
    QTimer m_typing;
};
