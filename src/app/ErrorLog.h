#pragma once

#include "remote/VLErrorCallback.h"

#include <QObject>
#include <QUrl>

#include <functional>
#include <memory>

/// The errors of all clients, as the windows show them, and their way to the maker. Main thread.
class ErrorLog : public QObject {
    Q_OBJECT
public:
    using Upload = std::function<void(const QUrl& address, const QVariantMap& fields, QObject* window)>;

    /// `upload`: empty in a version that can't. See AppServices.
    ErrorLog(std::shared_ptr<VLErrorCallback> errors, Upload upload);

    [[nodiscard]] const std::shared_ptr<VLErrorCallback>& errorCallback() const { return m_errors; }
    /// Queues an error of the console itself: its "errorcode" and the "hostname" it is about.
    void postError(const QVariantMap& userInfo);
    void clearErrorLog();
    /// "1 error", "2 errors"; empty without errors (the button is hidden then).
    [[nodiscard]] QString errorLabel() const;

    /// Sends the error log to the maker; nothing when it is empty. `window` is where the progress shows.
    void uploadErrorLog(QObject* window);
    /// Whether this version has what that takes.
    [[nodiscard]] bool canUploadErrorLog() const noexcept { return bool(m_upload); }

Q_SIGNALS:
    void errorQueueChanged();

private:
    const std::shared_ptr<VLErrorCallback> m_errors;
    const Upload m_upload;
};
