#include "system/VLFileManager.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QUrl>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace {

// Nothing in these is a user's own.
constexpr std::array systemTrees{"/bin",  "/boot", "/dev", "/etc",       "/proc",
                                 "/sbin", "/sys",  "/usr", "/lost+found"};
// These hold things of users and services as well: only they themselves are the system's.
constexpr std::array systemFolders{"/",
                                   "/home",
                                   "/media",
                                   "/mnt",
                                   "/opt",
                                   "/root",
                                   "/run",
                                   "/srv",
                                   "/tmp",
                                   "/usr/local",
                                   "/var",
                                   "/var/backups",
                                   "/var/cache",
                                   "/var/lib",
                                   "/var/local",
                                   "/var/lock",
                                   "/var/log",
                                   "/var/mail",
                                   "/var/opt",
                                   "/var/run",
                                   "/var/spool",
                                   "/var/tmp",
                                   "/usr/bin",
                                   "/usr/games",
                                   "/usr/include",
                                   "/usr/libexec",
                                   "/usr/sbin",
                                   "/usr/share",
                                   "/usr/src",
                                   "/usr/local/bin",
                                   "/usr/local/etc",
                                   "/usr/local/games",
                                   "/usr/local/include",
                                   "/usr/local/lib",
                                   "/usr/local/man",
                                   "/usr/local/sbin",
                                   "/usr/local/share",
                                   "/usr/local/src"};

template <typename List>
bool containsPath(const List& list, const QString& path) {
    return std::any_of(list.begin(), list.end(),
                       [&](const char* item) { return path == QLatin1String(item); });
}

/// "/lib", "/lib64", "/usr/lib32" and their like.
bool isLibraryFolder(const QString& path) {
    const qsizetype end = path.lastIndexOf(QLatin1Char('/'));
    const QString parent = path.left(end);
    if (!parent.isEmpty() && parent != QLatin1String("/usr")) return false;
    const QString name = path.mid(end + 1);
    return name == QLatin1String("lib") || name == QLatin1String("lib32") || name == QLatin1String("lib64") ||
           name == QLatin1String("libx32");
}

bool isHomeFolder(const QString& path) {
    return path == VLFileManager::resolvedPath(QDir::homePath()) ||
           path.left(path.lastIndexOf(QLatin1Char('/'))) == QLatin1String("/home");
}

bool isInsideSystemTree(const QString& path) {
    if (path.startsWith(QLatin1String("/usr/local/"))) return false;
    const QString top = path.left(path.indexOf(QLatin1Char('/'), 1));
    return containsPath(systemTrees, top) || isLibraryFolder(top);
}

QString trashInfoPath(const QString& target) {
    const QFileInfo info(target);
    return QFileInfo(info.path()).path() + QStringLiteral("/info/") + info.fileName() +
           QStringLiteral(".trashinfo");
}

}  // namespace

QString VLFileManager::resolvedPath(const QString& path) {
    if (path.isEmpty()) return {};
    QString absolute = QDir::isAbsolutePath(path) ? path : QDir::currentPath() + QLatin1Char('/') + path;
    while (absolute.size() > 1 && absolute.endsWith(QLatin1Char('/')))
        absolute.chop(1);
    const qsizetype end = absolute.lastIndexOf(QLatin1Char('/'));
    const QString name = absolute.mid(end + 1);
    const bool isItself = name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..");
    const QString folder = isItself ? absolute : absolute.left(end + 1);
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    if (canonical.isEmpty()) return QDir::cleanPath(absolute);
    if (isItself) return canonical;
    return canonical.endsWith(QLatin1Char('/')) ? canonical + name : canonical + QLatin1Char('/') + name;
}

bool VLFileManager::isPathSystemDirectory(const QString& path, bool exactMatch) {
    if (path.isEmpty()) return false;
    const QString resolved = resolvedPath(path);
    if (containsPath(systemTrees, resolved) || containsPath(systemFolders, resolved) ||
        isLibraryFolder(resolved) || isHomeFolder(resolved))
        return true;
    return !exactMatch && isInsideSystemTree(resolved);
}

bool VLFileManager::mayExist(const QString& path) {
    std::error_code error;
    const auto status = std::filesystem::symlink_status(QFile::encodeName(path).toStdString(), error);
    return std::filesystem::exists(status) || error == std::errc::permission_denied;
}

std::optional<QStringList> VLFileManager::contentsOfDirectory(const QString& path) {
    const QDir directory(path);
    if (path.isEmpty() || !directory.isReadable()) return std::nullopt;
    return directory.entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

std::pair<QString, QString> VLFileManager::splitExtension(const QString& path) {
    const qsizetype name = path.lastIndexOf(QLatin1Char('/')) + 1;
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot <= name) return {path, QString()};
    return {path.left(dot), path.mid(dot + 1)};
}

void VLFileManager::addTrashInfo(const QString& target, const QString& path) {
    const QString infoPath = trashInfoPath(target);
    QDir().mkpath(QFileInfo(infoPath).path());
    QSaveFile file(infoPath);
    if (!file.open(QIODevice::WriteOnly)) return;
    file.write("[Trash Info]\nPath=" + QUrl::toPercentEncoding(path, "/") + "\nDeletionDate=" +
               QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")).toLatin1() +
               '\n');
    file.commit();
}

void VLFileManager::removeTrashInfo(const QString& target) {
    QFile::remove(trashInfoPath(target));
}
