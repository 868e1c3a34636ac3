#include "app/CommandLine.h"
#include "app/ReportTable.h"
#include "support/TestTable.h"

using namespace Qt::StringLiterals;

using Action = CommandLine::Action;
Q_DECLARE_METATYPE(CommandLine::Action)

namespace {

CommandLine parse(const QString& words) {
    QStringList arguments = {u"orlendo"_s};
    arguments += words.split(u' ', Qt::SkipEmptyParts);
    return CommandLine::parse(arguments, {u"addonry"_s, u"cronwell"_s}, {u"addonry"_s});
}

}  // namespace

class CommandLineTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void actions_data() {
        const TestTable<QString, Action, QString> table("words", "action", "text");
        const auto row = [&](const char* words, Action action, const char* text = "") {
            table(words, words, action, text);
        };
        row("", Action::Run);
        row("--help", Action::ShowHelp, "--add-client");
        row("--export-certificate", Action::Fail, "export-certificate");
        row("--report nonsense", Action::Fail, "Unknown tool \"nonsense\"");
        row("--report cronwell", Action::Fail, "makes no report");
        row("--tool nonsense", Action::Fail, "Unknown tool \"nonsense\"");
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

    void clients() {
        for (const char* good : {"bay=127.0.0.1:7001", "Edit Bay = 2=10.0.0.1:65535", "bay=localhost:1"})
            QVERIFY2(clientFromText(good), good);
        for (const char* bad : {"bay=127.0.0.1:0", "bay=127.0.0.1:65536", "bay=127.0.0.1", "=127.0.0.1:7001",
                                "bay=example:7001", "bay=::1:7001", "bay:7001=127.0.0.1"})
            QVERIFY2(!clientFromText(bad), bad);
    }

    void tableIsAlignedAndHarmless() {
        const ToolReport report = {
            {u"Name"_s, u"State"_s},
            {{u"A longer one"_s, u"ok"_s},
             {u"\x1b[31mred\nline"_s, u"Grün"_s},
             {QString(100, u'x'), QString()},
             {u"short row"_s}},
        };
        const QStringList lines = reportTable(report).split(u'\n');
        const QString wide(60 - 4, u' ');
        QCOMPARE(lines[0], u"Name"_s + wide + u"  State"_s);
        QCOMPARE(lines[1], QString(60, u'-') + u"  -----"_s);
        QVERIFY(lines[2].startsWith("A longer one "_L1) && lines[2].endsWith("  ok"_L1));
        QVERIFY(lines[3].startsWith("?[31mred?line "_L1) && lines[3].endsWith(u"  Grün"_s));
        QCOMPARE(lines[4], QString(100, u'x'));
        QCOMPARE(lines[5], u"short row"_s);
        QCOMPARE(printableText(u"Bay\x07 1\u202e"_s), u"Bay? 1?"_s);
    }
};

QTEST_APPLESS_MAIN(CommandLineTest)
#include "command_line_test.moc"
