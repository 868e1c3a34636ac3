#include "remote/VLCorvalinServerProtocol.h"
#include "remote/VLProxyObject.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <QCoreApplication>
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
        const TestTable<QString, QVariantList, QString> table("selector", "arguments", "error");
        const auto row = [&](const char* selector, const QVariantList& arguments, const char* error) {
            table(selector, selector, arguments, error);
        };
        const QVariant nothing;
        row("qmasterJobs", {1}, "1 arguments instead of 0");
        row("logWithFilename:", {}, "0 arguments instead of 1");
        row("logWithFilename:", {7}, "argument \"filename\" is number instead of string");
        row("logWithFilename:", {nothing}, "argument \"filename\" is nothing instead of string");
        row("addonryEnablePlugin:settings:", {nothing, QVariantMap()}, "");
        row("purgewrightRemoveApps:settings:", {nothing, QVariantMap()},
            "argument \"credentials\" is nothing instead of dictionary");
        row("needsAdminAccess:", {nothing}, "");
        row("settlekeepBackup:type:", {u"a"_s, true}, "");
        row("setErrorCallback:", {QVariant::fromValue(VLRemoteCallbackPtr())}, "");
        row("setErrorCallback:", {QVariantMap()}, "argument \"callback\" is dictionary instead of object");
    }
    void argumentsAreChecked() {
        QFETCH(QString, selector);
        QFETCH(QVariantList, arguments);
        QTEST(argumentError(*operation(Side::Agent, selector), arguments), "error");
    }

    void pageIsCurrent() {
        QVERIFY2(QString::fromUtf8(contentsOf(PROTOCOL_PAGE)) == markdown(),
                 "docs/protocol.md is out of date: run protocol_test --write-page docs/protocol.md");
    }
};

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    if (argc == 3 && QByteArray(argv[1]) == "--write-page") {
        return writeFile(QString::fromLocal8Bit(argv[2]), markdown().toUtf8()) ? 0 : 1;
    }
    ProtocolTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "protocol_test.moc"
