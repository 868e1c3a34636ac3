#include "widgets/ViewUtilities.h"

#include <QFrame>
#include <QScrollBar>
#include <QTreeView>

namespace {
constexpr auto spacingProperty = "interCellSpacing";
}

void selectFirstItemInTable(QAbstractItemView& table) {
    const QModelIndex first = table.model() ? table.model()->index(0, 0, table.rootIndex()) : QModelIndex();
    if (!first.isValid()) return table.clearSelection();
    table.setCurrentIndex(first);
    table.scrollTo(first);
}

void scrollTextViewToTop(QAbstractScrollArea& textView) {
    textView.verticalScrollBar()->setValue(textView.verticalScrollBar()->minimum());
    textView.horizontalScrollBar()->setValue(textView.horizontalScrollBar()->minimum());
}

void resetOutlineView(QTreeView& outline) {
    outline.collapseAll();
    outline.clearSelection();
}

QFrame* hairline(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setFixedHeight(1);
    line->setFrameShape(QFrame::NoFrame);
    line->setBackgroundRole(QPalette::Midlight);
    line->setAutoFillBackground(true);
    return line;
}

void setInterCellSpacing(QAbstractItemView& table, const QSize& spacing) {
    table.setProperty(spacingProperty, spacing);
    table.doItemsLayout();
}

QSize interCellSpacing(const QWidget* table) {
    return table ? table->property(spacingProperty).toSize().expandedTo({0, 0}) : QSize(0, 0);
}

StillTextBrowser::StillTextBrowser(QWidget* parent) : QTextBrowser(parent) {
    setOpenLinks(false);
}

QVariant StillTextBrowser::loadResource(int, const QUrl&) {
    return {};
}

void StillTextBrowser::doSetSource(const QUrl&, QTextDocument::ResourceType) {}

void setHTMLString(const QString& html, StillTextBrowser& forWebView) {
    forWebView.setHtml(html);
    scrollTextViewToTop(forWebView);
}
