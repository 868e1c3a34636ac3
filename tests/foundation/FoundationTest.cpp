#include "foundation/PropertyList.h"
#include "foundation/VLBundle.h"
#include "foundation/VLFormat.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <QStandardPaths>

#include <stdexcept>

using namespace Qt::StringLiterals;

class FoundationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void format_data() {
        QTest::addColumn<QString>("format");
        QTest::addColumn<QVariantList>("values");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char* name, const char* format, const QVariantList& values,
                            const char* expected) {
            QTest::newRow(name) << QString::fromUtf8(format) << values << QString::fromUtf8(expected);
        };
        row("texts", "%@ and %s.", {u"a"_s, 2}, "a and 2.");
        row("largest", "%i %i",
            {std::numeric_limits<qlonglong>::min(), std::numeric_limits<qulonglong>::max()},
            "-9223372036854775808 18446744073709551615");
        row("reals", "%0.2f %f", {1.005, 0.5}, "1.00 0.500000");
        row("integers", "%i %d", {true, u"12"_s}, "1 12");
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
            path, QVariantMap{{u"text"_s, u"1040"_s}, {u"number"_s, 1050}, {u"word"_s, u"new"_s}}));
        const VLBundle bundle(folder.path());
        QCOMPARE(bundle.objectForInfoDictionaryKey(u"text"_s), QVariant(u"1040"_s));
        QCOMPARE(bundle.integerForInfoDictionaryKey(u"text"_s), 1040);
        QCOMPARE(bundle.integerForInfoDictionaryKey(u"number"_s), 1050);
        QCOMPARE(bundle.integerForInfoDictionaryKey(u"word"_s), 0);
        QVERIFY(PropertyList::writeFileAtomically(path, QVariantList{1}));
        QVERIFY(VLBundle(folder.path()).infoDictionary().isEmpty());
        QVERIFY(VLBundle(folder.filePath(u"missing"_s)).infoDictionary().isEmpty());
    }

    void bundleResources_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("type");
        QTest::addColumn<bool>("found");
        const auto row = [](const char* name, const char* type, bool found) {
            QTest::addRow("%s + %s", name, type)
                << QString::fromLatin1(name) << QString::fromLatin1(type) << found;
        };
        row("Info", "plist", true);
        row("Info.plist", "", true);
        row("icons/a..b", "png", true);
        row("", "", false);
        row("icons/../../secret", "txt", false);
        row("/etc/passwd", "", false);
    }
    void bundleResources() {
        QFETCH(QString, name);
        QFETCH(QString, type);
        const QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(u"r/icons"_s));
        for (const char* file : {"r/Info.plist", "r/icons/a..b.png", "secret.txt"})
            QVERIFY(QFile(folder.filePath(QString::fromLatin1(file))).open(QIODevice::WriteOnly));
        const QString path = VLBundle(folder.filePath(u"r"_s)).pathForResource(name, type);
        QTEST(!path.isEmpty(), "found");
        if (!path.isEmpty()) QVERIFY(QFile::exists(path));
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
        for (const bool user : {true, false}) {
            QVERIFY(VLLocalPaths::cacheDirectory(user).startsWith(root));
            QVERIFY(VLLocalPaths::logDirectory(user).startsWith(root));
        }
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
