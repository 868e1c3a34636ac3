#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// One node of the preference tree: an application, or below it one group of its preferences. A plain value.
class VLPrefItem {
public:
    enum Tick { Mixed = -1, Off = 0, On = 1 };

    [[nodiscard]] static VLPrefItem initWithName(const QString& name, const QString& key,
                                                 const std::optional<QStringList>& files, const QString& icon,
                                                 bool selected);
    [[nodiscard]] static VLPrefItem initWithName(const QString& name, const QString& key,
                                                 const std::optional<QStringList>& files,
                                                 const QString& icon) {
        return initWithName(name, key, files, icon, true);
    }
    [[nodiscard]] static VLPrefItem initWithName(const QString& name, const QString& key,
                                                 const std::optional<QStringList>& files) {
        return initWithName(name, key, files, {}, true);
    }

    [[nodiscard]] const QString& name() const { return m_name; }
    void setName(const QString& name) { m_name = name; }
    /// What agents know it by.
    [[nodiscard]] const QString& key() const { return m_key; }
    void setKey(const QString& key) { m_key = key; }
    [[nodiscard]] int selected() const { return m_selected; }
    void setSelected(int selected) { m_selected = selected; }
    [[nodiscard]] const QList<VLPrefItem>& children() const { return m_children; }
    void setChildren(const QList<VLPrefItem>& children) { m_children = children; }
    /// Absolute paths on this machine; nothing for a group whose files only the agents know.
    [[nodiscard]] const std::optional<QStringList>& files() const { return m_files; }
    void setFiles(const std::optional<QStringList>& files) { m_files = files; }
    [[nodiscard]] bool locked() const { return m_locked; }
    void setLocked(bool locked) { m_locked = locked; }
    /// Name of the application's drawing; empty for groups.
    [[nodiscard]] const QString& icon() const { return m_icon; }
    void setIcon(const QString& icon) { m_icon = icon; }

    [[nodiscard]] bool isParent() const { return !m_children.isEmpty(); }
    void addChild(const VLPrefItem& child) { m_children = m_children + QList<VLPrefItem>{child}; }
    /// Sets `locked` when one of the files (links followed) is immutable. Never takes it back.
    void calculateLocked();
    /// Ticks of parents are recomputed for the whole tree at once; one item has nothing to do.
    void updateSelectedStatus() {}

private:
    QString m_name, m_key;
    int m_selected = On;
    QList<VLPrefItem> m_children;
    std::optional<QStringList> m_files;
    bool m_locked = false;
    QString m_icon;
};
