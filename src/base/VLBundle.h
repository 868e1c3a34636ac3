#pragma once

#include <QString>
#include <QVariant>

/// The information and resources that are installed with the program. Read once; any thread.
class VLBundle {
public:
    [[nodiscard]] static const VLBundle& mainBundle();
    /// A bundle whose resources lie in `resourceDirectory` (Info.plist directly in it).
    explicit VLBundle(const QString& resourceDirectory);

    [[nodiscard]] QVariantMap infoDictionary() const { return m_info; }
    [[nodiscard]] QVariant objectForInfoDictionaryKey(const QString& key) const { return m_info.value(key); }
    /// 0 when missing or no number. A number written as text ("1040") counts.
    [[nodiscard]] qlonglong integerForInfoDictionaryKey(const QString& key) const;

    [[nodiscard]] QString resourceDirectory() const { return m_directory; }
    /// Path of the resource `name`.`type`; empty when there is none.
    [[nodiscard]] QString pathForResource(const QString& name, const QString& type) const;

private:
    QString m_directory;
    QVariantMap m_info;
};
