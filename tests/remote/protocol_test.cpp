#include "remote/VLCorvalinServerProtocol.h"
#include "remote/VLProxyObject.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QSet>
#include <QTest>

using namespace VLCorvalinServerProtocol;
using namespace Qt::StringLiterals;

class ProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyEntryIsSound() {
        QSet<QString> seen;
        bool consoleBegan = false;
        for (const Operation& entry : operations()) {
            const QString selector = QString::fromLatin1(entry.selector);
            const QString key = QString::number(static_cast<int>(entry.side)) + selector;
            QVERIFY2(!seen.contains(key), entry.selector);
            seen.insert(key);
            QVERIFY2(argumentCount(selector) == static_cast<int>(entry.arguments.size()), entry.selector);
            // Nobody waits for the answer of a oneway operation.
            QVERIFY2(entry.mode == Mode::Sync || entry.result == Result::Nothing, entry.selector);
            consoleBegan = consoleBegan || entry.side == Side::Console;
            QVERIFY2(!consoleBegan || entry.side == Side::Console, entry.selector);
            QCOMPARE(operation(entry.side, selector), &entry);
        }
        QVERIFY(!operation(Side::Console, u"qmasterJobs"));
        QVERIFY(!operation(Side::Agent, u"taskFinished"));
        QVERIFY(!operation(Side::Agent, u"qmasterJobs:"));
    }

    void argumentsAreChecked_data() {
        QTest::addColumn<QString>("selector");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* selector, const QVariantList& arguments, const char* error) {
            QTest::addRow("%s: %s", selector, error)
                << QString::fromLatin1(selector) << arguments << QString::fromLatin1(error);
        };
        const QVariant nothing;
        row("qmasterJobs", {1}, "1 arguments instead of 0");
        row("logWithFilename:", {}, "0 arguments instead of 1");
        row("logWithFilename:", {7}, "argument \"filename\" is number instead of string");
        row("logWithFilename:", {QByteArray("a")}, "argument \"filename\" is data instead of string");
        row("logWithFilename:", {nothing}, "argument \"filename\" is nothing instead of string");
        row("addonryEnablePlugin:settings:", {nothing, QVariantMap()}, "");
        row("purgewrightRemoveApps:settings:", {nothing, QVariantMap()},
            "argument \"credentials\" is nothing instead of dictionary");
        row("needsAdminAccess:", {nothing}, "");
        row("settlekeepBackup:type:", {u"a"_s, true}, "");
        row("tidyhandRunTasks:", {QStringList{u"qtCache"_s}}, "");
        row("crashLogsSinceDate:delegate:",
            {QDateTime::currentDateTimeUtc(), QVariant::fromValue(VLCallbackTargetPtr())}, "");
        row("setErrorCallback:", {QVariant::fromValue(VLRemoteCallbackPtr())}, "");
        row("setErrorCallback:", {QVariantMap()}, "argument \"callback\" is dictionary instead of object");
    }
    void argumentsAreChecked() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        QTEST(argumentError(*operation(Side::Agent, selector), arguments), "error");
    }

    void pageIsCurrent() {
        QFile file(QStringLiteral(PROTOCOL_PAGE));
        QVERIFY2(file.open(QIODevice::ReadOnly), PROTOCOL_PAGE);
        QVERIFY2(QString::fromUtf8(file.readAll()) == markdown(),
                 "docs/protocol.md is out of date: run protocol_test --write-page docs/protocol.md");
    }
};

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--write-page") {
        QFile file(QString::fromLocal8Bit(argv[2]));
        return file.open(QIODevice::WriteOnly) && file.write(markdown().toUtf8()) > 0 ? 0 : 1;
    }
    ProtocolTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "protocol_test.moc"
