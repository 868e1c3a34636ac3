// The programs themselves: real agents on sample workstations, and the console run against them from outside.
#include "support/Programs.h"

#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <signal.h>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

#ifdef __SANITIZE_THREAD__
// Qt paints with threads of its own, which ThreadSanitizer cannot see into and takes for races.
constexpr bool paints = false;
#else
constexpr bool paints = true;
#endif
/// The rows of a report, cut at the columns that its second line shows.
QHash<QString, QStringList> rowsByName(const QString& table) {
    const QStringList lines = table.split(u'\n', Qt::SkipEmptyParts);
    QHash<QString, QStringList> rows;
    if (lines.size() < 2) return rows;
    QList<QPair<qsizetype, qsizetype>> columns;
    auto rules = QRegularExpression(u"-+"_s).globalMatch(lines[1]);
    while (rules.hasNext()) {
        const auto rule = rules.next();
        columns.append({rule.capturedStart(), rule.capturedLength()});
    }
    for (const QString& line : lines.mid(2)) {
        QStringList cells;
        for (const auto& [start, length] : columns)
            cells.append(line.mid(start, length).trimmed());
        rows.insert(cells.takeFirst(), cells);
    }
    return rows;
}

/// True once the process has a handler of its own for this signal.
bool catches(qint64 process, int number) {
    QFile status(u"/proc/%1/status"_s.arg(process));
    if (!status.open(QIODevice::ReadOnly)) return false;
    const auto caught = QRegularExpression(u"SigCgt:\\s*([0-9a-f]+)"_s)
                            .match(QString::fromLatin1(status.readAll()))
                            .captured(1)
                            .toULongLong(nullptr, 16);
    return (caught >> (number - 1)) & 1;
}

}  // namespace

class ConsoleRunTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment;
    std::vector<std::unique_ptr<QProcess>> m_agents;
    QStringList m_addedClients;

    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }

    ProgramResult runConsole(const QStringList& arguments) {
        return runProgram(ORLENDO_PROGRAM, QStringList{"--no-discovery"} + arguments, m_environment);
    }

    /// Starts an agent on sample workstation `profile`, for the console that `certificate` names.
    void startAgent(int profile, const QString& certificate) {
        const QString number = QString::number(profile), folder = path("workstation-" + number);
        QCOMPARE(runProgram(AGENT_PROGRAM, {"--make-sample", folder, "--profile", number}).exitCode, 0);
        auto agent = std::make_unique<QProcess>();
        agent->setProcessEnvironment(m_environment);
        agent->start(AGENT_PROGRAM,
                     {"--config", folder + "/agent.conf", "--authorize", certificate, "--no-advertise"});
        const quint16 port = readAgentPort(*agent);
        QVERIFY2(port > 0, agent->readAllStandardError().constData());
        m_agents.push_back(std::move(agent));
        m_addedClients << "--add-client" << u"Bay %1=127.0.0.1:%2"_s.arg(number).arg(port);
    }

