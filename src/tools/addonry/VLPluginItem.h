#pragma once

#include <QString>
#include <QVariant>

#include <optional>

/// One row of the plug-in outline: a plug-in by name, merged from the copies that the clients have.
class VLPluginItem {
public:
    enum AccessType { AllUsers = 0, CurrentUser = 1 };
    enum State { Alike = 0, VersionsDiffer = 1, EnabledDiffers = 2, AccessTypeDiffers = 3, Missing = 4 };

    [[nodiscard]] static VLPluginItem pluginItem(const QVariantMap& instance, const QString& hostName);
    /// Merges one client's copy; the first difference found decides the state.
    void addChild(QVariantMap instance, const QString& hostName);

    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] const QString& fileName() const { return m_fileName; }
    [[nodiscard]] const QString& version() const { return m_version; }  ///< "(various)" where they differ
    [[nodiscard]] const QString& type() const { return m_type; }
    [[nodiscard]] const QVariantList& children() const { return m_children; }
    [[nodiscard]] int state() const { return m_state; }
    [[nodiscard]] int disabledCount() const { return m_disabledCount; }
    [[nodiscard]] int disabled() const { return m_disabled; }  ///< 0, 1, or -1 for mixed
    /// 1 current user, -1 mixed, any other all users.
    [[nodiscard]] qlonglong accessType() const { return m_accessType.value_or(0); }
    /// One placeholder for every selected client that lacks the plug-in.
    [[nodiscard]] const QVariantList& missingHosts() const { return m_missingHosts; }

    void setName(const QString& name) { m_name = name; }
    void setFileName(const QString& fileName) { m_fileName = fileName; }
    void setVersion(const QString& version) { m_version = version; }
    void setType(const QString& type) { m_type = type; }
    void setChildren(const QVariantList& children) { m_children = children; }
    void setState(int state) { m_state = state; }
    void setDisabledCount(int count) { m_disabledCount = count; }
    void setDisabled(int disabled) { m_disabled = disabled; }
    void setAccessType(qlonglong accessType) { m_accessType = accessType; }
    void setMissingHosts(const QVariantList& hosts) { m_missingHosts = hosts; }

private:
    void takeFirst(const QVariantMap& instance);
    void compare(const QVariantMap& instance);
    void noteDifference(State state);

    QString m_name, m_fileName, m_version, m_type;
    QVariantList m_children, m_missingHosts;
    int m_state = Alike;
    int m_disabledCount = 0;
    int m_disabled = 0;
    std::optional<qlonglong> m_accessType;  ///< nothing while no copy has said
};
