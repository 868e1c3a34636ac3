#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

class VLAlert;

/// Who is told how an alert ended, by the name of an end selector.
class VLAlertDelegate {
public:
    virtual ~VLAlertDelegate() = default;
    [[nodiscard]] virtual bool respondsToSelector(const QString& selector) const = 0;
    /// Main thread.
    virtual void performSelector(const QString& selector, VLAlert& alert, int returnCode) = 0;
};
using VLAlertDelegatePtr = std::shared_ptr<VLAlertDelegate>;

/// A delegate made of functions.
class VLAlertHandlers : public VLAlertDelegate {
public:
    using Handler = std::function<void(int returnCode)>;
    explicit VLAlertHandlers(QHash<QString, Handler> handlers) : m_handlers(std::move(handlers)) {}
    [[nodiscard]] bool respondsToSelector(const QString& selector) const override;
    void performSelector(const QString& selector, VLAlert& alert, int returnCode) override;

private:
    QHash<QString, Handler> m_handlers;
};

/// An alert, shown as a sheet over a window from any thread. Texts are shown letter by letter.
///
/// A call that blocks returns the chosen button's code; one that doesn't returns -1 at once, and the delegate
/// hears the answer. A blocking call on the main thread serves events meanwhile; on a worker it looks once a
/// second. Both give up with -1 when the program quits or the window goes away. Null button titles mean no
/// such button; without any title there is "OK". `parentWindow` may be null (the main window then), else it
/// lives at least until the call has handed over to the main thread.
class VLAlert : public VLAlertDelegate, public std::enable_shared_from_this<VLAlert> {
public:
    enum ReturnCode { DefaultReturn = 1, AlternateReturn = 0, OtherReturn = -1 };
    static constexpr auto defaultSelector = "alertDidEnd:returnCode:contextInfo:";

    /// Draws the sheet over `parentWindow` and tells `ended` once how it was answered (not when it was
    /// ordered out). Returns what orders it out unanswered. Main thread.
    using OrderOut = std::function<void()>;
    using Presenter = std::function<OrderOut(const QVariantMap& description, QObject* parentWindow,
                                             std::function<void(int returnCode)> ended)>;
    /// Installed by the window, and taken away (empty) with it. Without one alerts go to the log, unanswered.
    static void setPresenter(Presenter presenter);

    static int alertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                         const QString& alternateButton, const QString& otherButton,
                                         const QString& informativeText, QObject* parentWindow,
                                         const VLAlertDelegatePtr& delegate, const QString& didEndSelector,
                                         bool block, std::shared_ptr<VLAlert> alertObject);
    static int alertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                         const QString& alternateButton, const QString& otherButton,
                                         const QString& informativeText, QObject* parentWindow,
                                         const VLAlertDelegatePtr& delegate, const QString& didEndSelector,
                                         bool block);
    static int alertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                         const QString& alternateButton, const QString& otherButton,
                                         const QString& informativeText, QObject* parentWindow, bool block);
    static int alertSheetWithMessageText(const QString& messageText, const QString& informativeText,
                                         QObject* parentWindow);
    /// Asks before something is done: `confirm` is what the button that goes on says, beside "Cancel".
    /// Returns at once; `confirmed` runs on the main thread. `didEndSelector`: the name of the answer's
    /// selector.
    static void ask(const QString& messageText, const QString& confirm, const QString& informativeText,
                    QObject* parentWindow, std::function<void()> confirmed,
                    const QString& didEndSelector = QLatin1String(defaultSelector));
    /// Blocks; answered with the default button when `interval` passes first.
    static int timedAlertSheetWithMessageText(const QString& messageText, const QString& defaultButton,
                                              const QString& alternateButton, const QString& otherButton,
                                              const QString& informativeText, QObject* parentWindow,
                                              std::chrono::milliseconds interval);

    /// Builds and begins the sheet. Keys, each only when given: "messageText", "defaultButtonTitle",
    /// "alternateButtonTitle", "otherButtonTitle", "informativeText", "didEndSelector". Main thread.
    void alertSheetWithDictionary(const QVariantMap& description);
    /// The first answer counts. Any thread.
    void alertDidEnd(int returnCode);
    /// Sleeps on the calling worker, then answers with the default button.
    void defaultReturnAfterTimeInterval(std::chrono::milliseconds interval);

    [[nodiscard]] bool alertEnded() const;
    void setAlertEnded(bool ended);
    [[nodiscard]] int returnCode() const;
    void setReturnCode(int returnCode);
    [[nodiscard]] QObject* parentWindow() const { return m_parentWindow; }  ///< main thread
    void setParentWindow(QObject* window) { m_parentWindow = window; }
    [[nodiscard]] VLAlertDelegate& delegate();
    void setDelegate(const VLAlertDelegatePtr& delegate) { m_delegate = delegate; }

    [[nodiscard]] bool respondsToSelector(const QString& selector) const override;
    void performSelector(const QString& selector, VLAlert& alert, int returnCode) override;

private:
    void begin();
    void waitUntilEnded() const;
    void timeIsOver();
    void sheetEnded(const QString& didEndSelector, int returnCode);
    void orderOut();

    QPointer<QObject> m_parentWindow;
    VLAlertDelegatePtr m_delegate;  ///< null: the alert itself
    OrderOut m_alert;               ///< main thread; the sheet that is shown
    mutable std::mutex m_mutex;     ///< guards what follows
    bool m_alertEnded = false;
    bool m_timePassed = false;
    int m_returnCode = OtherReturn;
};
