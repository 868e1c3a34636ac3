#include "agent/AgentSettings.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QSysInfo>

#include <unistd.h>

#include <functional>

namespace {

/// On Apple hardware the firmware names the model in the form that the suite uses.
QString machineModel() {
    QFile file(QStringLiteral("/sys/class/dmi/id/product_name"));
    if (!file.open(QIODevice::ReadOnly)) return {};
    const QString product = QString::fromUtf8(file.read(256)).trimmed();
    return product.startsWith(QLatin1String("Mac")) || product.startsWith(QLatin1String("iMac")) ||
                   product.startsWith(QLatin1String("Xserve"))
               ? product
               : QString();
}

QString standardStateDirectory() {
    if (geteuid() == 0) return QStringLiteral("/var/lib/corvalin-agent");
    return QDir::homePath() + QStringLiteral("/.local/state/corvalin-agent");
}

QString absolute(const QString& path, const QString& directory) {
    return QDir::cleanPath(QDir(directory).absoluteFilePath(path));
}

using Setter = std::function<bool(const QVariant&)>;

Setter text(QString& target) {
    return [&target](const QVariant& value) {
        if (value.typeId() != QMetaType::QString) return false;
        target = value.toString();
        return true;
    };
}

Setter path(QString& target, const QString& directory) {
    return [&target, directory](const QVariant& value) {
        if (value.typeId() != QMetaType::QString || value.toString().isEmpty()) return false;
        target = absolute(value.toString(), directory);
        return true;
    };
}

Setter integer(qlonglong least, qlonglong most, std::function<void(qlonglong)> set) {
    return [least, most, set = std::move(set)](const QVariant& value) {
        const qlonglong number = value.toLongLong();
        if (value.typeId() != QMetaType::LongLong || number < least || number > most) return false;
        set(number);
        return true;
    };
}

Setter paths(QStringList& target, const QString& directory) {
    return [&target, directory](const QVariant& value) {
        if (value.typeId() != QMetaType::QVariantList) return false;
        const auto items = value.toList();
        for (const QVariant& item : items) {
            if (item.typeId() != QMetaType::QString || item.toString().isEmpty()) return false;
            target.append(absolute(item.toString(), directory));
        }
        return true;
    };
}

Setter names(QStringList& target) {
    return [&target](const QVariant& value) {
        if (value.typeId() != QMetaType::QVariantList) return false;
        target.clear();
        const auto items = value.toList();
        for (const QVariant& item : items) {
            if (item.typeId() != QMetaType::QString || item.toString().isEmpty()) return false;
            target.append(item.toString());
        }
        return true;
    };
}

}  // namespace

bool AgentSettings::apply(const QVariantMap& configuration, const QString& directory, QString* error) {
    const QHash<QString, Setter> setters{
        {QStringLiteral("root"), path(root, directory)},
        {QStringLiteral("state"), path(stateDirectory, directory)},
        {QStringLiteral("listen"), text(listenAddress)},
        {QStringLiteral("port"), integer(0, 65535, [this](qlonglong n) { port = static_cast<quint16>(n); })},
        {QStringLiteral("name"), text(name)},
        {QStringLiteral("hostName"), text(hostName)},
        {QStringLiteral("model"), text(model)},
        {QStringLiteral("consoleUser"), text(consoleUser)},
        {QStringLiteral("authorize"), paths(authorized, directory)},
        {QStringLiteral("adminFile"), path(adminFile, directory)},
        {QStringLiteral("adminGroups"), names(adminGroups)},
        {QStringLiteral("minAdminVersion"),
         integer(0, 1'000'000'000, [this](qlonglong n) { minAdminVersion = n; })},
        {QStringLiteral("advertise"),
         [this](const QVariant& value) {
             advertise = value.toBool();
             return value.typeId() == QMetaType::Bool;
         }},
    };
    for (auto it = configuration.cbegin(); it != configuration.cend(); ++it) {
        const auto setter = setters.constFind(it.key());
        if (setter == setters.constEnd()) {
            *error = QStringLiteral("unknown key \"%1\"").arg(it.key());
            return false;
        }
        if (!(*setter)(it.value())) {
            *error = QStringLiteral("\"%1\" holds a value that does not fit").arg(it.key());
            return false;
        }
    }
    return true;
}

void AgentSettings::complete() {
    const QString machine = QSysInfo::machineHostName();
    if (stateDirectory.isEmpty()) stateDirectory = standardStateDirectory();
    if (listenAddress == u"localhost") listenAddress = QStringLiteral("127.0.0.1");
    if (name.isEmpty()) name = machine.section(u'.', 0, 0);
    if (hostName.isEmpty()) hostName = machine.contains(u'.') ? machine : machine + QStringLiteral(".local");
    if (!hostName.endsWith(u'.')) hostName.append(u'.');
    if (model.isEmpty()) model = machineModel();
    if (authorized.isEmpty()) authorized.append(stateDirectory + QStringLiteral("/authorized"));
}
