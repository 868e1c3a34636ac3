#pragma once

#include "tools/Tool.h"

#include <QHash>
#include <QWidget>

#include <functional>

class ElidedLabel;
class QHBoxLayout;
class QLabel;
class QStackedWidget;

/// The right side of the window: icon, title and purpose of the tool, and its pane below. Panes are made when
/// they are first shown. A tool without one says that it is not there yet.
class ToolPanes : public QWidget {
    Q_OBJECT
public:
    using ControllerOf = std::function<ToolController*(const QString& identifier)>;
    explicit ToolPanes(ControllerOf controllerOf, QWidget* parent = nullptr);

    /// At the right end of the head, whichever tool is shown.
    void addToHead(QWidget* widget);
    void show(const Tool& tool);
    using QWidget::show;

private:
    QWidget* makePane(const Tool& tool);
    QWidget* makeMissingPane(const Tool& tool);

    ControllerOf m_controllerOf;
    QHash<QString, QWidget*> m_panes;
    QHBoxLayout* m_head;
    QLabel* m_icon;
    ElidedLabel* m_title;
    ElidedLabel* m_subtitle;
    QStackedWidget* m_stack;
};
