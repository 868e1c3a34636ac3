#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <mutex>

class PrivilegedHelper;

/// File operations on this machine with administrator rights. polkit decides who is an administrator; a
/// helper that it starts as root then runs the standard tools. A program that already runs as root runs them
/// itself.
///
/// Nothing is raised: every refusal and failure is a false (or a status) and a line in the system log.
/// Operations block, without a time limit while a tool works; they are for worker threads, one at a time.
/// Rights last until authEnd(), a refusal, or the end of the program: polkit hands none on to other programs,
/// so none is taken over at the start. Links in the folders of a path are followed, an item that is itself a
/// link is moved or deleted as a link. Looking at a path and working on it are two steps: not for folders in
/// which somebody else may exchange things meanwhile.
class VLAuthorization {
public:
    /// polkit's name of the one right that is asked for.
    static constexpr auto right = "org.velmora.orlendo.administer";
    enum Status { Success = 0, NotAuthorized = -1, ProgramMissing = -2 };

    /// The one instance. The first call says whether the user may be asked through the desktop.
    static VLAuthorization& sharedController(bool withGui = true);
    /// Whether what is needed to ask is installed (or we are root).
    [[nodiscard]] static bool isAvailable();

    [[nodiscard]] bool hasGUI() const noexcept { return m_hasGUI; }
    /// Home folder whose trash is used; not known when running as root, unless set.
    [[nodiscard]] QString userDirectory() const;
    void setUserDirectory(const QString& directory);

    [[nodiscard]] bool isAuthorized() const;
    bool canAuthorize();
    /// Asks the user through the desktop's polkit agent, unless authorised already.
    bool authStart();
    /// Authorises with a name and a password, asking nobody. Rights held until then are given up first.
    bool authStartWithUser(const QString& user, const QString& password);
    void authEnd();

    /// Runs a program as root: 0, a Status above, a negative number when the helper has failed, else the
    /// program's own exit status. As root always 0 for a program that exists.
    int authExecTask(const QString& program, const QStringList& parameters);

    bool authCopyFile(const QString& oldPath, const QString& newPath);
    bool authMoveFile(const QString& oldPath, const QString& newPath);
    bool authMoveFolderContents(const QString& oldPath, const QString& newPath);
    bool authRemoveFile(const QString& path);
    bool authTrashFile(const QString& path) { return authTrashFile(path, false); }
    bool authTrashFile(const QString& path, bool deleteOnRootAccount);
    bool authTrashFolderContents(const QString& path) { return authTrashFolderContents(path, false); }
    bool authTrashFolderContents(const QString& path, bool deleteOnRootAccount);
    bool authCreateDir(const QString& path);

    VLAuthorization(const VLAuthorization&) = delete;
    VLAuthorization& operator=(const VLAuthorization&) = delete;

private:
    explicit VLAuthorization(bool hasGUI);
    ~VLAuthorization();
    [[nodiscard]] std::shared_ptr<PrivilegedHelper> authRef() const;
    bool setAuthRef(std::shared_ptr<PrivilegedHelper> reference);
    [[nodiscard]] bool deletesForGood(bool deleteOnRootAccount) const;
    bool moveToTrash(const QString& path, const QString& target);

    const bool m_hasGUI;
    mutable std::mutex m_mutex;  ///< guards what follows
    std::shared_ptr<PrivilegedHelper> m_authRef;
    QString m_userDirectory;
};
