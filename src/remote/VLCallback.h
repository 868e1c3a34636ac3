#pragma once

#include "foundation/Snapshot.h"
#include "remote/VLProxyObject.h"

#include <QString>
#include <QVariant>

#include <atomic>
#include <functional>
#include <memory>

/// A named object that an agent answers through, once, after an authorised task. Lives as long as somebody
/// holds it: the connection while the agent may answer, then the hand-off to the delegate.
class VLCallback : public VLCallbackTarget, public std::enable_shared_from_this<VLCallback> {
public:
    /// What happens with the answer: objectDidPostCallback, on the main thread. May be empty; what it refers
    /// to must outlive the callback.
    using Delegate = std::function<void(const std::shared_ptr<VLCallback>& callback)>;

    [[nodiscard]] static std::shared_ptr<VLCallback> callbackWithName(const QString& name, Delegate delegate,
                                                                      const QString& hostname = {});

    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] const QString& hostname() const { return m_hostname; }  ///< empty when none was given
    /// What the agent posted; empty before. Any thread.
    [[nodiscard]] QVariantMap info() const { return m_info.get(); }

    /// Keeps `info` and hands the callback to the delegate, without waiting. Later posts are ignored, with
    /// one log line for all of them.
    void postCallback(const QVariantMap& info);
    QVariant receive(const QString& selector, const QVariantList& arguments, const QString& sender) override;

private:
    VLCallback(QString name, Delegate delegate, QString hostname);
    void complainOnce(const QString& line);

    const QString m_name, m_hostname;
    const Delegate m_delegate;
    Snapshot<QVariantMap> m_info;
    std::atomic<bool> m_posted{false}, m_hasComplained{false};
};
