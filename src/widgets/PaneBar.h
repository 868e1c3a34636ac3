#pragma once

#include <QList>
#include <QString>
#include <QWidget>

#include <functional>

class QAction;
class QHBoxLayout;
class QToolButton;

/// The bar above the table of a pane: what can be done at the left, what is shown at the right. Where there
/// is no room for the words of the buttons their symbols remain, those of the last ones first; of those whose
/// symbol says too little the words. What has no room even so moves into a menu at the end, the last first.
class PaneBar : public QWidget {
    Q_OBJECT
public:
    explicit PaneBar(QWidget* parent = nullptr);

    QToolButton* addButton(const QString& name, const QString& symbol, const QString& text,
                           const QString& toolTip, std::function<void()> action);
    /// A button for an action, which has the action's name with "Btn".
    QToolButton* addButton(QAction* action);
    /// Its symbol does not tell what it does.
    void keepWords(QToolButton* button) { m_wordy.append(button); }
    /// At the right end; counts with its least width.
    void addAtEnd(QWidget* widget);
    /// The parts from the left to the right.
    [[nodiscard]] QList<QWidget*> parts() const;
    /// The words of a button have changed.
    void fit();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void insert(QToolButton* button);
    [[nodiscard]] bool isTooNarrow() const;
    void fillMoreMenu();
    QHBoxLayout* m_buttonRow;
    QHBoxLayout* m_endRow;
    QToolButton* m_more;
    QList<QToolButton*> m_buttons, m_wordy, m_inMenu;
    QList<QWidget*> m_ends;
};
