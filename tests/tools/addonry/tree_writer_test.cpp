#include "agent/TestFiles.h"
#include "agent/tree/TreeArchive.h"
#include "agent/tree/TreeWriter.h"
#include "system/VLException.h"

#include <QDirIterator>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

struct Item {
    QByteArray name, contents = {}, link = {};
    mode_t type = S_IFREG;
    mode_t mode = 0644;
    QByteArray hardLink = {};
};

/// A zip archive with whatever entries, also those that no honest program would write.
QByteArray zip(const QList<Item>& items) {
    QByteArray bytes(16 * 1024 * 1024, '\0');
    size_t used = 0;
    archive* writer = archive_write_new();
    archive_write_set_format_zip(writer);
    archive_write_set_bytes_in_last_block(writer, 1);
    archive_write_open_memory(writer, bytes.data(), size_t(bytes.size()), &used);
    for (const Item& item : items) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, item.name.constData());
        archive_entry_set_filetype(entry, item.type);
        archive_entry_set_perm(entry, item.mode);
        archive_entry_set_size(entry, item.contents.size());
        archive_entry_set_mtime(entry, 1'200'000'000, 0);
        if (item.type == S_IFLNK) archive_entry_set_symlink(entry, item.link.constData());
        archive_write_header(writer, entry);
        archive_write_data(writer, item.contents.constData(), size_t(item.contents.size()));
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    return bytes.left(qsizetype(used));
}

