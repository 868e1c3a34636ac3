#include "foundation/PropertyList.h"
#include "foundation/VLBundle.h"
#include "foundation/VLFormat.h"
#include "support/TestEnvironment.h"
#include "system/VLException.h"

#include <QStandardPaths>

#include <stdexcept>

class FoundationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void format_data();
    void format();
    void bundle();
    void bundleResources_data();
    void bundleResources();
    void damagedBundleIsEmpty();
    void exceptionLine_data();
    void exceptionLine();
    void onlyTheNamedExceptionIsATimeOut();
    void localPaths();
};

void FoundationTest::format_data() {
    QTest::addColumn<QString>("format");
    QTest::addColumn<QVariantList>("values");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* format, const QVariantList& values,
                        const char* expected) {
        QTest::newRow(name) << QString::fromUtf8(format) << values << QString::fromUtf8(expected);
    };
    row("texts", "%@ and %s.", {QStringLiteral("a"), 2}, "a and 2.");
    row("integers", "%i, %d", {7, 7.9}, "7, 7");
    row("largest", "%i %i", {std::numeric_limits<qlonglong>::min(), std::numeric_limits<qulonglong>::max()},
        "-9223372036854775808 18446744073709551615");
    row("text that is a number", "%i", {QStringLiteral("12")}, "12");
    row("reals", "%0.2f %.1f %f %.0f", {1.005, 2, 0.5, 2.6}, "1.00 2.0 0.500000 3");
    row("percent", "100%% of %@", {QStringLiteral("x")}, "100% of x");
    row("value with placeholders", "%@ %@", {QStringLiteral("%@%i"), 1}, "%@%i 1");
    row("value missing", "%@ %@ %0.2f", {1}, "1 %@ %0.2f");
    row("values left over", "%@", {1, 2}, "1");
    row("no placeholder", "50% done, %z %-5i %", {1}, "50% done, %z %-5i %");
    row("nothing", "%@|%i", {QVariant(), QVariant()}, "(null)|0");
    row("booleans", "%@%@%i", {true, false, true}, "101");
    row("date", "%@", {QDateTime(QDate(2010, 5, 3), QTime(1, 2, 3), Qt::OffsetFromUTC, -12'600)},
        "2010-05-03 01:02:03 -0330");
    row("date in UTC", "%@", {QDateTime(QDate(2010, 5, 3), QTime(1, 2, 3), Qt::UTC)},
        "2010-05-03 01:02:03 +0000");
    row("containers", "%@ %@",
        {QVariantList{1, QStringLiteral("a")},
         QVariantMap{{QStringLiteral("k"), QStringList{QStringLiteral("v")}}}},
        "(1, a) {k = (v)}");
}

void FoundationTest::format() {
    QFETCH(QString, format);
    QFETCH(QVariantList, values);
    QString text;
    switch (values.size()) {
        case 0:
            text = vlFormat(format);
            break;
        case 1:
            text = vlFormat(format, values[0]);
            break;
        case 2:
            text = vlFormat(format, values[0], values[1]);
            break;
        case 3:
            text = vlFormat(format, values[0], values[1], values[2]);
            break;
        default:
            text = vlFormat(format, values[0], values[1], values[2], values[3]);
            break;
    }
    QTEST(text, "expected");
}

void FoundationTest::bundle() {
    const QTemporaryDir folder;
    QVERIFY(PropertyList::writeFileAtomically(folder.filePath(QStringLiteral("Info.plist")),
                                              QVariantMap{{QStringLiteral("text"), QStringLiteral("1040")},
                                                          {QStringLiteral("number"), 1050},
                                                          {QStringLiteral("word"), QStringLiteral("new")}}));
    const VLBundle bundle(folder.path());
    QCOMPARE(bundle.objectForInfoDictionaryKey(QStringLiteral("text")), QVariant(QStringLiteral("1040")));
    QCOMPARE(bundle.integerForInfoDictionaryKey(QStringLiteral("text")), 1040);
    QCOMPARE(bundle.integerForInfoDictionaryKey(QStringLiteral("number")), 1050);
    QCOMPARE(bundle.integerForInfoDictionaryKey(QStringLiteral("word")), 0);
    QCOMPARE(bundle.integerForInfoDictionaryKey(QStringLiteral("missing")), 0);
}

void FoundationTest::bundleResources_data() {
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
    row("Missing", "plist", false);
    row("", "", false);
    row("../secret", "txt", false);
    row("icons/../../secret", "txt", false);
    row("/etc/passwd", "", false);
}

void FoundationTest::bundleResources() {
    QFETCH(QString, name);
    QFETCH(QString, type);
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkpath(QStringLiteral("r/icons")));
    for (const char* file : {"r/Info.plist", "r/icons/a..b.png", "secret.txt"})
        QVERIFY(QFile(folder.filePath(QString::fromLatin1(file))).open(QIODevice::WriteOnly));
    const QString path = VLBundle(folder.filePath(QStringLiteral("r"))).pathForResource(name, type);
    QTEST(!path.isEmpty(), "found");
    if (!path.isEmpty()) QVERIFY(QFile::exists(path));
}

