#include "app/Preferences.h"

#include "app/AppDefaults.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLUserDefaults.h"
#include "runs/RunList.h"

namespace {

bool isBoolean(const QString& key) {
    return key == QLatin1String("SUCheckAtStartup") || key == QLatin1String("firstRun") ||
           key == QLatin1String(RunList::followUpKey);
}

void store(const QString& key, const QVariant& value) {
    VLUserDefaults::standardUserDefaults().setObject(value, key);
    VLNotificationCenter::defaultCenter().postNotification(QLatin1String(Preferences::changedNotification),
                                                           {}, {{QStringLiteral("key"), key}});
}

}  // namespace

bool Preferences::isOn(const QString& key) {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    if (key == QLatin1String("firstRun")) return !isBooleanNo(defaults.objectForKey(key));
    if (isBoolean(key)) return defaults.boolForKey(key);
    return defaults.integerForKey(key) == 1;
}

void Preferences::setOn(const QString& key, bool on) {
    if (isOn(key) != on) store(key, isBoolean(key) ? QVariant(on) : QVariant(qlonglong{on}));
}

qlonglong Preferences::number(const QString& key) {
    return VLUserDefaults::standardUserDefaults().integerForKey(key);
}

void Preferences::setNumber(const QString& key, qlonglong number) {
    if (Preferences::number(key) != number) store(key, number);
}
