#pragma once

#include <QDialog>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

/// A dialog that belongs to one window and blocks only that one: heading, explanation, contents, buttons.
/// Deletes itself when it is closed. Show it with open().
class Sheet : public QDialog {
    Q_OBJECT
public:
    Sheet(const QString& heading, const QString& text, QWidget* parent);

    /// Where the contents go.
    [[nodiscard]] QVBoxLayout* body() const { return m_body; }
    /// The button that does it, at the right end; Return presses it. Accepts the dialog.
    QPushButton* addPrimaryButton(const QString& text);
    /// Rejects the dialog.
    QPushButton* addCancelButton(const QString& text = tr("Cancel"));
    void setHeading(const QString& heading);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QLabel* m_heading;
    QVBoxLayout* m_body;
    QHBoxLayout* m_buttons;
};
