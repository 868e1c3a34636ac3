#pragma once

#include <QWidget>

class QLabel;
class QPushButton;
class Spinner;

/// What a list shows while it has nothing to list: a symbol (or a spinner), what is so, and what to do about
/// it; optionally with a button that does it.
class EmptyState : public QWidget {
    Q_OBJECT
public:
    explicit EmptyState(QWidget* parent = nullptr);

    void setContents(const QString& symbol, const QString& title, const QString& text = {});
    /// A spinner in place of the symbol.
    void setBusy(const QString& title, const QString& text = {});
    /// No button when `text` is empty.
    void setButtonText(const QString& text);
    [[nodiscard]] QString title() const;
    [[nodiscard]] QString text() const;

Q_SIGNALS:
    void buttonClicked();

protected:
    void changeEvent(QEvent* event) override;

private:
    void updateLook();
    QString m_symbolName;
    QLabel* m_symbol;
    Spinner* m_spinner;
    QLabel* m_title;
    QLabel* m_text;
    QPushButton* m_button;
};
