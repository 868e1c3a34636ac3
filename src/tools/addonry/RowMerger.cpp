#include "tools/addonry/RowMerger.h"

#include "tools/addonry/PluginKeys.h"

#include <utility>

namespace {

using namespace PluginKeys;

QVariantMap placeholder(const VLPluginItem& row, const QString& hostName) {
    return {{hostNameKey, hostName},
            {disabledKey, -1},
            {versionKey, QString()},
            {typeKey, row.type()},
            {QStringLiteral("filename"), row.fileName()},
            {nameKey, row.name()}};
}

void markMissing(VLPluginItem& row, const QStringList& hostNames) {
    if (row.children().size() == hostNames.size()) return;
    QVariantList missing;
    for (const QString& hostName : ClientCopies::hostsWithout(row.children(), hostNames))
        missing.append(placeholder(row, hostName));
    row.setMissingHosts(missing);
    row.setState(VLPluginItem::Missing);
}

}  // namespace

void RowMerger::add(const QVariantMap& instance, const QString& hostName) {
    const QString name = instance.value(nameKey).toString();
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