void FoundationTest::damagedBundleIsEmpty() {
    const QTemporaryDir folder;
    QVERIFY(
        PropertyList::writeFileAtomically(folder.filePath(QStringLiteral("Info.plist")), QVariantList{1}));
    QVERIFY(VLBundle(folder.path()).infoDictionary().isEmpty());
    QVERIFY(VLBundle(folder.filePath(QStringLiteral("missing"))).infoDictionary().isEmpty());
}

void FoundationTest::exceptionLine_data() {
    QTest::addColumn<bool>("own");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("expected");
    QTest::newRow("own") << true << QStringLiteral("100%@ lost")
                         << QStringLiteral("Exception in -[VLThing run]. NSGenericException - 100%@ lost.");
    QTest::newRow("empty reason") << true << QString()
                                  << QStringLiteral("Exception in -[VLThing run]. NSGenericException - .");
    QTest::newRow("other type") << false << QStringLiteral("bad")
                                << QStringLiteral("Exception in -[VLThing run]. std::logic_error - bad.");
}

void FoundationTest::exceptionLine() {
    QFETCH(bool, own);
    QFETCH(QString, reason);
    QFETCH(QString, expected);
    const VLException named(VLException::generic, reason);
    const std::logic_error other(reason.toStdString());
    const std::exception& exception = own ? static_cast<const std::exception&>(named) : other;
    QCOMPARE(VLException::logException(exception, "-[VLThing run]"), expected);
    QCOMPARE(logLines().last(), expected);
}

void FoundationTest::onlyTheNamedExceptionIsATimeOut() {
    QVERIFY(VLException::didTimeout(VLException(QStringLiteral("NSPortTimeoutException"), QString())));
    QVERIFY(!VLException::didTimeout(VLException(QStringLiteral("nsporttimeoutexception"), QString())));
    QVERIFY(!VLException::didTimeout(std::runtime_error("NSPortTimeoutException")));
}

void FoundationTest::localPaths() {
    const QString root = QDir::cleanPath(VLLocalPaths::configDirectory() + QStringLiteral("/.."));
    for (const bool user : {true, false}) {
        QVERIFY(VLLocalPaths::cacheDirectory(user).startsWith(root));
        QVERIFY(VLLocalPaths::logDirectory(user).startsWith(root));
    }
    VLLocalPaths::setTestRoot({});
    qputenv("XDG_STATE_HOME", "/x/state");
    QCOMPARE(VLLocalPaths::libraryDirectory(true), QStringLiteral("/x/state/orlendo"));
    qputenv("XDG_STATE_HOME", "relative");  // not absolute: does not count
    QCOMPARE(VLLocalPaths::libraryDirectory(true),
             QDir::homePath() + QStringLiteral("/.local/state/orlendo"));
    qputenv("XDG_CACHE_HOME", "/x/cache");
    QCOMPARE(VLLocalPaths::cacheDirectory(true), QStringLiteral("/x/cache"));
    QCOMPARE(VLLocalPaths::logDirectory(false), QStringLiteral("/var/lib/orlendo/Logs"));
    VLLocalPaths::setTestRoot(root);
    QCOMPARE(QFileInfo(VLLocalPaths::executablePath()).fileName(), QStringLiteral("FoundationTest"));
}

ORLENDO_TEST_MAIN(FoundationTest)
#include "FoundationTest.moc"
