#pragma once

#include <QLineEdit>

/// A line to filter or find in a list: magnifier, clear button, Escape empties it. The arrow keys and Return
/// go on to the list through moveToList().
class SearchField : public QLineEdit {
    Q_OBJECT
public:
    explicit SearchField(const QString& placeholder, QWidget* parent = nullptr);

Q_SIGNALS:
    void moveToList();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
