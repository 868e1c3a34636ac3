#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>
#include <memory>

struct VLNotification {
    QString name;
    QVariant object;       ///< who or what it is about; may be invalid
    QVariantMap userInfo;  ///< the data that goes with it
};

/// Named notifications. Any thread may post; handlers run on the main thread.
class VLNotificationCenter {
public:
    using Handler = std::function<void(const VLNotification&)>;

    [[nodiscard]] static VLNotificationCenter& defaultCenter();

    /// `handler` is called for every notification of that name until `observer` is destroyed or removed.
    /// Main thread. `observer` is not owned.
    void addObserver(QObject* observer, const QString& name, Handler handler);
    void removeObserver(QObject* observer);

    /// On the main thread the handlers run before this returns; from any other thread they are handed over
    /// and this returns at once.
    void postNotification(const QString& name, const QVariant& object = {}, const QVariantMap& userInfo = {});

    /// Always returns at once; the handlers run when the main thread comes to it. Any thread.
    void enqueueNotification(const QString& name, const QVariant& object = {},
                             const QVariantMap& userInfo = {});

private:
    VLNotificationCenter();
    ~VLNotificationCenter();
    struct Private;
    std::unique_ptr<Private> d;
};
