// The programs themselves: real agents on sample workstations, and the console run against them from outside.
#include "support/Programs.h"
#include "support/TestFiles.h"
#include "support/TestTable.h"

#include <QImage>
#include <QTemporaryDir>
#include <QTest>

#include <signal.h>
#include <sys/stat.h>

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
/// The rows of a report, with one space between the columns.
QStringList rowsOf(const QString& table) {
    QStringList rows;
    for (const QString& line : table.split(u'\n', Qt::SkipEmptyParts).mid(2))
        rows << line.simplified();
    return rows;
}

/// True once the process has a handler of its own for this signal.
bool catches(qint64 process, int number) {
    const QByteArray status = contentsOf(u"/proc/%1/status"_s.arg(process));
    const auto caught = QRegularExpression(u"SigCgt:\\s*([0-9a-f]+)"_s)
                            .match(QString::fromLatin1(status))
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
        QCOMPARE(runConsole({u"--print-certificate"_s}).output.toLatin1(), contentsOf(certificate));
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

    void reportAndPictureInOneRun() {
        const QString picture = path(u"window.png"_s);
        QStringList arguments = {u"--report"_s, u"addonry"_s};
        if (paints) arguments << u"--screenshot"_s << picture;
        const ProgramResult result = runConsole(arguments + m_addedClients);
        QVERIFY2(result.exitCode == 0, qPrintable(result.messages));
        QVERIFY2(result.messages.contains("3 clients connected"_L1), qPrintable(result.messages));

        const QStringList rows = rowsOf(result.output);
        for (const char* expected :
             {"Aurora Glow FxPlug 2.1.0 yes all users 3 none", "Lens Breath FxPlug 1.2.1 yes mixed 3 access",
              "Chroma Fringe FxPlug (various) yes all users 3 version",
              "Film Flash FxScript 1.1 mixed all users 3 enabled",
              "Film Bloom FxPlug 2.0.0 no all users 1 missing Bay 1, Bay 2"})
            QVERIFY2(rows.contains(QLatin1String(expected)), qPrintable(result.output));
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
        QVERIFY2(result.messages.contains("No answer from Gone"_L1), qPrintable(result.messages));
        // What the others have is printed all the same, and nothing is called missing there.
        QVERIFY2(!rowsOf(result.output).filter(u"Aurora Glow FxPlug 2.1.0 yes all users 3 none"_s).isEmpty(),
                 qPrintable(result.output));
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

    void sayWhyTheyCannotStart() {
        const ProgramResult windowless = runConsole({});
        QVERIFY(windowless.exitCode == 1 && windowless.messages.contains("no display"_L1));
        const ProgramResult unwritable = runConsole({"--export-certificate", "/nonexistent/file"});
        QVERIFY(unwritable.exitCode == 1 && unwritable.messages.contains("cannot write"_L1));
    }

    /// The console neither hangs on them nor removes them.
    void pipesInPlaceOfItsFiles() {
        const QString home = path(u"pipes"_s);
        const QProcessEnvironment own = m_environment;
        for (const char* folder : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
            m_environment.insert(QLatin1String(folder), home);
        const auto makePipe = [&](const QString& name) {
            const QString place = home + u'/' + name;
            return QDir().mkpath(QFileInfo(place).path()) && ::mkfifo(qPrintable(place), 0600) == 0;
        };
        for (const QString& name :
             {u"velmora/orlendo.plist"_s, u"orlendo/Logs/Velmora/orlendo.1.log"_s,
              u"orlendo/Activity/activity.sqlite"_s, u"Corvalin Orlendo/serviceicons.cache.plist"_s})
            QVERIFY(makePipe(name));
        const ProgramResult started = runConsole({"--report", "addonry", "--wait", "1"});
        QVERIFY(QFile::remove(home + "/velmora/identity/console.key"));
        QVERIFY(makePipe(u"velmora/identity/console.key"_s));
        const ProgramResult refused = runConsole({"--print-certificate"});
        m_environment = own;
        QVERIFY2(started.exitCode == 0 && !started.output.isEmpty(), qPrintable(started.messages));
        QVERIFY2(refused.exitCode == 1 && refused.messages.contains("not a regular file"_L1),
                 qPrintable(refused.messages));
        QVERIFY(QFileInfo(home + "/velmora/orlendo.plist").exists());
    }

    void signalsEndItInOrder_data() {
        const TestTable<int, QString> row("number", "what");
        row("SIGINT", SIGINT, u"--report=addonry"_s);
        if (paints) row("with a window", SIGTERM, u"--screenshot=/nonexistent/never.png"_s);
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
