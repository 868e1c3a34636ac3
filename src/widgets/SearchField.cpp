#include "widgets/SearchField.h"

#include "widgets/SymbolIcon.h"

#include <QAction>
#include <QKeyEvent>

SearchField::SearchField(const QString& placeholder, QWidget* parent) : QLineEdit(parent) {
    setPlaceholderText(placeholder);
    setAccessibleName(placeholder);
    setClearButtonEnabled(true);
    addAction(symbolIcon(QStringLiteral("search")), QLineEdit::LeadingPosition);
}

void SearchField::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && !text().isEmpty()) {
        clear();
        return;
    }
    if (event->key() == Qt::Key_Down) {
        Q_EMIT moveToList();
        return;
    }
    QLineEdit::keyPressEvent(event);
}
