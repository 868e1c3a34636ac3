#pragma once

#include "tools/Tool.h"

#include <QWidget>

class ElidedLabel;
class EmptyState;
class PaneBar;
class QAbstractItemModel;
class QLabel;
class QMenu;
class QStackedWidget;
class QToolButton;
class QTreeView;
class QVBoxLayout;
class SearchField;

/// What a pane says about the things that it lists, in the user's language: whole texts, since words that are
/// put together read right in few languages.
struct PaneWords {
    QString title;                 ///< "Plug-ins"
    QString symbol;                ///< of the pane while it is empty
    QString one, many;             ///< "%1 plug-in", "%1 plug-ins"
    QString filter;                ///< "Filter plug-ins"
    QString differencesOnly = {};  ///< the tooltip of that button
    QString noMatch, noneShown;    ///< "No matching plug-in", "No plug-in passes the filter."
    QString whenNoneSelected;      ///< "Select computers to list their plug-ins"
    QString reading;               ///< "Reading plug-ins…"
    QString whenDisconnected;      ///< "Plug-ins are read as soon as a computer is connected."
    QString noneFound;             ///< "No plug-ins found on the selected computers"
    QString notRead;               ///< "Plug-ins have not been read yet"
    QString whenNone = {};         ///< what to do where the computers have none
    QString unansweredAlone =
        {};  ///< what a computer that gave no answer is spared: "nothing is installed there"
};
/// What a button says that changes every row.
struct WordsForAll {
    QString verb;              ///< "Enable"
    QString all, number;       ///< "Enable All", "Enable All %1"
    QString onOne, onSeveral;  ///< "Enable all %1 on 1 computer", "Enable all %1 on %2 computers"
};
/// The names of its parts.
struct PaneNames {
    QString tool;   ///< begins the names of the filter, the menu and so on: "addonry"
    QString view;   ///< "addonryOutline"
    QString table;  ///< begins the names of the stored sort settings
};

/// The pane of a tool, or the part of it that lists the results: buttons, filter, table or outline, who gave
/// no answer, how many there are, and what to do while there is nothing to show. The controller outlives it.
/// Main thread.
///
/// Rows are replaced while menus and alerts are open: whatever is to be changed is named before.
class ToolPane : public QWidget {
    Q_OBJECT
public:
    /// "Bay 1, Bay 2 and Bay 3"; of more than `most` the first ones and how many more.
    [[nodiscard]] static QString listed(const QStringList& names, qsizetype most = 3);
    /// " Bay 3 and Bay 4 are left out." for the text before an action on all of these computers; empty where
    /// it takes in every one.
    [[nodiscard]] static QString leftOutText(const ToolContext& context, const QList<VLServicePtr>& clients);

protected:
    /// How the columns are set out from a certain width of the pane; the last one takes what is left.
    struct ColumnLayout {
        int fromWidth;
        QList<int> widths;
        QList<int> hidden = {};
    };
    ToolPane(ToolController& controller, PaneNames names, PaneWords words, QWidget* parent);
    /// Fills the pane; the last thing that a subclass's constructor does. The widest layout comes first, the
    /// last one is from width 0.
    void start(QAbstractItemModel* model, const QStringList& columnNames, int keyRole,
               const QList<ColumnLayout>& layouts);

    /// Hands the controller's rows to the model.
    virtual void installRows() = 0;
    /// Has the model show the rows that match, or of them only those that differ.
    virtual void applyFilter(const QString& text, bool differencesOnly) = 0;
    /// How many rows there are, filtered out or not.
    [[nodiscard]] virtual int rowTotal() const = 0;
    [[nodiscard]] virtual QString summary() const = 0;
    /// Adds what can be done with what is selected to the context menu.
    virtual void addMenuItems(QMenu& menu) = 0;
    /// The selection or the rows changed: what can be done now?
    virtual void updateActions() = 0;

    [[nodiscard]] PaneBar& bar() const { return *m_bar; }
    [[nodiscard]] QTreeView& view() const { return *m_view; }
    /// "1 plug-in", "4 plug-ins".
    [[nodiscard]] QString counted(qsizetype count) const {
        return (count == 1 ? m_words.one : m_words.many).arg(count);
    }
    [[nodiscard]] static WordsForAll wordsForEnabling();
    [[nodiscard]] static WordsForAll wordsForDisabling();
    /// Adds "Differences Only" to the bar.
    void addDifferencesOnly();
    /// A button that changes every row, whatever the filter shows: it says how many, and asks before it
    /// changes rows that are not to be seen.
    QToolButton* addButtonForAll(const QString& name, const QString& symbol, const WordsForAll& words,
                                 std::function<void()> action);
    /// What an action on rows says that the filter hides, be there one of them or more.
    [[nodiscard]] QString notNarrowed(int hidden) const;
    [[nodiscard]] bool anyRows() const { return rowTotal() > 0; }
    /// What that button says in its tooltip: "Enable all 18 plug-ins on 4 computers".
    [[nodiscard]] QString forAll(const WordsForAll& words) const;
    /// The names of the computers that gave no answer.
    [[nodiscard]] QStringList unansweredNames() const;

    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct ButtonForAll {
        QToolButton* button;
        WordsForAll words;
    };
    void buildNotice();
    void buildFoot();
    void orderTabs();
    void reload();
    void filter();
    void keepState(const std::function<void()>& change);
    void updateState();
    void updateNotice();
    [[nodiscard]] QStringList unansweredLines() const;
    void showUnanswered();
    void updateButtonsForAll();
    void runForAll(const WordsForAll& words, const std::function<void()>& action);
    void showWhyEmpty();
    void fitColumns(int width);
    void showContextMenu(const QPoint& position);
    [[nodiscard]] int hiddenTotal() const;
    [[nodiscard]] QString named(const char* part) const { return m_names.tool + QLatin1String(part); }

    ToolController& m_controller;
    const PaneNames m_names;
    const PaneWords m_words;
    QList<ColumnLayout> m_layouts;
    qsizetype m_layout = -1;  ///< in m_layouts
    int m_keyRole = 0;
    QVBoxLayout* m_lines;
    PaneBar* m_bar;
    QWidget* m_notice;
    QLabel* m_noticeSymbol;
    ElidedLabel* m_noticeText;
    QToolButton* m_showUnanswered;
    QToolButton* m_differencesOnly = nullptr;
    QList<ButtonForAll> m_buttonsForAll;
    SearchField* m_search;
    QStackedWidget* m_stack;
    QTreeView* m_view;
    EmptyState* m_empty;
    QWidget* m_foot;
    ElidedLabel* m_summary;
};
