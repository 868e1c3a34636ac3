#include "app/AppDefaults.h"

#include "runs/RunList.h"

namespace {

bool isNumber(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
            return true;
        default:
            return false;
    }
}

}  // namespace

QVariantMap registeredDefaults(const QList<Tool>& tools) {
    QVariantMap settings{
        {QStringLiteral("SUCheckAtStartup"), true},
        {QStringLiteral("faultscopeLogTableSortedColumn"), QStringLiteral("date")},
        {QStringLiteral("faultscopeLogTableSortedDescending"), true},
        {QStringLiteral("errorLogTableSortedColumn"), QStringLiteral("date")},
        {QStringLiteral("errorLogTableSortedDescending"), true},
        {QStringLiteral("activityDetailsTableSortedColumn"), QStringLiteral("outcome")},
        {QStringLiteral("activityDetailsTableSortedDescending"), true},
        {QStringLiteral("activityDays"), qlonglong{365}},
        {QStringLiteral("activityMegabytes"), qlonglong{200}},
        {QStringLiteral("authAddKeychain"), qlonglong{1}},
        {QStringLiteral("autoRefresh"), qlonglong{1}},
        {QLatin1String(RunList::inFlightKey), qlonglong{RunList::usuallyInFlight}},
        {QLatin1String(RunList::followUpKey), true},
    };
    for (const Tool& tool : tools)
        settings.insert(tool.settings);
    return settings;
}

bool isBooleanNo(const QVariant& value) {
    return isNumber(value) && value.toDouble() == 0;
}