private Q_SLOTS:
    void initTestCase() {
        m_environment = QProcessEnvironment::systemEnvironment();
        for (const char* display : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            m_environment.remove(QLatin1String(display));
        for (const char* folder : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
            m_environment.insert(QLatin1String(folder), path(QLatin1String(folder)));
        m_environment.insert(u"CORVALIN_DISCOVERY_INTERFACES"_s, u"lo"_s);

        const QString certificate = path(u"console.crt"_s);
        QCOMPARE(runConsole({u"--export-certificate"_s, certificate}).exitCode, 0);
        for (const int profile : {1, 2, 3})
            startAgent(profile, certificate);
    }
    void cleanupTestCase() {
        for (const auto& agent : m_agents)
            agent->terminate();
        for (const auto& agent : m_agents) {
            QVERIFY(hasEnded(*agent, 0));
        }
    }

    void certificateIsTheSameEachTime() {
        QFile file(path(u"console.crt"_s));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(runConsole({u"--print-certificate"_s}).output.toLatin1(), file.readAll());
    }

    void reportAndPictureInOneRun() {
        const QString picture = path(u"window.png"_s);
        QStringList arguments = {u"--report"_s, u"addonry"_s};
        if (paints) arguments << u"--screenshot"_s << picture;
        const ProgramResult result = runConsole(arguments + m_addedClients);
        QVERIFY2(result.exitCode == 0, qPrintable(result.messages));
        QVERIFY2(result.messages.contains("3 clients connected"_L1), qPrintable(result.messages));

        const auto rows = rowsByName(result.output);
        const auto expected = [](const char* text) { return QString::fromLatin1(text).split(u'|'); };
        QCOMPARE(rows.value(u"Aurora Glow"_s), expected("FxPlug|2.1.0|yes|all users|3|none|"));
        QCOMPARE(rows.value(u"Chroma Fringe"_s), expected("FxPlug|(various)|yes|all users|3|version|"));
        QCOMPARE(rows.value(u"Film Flash"_s), expected("FxScript|1.1|mixed|all users|3|enabled|"));
        QCOMPARE(rows.value(u"Lens Breath"_s), expected("FxPlug|1.2.1|yes|mixed|3|access|"));
        QCOMPARE(rows.value(u"Film Bloom"_s), expected("FxPlug|2.0.0|no|all users|1|missing|Bay 1, Bay 2"));
        QVERIFY(rows.size() > 10);

        if (!paints) return;
        const QImage image(picture);
        QVERIFY(image.width() >= 800 && image.height() >= 500);
    }

    void missingClientIsNamed() {
        const ProgramResult result =
            runConsole(QStringList{"--report", "addonry", "--wait", "2", "--add-client", "Gone=127.0.0.1:1"} +
                       m_addedClients);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.messages.contains("Missing: Gone - "_L1), qPrintable(result.messages));
        // What the others have is printed all the same.
        QCOMPARE(rowsByName(result.output).value(u"Aurora Glow"_s).value(4), u"3"_s);
    }

    void strangersAreTurnedAway() {
        QProcessEnvironment own = m_environment;
        m_environment.insert(u"XDG_CONFIG_HOME"_s, path(u"stranger"_s));
        const ProgramResult result =
            runConsole(QStringList{"--report", "addonry", "--wait", "2"} + m_addedClients);
        m_environment = own;
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.messages.contains("does not accept this console"_L1), qPrintable(result.messages));
    }

    void wrongCommandLines() {
        const auto fails = [this](const QStringList& arguments, int exitCode, const char* message) {
            const ProgramResult result = runConsole(arguments);
            return result.exitCode == exitCode && result.messages.contains(QLatin1String(message));
        };
        QVERIFY(fails({"--report", "nonsense"}, 2, "Unknown tool \"nonsense\""));
        QVERIFY(fails({}, 1, "no display"));
        QVERIFY(fails({"--export-certificate", "/nonexistent/file"}, 1, "cannot write"));
    }

    void signalsEndItInOrder_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("what");
        QTest::newRow("SIGINT") << SIGINT << u"--report=addonry"_s;
        QTest::newRow("SIGTERM") << SIGTERM << u"--report=addonry"_s;
        if (paints) QTest::newRow("with a window") << SIGTERM << u"--screenshot=/nonexistent/never.png"_s;
    }
    void signalsEndItInOrder() {
        QFETCH(int, number);
        QFETCH(QString, what);
        QProcess console;
        console.setProcessEnvironment(m_environment);
        console.setProcessChannelMode(QProcess::MergedChannels);
        console.start(
            QStringLiteral(ORLENDO_PROGRAM),
            QStringList{what, "--no-discovery", "--expect-clients=9", "--wait=3600"} + m_addedClients);
        QVERIFY(console.waitForStarted(patience));
        QTRY_VERIFY_WITH_TIMEOUT(catches(console.processId(), number), patience);
        QTest::qWait(300);  // about now it connects; the end has to be clean at any moment
        ::kill(static_cast<pid_t>(console.processId()), number);
        QVERIFY(hasEnded(console, 1));
    }
};

QTEST_GUILESS_MAIN(ConsoleRunTest)
#include "console_run_test.moc"
