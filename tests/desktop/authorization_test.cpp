#include "desktop/PasswordAgent.h"
#include "desktop/PrivilegedHelper.h"
#include "desktop/VLAuthorization.h"
#include "desktop/helper/HelperProtocol.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "system/VLFileManager.h"

#include <QRegularExpression>
#include <QTemporaryFile>
#include <QUrl>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString password = u"opensesame"_s;

/// What is written to standard error, the system log, while this lives.
class SystemLog {
public:
    SystemLog() : m_stderr(m_file.open() ? dup(STDERR_FILENO) : -1) { dup2(m_file.handle(), STDERR_FILENO); }
    ~SystemLog() {
        dup2(m_stderr, STDERR_FILENO);
        close(m_stderr);
    }
    QString text() {
        m_file.seek(0);
        return QString::fromUtf8(m_file.readAll());
    }

private:
    QTemporaryFile m_file;
    int m_stderr;
};

bool write(const QString& path) {
    return writeFile(path, "text");
}

}  // namespace

/// Runs as root (tools are run directly), or as a user without rights beside a polkit daemon that knows the
/// users of with-services.sh. As any other user it can only skip.
class AuthorizationTest : public QObject {
    Q_OBJECT

    VLAuthorization& m_authorization = VLAuthorization::sharedController();
    const bool m_isRoot = geteuid() == 0;
    const QString m_rootFolder = qEnvironmentVariable("ORLENDO_POLKIT_ROOT");
    std::unique_ptr<QTemporaryDir> m_folder;

    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }
    [[nodiscard]] bool hasPolkit() const { return !m_isRoot && !m_rootFolder.isEmpty(); }
    [[nodiscard]] static QString trash(const QString& name = {}) {
        return VLLocalPaths::trashDirectory() + u'/' + name;
    }

