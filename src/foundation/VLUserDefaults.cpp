#include "foundation/VLUserDefaults.h"

#include "base/PropertyList.h"
#include "base/RegularFile.h"
#include "base/VLLocalPaths.h"
#include "foundation/MainThread.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLThread.h"
#include "foundation/VLTimer.h"
#include "logs/VLLog.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <atomic>
#include <cmath>
#include <mutex>
#include <utility>

namespace {

// A crash costs the last second's changes at most.
constexpr auto writeDelay = std::chrono::milliseconds(1000);
constexpr auto retryDelay = std::chrono::milliseconds(15'000);

bool readPropertyList(QIODevice& device, QSettings::SettingsMap& map) {
    const QVariant value = PropertyList::fromData(device.read(PropertyList::maximumFileSize + 1));
    if (value.typeId() != QMetaType::QVariantMap) return false;
    map = value.toMap();
    return true;
}

bool writePropertyList(QIODevice& device, const QSettings::SettingsMap& map) {
    const QByteArray data = PropertyList::toData(map);
    auto* const file = qobject_cast<QFileDevice*>(&device);
    // The file takes the old one's place even when the rest of its buffer cannot be written.
    return !data.isEmpty() && device.write(data) == data.size() && (!file || file->flush());
}

QSettings::Format settingsFormat() {
    static const QSettings::Format format = QSettings::registerFormat(
        QStringLiteral("plist"), readPropertyList, writePropertyList, Qt::CaseSensitive);
    return format;
}

struct StandardPath {
    std::mutex mutex;
    QString path;
};

StandardPath& standardPath() {
    static StandardPath path;
    return path;
}

QString chosenStandardPath() {
    const std::lock_guard lock(standardPath().mutex);
    if (!standardPath().path.isEmpty()) return standardPath().path;
    QString name = QCoreApplication::applicationName();
    if (name.isEmpty()) name = QFileInfo(VLLocalPaths::executablePath()).completeBaseName();
    return VLLocalPaths::configDirectory() + QLatin1Char('/') + name + QStringLiteral(".plist");
}

/// The stored values in memory and the changes that the file does not have yet. Readers never wait for the
/// disk: one mutex guards the values, another one the file. A QSettings object lives only during one
/// transfer: it would otherwise post events to itself behind the lock.
class Store {
public:
    explicit Store(const QString& path) : m_path(path) {
        const std::lock_guard lock(m_fileMutex);
        keepDamagedFile();
        exchange();
    }

    [[nodiscard]] QString path() const { return m_path; }

    void registerValues(const QVariantMap& values) {
        const std::lock_guard lock(m_mutex);
        m_registered.insert(values);
    }

    [[nodiscard]] QVariant value(const QString& key) const {
        const std::lock_guard lock(m_mutex);
        const auto stored = m_stored.find(key);
        return stored != m_stored.end() ? *stored : m_registered.value(key);
    }

    [[nodiscard]] bool isStored(const QString& key) const {
        const std::lock_guard lock(m_mutex);
        return m_stored.contains(key);
    }

    /// An invalid value removes.
    void set(const QString& key, const QVariant& value) {
        const std::lock_guard lock(m_mutex);
        apply(key, value, m_stored);
        m_changes.insert(key, value);
    }

    bool synchronize() {
        const std::lock_guard lock(m_fileMutex);
        return exchange();
    }

    bool synchronizeIfChanged() {
        const std::lock_guard lock(m_fileMutex);
        return !hasChanges() || exchange();
    }

private:
    [[nodiscard]] bool hasChanges() const {
        const std::lock_guard lock(m_mutex);
        return !m_changes.isEmpty();
    }

    static void apply(const QString& key, const QVariant& value, QVariantMap& values) {
        if (value.isValid())
            values.insert(key, value);
        else
            values.remove(key);
    }

    /// A file that cannot be read would be overwritten with the next change; its owner may want it back.
    void keepDamagedFile() {
        const QFileInfo file(m_path);
        if (!file.isFile() || !file.isReadable() || file.size() == 0) return;
        QString error;
        if (PropertyList::readFile(m_path, &error).typeId() == QMetaType::QVariantMap) return;
        if (error.isEmpty()) error = QStringLiteral("no dictionary");
        const auto kept = RegularFile::keepDamaged(m_path, &m_obstacle);
        if (kept)
            VLLog::appendLog(QStringLiteral("Unable to read the settings %@ - %@. The file is kept as %@."),
                             m_path, error, *kept);
    }

    /// Why the file must not be touched; empty when it may.
    [[nodiscard]] QString obstacle() const {
        if (!m_obstacle.isEmpty()) return m_obstacle;
        const QString problem = RegularFile::problem(m_path);
        return problem.isEmpty() ? RegularFile::problem(m_path + QStringLiteral(".lock")) : problem;
    }

    /// QSettings takes "a/b" for a part of "a" and would remove it as well.
    static void remove(QSettings& settings, const QString& key, const QVariantMap& values) {
        settings.remove(key);
        const QString prefix = key + QLatin1Char('/');
        for (auto other = values.lowerBound(prefix); other != values.end(); ++other) {
            if (!other.key().startsWith(prefix)) return;
            settings.setValue(other.key(), other.value());
        }
    }

    /// Brings the changes to the file and what others changed in the file here. Called with the file's mutex.
    bool exchange() {
        QVariantMap changes, before, now;
        {
            const std::lock_guard lock(m_mutex);
            changes.swap(m_changes);
            before = m_stored;
        }
        const bool isWritten = transfer(changes, before, now);
        const std::lock_guard lock(m_mutex);
        if (!isWritten) {
            changes.insert(m_changes);  // what was set meanwhile is newer
            m_changes = changes;
            return false;
        }
        for (auto change = m_changes.cbegin(); change != m_changes.cend(); ++change)
            apply(change.key(), change.value(), now);
        m_stored = std::move(now);
        return true;
    }

    /// Afterwards `now` is what the file holds.
    bool transfer(const QVariantMap& changes, const QVariantMap& before, QVariantMap& now) {
        if (const QString problem = obstacle(); !problem.isEmpty()) {
            VLLog::appendLog(QStringLiteral("Unable to read or write the settings %@"), problem);
            return false;
        }
        QSettings settings(m_path, settingsFormat());
        settings.setFallbacksEnabled(false);
        for (auto change = changes.cbegin(); change != changes.cend(); ++change) {
            if (change.value().isValid())
                settings.setValue(change.key(), change.value());
            else
                remove(settings, change.key(), before);
        }
        settings.sync();
        if (settings.status() != QSettings::NoError) {
            VLLog::appendLog(QStringLiteral("Unable to read or write the settings %@"), m_path);
            return false;
        }
        for (const QStringList keys = settings.allKeys(); const QString& key : keys)
            now.insert(key, settings.value(key));
        return true;
    }

    const QString m_path;
    QString m_obstacle;      // a damaged file that could not be put away
    std::mutex m_fileMutex;  // taken before the other one
    mutable std::mutex m_mutex;
    QVariantMap m_registered;
    QVariantMap m_stored;
    QVariantMap m_changes;  // an invalid value: removed
};

/// Writes a store some time after it was changed, on a worker, and tries again when that fails. Shared with
/// the timer and the worker.
class Writer : public std::enable_shared_from_this<Writer> {
public:
    explicit Writer(std::shared_ptr<Store> store) : m_store(std::move(store)) {}

    void writeAfter(std::chrono::milliseconds delay) {
        std::shared_ptr<VLTimer> replaced;  // invalidated by its destruction, after the lock
        const std::lock_guard lock(m_mutex);
        if (m_timer && m_timer->isValid() && delay >= m_delay) return;
        m_delay = delay;
        replaced = std::exchange(m_timer, VLTimer::scheduledTimer(delay, [weak = weak_from_this()] {
                                     if (const auto self = weak.lock()) self->write();
                                 }));
    }

private:
    void write() {
        const bool isStarted = VLThread::detach(QStringLiteral("settings"), [self = shared_from_this()] {
            const bool isWritten = self->m_store->synchronizeIfChanged();
            if (!isWritten) self->writeAfter(retryDelay);
            if (self->m_isFailing.exchange(!isWritten) || isWritten) return;
            VLNotificationCenter::defaultCenter().postNotification(
                QStringLiteral("vlCorvalinSettingsNotWritten"), {},
                {{QStringLiteral("path"), self->m_store->path()}});
        });
        if (!isStarted && !VLThread::isCancelled()) writeAfter(retryDelay);
    }

    const std::shared_ptr<Store> m_store;
    std::mutex m_mutex;
    std::shared_ptr<VLTimer> m_timer;
    std::chrono::milliseconds m_delay{0};
    std::atomic<bool> m_isFailing{false};
};

bool isReal(const QVariant& value) {
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::Float;
}

qlonglong integerOf(const QVariant& value) {
    if (!isReal(value)) return value.toLongLong();
    constexpr double limit = 9.2e18;
    const double real = value.toDouble();
    return std::abs(real) < limit ? static_cast<qlonglong>(real) : 0;
}

}  // namespace

struct VLUserDefaults::Private {
    explicit Private(const QString& path) : store(std::make_shared<Store>(path)) {}

