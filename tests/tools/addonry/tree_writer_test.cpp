#include "agent/tree/TreeArchive.h"
#include "agent/tree/TreeWriter.h"
#include "base/PropertyList.h"
#include "support/FullDisk.h"
#include "support/TestFiles.h"
#include "support/ZipArchive.h"
#include "system/VLException.h"

#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

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
        QCOMPARE(contentsOf(disk("/Users/anna/a/b/c.txt")), QByteArray("newer"));
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
        QCOMPARE(contentsOf(disk("/Users/anna/made/C.plugin")), QByteArray("newer"));

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
        QCOMPARE(contentsOf(disk("/Users/anna/.Trash/x 3.plist")), QByteArray("2"));
        for (const QString& user : {u""_s, u".."_s, u"anna/../bob"_s})
            QVERIFY(!failureOf([&] { (void)m_writer->trash("/Users/anna/notes.txt", user); }).isEmpty());
    }

    /// Nothing is changed where a change is refused.
    void refused_data() {
        QTest::addColumn<QString>("reason");
        const auto rows = [](const char* reason, const std::vector<const char*>& changes) {
            for (const char* change : changes)
                QTest::newRow(change) << QString::fromLatin1(reason);
        };
        rows("Not a path that may be changed", {"write x", "remove /", "remove /Users/anna/../../outside",
                                                "remove /Users/anna/.", "write /Users/NUL"});
        rows("a link is in the way",
             {"write /Users/anna/out/secret.txt", "write /Users/anna/in/x", "makeFolders /Users/anna/out/x/y",
              "move /Users/anna/out/secret.txt /Library/x", "move /Library/A.plugin /Users/anna/out/A",
              "copy /Users/anna/out/secret.txt /Library/x", "remove /Users/anna/out/secret.txt",
              "lock /Users/anna/out/secret.txt"});
        rows("it is no file", {"write /Users/anna/out", "write /Library/A.plugin"});
        rows("File exists", {"move /Users/anna/notes.txt /Library/A.plugin",
                             "copy /Users/anna/notes.txt /Library/A.plugin"});
        rows("No such file", {"move /Users/anna/none /Users/anna/new/none",
                              "replace /Library/none /Library/A.plugin", "lock /Users/anna/none"});
        rows("", {"makeFolders /Users/anna/notes.txt/x", "move /Library/A.plugin /Library/A.plugin/sub/x"});
    }
    void refused() {
        QFETCH(QString, reason);
        const QStringList words = QString::fromLatin1(QTest::currentDataTag()).split(u' ');
        const QString path = QString(words[1]).replace(u"NUL"_s, QChar(0)), other = words.value(2);
        const QMap<QString, std::function<void()>> changes{
            {u"write"_s, [&] { m_writer->write(path, "x"); }},
            {u"remove"_s, [&] { m_writer->remove(path); }},
            {u"makeFolders"_s, [&] { m_writer->makeFolders(path); }},
            {u"move"_s, [&] { m_writer->move(path, other); }},
            {u"copy"_s, [&] { m_writer->copy(path, other); }},
            {u"replace"_s, [&] { m_writer->replace(path, other); }},
            {u"lock"_s, [&] { (void)m_writer->setLocked(path, true); }},
        };
        const QStringList before = everything(m_folder->path());
        const QString failure = failureOf(changes[words[0]]);
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

        QVERIFY(chmod(qUtf8Printable(disk("/Users/anna/new/A.plugin/one.txt")), 0666) == 0);
        m_writer->copy("/Users/anna/new/A.plugin", "/Library/B.plugin");
        QCOMPARE(statusOf(disk("/Library/B.plugin/one.txt")).st_mode & 0777, mode_t(0644));
        QCOMPARE(truncate(qUtf8Printable(disk("/Users/anna/new/a.txt")), off_t(1) << 42), 0);  // a hole
        QVERIFY(failureOf([this] {
                    m_writer->copy("/Users/anna/new/a.txt", "/Library/a");
                }).contains("no room left on the disk"));

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
        QCOMPARE(contentsOf(other + "/sub/A.plugin/sub/two.txt"), QByteArray("two"));
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
        QCOMPARE(contentsOf(unpacked + "/deep/notes"), QByteArray("notes"));
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
            return ZipItem{name, {}, target, S_IFLNK};
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
        QList<ZipItem> items;
        for (int i = 0; i <= TreeArchive::mostEntries; ++i)
            items.append({QByteArray::number(i)});
        const QByteArray archive = zip(items);
        QVERIFY(failureOf([&] { (void)TreeArchive::topLevelNames(archive); }).contains("too many entries"));
        items.clear();
        for (int i = 0; i <= TreeArchive::mostEntries / 90; ++i)
            items.append({QByteArray::number(i) + QByteArray("/d").repeated(90)});
        const QByteArray folders = zip(items);  // all but one in a hundred implied
        QVERIFY(failureOf([&] { (void)TreeArchive::topLevelNames(folders); }).contains("too many entries"));
    }

    /// A limit on file sizes stands for a full disk.
    void fullDisk() {
        QVERIFY(writeFile(disk("/Library/big"), QByteArray(100'000, 'x')));
        const QByteArray big(100'000, 'x'), archive = zip({{"small", "s"}, {"big", big}});
        const QStringList before = everything(m_folder->path());
        auto full = std::make_unique<FullDisk>(50'000);
        const QStringList failures{
            failureOf([&] { m_writer->write("/Users/anna/notes.txt", big); }),
            failureOf([&] { m_writer->write("/Users/anna/big", big); }),
            failureOf([&] { m_writer->copy("/Library/big", "/Users/anna/big"); }),
            failureOf([&] { TreeArchive::unpack(*m_tree, archive, "/Users/anna/unpacked"); }),
        };
        full.reset();
        for (const QString& failure : failures)
            QVERIFY2(failure.contains("no room left on the disk"), qPrintable(failure));
        QCOMPARE(everything(m_folder->path()), before);
    }

    /// The next start removes what this program has left, and nothing that only looks like it.
    void leftoversAreRemovedAtStart() {
        const QString notes = m_folder->filePath(u"temporary.plist"_s), mark = u".corvalin-tmp-1a2b-"_s;
        const QVariantMap kept{
            {mark, QStringList{u"/Library"_s, u"/Users/linked"_s, u"/Users/../Users"_s, u"/Gone"_s}},
            {u".corvalin-tmp-"_s, QStringList{u"/Users"_s}},
            {u"A"_s, QStringList{u"/Library"_s}}};
        QVERIFY(writeFile(notes, PropertyList::toData(kept)));
        const QString outside = m_folder->filePath(u"outside"_s);
        for (const QString& folder : {disk("/Library/"), disk("/Users/"), outside + u'/'}) {
            QVERIFY(writeFile(folder + mark + u"file"_s, "left"));
            QVERIFY(writeFile(folder + mark + u"folder/deep/file"_s, "left"));
            QVERIFY(QFile::link(outside, folder + mark + u"link"_s));
            QVERIFY(writeFile(folder + u".corvalin-tmp-99-other"_s, "somebody else's"));
        }
        QVERIFY(QFile::link(outside, disk("/Library/") + mark + u"folder/out"_s));
        QVERIFY(QFile::link(outside, disk("/Users/linked")));

        const WorkstationTree tree(root(), notes);
        TreeWriter(tree).write("/Users/anna/new.txt", "new");
        tree.clearLeftovers();
        const auto names = [](const QString& folder) {
            return QDir(folder).entryList({u".corvalin-tmp-*"_s},
                                          QDir::AllEntries | QDir::Hidden | QDir::System);
        };
        QCOMPARE(names(disk("/Library")), (QStringList{mark + u"link"_s, u".corvalin-tmp-99-other"_s}));
        QCOMPARE(names(disk("/Users")).size(), 4);
        QCOMPARE(names(outside).size(), 4);
        QCOMPARE(contentsOf(outside + u"/secret.txt"_s), "secret"_ba);
        // Where this process makes some is noted down; what could not be looked through is for another time.
        const QVariantMap noted = PropertyList::readFile(notes).toMap();
        QCOMPARE(noted.value(mark).toStringList(), QStringList{});
        QCOMPARE(noted.size(), 1);
        QCOMPARE(noted.first().toStringList(), QStringList{u"/Users/anna"_s});
    }
};

QTEST_GUILESS_MAIN(TreeWriterTest)
#include "tree_writer_test.moc"
