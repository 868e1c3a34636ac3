#include "app/CommandLine.h"
#include "app/ReportTable.h"

#include <QTest>

using Action = CommandLine::Action;
Q_DECLARE_METATYPE(CommandLine::Action)

namespace {

CommandLine parse(const QString& words) {
    QStringList arguments = {QStringLiteral("orlendo")};
    arguments += words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return CommandLine::parse(arguments, {QStringLiteral("addonry"), QStringLiteral("cronwell")},
                              {QStringLiteral("addonry")});
}

}  // namespace

class CommandLineTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void actions_data() {
        QTest::addColumn<QString>("words");
        QTest::addColumn<Action>("action");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* words, Action action, const char* text = "") {
            QTest::newRow(words) << QString::fromLatin1(words) << action << QString::fromLatin1(text);
        };
        row("", Action::Run);
        row("--help", Action::ShowHelp, "--add-client");
        row("--version", Action::ShowVersion);
        row("--print-certificate", Action::PrintCertificate);
        row("--export-certificate file.crt", Action::ExportCertificate);
        row("--export-certificate", Action::Fail, "export-certificate");
        row("--report addonry --wait 0", Action::Run);
        row("--report nonsense", Action::Fail, "Unknown tool \"nonsense\"");
        row("--report cronwell", Action::Fail, "makes no report");
        row("--tool cronwell", Action::Run);
        row("--tool nonsense", Action::Fail, "Unknown tool \"nonsense\"");
        row("--wait soon", Action::Fail, "--wait");
        row("--wait -1", Action::Fail, "--wait");
        row("--expect-clients 1000000000", Action::Fail, "--expect-clients");
        row("--add-client bay", Action::Fail, "--add-client");
        row("--nonsense", Action::Fail, "nonsense");
        row("stray", Action::Fail, "stray");
    }
    void actions() {
        QFETCH(QString, words);
        QFETCH(QString, text);
        const CommandLine line = parse(words);
        QVERIFY2(line.text.contains(text), qPrintable(line.text));
        QTEST(line.action, "action");
    }

    void valuesArrive() {
        const CommandLine line =
            parse(QStringLiteral("--report addonry --screenshot p.png --wait 3 --dark --no-discovery "
                                 "--add-client a=127.0.0.1:7001 --add-client b=localhost:7002"));
        QCOMPARE(line.reportTool, QStringLiteral("addonry"));
        QCOMPARE(line.visibleTool, QStringLiteral("addonry"));
        QCOMPARE(line.screenshotFile, QStringLiteral("p.png"));
        QCOMPARE(line.wait.count(), 3);
        QCOMPARE(line.expectedClients, 2);
        QCOMPARE(line.palette, CommandLine::Palette::Dark);
        QVERIFY(!line.browses && line.isUnattended() && line.needsWindow());
        QVERIFY(!parse(QStringLiteral("--report addonry")).needsWindow());
        QCOMPARE(parse(QStringLiteral("--report addonry --expect-clients 4 --add-client a=1.2.3.4:7001"))
                     .expectedClients,
                 4);
    }

    void clients_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        const auto row = [](const char* text, bool valid) {
            QTest::newRow(text) << QString::fromLatin1(text) << valid;
        };
        row("bay=127.0.0.1:7001", true);
        row("Edit Bay = 2=10.0.0.1:65535", true);
        row("bay=localhost:1", true);
        row("bay=127.0.0.1:0", false);
        row("bay=127.0.0.1:65536", false);
        row("bay=127.0.0.1", false);
        row("=127.0.0.1:7001", false);
        row("bay=example:7001", false);
        row("bay=::1:7001", false);
        row("bay:7001=127.0.0.1", false);
    }
    void clients() {
        QFETCH(QString, text);
        QTEST(clientFromText(text).has_value(), "valid");
    }

    void tableIsAlignedAndHarmless() {
        const ToolReport report = {
            {QStringLiteral("Name"), QStringLiteral("State")},
            {{QStringLiteral("A longer one"), QStringLiteral("ok")},
             {QStringLiteral("\x1b[31mred\nline"), QStringLiteral("Grün")},
             {QString(100, QLatin1Char('x')), QString()},
             {QStringLiteral("short row")}},
        };
        const QStringList lines = reportTable(report).split(QLatin1Char('\n'));
        const QString wide(60 - 4, QLatin1Char(' '));
        QCOMPARE(lines[0], QStringLiteral("Name") + wide + QStringLiteral("  State"));
        QCOMPARE(lines[1], QString(60, QLatin1Char('-')) + QStringLiteral("  -----"));
        QVERIFY(lines[2].startsWith(QLatin1String("A longer one ")) &&
                lines[2].endsWith(QLatin1String("  ok")));
        QVERIFY(lines[3].startsWith(QLatin1String("?[31mred?line ")) &&
                lines[3].endsWith(QStringLiteral("  Grün")));
        QCOMPARE(lines[4], QString(100, QLatin1Char('x')));
        QCOMPARE(lines[5], QStringLiteral("short row"));
        QCOMPARE(printableText(QStringLiteral("Bay\x07 1\u202e")), QStringLiteral("Bay? 1?"));
    }
};

QTEST_APPLESS_MAIN(CommandLineTest)
#include "command_line_test.moc"