    void set(const QString& key, const QVariant& value) {
        store->set(key, PropertyList::normalized(value));
        writer->writeAfter(writeDelay);
    }

    const std::shared_ptr<Store> store;
    const std::shared_ptr<Writer> writer = std::make_shared<Writer>(store);
};

VLUserDefaults::VLUserDefaults(const QString& path) : d(std::make_unique<Private>(path)) {}

VLUserDefaults::~VLUserDefaults() {
    d->store->synchronizeIfChanged();
}

VLUserDefaults& VLUserDefaults::standardUserDefaults() {
    static VLUserDefaults defaults(chosenStandardPath());
    return defaults;
}

void VLUserDefaults::setStandardPath(const QString& path) {
    const std::lock_guard lock(standardPath().mutex);
    standardPath().path = path;
}

QString VLUserDefaults::path() const {
    return d->store->path();
}

void VLUserDefaults::registerDefaults(const QVariantMap& values) {
    d->store->registerValues(PropertyList::normalized(values).toMap());
}

QVariant VLUserDefaults::objectForKey(const QString& key) const {
    return d->store->value(key);
}

QString VLUserDefaults::stringForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    switch (value.typeId()) {
        case QMetaType::QString:
        case QMetaType::LongLong:
        case QMetaType::Double:
            return value.toString();
        case QMetaType::Bool:
            return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
        default:
            return {};
    }
}

qlonglong VLUserDefaults::integerForKey(const QString& key) const {
    return integerOf(objectForKey(key));
}

bool VLUserDefaults::boolForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    if (value.typeId() != QMetaType::QString) return isReal(value) ? value.toDouble() != 0 : value.toBool();
    const QString text = value.toString().trimmed();
    return text.toLongLong() != 0 || text.startsWith(u'y', Qt::CaseInsensitive) ||
           text.startsWith(u't', Qt::CaseInsensitive);
}

QVariantList VLUserDefaults::arrayForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QVariantList ? value.toList() : QVariantList();
}

QVariantMap VLUserDefaults::dictionaryForKey(const QString& key) const {
    const QVariant value = objectForKey(key);
    return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

bool VLUserDefaults::isStored(const QString& key) const {
    return d->store->isStored(key);
}

void VLUserDefaults::setObject(const QVariant& value, const QString& key) {
    d->set(key, value);
}

void VLUserDefaults::removeObjectForKey(const QString& key) {
    d->set(key, {});
}

void VLUserDefaults::synchronizeSoon() {
    d->writer->writeAfter(std::chrono::milliseconds(0));
}

bool VLUserDefaults::synchronize() {
    return d->store->synchronize();
}
