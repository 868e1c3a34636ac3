#include "base/VLLocalPaths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <mutex>

namespace {

struct TestRoot {
    std::mutex mutex;
    QString path;
};

// Never destroyed: the log asks for its folder until the very end of the process.
TestRoot& testRoot() {
    static TestRoot* const root = new TestRoot;
    return *root;
}

/// `name` below the tests' root; empty when no such root is set.
QString testDirectory(const char* name) {
    const std::lock_guard lock(testRoot().mutex);
    return testRoot().path.isEmpty() ? QString() : testRoot().path + QLatin1Char('/') + QLatin1String(name);
}

/// An XDG base folder: the variable counts only when it holds an absolute path.
QString baseDirectory(const char* variable, const char* belowHome) {
    const QString value = qEnvironmentVariable(variable);
    if (QDir::isAbsolutePath(value)) return QDir::cleanPath(value);
    return QDir::homePath() + QLatin1Char('/') + QLatin1String(belowHome);
}

}  // namespace

QString VLLocalPaths::cacheDirectory(bool user) {
    if (const QString test = testDirectory(user ? "cache" : "machine/cache"); !test.isEmpty()) return test;
    return user ? baseDirectory("XDG_CACHE_HOME", ".cache") : QStringLiteral("/var/cache");
}

QString VLLocalPaths::libraryDirectory(bool user) {
    if (const QString test = testDirectory(user ? "state" : "machine/lib"); !test.isEmpty()) return test;
    if (!user) return QStringLiteral("/var/lib/orlendo");
    return baseDirectory("XDG_STATE_HOME", ".local/state") + QStringLiteral("/orlendo");
}

QString VLLocalPaths::logDirectory(bool user) {
    return libraryDirectory(user) + QStringLiteral("/Logs");
}

QString VLLocalPaths::configDirectory() {
    if (const QString test = testDirectory("config"); !test.isEmpty()) return test;
    const QString organization = QCoreApplication::organizationName();
    return baseDirectory("XDG_CONFIG_HOME", ".config") + QLatin1Char('/') +
           (organization.isEmpty() ? QStringLiteral("orlendo") : organization);
}

QString VLLocalPaths::trashDirectory() {
    if (const QString test = testDirectory("data/Trash/files"); !test.isEmpty()) return test;
    return baseDirectory("XDG_DATA_HOME", ".local/share") + QStringLiteral("/Trash/files");
}

void VLLocalPaths::setTestRoot(const QString& root) {
    const std::lock_guard lock(testRoot().mutex);
    testRoot().path = root;
}

QString VLLocalPaths::executablePath() {
    return QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
}
