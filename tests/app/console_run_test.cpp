// The programs themselves: real agents on sample workstations, and the console run against them from outside.
#include <QElapsedTimer>
#include <QImage>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <signal.h>

#include <memory>
#include <vector>

namespace {

#ifdef __SANITIZE_THREAD__
// Qt paints with threads of its own, which ThreadSanitizer cannot see into and takes for races.
constexpr bool paints = false;
#else
constexpr bool paints = true;
#endif
constexpr int patience = 60'000;  ///< milliseconds; only a hanging program takes that long

struct Result {
    int exitCode = -1;
    QString output;
    QString messages;
};

/// The rows of a report, cut at the columns that its second line shows.
QHash<QString, QStringList> rowsByName(const QString& table) {
    const QStringList lines = table.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QHash<QString, QStringList> rows;
    if (lines.size() < 2) return rows;
    QList<QPair<qsizetype, qsizetype>> columns;
    auto rules = QRegularExpression(QStringLiteral("-+")).globalMatch(lines[1]);
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
    QFile status(QStringLiteral("/proc/%1/status").arg(process));
    if (!status.open(QIODevice::ReadOnly)) return false;
    const auto caught = QRegularExpression(QStringLiteral("SigCgt:\\s*([0-9a-f]+)"))
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

    Result run(const QString& program, const QStringList& arguments) {
        QProcess process;
        process.setProcessEnvironment(m_environment);
        process.start(program, arguments);
        if (!process.waitForFinished(patience)) process.kill();
        if (process.exitStatus() != QProcess::NormalExit) return {};
        return {process.exitCode(), QString::fromLocal8Bit(process.readAllStandardOutput()),
                QString::fromLocal8Bit(process.readAllStandardError())};
    }
    Result runConsole(const QStringList& arguments) {
        return run(QStringLiteral(ORLENDO_PROGRAM),
                   QStringList{QStringLiteral("--no-discovery")} + arguments);
    }

    /// Starts an agent on sample workstation `profile`; it is told to serve the console that `certificate`
    /// names.
    void startAgent(int profile, const QString& certificate) {
        const QString number = QString::number(profile);
        const QString disk = path(QStringLiteral("workstation-") + number);
        const Result made = run(QStringLiteral(AGENT_PROGRAM),
                                {QStringLiteral("--make-sample"), disk, QStringLiteral("--profile"), number});
        QVERIFY2(made.exitCode == 0, qPrintable(made.messages));
        auto agent = std::make_unique<QProcess>();
        agent->setProcessEnvironment(m_environment);
        agent->start(QStringLiteral(AGENT_PROGRAM),
                     {QStringLiteral("--config"), disk + QStringLiteral("/agent.conf"),
                      QStringLiteral("--authorize"), certificate, QStringLiteral("--no-advertise")});
        QString greeting;
        while (!greeting.contains(QLatin1Char('\n')) && agent->waitForReadyRead(patience))
            greeting += QString::fromLocal8Bit(agent->readAllStandardOutput());
        const QString port = greeting.trimmed().section(QLatin1Char(':'), -1);
        QVERIFY2(port.toInt() > 0,
                 qPrintable(greeting + QString::fromLocal8Bit(agent->readAllStandardError())));
        m_agents.push_back(std::move(agent));
        m_addedClients << QStringLiteral("--add-client")
                       << QStringLiteral("Bay %1=127.0.0.1:%2").arg(number, port);
    }

private Q_SLOTS:
    void initTestCase() {
        m_environment = QProcessEnvironment::systemEnvironment();
        for (const char* display : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            m_environment.remove(QLatin1String(display));
        for (const char* folder : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
            m_environment.insert(QLatin1String(folder), path(QLatin1String(folder)));
        m_environment.insert(QStringLiteral("CORVALIN_DISCOVERY_INTERFACES"), QStringLiteral("lo"));

        const QString certificate = path(QStringLiteral("console.crt"));
        QCOMPARE(runConsole({QStringLiteral("--export-certificate"), certificate}).exitCode, 0);
        for (const int profile : {1, 2, 3})
            startAgent(profile, certificate);
    }
    void cleanupTestCase() {
        for (const auto& agent : m_agents)
            agent->terminate();
        for (const auto& agent : m_agents) {
            QVERIFY(agent->waitForFinished(patience));
            QCOMPARE(agent->exitStatus(), QProcess::NormalExit);
            QCOMPARE(agent->exitCode(), 0);
        }
    }

    void certificateIsTheSameEachTime() {
        QFile file(path(QStringLiteral("console.crt")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(runConsole({QStringLiteral("--print-certificate")}).output.toLatin1(), file.readAll());
    }

    void reportAndPictureInOneRun() {
        const QString picture = path(QStringLiteral("window.png"));
        QStringList arguments = {QStringLiteral("--report"), QStringLiteral("addonry")};
        if (paints) arguments << QStringLiteral("--screenshot") << picture;
        const Result result = runConsole(arguments + m_addedClients);
        QVERIFY2(result.exitCode == 0, qPrintable(result.messages));
        QVERIFY2(result.messages.contains(QLatin1String("3 clients connected")), qPrintable(result.messages));

        const auto rows = rowsByName(result.output);
        const auto expected = [](const char* text) {
            return QString::fromLatin1(text).split(QLatin1Char('|'));
        };
        QCOMPARE(rows.value(QStringLiteral("Aurora Glow")), expected("FxPlug|2.1.0|yes|all users|3|none|"));
        QCOMPARE(rows.value(QStringLiteral("Chroma Fringe")),
                 expected("FxPlug|(various)|yes|all users|3|version|"));
        QCOMPARE(rows.value(QStringLiteral("Film Flash")),
                 expected("FxScript|1.1|mixed|all users|3|enabled|"));
        QCOMPARE(rows.value(QStringLiteral("Lens Breath")), expected("FxPlug|1.2.1|yes|mixed|3|access|"));
        QCOMPARE(rows.value(QStringLiteral("Film Bloom")),
                 expected("FxPlug|2.0.0|no|all users|1|missing|Bay 1, Bay 2"));
        QVERIFY(rows.size() > 10);

        if (!paints) return;
        const QImage image(picture);
        QVERIFY(image.width() >= 800 && image.height() >= 500);
    }

    void missingClientIsNamed() {
        const Result result =
            runConsole(QStringList{QStringLiteral("--report"), QStringLiteral("addonry"),
                                   QStringLiteral("--wait"), QStringLiteral("2"),
                                   QStringLiteral("--add-client"), QStringLiteral("Gone=127.0.0.1:1")} +
                       m_addedClients);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.messages.contains(QLatin1String("Missing: Gone - ")), qPrintable(result.messages));
        // What the others have is printed all the same.
        QCOMPARE(rowsByName(result.output).value(QStringLiteral("Aurora Glow")).value(4),
                 QStringLiteral("3"));
    }

    void strangersAreTurnedAway() {
        QProcessEnvironment own = m_environment;
        m_environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("stranger")));
        const Result result = runConsole(QStringList{QStringLiteral("--report"), QStringLiteral("addonry"),
                                                     QStringLiteral("--wait"), QStringLiteral("2")} +
                                         m_addedClients);
        m_environment = own;
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.messages.contains(QLatin1String("does not accept this console")),
                 qPrintable(result.messages));
    }

    void wrongCommandLines_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown tool") << QStringList{QStringLiteral("--report"), QStringLiteral("nonsense")}
                                      << 2 << QStringLiteral("Unknown tool \"nonsense\"");
        QTest::newRow("window without a display") << QStringList() << 1 << QStringLiteral("no display");
        QTest::newRow("folder that is not there")
            << QStringList{QStringLiteral("--export-certificate"), QStringLiteral("/nonexistent/file")} << 1
            << QStringLiteral("cannot write");
    }
    void wrongCommandLines() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const Result result = runConsole(arguments);
        QTEST(result.exitCode, "exitCode");
        QVERIFY2(result.messages.contains(message), qPrintable(result.messages));
    }

    void signalsEndItInOrder_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("what");
        QTest::newRow("SIGINT") << SIGINT << QStringLiteral("--report=addonry");
        QTest::newRow("SIGTERM") << SIGTERM << QStringLiteral("--report=addonry");
        if (paints)
            QTest::newRow("with a window")
                << SIGTERM << QStringLiteral("--screenshot=/nonexistent/never.png");
    }
    void signalsEndItInOrder() {
        QFETCH(int, number);
        QFETCH(QString, what);
        QProcess console;
        console.setProcessEnvironment(m_environment);
        console.setProcessChannelMode(QProcess::MergedChannels);
        console.start(QStringLiteral(ORLENDO_PROGRAM),
                      QStringList{what, QStringLiteral("--no-discovery"),
                                  QStringLiteral("--expect-clients=9"), QStringLiteral("--wait=3600")} +
                          m_addedClients);
        QVERIFY(console.waitForStarted(patience));
        QTRY_VERIFY_WITH_TIMEOUT(catches(console.processId(), number), patience);
        QTest::qWait(300);  // about now it connects; the end has to be clean at any moment
        ::kill(static_cast<pid_t>(console.processId()), number);
        QVERIFY(console.waitForFinished(patience));
        QCOMPARE(console.exitStatus(), QProcess::NormalExit);
        QCOMPARE(console.exitCode(), 1);
    }
};

QTEST_GUILESS_MAIN(ConsoleRunTest)
#include "console_run_test.moc"
