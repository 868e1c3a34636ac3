#include "desktop/VLAuthorization.h"

#include "base/VLLocalPaths.h"
#include "desktop/PasswordAgent.h"
#include "desktop/PrivilegedHelper.h"
#include "logs/VLLog.h"
#include "system/VLFileManager.h"
#include "system/VLTask.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

using namespace std::chrono_literals;

// A dialog that nobody answers must not hold up a worker for ever.
constexpr auto dialogLimit = 10min;
constexpr auto agentLimit = 20s;
constexpr auto passwordLimit = 60s;

bool isRoot() {
    return geteuid() == 0;
}

template <typename... Values>
bool refuse(const QString& format, const Values&... values) {
    VLLog::printToSystemLog(vlFormat(format, values...));
    return false;
}

bool isSystemDirectory(const QString& path) {
    return VLFileManager::isPathSystemDirectory(path, true);
}

/// What is in a folder that is reached through a link is what the link leads to.
bool holdsSystemDirectory(const QString& folder) {
    return isSystemDirectory(folder) || isSystemDirectory(QFileInfo(folder).canonicalFilePath());
}

QString inFolder(const QString& folder, const QString& name) {
    return folder.endsWith(QLatin1Char('/')) ? folder + name : folder + QLatin1Char('/') + name;
}

/// All entries are tried, whatever becomes of the others.
template <typename Operation>
bool forEachEntry(const QString& folder, const Operation& operation) {
    const auto names = VLFileManager::contentsOfDirectory(folder);
    if (!names) return refuse(QStringLiteral("Unable to read folder %@"), folder);
    bool isDone = true;
    for (const QString& name : *names)
        isDone = operation(name) && isDone;
    return isDone;
}

/// A name for `target` that the trash doesn't hold yet; two items of a name may come within one second.
QString freeTrashTarget(const QString& target) {
    if (!VLFileManager::mayExist(target)) return target;
    const auto [base, extension] = VLFileManager::splitExtension(target);
    QString candidate;
    for (QDateTime time = QDateTime::currentDateTime();; time = time.addSecs(1)) {
        candidate = base + vlFormat(QStringLiteral("_%@.%@"), time.toString(QStringLiteral("yyyyMMddHHmmss")),
                                    extension);
        if (!VLFileManager::mayExist(candidate)) return candidate;
    }
}

}  // namespace

VLAuthorization& VLAuthorization::sharedController(bool withGui) {
    static VLAuthorization instance(withGui);
    return instance;
}

bool VLAuthorization::isAvailable() {
    return isRoot() || PrivilegedHelper::missingPart().isEmpty();
}

/// polkit hands no granted right on to programs: there is none to adopt.
VLAuthorization::VLAuthorization(bool hasGUI)
    : m_hasGUI(hasGUI), m_userDirectory(isRoot() ? QString() : QDir::homePath()) {}

VLAuthorization::~VLAuthorization() = default;

QString VLAuthorization::userDirectory() const {
    const std::lock_guard lock(m_mutex);
    return m_userDirectory;
}

void VLAuthorization::setUserDirectory(const QString& directory) {
    const std::lock_guard lock(m_mutex);
    m_userDirectory = directory;
}

std::shared_ptr<PrivilegedHelper> VLAuthorization::authRef() const {
    const std::lock_guard lock(m_mutex);
    return m_authRef;
}

/// The old reference is freed after the lock: its helper takes a moment to end.
bool VLAuthorization::setAuthRef(std::shared_ptr<PrivilegedHelper> reference) {
    const std::lock_guard lock(m_mutex);
    m_authRef.swap(reference);
    return m_authRef != nullptr;
}

// ---- Rights

bool VLAuthorization::isAuthorized() const {
    return isRoot() || authRef();
}

bool VLAuthorization::canAuthorize() {
    if (isRoot() && !authRef()) return true;
    return authStart();
}

bool VLAuthorization::authStart() {
    if (isAuthorized()) return true;
    if (!m_hasGUI) return refuse(QStringLiteral("Unable to authorize"));
    if (const QString missing = PrivilegedHelper::missingPart(); !missing.isEmpty()) {
        VLLog::appendLogAndPrint(QStringLiteral("Unable to ask for an administrator: ") + missing);
        return false;
    }
    if (setAuthRef(PrivilegedHelper::start(dialogLimit))) return true;
    VLLog::appendLogAndPrint(QStringLiteral(
        "Authorization was refused, or no polkit agent of the desktop is there to ask for it."));
    return false;
}

bool VLAuthorization::authStartWithUser(const QString& user, const QString& password) {
    if (isRoot()) return true;
    if (user.isEmpty() || password.isNull()) return false;
    setAuthRef(nullptr);
    const QString createError = QStringLiteral("Unable to create authRef - error %d");
    if (const QString missing = PrivilegedHelper::missingPart(); !missing.isEmpty()) {
        VLLog::appendLogAndPrint(QStringLiteral("Unable to authorize: ") + missing);
        return refuse(createError, ENOENT);
    }
    PasswordAgent agent(user, password);
    if (const int error = agent.start(agentLimit)) return refuse(createError, error);
    if (setAuthRef(PrivilegedHelper::start(passwordLimit))) return true;
    VLLog::appendLogAndPrint(QStringLiteral("Authorization failed. Invalid username or password"));
    return false;
}

void VLAuthorization::authEnd() {
    setAuthRef(nullptr);
}

// ---- Tools

