#include "remote/VLCorvalinServerProtocol.h"
#include "remote/VLProxyObject.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QSet>
#include <QTest>

#include <cstdio>

using namespace VLCorvalinServerProtocol;

namespace {

bool writePage(const QString& path) {
    QFile file(path);
    const QByteArray text = markdown().toUtf8();
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

}  // namespace

class ProtocolTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyEntryIsSound();
    void findsBySideAndSelector();
    void permissions();
    void argumentsAreChecked_data();
    void argumentsAreChecked();
    void messages_data();
    void messages();
    void pageIsCurrent();
};

void ProtocolTest::everyEntryIsSound() {
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
        QVERIFY2(*entry.summary && *entry.group, entry.selector);
        consoleBegan = consoleBegan || entry.side == Side::Console;
        QVERIFY2(!consoleBegan || entry.side == Side::Console, entry.selector);
        QCOMPARE(operation(entry.side, selector), &entry);
    }
}

void ProtocolTest::findsBySideAndSelector() {
    QVERIFY(operation(Side::Agent, u"ping")->mode == Mode::Sync);
    QVERIFY(operation(Side::Console, u"ping")->mode == Mode::Oneway);
    QVERIFY(operation(Side::Console, u"cancelProcessing")->mode == Mode::Sync);
    QVERIFY(!operation(Side::Console, u"qmasterJobs"));
    QVERIFY(!operation(Side::Agent, u"taskFinished"));
    QVERIFY(!operation(Side::Agent, u"qmasterJobs:"));
    QVERIFY(!operation(Side::Agent, u""));
    QVERIFY(operation(Side::Agent, u"faultscopeGetDefinition:")->result == Result::Reference);
}

void ProtocolTest::permissions() {
    const QSet<QString> executable{QStringLiteral("disconnect"), QStringLiteral("relaunch")};
    const QSet<QString> whenDisabled{QStringLiteral("populateVLLogFilenames"),
                                     QStringLiteral("logWithFilename:"),
                                     QStringLiteral("systemSpecs"),
                                     QStringLiteral("computerIcon:"),
                                     QStringLiteral("gatherLogs"),
                                     QStringLiteral("validateUsername:password:")};
    QSet<QString> readable = whenDisabled;
    readable << QStringLiteral("listVelmoraSoftwareUpdates")
             << QStringLiteral("fetchSoftwareUpdateAvailableUpdateCount");
    for (const Operation& entry : operations()) {
        const QString selector = QString::fromLatin1(entry.selector);
        const bool agent = entry.side == Side::Agent;
        QVERIFY2(entry.executeOnErrorClient == (agent && executable.contains(selector)), entry.selector);
        QVERIFY2(entry.readOnErrorClient == (agent && readable.contains(selector)), entry.selector);
        const bool repairs = selector == QLatin1String("installVelmoraSoftwareUpdate:settings:");
        QVERIFY2(entry.authorizedOnErrorClient == repairs, entry.selector);
        QVERIFY2(entry.readOnDisabledClient == (agent && whenDisabled.contains(selector)), entry.selector);
    }
}

void ProtocolTest::argumentsAreChecked_data() {
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("error");
    const auto row = [](const char* name, const char* selector, const QVariantList& arguments,
                        const char* error) {
        QTest::newRow(name) << QString::fromLatin1(selector) << arguments << QString::fromLatin1(error);
    };
    const QVariant nothing;
    row("none", "qmasterJobs", {}, "");
    row("too many", "qmasterJobs", {1}, "1 arguments instead of 0");
    row("too few", "logWithFilename:", {}, "0 arguments instead of 1");
    row("wrong type", "logWithFilename:", {7}, "argument \"filename\" is number instead of string");
    row("data is no text", "logWithFilename:", {QByteArray("a")},
        "argument \"filename\" is data instead of string");
    row("nothing", "logWithFilename:", {nothing}, "argument \"filename\" is nothing instead of string");
    row("may be nothing", "addonryEnablePlugin:settings:", {nothing, QVariantMap()}, "");
    row("needs credentials", "purgewrightRemoveApps:settings:", {nothing, QVariantMap()},
        "argument \"credentials\" is nothing instead of dictionary");
    row("anything", "needsAdminAccess:", {nothing}, "");
    row("truth for number", "settlekeepBackup:type:", {QStringLiteral("a"), true}, "");
    row("list of texts", "tidyhandRunTasks:", {QStringList{QStringLiteral("qtCache")}}, "");
    row("date", "crashLogsSinceDate:delegate:",
        {QDateTime::currentDateTimeUtc(), QVariant::fromValue(VLCallbackTargetPtr())}, "");
    row("agent's side of a reference", "setErrorCallback:", {QVariant::fromValue(VLRemoteCallbackPtr())}, "");
    row("no reference", "setErrorCallback:", {QVariantMap()},
        "argument \"callback\" is dictionary instead of object");
}

void ProtocolTest::argumentsAreChecked() {
    QFETCH(QString, selector);
    QFETCH(QVariantList, arguments);
    const Operation* declared = operation(Side::Agent, selector);
    QVERIFY(declared);
    QTEST(argumentError(*declared, arguments), "error");
}

void ProtocolTest::messages_data() {
    QTest::addColumn<qlonglong>("code");
    QTest::addColumn<int>("actionType");
    QTest::addColumn<QString>("message");
    const auto row = [](qlonglong code, int actionType, const char* message) {
        QTest::newRow(QByteArray::number(code).constData())
            << code << actionType << QString::fromLatin1(message);
    };
    const char* unknown = "Unknown error. Please check error logs on the local machine.";
    row(0, 0, "");
    row(1001, 1, "Could not find Info.plist file for application %s 100% not found.");
    row(1004, 0, unknown);
    row(1006, 0, "Incorrect username or password.");
    row(2007, 1, "Corvalin is outdated on this machine. Please install a more recent version.");
    row(2008, 0,
        "Connection timed out. Please make sure that you have the latest version of the client software.");
    row(-1, 0, unknown);
}

void ProtocolTest::messages() {
    QFETCH(qlonglong, code);
    // A name that looks like a format stays as it is.
    QTEST(CorvalinError::message(code, QStringLiteral("%s 100%")), "message");
    QTEST(CorvalinError::actionType(code), "actionType");
}

void ProtocolTest::pageIsCurrent() {
    QFile file(QStringLiteral(PROTOCOL_PAGE));
    QVERIFY2(file.open(QIODevice::ReadOnly), PROTOCOL_PAGE);
    QVERIFY2(QString::fromUtf8(file.readAll()) == markdown(),
             "docs/protocol.md is out of date: run protocol_test --write-page docs/protocol.md");
}

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments.at(1) == QLatin1String("--write-page")) {
        if (writePage(arguments.at(2))) return 0;
        std::fprintf(stderr, "cannot write %s\n", qPrintable(arguments.at(2)));
        return 1;
    }
    ProtocolTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "protocol_test.moc"
