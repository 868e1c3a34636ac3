#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

/// The user's settings: stored values, and under them values registered at start that count when nothing is
/// stored. Kept as a property list through QSettings. Integers stay integers, booleans stay booleans. Changes
/// reach the disk within a second, on a worker; while that fails it is tried again, and the first failure
/// posts "vlCorvalinSettingsNotWritten" with the "path". Any thread.
class VLUserDefaults {
public:
    /// The settings of the running application (~/.config/<organization>/<application>.plist).
    [[nodiscard]] static VLUserDefaults& standardUserDefaults();
    /// Settings in a file of their own; the tests use it. `setStandardPath` redirects the standard ones and
    /// must be called before their first use.
    explicit VLUserDefaults(const QString& path);
    ~VLUserDefaults();
    static void setStandardPath(const QString& path);

    /// The file that holds the stored values.
    [[nodiscard]] QString path() const;

    void registerDefaults(const QVariantMap& values);

    /// The stored value, else the registered one, else an invalid QVariant.
    [[nodiscard]] QVariant objectForKey(const QString& key) const;
    [[nodiscard]] QString stringForKey(const QString& key) const;
    /// 0 for a missing value or one that is no number.
    [[nodiscard]] qlonglong integerForKey(const QString& key) const;
    [[nodiscard]] bool boolForKey(const QString& key) const;
    [[nodiscard]] QVariantList arrayForKey(const QString& key) const;
    [[nodiscard]] QVariantMap dictionaryForKey(const QString& key) const;
    /// True when the user's own value is stored, whatever is registered.
    [[nodiscard]] bool isStored(const QString& key) const;

    void setObject(const QVariant& value, const QString& key);
    void removeObjectForKey(const QString& key);
    /// The same without the second's delay.
    void synchronizeSoon();
    /// Writes pending changes to the disk and waits for it. False (and one log line) when that failed.
    bool synchronize();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
