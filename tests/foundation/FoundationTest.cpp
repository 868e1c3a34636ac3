#include "base/PropertyList.h"
#include "base/VLBundle.h"
#include "base/VLFormat.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"
#include "system/VLException.h"

#include <stdexcept>

using namespace Qt::StringLiterals;

class FoundationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void format_data() {
        const TestTable<QString, QVariantList, QString> row("format", "values", "expected");
        row("largest", "%i %i",
            {std::numeric_limits<qlonglong>::min(), std::numeric_limits<qulonglong>::max()},
            "-9223372036854775808 18446744073709551615");
        row("reals", "%0.2f %f", {1.005, 0.5}, "1.00 0.500000");
        row("percent", "100%% of %@", {u"x"_s}, "100% of x");
        row("value with placeholders", "%@ %@", {u"%@%i"_s, 1}, "%@%i 1");
        row("value missing", "%@ %@ %0.2f", {1}, "1 %@ %0.2f");
        row("no placeholder", "50% done, %z %-5i %", {1}, "50% done, %z %-5i %");
        row("nothing", "%@|%i", {QVariant(), QVariant()}, "(null)|0");
        row("date", "%@", {QDateTime(QDate(2010, 5, 3), QTime(1, 2, 3), Qt::OffsetFromUTC, -12'600)},
            "2010-05-03 01:02:03 -0330");
        row("containers", "%@ %@", {QVariantList{1, u"a"_s}, QVariantMap{{u"k"_s, QStringList{u"v"_s}}}},
            "(1, a) {k = (v)}");
    }
    void format() {
        QFETCH(QString, format);
        QFETCH(QVariantList, values);
        QTEST(values.size() == 1 ? vlFormat(format, values[0]) : vlFormat(format, values[0], values[1]),
              "expected");
    }

    void bundle() {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"Info.plist"_s);
        QVERIFY(PropertyList::writeFileAtomically(
            path, QVariantMap{{u"text"_s, u"1040"_s}, {u"word"_s, u"new"_s}}));
        QCOMPARE(VLBundle(folder.path()).integerForInfoDictionaryKey(u"text"_s), 1040);
        QCOMPARE(VLBundle(folder.path()).integerForInfoDictionaryKey(u"word"_s), 0);
        QVERIFY(PropertyList::writeFileAtomically(path, QVariantList{1}));
        QVERIFY(VLBundle(folder.path()).infoDictionary().isEmpty());
    }

    void bundleResources() {
        const QTemporaryDir folder;
        for (const char* file : {"r/Info.plist", "r/icons/a..b.png", "secret.txt"})
            QVERIFY(writeFile(folder.filePath(file), "x"));
        const VLBundle bundle(folder.filePath(u"r"_s));
        QCOMPARE(bundle.pathForResource("Info", "plist"), folder.filePath("r/Info.plist"));
        QCOMPARE(bundle.pathForResource("Info.plist", ""), folder.filePath("r/Info.plist"));
        QVERIFY(QFile::exists(bundle.pathForResource("icons/a..b", "png")));
        QCOMPARE(bundle.pathForResource("", ""), QString());
        QCOMPARE(bundle.pathForResource("icons/../../secret", "txt"), QString());
        QCOMPARE(bundle.pathForResource("/etc/passwd", ""), QString());
    }

    void exceptionLine() {
        const QString line = u"Exception in -[VLThing run]. %1 - %2."_s;
        QCOMPARE(
            VLException::logException(VLException(VLException::generic, u"100%@ lost"_s), "-[VLThing run]"),
            line.arg(u"NSGenericException"_s, u"100%@ lost"_s));
        QCOMPARE(logLines().last(), line.arg(u"NSGenericException"_s, u"100%@ lost"_s));
        QCOMPARE(VLException::logException(std::logic_error("bad"), "-[VLThing run]"),
                 line.arg(u"std::logic_error"_s, u"bad"_s));
    }

    void localPaths() {
        const QString root = QDir::cleanPath(VLLocalPaths::configDirectory() + u"/.."_s);
        VLLocalPaths::setTestRoot({});
        qputenv("XDG_STATE_HOME", "/x/state");
        QCOMPARE(VLLocalPaths::libraryDirectory(true), u"/x/state/orlendo"_s);
        qputenv("XDG_STATE_HOME", "relative");  // not absolute: does not count
        QCOMPARE(VLLocalPaths::libraryDirectory(true), QDir::homePath() + u"/.local/state/orlendo"_s);
        qputenv("XDG_CACHE_HOME", "/x/cache");
        QCOMPARE(VLLocalPaths::cacheDirectory(true), u"/x/cache"_s);
        QCOMPARE(VLLocalPaths::logDirectory(false), u"/var/lib/orlendo/Logs"_s);
        VLLocalPaths::setTestRoot(root);
        QCOMPARE(QFileInfo(VLLocalPaths::executablePath()).fileName(), u"FoundationTest"_s);
    }
};

ORLENDO_TEST_MAIN(FoundationTest)
#include "FoundationTest.moc"
