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
    void isTheSameEveryTime();
    void keepsKeysWhenMadeAnew();
    void refusesForeignFolders();
    void machinesDisagreeInEveryWay();
    void everyPropertyListIsReadable();
    void everyToolFindsSomething_data();
    void everyToolFindsSomething();

private:
    [[nodiscard]] QString path(const QString& name) const { return m_folder->filePath(name); }

    std::unique_ptr<QTemporaryDir> m_folder;
    QTemporaryDir m_shared;  ///< one workstation for tests that only look
};

void SampleTreeTest::isTheSameEveryTime() {
    SampleTree::make(path("a"), 2);
    SampleTree::make(path("b"), 2);
    const QStringList first = describe(path("a"));
    QVERIFY(first.size() > 100);
    QCOMPARE(describe(path("b")), first);
    QVERIFY(writeFile(path("a/disk/Library/left over"), "x"));
    SampleTree::make(path("a"), 2);
    QCOMPARE(describe(path("a")), first);
}

void SampleTreeTest::keepsKeysWhenMadeAnew() {
    SampleTree::make(path("a"), 1);
    QVERIFY(writeFile(path("a/state/agent.key"), "key"));
    QVERIFY(writeFile(path("a/state/authorized/console.crt"), "certificate"));
    SampleTree::make(path("a"), 1);
    QVERIFY(QFile::exists(path("a/state/agent.key")));
    QVERIFY(QFile::exists(path("a/state/authorized/console.crt")));
}

void SampleTreeTest::refusesForeignFolders() {
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

void SampleTreeTest::machinesDisagreeInEveryWay() {
    struct Row {
        QSet<QString> versions, disabled, access;
        int count = 0;
    };
    QHash<QString, Row> rows;
    for (int profile = 1; profile <= SampleTree::profileCount; ++profile) {
        const QString directory = path(QString::number(profile));
        SampleTree::make(directory, profile);
        const QVariantList plugins =
            PluginCatalog::list(WorkstationTree(directory + "/disk"), users[profile - 1]);
        QVERIFY2(plugins.size() >= 10 && plugins.size() <= 18,
                 QByteArray::number(plugins.size()).constData());
        for (const QVariant& value : plugins) {
            const QVariantMap plugin = value.toMap();
            Row& row = rows[plugin.value("name").toString()];
            row.versions.insert(plugin.value("version").toString());
            row.disabled.insert(plugin.value("disabled").toString());
            row.access.insert(plugin.value("accessType").toString());
            ++row.count;
        }
    }
    int alike = 0, versions = 0, disabled = 0, access = 0, missing = 0;
    for (const Row& row : std::as_const(rows)) {
        if (row.count < SampleTree::profileCount)
            ++missing;
        else if (row.versions.size() > 1)
            ++versions;
        else if (row.disabled.size() > 1)
            ++disabled;
        else if (row.access.size() > 1)
            ++access;
        else
            ++alike;
    }
    QVERIFY(alike > 0 && versions > 0 && disabled > 0 && access > 0 && missing > 0);
}

void SampleTreeTest::everyPropertyListIsReadable() {
    SampleTree::make(path("a"), 3);
    int count = 0;
    QDirIterator iterator(path("a"), {"*.plist", "agent.conf"}, QDir::Files, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        QString error;
        const QVariant content = PropertyList::readFile(iterator.next(), &error);
        QVERIFY2(content.typeId() == QMetaType::QVariantMap, qPrintable(iterator.filePath() + error));
        ++count;
    }
    QVERIFY(count > 40);
}

void SampleTreeTest::everyToolFindsSomething_data() {
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<int>("least");
    QTest::newRow("preferences") << "/disk/Users/bruno/Library/Preferences/*" << 15;
    QTest::newRow("jobs of the user") << "/disk/Users/bruno/Library/LaunchAgents/*.plist" << 3;
    QTest::newRow("jobs of the system") << "/disk/Library/LaunchDaemons/*.plist" << 3;
    QTest::newRow("crash logs") << "/disk/Users/bruno/Library/Logs/CrashReporter/*.crash" << 4;
    QTest::newRow("caches") << "/disk/Users/bruno/Library/Caches/*" << 8;
    QTest::newRow("applications") << "/disk/Applications/*.app" << 8;
    QTest::newRow("suite applications") << "/disk/Applications/Corvalin Tools/*.app" << 6;
    QTest::newRow("logs") << "/disk/Users/bruno/Library/Logs/Velmora/*.log" << 3;
    QTest::newRow("media") << "/disk/Volumes/Media B/Final Cut Pro Documents/*" << 4;
    QTest::newRow("client settings") << "/disk/Library/Preferences/com.velmora.corvalinnetclient.plist" << 1;
    QTest::newRow("updates") << "/state/updates.plist" << 1;
    QTest::newRow("render jobs") << "/state/qmaster.plist" << 1;
}

void SampleTreeTest::everyToolFindsSomething() {
    QFETCH(QString, pattern);
    QFETCH(int, least);
    if (!SampleTree::isSample(m_shared.path())) SampleTree::make(m_shared.path(), 2);
    const QDir folder(m_shared.path() + pattern.section(u'/', 0, -2));
    QVERIFY(folder.entryList({pattern.section(u'/', -1)}, QDir::AllEntries | QDir::NoDotAndDotDot).size() >=
            least);
}

QTEST_GUILESS_MAIN(SampleTreeTest)
#include "sample_tree_test.moc"
