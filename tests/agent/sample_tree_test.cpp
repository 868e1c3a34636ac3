#include "agent/TestFiles.h"
#include "agent/addonry/PluginCatalog.h"
#include "agent/sample/SampleTree.h"
#include "agent/tree/WorkstationTree.h"
#include "system/VLException.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr const char* users[] = {"anna", "bruno", "chiara", "render"};

/// Names, contents, link targets and dates of everything in a folder.
QStringList describe(const QString& directory) {
    QStringList lines;
    QDirIterator iterator(directory, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QFileInfo info(iterator.next());
        QString line = info.filePath().mid(directory.size());
        if (info.isSymLink()) {
            line += " -> " + info.symLinkTarget().mid(directory.size());
        } else if (info.isFile()) {
            QFile file(info.filePath());
            if (!file.open(QIODevice::ReadOnly)) return {};
            line += u' ' + info.lastModified().toUTC().toString(Qt::ISODateWithMs) + u' ' +
                    QString::fromLatin1(
                        QCryptographicHash::hash(file.readAll(), QCryptographicHash::Md5).toHex());
        }
        lines.append(line);
    }
    lines.sort();
    return lines;
}

}  // namespace

class SampleTreeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void isTheSameEveryTime() {
        SampleTree::make(path("a"), 2);
        SampleTree::make(path("b"), 2);
        const QStringList first = describe(path("a"));
        QVERIFY(first.size() > 100);
        QCOMPARE(describe(path("b")), first);
        QVERIFY(writeFile(path("a/disk/Library/left over"), "x"));
        SampleTree::make(path("a"), 2);
        QCOMPARE(describe(path("a")), first);
    }

    void keepsKeysWhenMadeAnew() {
        SampleTree::make(path("a"), 1);
        QVERIFY(writeFile(path("a/state/agent.key"), "key"));
        QVERIFY(writeFile(path("a/state/authorized/console.crt"), "certificate"));
        SampleTree::make(path("a"), 1);
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

    void machinesDisagreeInEveryWay() {
        QHash<QString, QList<QStringList>> copies;  // name: version, disabled, access type on each machine
        for (int profile = 1; profile <= SampleTree::profileCount; ++profile) {
            const QString directory = path(QString::number(profile));
            SampleTree::make(directory, profile);
            for (const QVariant& value :
                 PluginCatalog::list(WorkstationTree(directory + "/disk"), users[profile - 1])) {
                const QVariantMap plugin = value.toMap();
                copies[plugin.value("name").toString()].append({plugin.value("version").toString(),
                                                                plugin.value("disabled").toString(),
                                                                plugin.value("accessType").toString()});
            }
        }
        QVERIFY(copies.size() >= 10);
        QSet<qsizetype> differing;
        int alike = 0, missing = 0;
        for (const QList<QStringList>& rows : std::as_const(copies)) {
            missing += rows.size() < SampleTree::profileCount;
            alike += rows.count(rows.first()) == SampleTree::profileCount;
            for (const QStringList& row : rows) {
                for (qsizetype column = 0; column < row.size(); ++column)
                    if (row[column] != rows.first()[column]) differing << column;
            }
        }
        QVERIFY(alike > 0 && missing > 0);
        QCOMPARE(differing.size(), 3);
    }

    void everyPropertyListIsReadable() {
        SampleTree::make(path("a"), 3);
        int count = 0;
        QDirIterator iterator(path("a"), {"*.plist", "agent.conf"}, QDir::Files,
                              QDirIterator::Subdirectories);
        while (iterator.hasNext()) {
            QString error;
            const QVariant content = PropertyList::readFile(iterator.next(), &error);
            QVERIFY2(content.typeId() == QMetaType::QVariantMap, qPrintable(iterator.filePath() + error));
            ++count;
        }
        QVERIFY(count > 40);
    }

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(SampleTreeTest)
#include "sample_tree_test.moc"
