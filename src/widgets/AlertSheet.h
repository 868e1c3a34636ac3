#pragma once

#include "desktop/VLAlert.h"
#include "widgets/Sheet.h"

/// One alert of VLAlert on the screen: message, explanation, up to three buttons. Return presses the default
/// button. Escape and the close button stand for the one titled "Cancel", else the alternate one, else the
/// other one, else the default one.
class AlertSheet : public Sheet {
    Q_OBJECT
public:
    using Ended = std::function<void(int returnCode)>;
    /// `description` as VLAlert gives it. `ended` is called once, also when the window is closed or goes.
    AlertSheet(const QVariantMap& description, Ended ended, QWidget* parent);
    ~AlertSheet() override;

    /// Goes without an answer.
    void orderOut();
    void accept() override { end(VLAlert::DefaultReturn); }
    void reject() override { end(m_escapeCode); }
    bool eventFilter(QObject* watched, QEvent* event) override;

    /// Shows alerts over the window that they are for, else over `mainWindow`, which outlives its use.
    [[nodiscard]] static VLAlert::Presenter presenter(QWidget* mainWindow);

private:
    void addPicture();
    void addExplanation(const QString& text);
    void addButtons(const QVariantMap& description);
    void end(int returnCode);

    Ended m_ended;
    int m_escapeCode = VLAlert::DefaultReturn;
};