/// One that says in its directory that the file is a device.
QByteArray zipOfDevice() {
    QByteArray bytes = zip({{"x", "x"}});
    bytes[bytes.indexOf("PK\x01\x02") + 41] = char(S_IFCHR >> 8);
    return bytes;
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Every path below `folder` with its contents or target.
QStringList everything(const QString& folder) {
    QStringList found;
    QDirIterator paths(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (paths.hasNext()) {
        const QFileInfo info(paths.next());
        QString line = info.filePath().mid(folder.size());
        if (info.isSymLink())
            line += u" -> "_s + QString::fromUtf8(QFile::symLinkTarget(info.filePath()).toUtf8());
        else if (info.isFile())
            line += u": "_s + QString::fromUtf8(contentOf(info.filePath()));
        found.append(line);
    }
    found.sort();
    return found;
}

/// The reason, or nothing when it went well.
QString failureOf(const std::function<void()>& body) {
    try {
        body();
    } catch (const VLException& exception) {
        return exception.reason().isEmpty() ? u"no reason"_s : exception.reason();
    }
    return {};
}

struct stat statusOf(const QString& path) {
    struct stat status {};
    lstat(QFile::encodeName(path).constData(), &status);
    return status;
}

}  // namespace

class TreeWriterTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<WorkstationTree> m_tree;
    std::unique_ptr<TreeWriter> m_writer;

    [[nodiscard]] QString root() const { return m_folder->filePath(u"root"_s); }
    [[nodiscard]] QString disk(const QString& path) const { return root() + path; }

private Q_SLOTS:
    void init() {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(writeFile(disk("/Library/A.plugin/one.txt"), "one"));
        QVERIFY(writeFile(disk("/Library/A.plugin/sub/two.txt"), "two"));
        QVERIFY(writeFile(disk("/Users/anna/notes.txt"), "notes"));
        QVERIFY(writeFile(m_folder->filePath(u"outside/secret.txt"_s), "secret"));
        QVERIFY(QFile::link(m_folder->filePath(u"outside"_s), disk("/Users/anna/out")));
        QVERIFY(QFile::link(disk("/Library"), disk("/Users/anna/in")));
        m_tree = std::make_unique<WorkstationTree>(root());
        m_writer = std::make_unique<TreeWriter>(*m_tree);
    }

    void changes() {
        m_writer->makeFolders("/Users/anna/a/b");
        m_writer->makeFolders("/Users/anna/a/b");
        m_writer->write("/Users/anna/a/b/c.txt", "new");
        QVERIFY(chmod(qUtf8Printable(disk("/Users/anna/a/b/c.txt")), 0640) == 0);
        m_writer->write("/Users/anna/a/b/c.txt", "newer");
        QCOMPARE(contentOf(disk("/Users/anna/a/b/c.txt")), QByteArray("newer"));
        QCOMPARE(statusOf(disk("/Users/anna/a/b/c.txt")).st_mode & 07777, mode_t(0640));

        m_writer->copy("/Library/A.plugin", "/Users/anna/made/B.plugin");
        QVERIFY(QFile::link("one.txt", disk("/Library/A.plugin/link")));
        m_writer->move("/Library/A.plugin", "/Library/group/A.plugin");
        QCOMPARE(QFile::symLinkTarget(disk("/Library/group/A.plugin/link")),
                 disk("/Library/group/A.plugin/one.txt"));
        m_writer->replace("/Users/anna/made/B.plugin", "/Library/group/A.plugin");
        QVERIFY(!QFileInfo(disk("/Library/group/A.plugin/link")).isSymLink());
        QVERIFY(!QFileInfo::exists(disk("/Users/anna/made/B.plugin")));
        m_writer->replace("/Library/group/A.plugin", "/Users/anna/made/C.plugin");  // nothing there
        m_writer->replace("/Users/anna/a/b/c.txt", "/Users/anna/made/C.plugin");    // a file for a folder
        QCOMPARE(contentOf(disk("/Users/anna/made/C.plugin")), QByteArray("newer"));

        m_writer->remove("/Users/anna/out");  // the link
        m_writer->remove("/Users/anna/a");
        m_writer->remove("/Users/anna/a");
        QVERIFY(QFileInfo::exists(m_folder->filePath(u"outside/secret.txt"_s)));
        QVERIFY(!QFileInfo::exists(disk("/Users/anna/a")));
    }

    void trashKeepsNamesApart() {
        QStringList names;
        for (int i = 0; i < 3; ++i) {
            QVERIFY(writeFile(disk("/Users/anna/x.plist"), QByteArray::number(i)));
            names.append(m_writer->trash("/Users/anna/x.plist", "anna").section(u'/', -1));
        }
        QCOMPARE(names, QStringList({"x.plist", "x 2.plist", "x 3.plist"}));
        QCOMPARE(contentOf(disk("/Users/anna/.Trash/x 3.plist")), QByteArray("2"));
        for (const QString& user : {u""_s, u".."_s, u"anna/../bob"_s})
            QVERIFY(!failureOf([&] { (void)m_writer->trash("/Users/anna/notes.txt", user); }).isEmpty());
    }

    /// Nothing is changed where a change is refused.
    void refused_data() {
        QTest::addColumn<std::function<void(const TreeWriter&)>>("change");
        QTest::addColumn<QString>("reason");
        using Change = std::function<void(const TreeWriter&)>;
        const auto add = [](const char* name, const Change& change, const QString& reason) {
            QTest::newRow(name) << change << reason;
        };
        const QString notAPath = u"Not a path that may be changed"_s, link = u"a link is in the way"_s;
        const QString exists = u"File exists"_s, missing = u"No such file"_s;
        add(
            "relative", [](auto& w) { w.write("x", "x"); }, notAPath);
        add(
            "root", [](auto& w) { w.remove("/"); }, notAPath);
        add(
            "climbs", [](auto& w) { w.remove("/Users/anna/../../outside"); }, notAPath);
        add(
            "dot", [](auto& w) { w.remove("/Users/anna/."); }, notAPath);
        add(
            "nul", [](auto& w) { w.write(u"/Users/a"_s + QChar(0), "x"); }, notAPath);
        add(
            "write through a link", [](auto& w) { w.write("/Users/anna/out/secret.txt", "x"); }, link);
        add(
            "through a link inside", [](auto& w) { w.write("/Users/anna/in/x", "x"); }, link);
        add(
            "write over a link", [](auto& w) { w.write("/Users/anna/out", "x"); }, u"it is no file"_s);
        add(
            "write over a folder", [](auto& w) { w.write("/Library/A.plugin", "x"); }, u"it is no file"_s);
        add(
            "folders in a link", [](auto& w) { w.makeFolders("/Users/anna/out/x/y"); }, link);
        add("folders over a file", [](auto& w) { w.makeFolders("/Users/anna/notes.txt/x"); }, {});
        add(
            "move through a link", [](auto& w) { w.move("/Users/anna/out/secret.txt", "/Library/x"); }, link);
        add(
            "move into a link", [](auto& w) { w.move("/Library/A.plugin", "/Users/anna/out/A"); }, link);
        add(
            "move over something", [](auto& w) { w.move("/Users/anna/notes.txt", "/Library/A.plugin"); },
            exists);
        add(
            "move nothing", [](auto& w) { w.move("/Users/anna/none", "/Users/anna/new/none"); }, missing);
        add("move into itself", [](auto& w) { w.move("/Library/A.plugin", "/Library/A.plugin/sub/x"); }, {});
        add(
            "copy over something", [](auto& w) { w.copy("/Users/anna/notes.txt", "/Library/A.plugin"); },
            exists);
        add(
            "copy through a link", [](auto& w) { w.copy("/Users/anna/out/secret.txt", "/Library/x"); }, link);
        add(
            "replace by nothing", [](auto& w) { w.replace("/Library/none", "/Library/A.plugin"); }, missing);
        add(
            "remove through a link", [](auto& w) { w.remove("/Users/anna/out/secret.txt"); }, link);
        add(
            "lock through a link", [](auto& w) { (void)w.setLocked("/Users/anna/out/secret.txt", true); },
            link);
        add(
            "lock nothing", [](auto& w) { (void)w.setLocked("/Users/anna/none", true); }, missing);
    }
    void refused() {
        using Change = std::function<void(const TreeWriter&)>;
        QFETCH(Change, change);
        QFETCH(QString, reason);
        const QStringList before = everything(m_folder->path());
        const QString failure = failureOf([&] { change(*m_writer); });
        QVERIFY2(!failure.isEmpty() && failure.contains(reason), qPrintable(failure));
        QCOMPARE(everything(m_folder->path()), before);
    }

    void locks() {
        const auto unlocked = qScopeGuard([this] { (void)m_writer->setLocked("/Library/A.plugin", false); });
        QVERIFY(!m_writer->isLocked("/Library/A.plugin"));
        const bool isImmutable = m_writer->setLocked("/Library/A.plugin/sub", true);
        QVERIFY(m_writer->isLocked("/Library/A.plugin") &&
                m_writer->isLocked("/Library/A.plugin/sub/two.txt"));
        QVERIFY(!m_writer->isLocked("/Library/A.plugin/one.txt"));
        if (isImmutable)
            QVERIFY(!failureOf([this] { m_writer->write("/Library/A.plugin/sub/two.txt", "x"); }).isEmpty());
        else
            QCOMPARE(statusOf(disk("/Library/A.plugin/sub/two.txt")).st_mode & 0222, mode_t(0));
        (void)m_writer->setLocked("/Library/A.plugin", false);
        QVERIFY(!m_writer->isLocked("/Library/A.plugin"));
        m_writer->write("/Library/A.plugin/sub/two.txt", "x");
    }

    void ownersStay() {
        if (geteuid() != 0) QSKIP("only root can give files away");
        const QByteArray home = disk("/Users/anna").toUtf8();
        QVERIFY(chown(home.constData(), 4242, 4243) == 0);
        m_writer->copy("/Library/A.plugin", "/Users/anna/new/A.plugin");
        m_writer->write("/Users/anna/new/a.txt", "x");
        TreeArchive::unpack(*m_tree, zip({{"x/y.txt", "y"}, {"x/l", {}, "y.txt", S_IFLNK}}), "/Users/anna/z");
        for (const char* path : {"/new", "/new/A.plugin/sub/two.txt", "/new/a.txt", "/z/x/y.txt", "/z/x/l"})
            QCOMPARE(statusOf(home + path).st_uid, uid_t(4242));
        QVERIFY(chown(qUtf8Printable(disk("/Users/anna/new/a.txt")), 77, 77) == 0);
        m_writer->write("/Users/anna/new/a.txt", "y");
        QCOMPARE(statusOf(home + "/new/a.txt").st_uid, uid_t(77));

        // A name that the user gave to somebody else's file does not make it the user's.
        const QByteArray secret = m_folder->filePath(u"outside/secret.txt"_s).toUtf8();
        QVERIFY(link(secret.constData(), (home + "/mine.txt").constData()) == 0);
        QVERIFY(!failureOf([this] { m_writer->copy("/Users/anna/mine.txt", "/Users/anna/c"); }).isEmpty());
        QVERIFY(!failureOf([this] { (void)m_writer->setLocked("/Users/anna/mine.txt", true); }).isEmpty());
        QVERIFY(!failureOf([this] {
                     (void)TreeArchive::pack(*m_tree, {{"x", "/Users/anna/mine.txt"}});
                 }).isEmpty());
    }

    void movesToAnotherDisk() {
        QVERIFY(QDir().mkpath(disk("/Users/anna/other")));
        const QByteArray other = disk("/Users/anna/other").toUtf8();
        if (mount("none", other.constData(), "tmpfs", 0, "size=64k") != 0)
            QSKIP("mounting another disk is not permitted here");
        const auto unmount = qScopeGuard([&] { umount2(other.constData(), MNT_DETACH); });
        m_writer->move("/Library/A.plugin", "/Users/anna/other/sub/A.plugin");
        QCOMPARE(contentOf(other + "/sub/A.plugin/sub/two.txt"), QByteArray("two"));
        QVERIFY(!QFileInfo::exists(disk("/Library/A.plugin")));
        QVERIFY(writeFile(disk("/Library/B.plugin"), QByteArray(100'000, 'x')));
        const QStringList before = everything(m_folder->path());
        const QString failure =
            failureOf([this] { m_writer->move("/Library/B.plugin", "/Users/anna/other/B"); });
        QVERIFY2(failure.contains("no room left on the disk"), qPrintable(failure));
        QCOMPARE(everything(m_folder->path()), before);
    }

    void packsAndUnpacks() {
        std::setlocale(LC_ALL, "C");
        const QString folder = disk("/Library/Ärger 音.plugin");
        QVERIFY(writeFile(folder + "/Contents/ü.txt", "umlaut"));
        QVERIFY(writeFile(folder + "/Contents/tool", "run"));
        QVERIFY(chmod(qUtf8Printable(folder + "/Contents/tool"), 04755) == 0);
        QVERIFY(QDir().mkpath(folder + "/empty"));
        QVERIFY(QFile::link("Contents/tool", folder + "/inside"));
        QVERIFY(QFile::link("../../outside", folder + "/outside"));
        const timespec times[] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
        QVERIFY(utimensat(AT_FDCWD, qUtf8Printable(folder), times, 0) == 0);
        const QByteArray archive = TreeArchive::pack(
            *m_tree,
            {{"Ärger 音.plugin", "/Library/Ärger 音.plugin"}, {"deep/notes", "/Users/anna/notes.txt"}});
        QCOMPARE(TreeArchive::topLevelNames(archive), QStringList({"deep", "Ärger 音.plugin"}));
        TreeArchive::unpack(*m_tree, archive, "/Users/anna/new/unpacked");
        const QString unpacked = disk("/Users/anna/new/unpacked");
        QVERIFY(QFile::remove(folder + "/outside"));
        QCOMPARE(everything(unpacked + "/Ärger 音.plugin"),
                 everything(folder).replaceInStrings(folder, unpacked + "/Ärger 音.plugin"));
        QCOMPARE(contentOf(unpacked + "/deep/notes"), QByteArray("notes"));
        QCOMPARE(statusOf(unpacked + "/Ärger 音.plugin/Contents/tool").st_mode & 07777, mode_t(0755));
        QCOMPARE(statusOf(unpacked + "/Ärger 音.plugin").st_mtim.tv_sec, 1'000'000'000);
        QVERIFY(
            failureOf([&] { TreeArchive::unpack(*m_tree, archive, "/Users/anna/new"); }).contains("exists"));
    }

    void hostileArchives_data() {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<QString>("reason");
        const QString name = u"may not be called"_s;
        const QByteArray good = zip({{"a/b.txt", QByteArray(5000, 'b')}, {"a/c.txt", "c"}});
        QTest::newRow("empty") << QByteArray() << QString();
        QTest::newRow("rubbish") << QByteArray(3000, 'x') << QString();
        QTest::newRow("cut off") << good.left(good.size() / 2) << QString();
        QTest::newRow("climbs") << zip({{"a/../../x", "x"}}) << name;
        QTest::newRow("climbs at once") << zip({{"../x", "x"}}) << name;
        QTest::newRow("absolute") << zip({{"/tmp/orlendo-escaped", "x"}}) << name;
        QTest::newRow("dot") << zip({{"./x", "x"}}) << name;
        QTest::newRow("doubled slash") << zip({{"a//x", "x"}}) << name;
        QTest::newRow("no text") << zip({{"a\xff\xfe", "x"}}) << name;
        QTest::newRow("too long") << zip({{QByteArray(300, 'n'), "x"}}) << name;
        QTest::newRow("too deep") << zip({{QByteArray("d/").repeated(150) + "x", "x"}}) << name;
        QTest::newRow("twice") << zip({{"a", "1"}, {"a", "2"}}) << u"a is in it twice"_s;
        QTest::newRow("file as folder") << zip({{"a", "1"}, {"a/b", "2"}}) << QString();
        QTest::newRow("device") << zipOfDevice() << u"neither a file nor a folder"_s;
        const QString leads = u"leads out of it"_s;
        const auto link = [](const QByteArray& target, const QByteArray& name = "d/l") {
            return Item{name, {}, target, S_IFLNK};
        };
        QTest::newRow("absolute link") << zip({link("/etc")}) << leads;
        QTest::newRow("climbing link") << zip({link("../../x")}) << leads;
        QTest::newRow("link that climbs later") << zip({link("a/../../../x")}) << leads;
        QTest::newRow("link over a link") << zip({link("..", "d/e/l"), link("e/l/../..", "d/m")}) << leads;
        QTest::newRow("through a link") << zip({link("."), {"d/l/x", "x"}}) << QString();
        QTest::newRow("link over a file") << zip({{"d/l", "x"}, link(".")}) << QString();
        QTest::newRow("bomb") << zip({{"zeros", QByteArray(3 * 1024 * 1024, '\0')}}) << u"holds too much"_s;
    }
    void hostileArchives() {
        QFETCH(QByteArray, archive);
        QFETCH(QString, reason);
        const QStringList before = everything(m_folder->path());
        const QString failure = failureOf(
            [&] { TreeArchive::unpack(*m_tree, archive, "/Users/anna/unpacked", 2 * 1024 * 1024); });
        QVERIFY2(!failure.isEmpty() && failure.contains(reason), qPrintable(failure));
        QCOMPARE(everything(m_folder->path()), before);
        QVERIFY(!QFileInfo::exists("/tmp/orlendo-escaped"));
    }

    void tooManyEntries() {
        QList<Item> items;
        for (int i = 0; i <= TreeArchive::mostEntries; ++i)
            items.append({QByteArray::number(i)});
        const QByteArray archive = zip(items);
        QVERIFY(failureOf([&] { (void)TreeArchive::topLevelNames(archive); }).contains("too many entries"));
    }

    /// A limit on file sizes stands for a full disk.
    void fullDisk_data() {
        QTest::addColumn<std::function<void(const TreeWriter&, const WorkstationTree&)>>("change");
        using Change = std::function<void(const TreeWriter&, const WorkstationTree&)>;
        const QByteArray big(100'000, 'x');
        QTest::newRow("write") << Change([=](auto& w, auto&) { w.write("/Users/anna/notes.txt", big); });
        QTest::newRow("write anew") << Change([=](auto& w, auto&) { w.write("/Users/anna/big", big); });
        QTest::newRow("copy") << Change([](auto& w, auto&) { w.copy("/Library/big", "/Users/anna/big"); });
        QTest::newRow("unpack") << Change([archive = zip({{"small", "s"}, {"big", big}})](auto&, auto& tree) {
            TreeArchive::unpack(tree, archive, "/Users/anna/unpacked");
        });
    }
    void fullDisk() {
        using Change = std::function<void(const TreeWriter&, const WorkstationTree&)>;
        QFETCH(Change, change);
        QVERIFY(writeFile(disk("/Library/big"), QByteArray(100'000, 'x')));
        const QStringList before = everything(m_folder->path());
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        const rlimit small{50'000, limit.rlim_max};
        ::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
        const QString failure = failureOf([&] { change(*m_writer, *m_tree); });
        setrlimit(RLIMIT_FSIZE, &limit);
        QVERIFY2(failure.contains("no room left on the disk"), qPrintable(failure));
        QCOMPARE(everything(m_folder->path()), before);
    }

    /// Whenever the program dies, the folder is the old or the new one, and nothing is left behind for good.
    void killedInTheMiddle() {
        const auto build = [this](const QString& path, const QByteArray& text) {
            for (int i = 0; i < 20; ++i)
                m_writer->write(path + u"/%1"_s.arg(i), text);
        };
        m_writer->makeFolders("/Library/T");
        build("/Library/T", "old");
        for (int round = 0; round < 25; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                for (int i = 0;; ++i) {
                    const QString staged = m_writer->stagingPath("/Library");
                    m_writer->makeFolders(staged);
                    build(staged, i % 2 ? "old" : "new");
                    m_writer->replace(staged, "/Library/T");
                }
            }
            QTest::qSleep(5 + round * 3);
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            const QByteArray first = contentOf(disk("/Library/T/0"));
            QVERIFY(first == "old" || first == "new");
            for (int i = 0; i < 20; ++i)
                QCOMPARE(contentOf(disk(u"/Library/T/%1"_s.arg(i))), first);
        }
    }
};

QTEST_GUILESS_MAIN(TreeWriterTest)
#include "tree_writer_test.moc"
