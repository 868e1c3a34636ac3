#include "tools/addonry/RowMerger.h"

#include <QSet>

#include <utility>

namespace {

const QString hostNameKey = QStringLiteral("hostname");

QVariantMap placeholder(const VLPluginItem& row, const QString& hostName) {
    return {{hostNameKey, hostName},
            {QStringLiteral("disabled"), -1},
            {QStringLiteral("version"), QString()},
            {QStringLiteral("type"), row.type()},
            {QStringLiteral("filename"), row.fileName()},
            {QStringLiteral("name"), row.name()}};
}

void markMissing(VLPluginItem& row, const QStringList& hostNames) {
    if (row.children().size() == hostNames.size()) return;
    QSet<QString> present;
    for (const QVariant& child : row.children())
        present.insert(child.toMap().value(hostNameKey).toString());
    QVariantList missing;
    for (const QString& hostName : hostNames)
        if (!present.contains(hostName)) missing.append(placeholder(row, hostName));
    row.setMissingHosts(missing);
    row.setState(VLPluginItem::Missing);
}

}  // namespace

void RowMerger::add(const QVariantMap& instance, const QString& hostName) {
    const QString name = instance.value(QStringLiteral("name")).toString();
    if (const auto row = m_rowByName.constFind(name); row != m_rowByName.constEnd()) {
        m_rows[*row].addChild(instance, hostName);
        return;
    }
    m_rowByName.insert(name, m_rows.size());
    m_rows.append(VLPluginItem::pluginItem(instance, hostName));
}

QList<VLPluginItem> RowMerger::takeRows(const QStringList& hostNames) {
    for (VLPluginItem& row : m_rows)
        markMissing(row, hostNames);
    m_rowByName.clear();
    return std::exchange(m_rows, {});
}
