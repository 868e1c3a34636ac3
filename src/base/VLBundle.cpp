#include "base/VLBundle.h"

#include "base/PropertyList.h"
#include "base/VLLocalPaths.h"

#include <QDir>
#include <QFileInfo>

namespace {

constexpr auto informationFile = "/Info.plist";

QString findResourceDirectory() {
    const QString programDirectory = QFileInfo(VLLocalPaths::executablePath()).path();
    const QStringList candidates = {
        qEnvironmentVariable("ORLENDO_RESOURCES"),
        QDir::cleanPath(programDirectory + QStringLiteral("/../share/orlendo")),
        QStringLiteral(ORLENDO_SOURCE_RESOURCES),
    };
    for (const QString& candidate : candidates)
        if (!candidate.isEmpty() && QFileInfo(candidate + QLatin1String(informationFile)).isFile())
            return candidate;
    return candidates.last();
}

bool isPlainRelativePath(const QString& name) {
    return !name.isEmpty() && !QDir::isAbsolutePath(name) &&
           !name.split(QLatin1Char('/')).contains(QStringLiteral(".."));
}

}  // namespace

const VLBundle& VLBundle::mainBundle() {
    static const VLBundle bundle(findResourceDirectory());
    return bundle;
}

VLBundle::VLBundle(const QString& resourceDirectory)
    : m_directory(resourceDirectory),
      m_info(PropertyList::readFile(resourceDirectory + QLatin1String(informationFile)).toMap()) {}

qlonglong VLBundle::integerForInfoDictionaryKey(const QString& key) const {
    const QVariant value = objectForInfoDictionaryKey(key);
    bool isNumber = false;
    const qlonglong number = value.toLongLong(&isNumber);
    return isNumber ? number : 0;
}

QString VLBundle::pathForResource(const QString& name, const QString& type) const {
    const QString file = type.isEmpty() ? name : name + QLatin1Char('.') + type;
    if (!isPlainRelativePath(file)) return {};
    const QString path = m_directory + QLatin1Char('/') + file;
    return QFileInfo::exists(path) ? path : QString();
}