private Q_SLOTS:
    void initTestCase() {
        PrivilegedHelper::setPath(QStringLiteral(HELPER_PROGRAM));
        if (!m_isRoot && m_rootFolder.isEmpty()) QSKIP("neither root nor a private polkit daemon");
    }
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(m_folder->isValid());
    }

    void polkit() {
        if (!hasPolkit())
            QSKIP("root needs no polkit, or with-services.sh could not start one (it says why)");
        const QString admin = u"orlendo-admin"_s;
        {
            // Before anything has found the bus: the connection is shared from then on.
            const QByteArray address = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere");
            SystemLog log;
            QVERIFY(!m_authorization.authStartWithUser(admin, password));
            qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
            QVERIFY(log.text().contains(QRegularExpression(u"Unable to create authRef - error [0-9]+\n"_s)));
        }
        for (const auto& [user, secret, isAsked] : {std::tuple{admin, u"sesame-wrong"_s, true},
                                                    {admin, u""_s, true},
                                                    {u"orlendo-nobody"_s, password, true},
                                                    {u"orlendo-user"_s, password, true},
                                                    {admin, QString(), false},
                                                    {QString(), password, false}}) {
            startNewLog();
            SystemLog log;
            QVERIFY2(!m_authorization.authStartWithUser(user, secret), qPrintable(user));
            QVERIFY(!m_authorization.isAuthorized());
            const QString line = u"Authorization failed. Invalid username or password"_s;
            QCOMPARE(log.text().contains(line), isAsked);
            QCOMPARE(logLines().contains(line), isAsked);
            if (!secret.isEmpty()) QVERIFY(!(log.text() + logLines().join(u'\n')).contains(secret));
        }
        // Nobody is there to be asked; then somebody is, in place of the desktop's dialog.
        QVERIFY(!m_authorization.canAuthorize());
        QCOMPARE(m_authorization.authExecTask(u"/bin/true"_s, {}), VLAuthorization::NotAuthorized);
        {
            PasswordAgent desktop(admin, password);
            QCOMPARE(desktop.start(10s), 0);
            QCOMPARE(m_authorization.authExecTask(u"/bin/true"_s, {}), 0);
            QVERIFY(m_authorization.isAuthorized() && m_authorization.authStart());
        }
        QVERIFY(!m_authorization.authStartWithUser(u"orlendo-user"_s, password));
        QVERIFY(!m_authorization.isAuthorized());  // rights go with a refusal

        QVERIFY(m_authorization.authStartWithUser(admin, password) && m_authorization.canAuthorize());
        const QString made = m_rootFolder + u"/made"_s;
        QVERIFY(!QDir().mkdir(made));
        QVERIFY(m_authorization.authCreateDir(made + u"/deep"_s));
        QCOMPARE(QFileInfo(made + u"/deep"_s).ownerId(), 0U);
        QVERIFY(write(path(u"new"_s)));
        QVERIFY(m_authorization.authMoveFile(path(u"new"_s), made));
        QVERIFY(m_authorization.authTrashFolderContents(made));
        QCOMPARE(VLFileManager::contentsOfDirectory(made), QStringList());
        QVERIFY(QFile::exists(trash(u"new"_s)) && QFile::exists(trash(u"deep"_s)));
        // The helper's own environment, not one that the user has a say in.
        qputenv("LD_PRELOAD", "/nowhere.so");
        const QStringList test{u"-c"_s, u"test -z \"$LD_PRELOAD$USER$0$1\""_s, {}};
        QCOMPARE(m_authorization.authExecTask(u"/bin/sh"_s, test), 0);
        qunsetenv("LD_PRELOAD");
    }

    void fileOperations() {
        const QString odd = u"-rf $(id) \"';\n*"_s;
        QVERIFY(QDir(m_folder->path()).mkpath(u"from/"_s + odd) && write(path(u"from/.hidden"_s)));
        QVERIFY(write(path(u"from/"_s + odd + u"/file"_s)));
        QVERIFY(QFile::link(u"/nowhere"_s, path(u"from/dangling"_s)));
        QVERIFY(m_authorization.authCopyFile(path(u"from"_s), path(u"copy"_s)));
        QVERIFY(QFile::exists(path(u"copy/"_s + odd + u"/file"_s)) &&
                QFileInfo(path(u"copy/dangling"_s)).isSymLink());
        QVERIFY(m_authorization.authCreateDir(path(u"a/b"_s)));
        QVERIFY(m_authorization.authMoveFolderContents(path(u"copy"_s), path(u"a/b"_s)));
        QCOMPARE(VLFileManager::contentsOfDirectory(path(u"copy"_s)), QStringList());
        QCOMPARE(VLFileManager::contentsOfDirectory(path(u"a/b"_s))->size(), 3);
        QVERIFY(m_authorization.authMoveFile(path(u"a/b/.hidden"_s), path(u"shown"_s)));
        QVERIFY(QFile::exists(path(u"shown"_s)));
        QVERIFY(m_authorization.authRemoveFile(path(u"a"_s)) && !QFile::exists(path(u"a"_s)));
        QVERIFY(m_authorization.authTrashFolderContents(path(u"from"_s)));
        QCOMPARE(VLFileManager::contentsOfDirectory(path(u"from"_s)), QStringList());
        QVERIFY(QFile::exists(trash(odd + u"/file"_s)));
    }

    void refusals() {
        const QByteArray home = qgetenv("HOME");
        const QString folder = path(u"home"_s);
        QVERIFY(QDir().mkdir(folder) && write(folder + u"/kept"_s) && QFile::link(folder, path(u"link"_s)));
        qputenv("HOME", folder.toUtf8());
        SystemLog log;
        const QString odd = folder + u"/../home/"_s;
        QVERIFY(!m_authorization.authMoveFile(odd, path(u"moved"_s)));
        QVERIFY(!m_authorization.authMoveFolderContents(folder, m_folder->path()));
        QVERIFY(!m_authorization.authMoveFolderContents(path(u"link"_s), m_folder->path()));
        QVERIFY(!m_authorization.authRemoveFile(folder));
        QVERIFY(!m_authorization.authTrashFile(folder, true));
        QVERIFY(!m_authorization.authTrashFolderContents(folder));
        QVERIFY(!m_authorization.authCopyFile({}, folder) && !m_authorization.authCopyFile(folder, {}));
        QVERIFY(!m_authorization.authMoveFile({}, folder) && !m_authorization.authMoveFile(path(u"x"_s), {}));
        QVERIFY(!m_authorization.authCopyFile(path(u"missing"_s), path(u"copy"_s)));
        QVERIFY(!m_authorization.authRemoveFile({}) && !m_authorization.authTrashFile({}));
        QCOMPARE(m_authorization.authExecTask(path(u"missing"_s), {}), -2);
        qputenv("HOME", home);
        const QString because = u" because it is a system directory."_s;
        for (const QString& line :
             {u"Unable to move path "_s + odd + because,
              u"Unable to move contents of path "_s + folder + because,
              u"Unable to delete path "_s + folder + because, u"Unable to trash path "_s + folder + because,
              u"Unable to trash folder contents of path "_s + folder + because,
              u"Error in authCopyFile: old path is null"_s, u"Error in authCopyFile: new path is null"_s,
              u"Error in authMoveFile: old path is null"_s, u"Error in authMoveFile: new path is null"_s,
              u"Unable to execute task: path "_s + path(u"missing"_s) + u" doesn't exist"_s})
            QVERIFY2(log.text().contains(line), qPrintable(line));
        QVERIFY(QFile::exists(folder + u"/kept"_s));
    }

    void systemDirectories() {
        for (const char* system :
             {"/", "//", "/usr", "/usr/", "/usr/share/..", "/tmp/../usr/.", "/lib64", "/bin", "/home",
              "/home/ann", "/usr/lib", "/var/lib", "/proc/self/root/usr"})
            QVERIFY2(VLFileManager::isPathSystemDirectory(QLatin1String(system), true), system);
        for (const char* inside : {"/usr/share/doc", "/etc/fstab", "/bin/sh", "/lib/modules"}) {
            QVERIFY2(!VLFileManager::isPathSystemDirectory(QLatin1String(inside), true), inside);
            QVERIFY2(VLFileManager::isPathSystemDirectory(QLatin1String(inside), false), inside);
        }
        for (const char* other :
             {"/home/ann/usr", "/usr/local/tool", "/data", "/tmp/x", "/var/lib/x/y", "", "/library"})
            QVERIFY2(!VLFileManager::isPathSystemDirectory(QLatin1String(other), false), other);
    }

    void trashNames() {
        for (const auto& [name, renamed] : {std::pair{u"Report.pdf"_s, u"^Report_[0-9]{14}\\.pdf$"_s},
                                            {u"README"_s, u"^README_[0-9]{14}\\.$"_s},
                                            {u".rc"_s, u"^\\.rc_[0-9]{14}\\.$"_s},
                                            {u"a b%20.tar.gz"_s, u"^a b%20\\.tar_[0-9]{14}\\.gz$"_s}}) {
            QDir(trash()).removeRecursively();
            for (int i = 0; i < 3; ++i)
                QVERIFY(write(path(name)) && m_authorization.authTrashFile(path(name)));
            QStringList names = *VLFileManager::contentsOfDirectory(trash());
            QCOMPARE(names.size(), 3);
            QCOMPARE(names.removeAll(name), 1);
            for (const QString& other : names)
                QVERIFY2(QRegularExpression(renamed).match(other).hasMatch(), qPrintable(other));
            QFile info(trash(u"../info/"_s + names.first() + u".trashinfo"_s));
            QVERIFY(info.open(QIODevice::ReadOnly));
            QVERIFY(info.readAll().startsWith(
                "[Trash Info]\nPath=" + QUrl::toPercentEncoding(path(name), "/") + "\nDeletionDate=2"));
        }
    }

    void rootsTrash() {
        if (!m_isRoot) QSKIP("only root tells the logged-in user's trash from its own");
        QVERIFY(write(path(u"item"_s)) && QDir().mkdir(path(u"folder"_s)) && write(path(u"folder/x"_s)));
        QVERIFY(m_authorization.authTrashFile(path(u"item"_s), true));
        QVERIFY(QFile::exists(path(u"item"_s)) &&
                !QFile::exists(trash(u"item"_s)));  // only the target is deleted
        QVERIFY(m_authorization.authTrashFolderContents(path(u"folder"_s), true));
        QVERIFY(!QFile::exists(path(u"folder/x"_s)) && !QFile::exists(trash(u"x"_s)));
        m_authorization.setUserDirectory(m_folder->path());
        QVERIFY(m_authorization.authTrashFile(path(u"item"_s), true));
        m_authorization.setUserDirectory({});
        QVERIFY(QFile::exists(path(u".Trash/item"_s)));
    }

    void statusAndEnd() {
        QCOMPARE(m_authorization.authExecTask(u"/bin/false"_s, {}), m_isRoot ? 0 : 1);
        QCOMPARE(m_authorization.authMoveFile(path(u"missing"_s), path(u"moved"_s)), m_isRoot);
        m_authorization.authEnd();
        QCOMPARE(m_authorization.isAuthorized(), m_isRoot);
    }

    void helperTakesNothingMalformed() {
        if (!m_isRoot) QSKIP("the helper is for root");
        const QByteArray touch = "/bin/touch\0touched\0"_ba, many = "/bin/true\0"_ba + QByteArray(4096, '\0');
        for (const auto& [body, length] : {std::pair{QByteArray(), quint32{0}},
                                           {touch, HelperProtocol::maxRequestLength + 1},
                                           {"/bin/true"_ba, 9},
                                           {"bin/true\0"_ba, 9},
                                           {"\0/bin/true\0"_ba, 11},
                                           {many, 4106}}) {
            const QByteArray request =
                QByteArray(reinterpret_cast<const char*>(&length), sizeof length) + body;
            const auto helper = PrivilegedHelper::start({QStringLiteral(HELPER_PROGRAM)}, 10s);
            QVERIFY(helper);
            QCOMPARE(helper->run(u"/bin/false"_s, {}), 1);
            QCOMPARE(helper->run(path(u"missing"_s), {}), 127);
            QCOMPARE(helper->run(u"bin/true"_s, {}), PrivilegedHelper::invalidRequest);
            QCOMPARE(send(helper->socket(), request.constData(), std::size_t(request.size()), 0),
                     request.size());
            QCOMPARE(helper->run(u"/bin/true"_s, {}), PrivilegedHelper::helperLost);
        }
    }
};

ORLENDO_TEST_MAIN(AuthorizationTest)
#include "authorization_test.moc"
