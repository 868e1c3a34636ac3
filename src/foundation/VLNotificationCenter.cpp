#include "foundation/VLNotificationCenter.h"

#include "foundation/MainThread.h"

#include <algorithm>
#include <vector>

namespace {

struct Entry {
    QObject* observer;
    QString name;
    VLNotificationCenter::Handler handler;
    bool removed = false;
};

/// The observers; main thread only. Shared, so that late events and destroyed observers find it or nothing.
class Registry {
public:
    void add(QObject* observer, const QString& name, VLNotificationCenter::Handler handler) {
        m_entries.push_back(std::make_shared<Entry>(Entry{observer, name, std::move(handler)}));
    }

    [[nodiscard]] bool knows(const QObject* observer) const {
        return std::any_of(m_entries.begin(), m_entries.end(),
                           [observer](const auto& entry) { return entry->observer == observer; });
    }

    void remove(const QObject* observer) {
        std::erase_if(m_entries, [observer](const auto& entry) {
            if (entry->observer != observer) return false;
            entry->removed = true;
            return true;
        });
    }

    /// A handler may add and remove observers, so the list is walked in a copy.
    void deliver(const VLNotification& notification) const {
        std::vector<std::shared_ptr<Entry>> receivers;
        std::copy_if(m_entries.begin(), m_entries.end(), std::back_inserter(receivers),
                     [&](const auto& entry) { return entry->name == notification.name; });
        for (const auto& receiver : receivers)
            if (!receiver->removed) receiver->handler(notification);
    }

private:
    std::vector<std::shared_ptr<Entry>> m_entries;
};

}  // namespace

struct VLNotificationCenter::Private {
    std::shared_ptr<Registry> registry = std::make_shared<Registry>();
};

VLNotificationCenter::VLNotificationCenter() : d(std::make_unique<Private>()) {}
VLNotificationCenter::~VLNotificationCenter() = default;

VLNotificationCenter& VLNotificationCenter::defaultCenter() {
    // Never destroyed: client threads may still post while the process ends.
    static VLNotificationCenter* const center = new VLNotificationCenter;
    return *center;
}

void VLNotificationCenter::addObserver(QObject* observer, const QString& name, Handler handler) {
    if (!d->registry->knows(observer)) {
        QObject::connect(observer, &QObject::destroyed, observer,
                         [registry = d->registry, observer] { registry->remove(observer); });
    }
    d->registry->add(observer, name, std::move(handler));
}

void VLNotificationCenter::removeObserver(QObject* observer) {
    d->registry->remove(observer);
}

void VLNotificationCenter::postNotification(const QString& name, const QVariant& object,
                                            const QVariantMap& userInfo) {
    if (MainThread::isCurrent())
        d->registry->deliver({name, object, userInfo});
    else
        enqueueNotification(name, object, userInfo);
}

void VLNotificationCenter::enqueueNotification(const QString& name, const QVariant& object,
                                               const QVariantMap& userInfo) {
    onMainThread([registry = d->registry, notification = VLNotification{name, object, userInfo}] {
        registry->deliver(notification);
    });
}
