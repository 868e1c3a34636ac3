#pragma once

#include <QSize>
#include <QString>
#include <QTextBrowser>

class QAbstractItemView;
class QAbstractScrollArea;
class QFrame;
class QTreeView;

/// Selects the first row and makes it the current one; without rows nothing is selected.
void selectFirstItemInTable(QAbstractItemView& table);
void scrollTextViewToTop(QAbstractScrollArea& textView);
/// Collapses every item with its children and clears the selection.
void resetOutlineView(QTreeView& outline);

/// A thin horizontal line between two parts of a window.
[[nodiscard]] QFrame* hairline(QWidget* parent);

/// The room between the cells of a table, which its delegate leaves. None unless it was set.
void setInterCellSpacing(QAbstractItemView& table, const QSize& spacing);
[[nodiscard]] QSize interCellSpacing(const QWidget* table);

/// Shows HTML that others wrote: nothing is loaded for it from network or disk, and its links lead nowhere
/// unless whoever shows it follows anchorClicked().
class StillTextBrowser : public QTextBrowser {
    Q_OBJECT
public:
    explicit StillTextBrowser(QWidget* parent = nullptr);
    QVariant loadResource(int type, const QUrl& name) override;

protected:
    void doSetSource(const QUrl& name, QTextDocument::ResourceType type) override;
};

/// Replaces the contents and shows their beginning.
void setHTMLString(const QString& html, StillTextBrowser& forWebView);
