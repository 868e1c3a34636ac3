#include "agent/tree/WorkstationTree.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"
#include "system/VLException.h"

#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

using namespace Qt::StringLiterals;

class WorkstationTreeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void initTestCase() {
        QVERIFY(m_folder.isValid());
        QVERIFY(writeFile(root() + "/Library/inside.txt", "inside"));
        QVERIFY(writeFile(root() + "/Users/anna/notes.txt", "notes"));
        QVERIFY(QDir().mkpath(root() + "/Users/Shared"));
        QVERIFY(QDir().mkpath(root() + "/Users/.hidden"));
        QVERIFY(writeFile(m_folder.filePath("secret.txt"), "secret"));
        const QString outside = m_folder.path();
        const auto link = [this](const QString& target, const char* name) {
            QVERIFY(QFile::link(target, root() + "/Library/" + name));
        };
        link(outside + "/secret.txt", "absolute-out");
        link("../../secret.txt", "relative-out");
        link("../../../../../../../../../../etc", "far-out");
        link("/proc/self/root/etc/passwd", "magic-out");
        link("/Users/anna/notes.txt", "absolute-in");
        link("../Users/anna", "folder-in");
        link("loop", "loop");
        link("nowhere", "broken");
        QVERIFY(QFile::link(outside, root() + "/Users/linked"));
    }

    void paths_data() {
        const TestTable<QString, QByteArray> row("path", "content");  // null: refused
        row("file", "/Library/inside.txt", "inside");
        row("doubled slashes", "//Library//inside.txt", "inside");
        row("link inside, absolute", "/Library/absolute-in", "notes");
        row("through a link inside", "/Library/folder-in/notes.txt", "notes");
        for (const char* refused :
             {"", "/", "/Library", "Library/inside.txt", "~/notes.txt", "/../secret.txt",
              "/Library/../Library/inside.txt", "/Library/inside.txt/..", "/Library/absolute-out",
              "/Library/relative-out", "/Library/far-out/passwd", "/Library/magic-out",
              "/Users/linked/secret.txt", "/Library/loop", "/Library/broken"})
            row(refused, refused, {});
        row("absolute path of the host", m_folder.filePath("secret.txt"), {});
        row("NUL", QString::fromLatin1(QByteArray("/Library/inside.txt\0.png", 24)), {});
        row("too long", "/" + QString(5000, u'a'), {});
    }
    void paths() {
        QFETCH(QString, path);
        QFETCH(QByteArray, content);
        const WorkstationTree tree(root());
        const auto read = tree.read(path, 1000);
        QCOMPARE(read.has_value(), !content.isNull());
        if (read) QCOMPARE(*read, content);
        const auto end = tree.readEnd(path, 1000);
        QCOMPARE(end.has_value(), !content.isNull());
        for (const auto& entry : tree.entries(path))
            QVERIFY(entry.name != u"secret.txt");
    }

    void listsLinksAsLinks() {
        const WorkstationTree tree(root());
        const auto entries = tree.entries(u"/Library"_s);
        QCOMPARE(entries.size(), 9);
        for (const auto& entry : entries)
            QCOMPARE(entry.kind == WorkstationTree::Kind::Link, entry.name != u"inside.txt");
        QVERIFY(tree.entries(u"/Library/far-out"_s).isEmpty());
        QVERIFY(!tree.entry(u"/Library/absolute-out"_s));
        QCOMPARE(tree.entry(u"/Library/absolute-in"_s)->size, 5);
        QCOMPARE(tree.userNames(), QStringList{u"anna"_s});
    }

    void limitsWhatIsRead() {
        const WorkstationTree tree(root());
        const QString path = u"/Library/inside.txt"_s;
        QVERIFY(tree.read(path, 6));
        QVERIFY(!tree.read(path, 5));
        QCOMPARE(*tree.readEnd(path, 4), QByteArray("side"));
        QCOMPARE(*tree.readEnd(path, 0), QByteArray());
    }

    void doesNotWaitForPipes() {
        const QString path = root() + "/Library/pipe";
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        const WorkstationTree tree(root());
        QVERIFY(!tree.read(u"/Library/pipe"_s, 100));
        QCOMPARE(tree.entry(u"/Library/pipe"_s)->kind, WorkstationTree::Kind::Other);
        QVERIFY(QFile::remove(path));
    }

    void linkThatIsSwappedNeverLeadsOut() {
        const WorkstationTree tree(root());
        const QByteArray name = QFile::encodeName(root() + "/Library/swapped");
        const QByteArray spare = name + ".next";
        const QByteArray outside = QFile::encodeName(m_folder.path());
        std::atomic<bool> stop = false;
        std::thread swapper([&] {
            for (bool out = true; !stop; out = !out) {
                // One time a folder of the host, the next time one of the tree, as fast as it goes.
                if (symlink(out ? outside.constData() : "../Users/anna", spare.constData()) != 0) continue;
                rename(spare.constData(), name.constData());
            }
        });
        bool leaked = false;
        for (int i = 0; i < 5000 && !leaked; ++i) {
            leaked = tree.read(u"/Library/swapped/secret.txt"_s, 100).has_value();
        }
        stop = true;
        swapper.join();
        QVERIFY(!leaked);
        unlink(name.constData());
        unlink(spare.constData());
    }

    void refusesMissingRoot() {
        QVERIFY_EXCEPTION_THROWN(WorkstationTree(root() + "/nothing"), VLException);
        QVERIFY_EXCEPTION_THROWN(WorkstationTree(root() + "/Library/inside.txt"), VLException);
    }

private:
    [[nodiscard]] QString root() const { return m_folder.filePath(u"root"_s); }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(WorkstationTreeTest)
#include "workstation_tree_test.moc"