int VLAuthorization::authExecTask(const QString& program, const QStringList& parameters) {
    // A bare name would be looked for in PATH, which is another program than the one looked at here.
    const QString path = QFileInfo(program).absoluteFilePath();
    if (!VLFileManager::mayExist(path)) {
        refuse(QStringLiteral("Unable to execute task: path %@ doesn't exist"), path);
        return ProgramMissing;
    }
    if (isRoot()) {
        VLTask::runTaskAndReturn(path, parameters);
        return Success;
    }
    if (!isAuthorized()) authStart();
    const std::shared_ptr<PrivilegedHelper> helper = authRef();
    if (!helper) return NotAuthorized;
    const int status = helper->run(path, parameters);
    if (status != Success) refuse(QStringLiteral("%@ has failed with status %d"), path, status);
    if (status == PrivilegedHelper::helperLost) setAuthRef(nullptr);
    return status;
}

bool VLAuthorization::authCopyFile(const QString& oldPath, const QString& newPath) {
    if (oldPath.isEmpty()) return refuse(QStringLiteral("Error in authCopyFile: old path is null"));
    if (newPath.isEmpty()) return refuse(QStringLiteral("Error in authCopyFile: new path is null"));
    const QString source = VLFileManager::resolvedPath(oldPath);
    if (!VLFileManager::mayExist(source))
        return refuse(QStringLiteral("Unable to copy %@: it doesn't exist"), source);
    return authExecTask(QStringLiteral("/bin/cp"),
                        {QStringLiteral("-f"), QStringLiteral("-p"), QStringLiteral("-R"), source,
                         QFileInfo(newPath).absoluteFilePath()}) == Success;
}

bool VLAuthorization::authMoveFile(const QString& oldPath, const QString& newPath) {
    if (isSystemDirectory(oldPath))
        return refuse(QStringLiteral("Unable to move path %@ because it is a system directory."), oldPath);
    if (oldPath.isEmpty()) return refuse(QStringLiteral("Error in authMoveFile: old path is null"));
    if (newPath.isEmpty()) return refuse(QStringLiteral("Error in authMoveFile: new path is null"));
    return authExecTask(QStringLiteral("/bin/mv"),
                        {QStringLiteral("-f"), VLFileManager::resolvedPath(oldPath),
                         QFileInfo(newPath).absoluteFilePath()}) == Success;
}

bool VLAuthorization::authMoveFolderContents(const QString& oldPath, const QString& newPath) {
    if (holdsSystemDirectory(oldPath))
        return refuse(QStringLiteral("Unable to move contents of path %@ because it is a system directory."),
                      oldPath);
    if (newPath.isEmpty()) return refuse(QStringLiteral("Error in authMoveFile: new path is null"));
    return forEachEntry(oldPath, [&](const QString& name) {
        return authMoveFile(inFolder(oldPath, name), inFolder(newPath, name));
    });
}

bool VLAuthorization::authRemoveFile(const QString& path) {
    if (isSystemDirectory(path))
        return refuse(QStringLiteral("Unable to delete path %@ because it is a system directory."), path);
    if (path.isEmpty()) return refuse(QStringLiteral("Error in authRemoveFile: path is null"));
    return authExecTask(QStringLiteral("/bin/rm"),
                        {QStringLiteral("-Rdf"), VLFileManager::resolvedPath(path)}) == Success;
}

bool VLAuthorization::authCreateDir(const QString& path) {
    if (path.isEmpty()) return refuse(QStringLiteral("Error in authCreateDir: path is null"));
    return authExecTask(QStringLiteral("/bin/mkdir"),
                        {QStringLiteral("-p"), QFileInfo(path).absoluteFilePath()}) == Success;
}

// ---- Trash

bool VLAuthorization::deletesForGood(bool deleteOnRootAccount) const {
    return deleteOnRootAccount && isRoot() && userDirectory().isEmpty();
}

bool VLAuthorization::authTrashFile(const QString& path, bool deleteOnRootAccount) {
    if (isSystemDirectory(path))
        return refuse(QStringLiteral("Unable to trash path %@ because it is a system directory."), path);
    if (path.isEmpty()) return refuse(QStringLiteral("Error in authTrashFile: path is null"));
    const QString item = VLFileManager::resolvedPath(path);
    const QString name = QFileInfo(item).fileName();
    const bool usesUserTrash = isRoot() && !userDirectory().isEmpty();
    const QString target =
        freeTrashTarget(usesUserTrash ? userDirectory() + vlFormat(QStringLiteral("/.Trash/%@"), name)
                                      : inFolder(VLLocalPaths::trashDirectory(), name));
    // Kept as it always was: what is deleted is the target, not the item.
    if (deletesForGood(deleteOnRootAccount)) return authRemoveFile(target);
    return moveToTrash(item, target);
}

bool VLAuthorization::moveToTrash(const QString& path, const QString& target) {
    QDir().mkpath(QFileInfo(target).path());
    const bool isDesktopTrash = QFileInfo(target).path() == VLLocalPaths::trashDirectory();
    if (isDesktopTrash) VLFileManager::addTrashInfo(target, path);
    const bool isMoved = authMoveFile(path, target);
    if (isDesktopTrash && !VLFileManager::mayExist(target)) VLFileManager::removeTrashInfo(target);
    return isMoved;
}

bool VLAuthorization::authTrashFolderContents(const QString& path, bool deleteOnRootAccount) {
    if (holdsSystemDirectory(path))
        return refuse(
            QStringLiteral("Unable to trash folder contents of path %@ because it is a system directory."),
            path);
    return forEachEntry(path, [&](const QString& name) {
        const QString entry = inFolder(path, name);
        if (!deletesForGood(deleteOnRootAccount)) return authTrashFile(entry);
        return authExecTask(QStringLiteral("/bin/rm"), {QStringLiteral("-R"), QStringLiteral("-f"),
                                                        VLFileManager::resolvedPath(entry)}) == Success;
    });
}
