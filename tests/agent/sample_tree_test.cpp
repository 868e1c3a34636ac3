#include "agent/sample/SampleTree.h"
#include "support/TestFiles.h"
#include "system/VLException.h"

#include <QTemporaryDir>
#include <QTest>

class SampleTreeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void keepsKeysWhenMadeAnew() {
        SampleTree::make(path("a"), 1);
        QVERIFY(writeFile(path("a/state/agent.key"), "key"));
        QVERIFY(writeFile(path("a/disk/Library/left over"), "x"));
        QVERIFY(writeFile(path("a/state/authorized/console.crt"), "certificate"));
        SampleTree::make(path("a"), 1);
        QVERIFY(!QFile::exists(path("a/disk/Library/left over")));
        QVERIFY(QFile::exists(path("a/state/agent.key")));
        QVERIFY(QFile::exists(path("a/state/authorized/console.crt")));
    }

    void refusesForeignFolders() {
        QVERIFY(writeFile(path("mine/thesis.txt"), "years of work"));
        QVERIFY_EXCEPTION_THROWN(SampleTree::make(path("mine"), 1), VLException);
        QVERIFY(QFile::link("/etc/hostname", path("mine/.corvalin-sample")));
        QVERIFY_EXCEPTION_THROWN(SampleTree::make(path("mine"), 1), VLException);
        QVERIFY_EXCEPTION_THROWN(SampleTree::make(path("mine/thesis.txt"), 1), VLException);
        QVERIFY(!SampleTree::isSample(path("mine")));
        QVERIFY(QFile::remove(path("mine/.corvalin-sample")));
        QVERIFY(QFile::exists(path("mine/thesis.txt")));

        SampleTree::make(path("linked"), 1);
        QVERIFY(QDir(path("linked/disk")).removeRecursively());
        QVERIFY(QFile::link(path("mine"), path("linked/disk")));
        QVERIFY_EXCEPTION_THROWN(SampleTree::make(path("linked"), 1), VLException);
        QVERIFY(QFile::exists(path("mine/thesis.txt")));

        QVERIFY(QDir().mkpath(path("empty")));
        SampleTree::make(path("empty"), 1);
        QVERIFY(SampleTree::isSample(path("empty")));
    }

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(SampleTreeTest)
#include "sample_tree_test.moc"
