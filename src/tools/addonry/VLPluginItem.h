#pragma once

#include "tools/AgentAnswer.h"
#include "tools/merged/MergedRow.h"
#include "tools/merged/RowOrder.h"

#include <optional>

/// The keys of a plug-in's copy, as the agents send it.
namespace PluginKeys {
inline const QString nameKey = QStringLiteral("name"), pathKey = QStringLiteral("fullPath"),
                     versionKey = QStringLiteral("version"), typeKey = QStringLiteral("type"),
                     disabledKey = QStringLiteral("disabled"), accessTypeKey = QStringLiteral("accessType"),
                     dateKey = QStringLiteral("moddate");
}

/// One row of the plug-in outline: a plug-in by name, merged from the copies that the clients have.
class VLPluginItem : public MergedRow {
public:
    enum AccessType { AllUsers = 0, CurrentUser = 1 };
    enum State { VersionsDiffer = 1, EnabledDiffers = 2, AccessTypeDiffers = 3, Missing = 4 };
    enum Column { Name, Version, Type, Enabled, Access, Computers, Status, ColumnCount };
    /// Names of the columns in the stored sort settings.
    [[nodiscard]] static const QStringList& columnNames();

    /// An agent's answer to addonryPluginList. "disabled" is 0 or 1, "accessType" an integer, "moddate" a
    /// date; the others are texts.
    [[nodiscard]] static AgentAnswer::Entries checked(const QVariant& answer);
    static constexpr qsizetype mostEntries = 20'000;

    [[nodiscard]] static VLPluginItem pluginItem(const QVariantMap& instance, const QString& hostName);
    /// Merges one client's copy; the first difference found decides the state.
    void addCopy(ClientCopy copy);
    void addChild(const QVariantMap& instance, const QString& hostName) { addCopy({hostName, instance}); }
    void complete(const QList<AskedClient>& clients);

    [[nodiscard]] static QString keyOf(const QVariantMap& instance);
    [[nodiscard]] const QString& key() const { return m_name; }
    [[nodiscard]] const QString& title() const { return m_name; }
    [[nodiscard]] static const QString& titleKey() { return PluginKeys::nameKey; }
    [[nodiscard]] static const QString& copyKey() { return PluginKeys::pathKey; }
    /// Writes the value into every copy, and what it makes of the row into that.
    void writeToAll(const QString& key, qlonglong value);
    [[nodiscard]] SortKey sortKey(int column) const;

    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] const QString& fileName() const { return m_fileName; }
    [[nodiscard]] const QString& version() const { return m_version; }  ///< "(various)" where they differ
    [[nodiscard]] const QString& type() const { return m_type; }
    [[nodiscard]] int disabledCount() const { return m_disabledCount; }
    [[nodiscard]] int disabled() const { return m_disabled; }  ///< 0, 1, or -1 for mixed
    /// 1 current user, -1 mixed, any other all users.
    [[nodiscard]] qlonglong accessType() const { return m_accessType.value_or(0); }

    void setName(const QString& name) { m_name = name; }
    void setFileName(const QString& fileName) { m_fileName = fileName; }
    void setVersion(const QString& version) { m_version = version; }
    void setType(const QString& type) { m_type = type; }
    void setDisabledCount(int count) { m_disabledCount = count; }
    void setDisabled(int disabled) { m_disabled = disabled; }
    void setAccessType(qlonglong accessType) { m_accessType = accessType; }

private:
    void takeFirst(const QVariantMap& instance);
    void compare(const QVariantMap& instance);
    void noteDifference(State state);

    QString m_name, m_fileName, m_version, m_type;
    int m_disabledCount = 0;
    int m_disabled = 0;
    std::optional<qlonglong> m_accessType;  ///< nothing while no copy has said
};
