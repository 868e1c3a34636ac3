#pragma once

#include <QWidget>

class AddonryController;
class AddonryModel;
class ElidedLabel;
class EmptyState;
class QStackedWidget;
class QToolButton;
class QTreeView;
class SearchField;

/// Shows the merged plug-ins: outline with filter, and what to do while there is nothing to show.
class AddonryView : public QWidget {
    Q_OBJECT
public:
    AddonryView(AddonryController& controller, QWidget* parent);

private:
    void buildBar();
    void buildOutline();
    void reload();
    void filter();
    void updateState();
    void updateSummary();
    void showContextMenu(const QPoint& position);

    AddonryController& m_controller;
    AddonryModel* m_model;
    QTreeView* m_outline;
    ElidedLabel* m_summary;
    QToolButton* m_differencesOnly;
    SearchField* m_search;
    QStackedWidget* m_stack;
    EmptyState* m_empty;
};
