#include "app/Preferences.h"

#include "app/AppDefaults.h"
#include "foundation/VLNotificationCenter.h"
#include "foundation/VLUserDefaults.h"

namespace {

bool isBoolean(const QString& key) {
    return key == QLatin1String("SUCheckAtStartup") || key == QLatin1String("firstRun");
}

}  // namespace

bool Preferences::isOn(const QString& key) {
    const VLUserDefaults& defaults = VLUserDefaults::standardUserDefaults();
    if (key == QLatin1String("firstRun")) return !isBooleanNo(defaults.objectForKey(key));
    if (isBoolean(key)) return defaults.boolForKey(key);
    return defaults.integerForKey(key) == 1;
}

void Preferences::setOn(const QString& key, bool on) {
    if (isOn(key) == on) return;
    const QVariant value = isBoolean(key) ? QVariant(on) : QVariant(qlonglong{on});
    VLUserDefaults::standardUserDefaults().setObject(value, key);
    VLNotificationCenter::defaultCenter().postNotification(QLatin1String(changedNotification), {},
                                                           {{QStringLiteral("key"), key}});
}
