#include "tools/addonry/AddonryController.h"

#include "foundation/MainThread.h"
#include "foundation/VLCallLock.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"
#include "system/VLException.h"
#include "tools/addonry/PluginList.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace {

const QString hostNameKey = QStringLiteral("hostname");

/// The rows while they grow, found by name: five hundred clients with three hundred plug-ins each are merged
/// while the user waits.
class RowMerger {
public:
    void add(const QVariantMap& instance, const QString& hostName) {
        const QString name = instance.value(QStringLiteral("name")).toString();
        if (const auto row = m_rowByName.constFind(name); row != m_rowByName.constEnd()) {
            m_rows[*row].addChild(instance, hostName);
            return;
        }
        m_rowByName.insert(name, m_rows.size());
        m_rows.append(VLPluginItem::pluginItem(instance, hostName));
    }

    [[nodiscard]] QList<VLPluginItem> takeRows() { return std::move(m_rows); }

private:
    QList<VLPluginItem> m_rows;
    QHash<QString, qsizetype> m_rowByName;
};

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

int compareRows(const VLPluginItem& a, const VLPluginItem& b, const QString& column) {
    const auto texts = [](const QString& x, const QString& y) { return x.compare(y, Qt::CaseInsensitive); };
    const auto numbers = [](qlonglong x, qlonglong y) { return x < y ? -1 : x > y ? 1 : 0; };
    if (column == QLatin1String("version")) return texts(a.version(), b.version());
    if (column == QLatin1String("type")) return texts(a.type(), b.type());
    if (column == QLatin1String("disabled")) return numbers(a.disabled(), b.disabled());
    if (column == QLatin1String("accessType")) return numbers(a.accessType(), b.accessType());
    if (column == QLatin1String("state")) return numbers(a.state(), b.state());
    return texts(a.name(), b.name());
}

QString enabledText(int disabled) {
    if (disabled < 0) return QStringLiteral("mixed");
    return disabled == 0 ? QStringLiteral("yes") : QStringLiteral("no");
}

QString accessText(qlonglong accessType) {
    if (accessType < 0) return QStringLiteral("mixed");
    return accessType == 1 ? QStringLiteral("current user") : QStringLiteral("all users");
}

QString differenceText(int state) {
    switch (state) {
        case VLPluginItem::VersionsDiffer:
            return QStringLiteral("version");
        case VLPluginItem::EnabledDiffers:
            return QStringLiteral("enabled");
        case VLPluginItem::AccessTypeDiffers:
            return QStringLiteral("access");
        case VLPluginItem::Missing:
            return QStringLiteral("missing");
        default:
            return QStringLiteral("none");
    }
}

}  // namespace

bool AddonryController::isStopped() const {
    return context().progress->processingCancelled() || VLThread::isCancelled();
}

void AddonryController::refreshAddonryPlugins() {
    const VLCallLock lock;
    onMainThreadAndWait([this] {
        if (m_addonryArray.isEmpty()) setBusy(true);
    });
    VLLog::appendLog(QStringLiteral("Populating Addonry plugins..."));
    try {
        populate();
    } catch (const std::exception& exception) {
        VLException::logException(exception, "-[AppController refreshAddonryPlugins]");
    }
    onMainThreadAndWait([this] { setBusy(false); });
    context().progress->endStatusProgress();
}

void AddonryController::populate() {
    const int run = ++m_lastRun;
    const QList<VLServicePtr> services = context().selectedServices();
    context().progress->startStatusProgress();
    RowMerger merger;
    QStringList hostNames;
    for (const VLServicePtr& service : services) {
        if (isStopped()) break;
        const QString hostName = service->hostName();
        hostNames.append(hostName);
        const PluginList list = PluginList::fromAnswer(
            context().runner->objectFromRemoteMethod(QStringLiteral("addonryPluginList"), {}, {}, service));
        if (!list.complaint.isEmpty())
            VLLog::appendLog(QStringLiteral("Plug-in list of %@: %@"), service->name(), list.complaint);
        for (const QVariantMap& instance : list.instances)
            merger.add(instance, hostName);
        context().progress->incrementStatusProgress();
    }
    // Half a run says nothing about the clients that it did not come to.
    if (isStopped()) return;
    QList<VLPluginItem> rows = merger.takeRows();
    for (VLPluginItem& row : rows)
        markMissing(row, hostNames);
    install(std::move(rows), run);
}

void AddonryController::install(QList<VLPluginItem> rows, int run) {
    onMainThreadAndWait([this, rows = std::move(rows), run]() mutable {
        if (run < m_installedRun || context().progress->processingCancelled()) return;
        m_installedRun = run;
        setAddonryArray(std::move(rows));
    });
}

void AddonryController::setAddonryArray(QList<VLPluginItem> rows) {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    sortRows(rows, defaults.stringForKey(QStringLiteral("addonryOutlineSortedColumn")),
             defaults.boolForKey(QStringLiteral("addonryOutlineSortedDescending")));
    m_addonryArray = std::move(rows);
    m_hasResult = true;
    Q_EMIT changed();
}

void AddonryController::clearData() {
    m_addonryArray.clear();
    m_hasResult = false;
    Q_EMIT changed();
}

void AddonryController::sortRows(QList<VLPluginItem>& rows, const QString& column, bool descending) {
    std::stable_sort(rows.begin(), rows.end(), [&](const VLPluginItem& a, const VLPluginItem& b) {
        const int order = compareRows(a, b, column);
        if (order != 0) return descending ? order > 0 : order < 0;
        return a.name() < b.name();
    });
}

ToolReport AddonryController::report() const {
    ToolReport report;
    report.header = {QStringLiteral("Plug-in"), QStringLiteral("Type"),      QStringLiteral("Version"),
                     QStringLiteral("Enabled"), QStringLiteral("Access"),    QStringLiteral("Computers"),
                     QStringLiteral("Differs"), QStringLiteral("Missing on")};
    for (const VLPluginItem& row : m_addonryArray) {
        QStringList missing;
        for (const QVariant& host : row.missingHosts())
            missing.append(context().friendlyServiceName(host.toMap().value(hostNameKey).toString()));
        report.rows.append({row.name(), row.type(), row.version(), enabledText(row.disabled()),
                            accessText(row.accessType()), QString::number(row.children().size()),
                            differenceText(row.state()), missing.join(QStringLiteral(", "))});
    }
    return report;
}
