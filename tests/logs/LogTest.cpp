#include "logs/VLLog.h"
#include "support/TestEnvironment.h"

#include <QProcess>
#include <QRegularExpression>

#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr auto truncationNote = "Log truncated at 500KB";

QByteArray content(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

/// The path of the log with that number, beside the current one.
QString numbered(int number) {
    return VLLog::currentLogPath().replace(QStringLiteral(".1.log"), QStringLiteral(".%1.log").arg(number));
}

QStringList messages() {
    return logLines().mid(logLines().indexOf(QStringLiteral("Running in 32-bit mode")) + 1);
}

}  // namespace

class LogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void currentPath();
    void header();
    void lines_data();
    void lines();
    void rotation();
    void rotationLeavesGaps();
    void failedMoveEndsTheRotation();
    void sizeLimit_data();
    void sizeLimit();
    void noteComesBeforeWaitingLines();
    void finishWritingHeedsNoLaterLines();
    void unusableFolder();
    void deletedFolder();
    void manyThreads();
    void linesOfTheLastMomentAreWritten();
    void givenNameCountsOnce();

private:
    std::unique_ptr<QTemporaryDir> m_root;
};

void LogTest::init() {
    VLLog::finishWriting();
    m_root = std::make_unique<QTemporaryDir>();
    VLLocalPaths::setTestRoot(m_root->path());
    VLLog::createNewLog();
}

void LogTest::currentPath() {
    QCOMPARE(VLLog::currentLogPath(), VLLocalPaths::libraryDirectory(::geteuid() != 0) +
                                          QStringLiteral("/Logs/Velmora/LogTest.1.log"));
    QVERIFY(QFile::exists(VLLog::currentLogPath()));
}

void LogTest::header() {
    const QString text = QString::fromUtf8(content(VLLog::currentLogPath()));
    const QRegularExpression expected(
        QStringLiteral("\\ALog started: \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4}\\n"
                       "(Version: .+\\n)?"
                       "System: OS X .+, \\d+ CPU\\(s\\), \\d+\\.\\d\\d GB RAM\\n"
                       "Running in 32-bit mode\\n\\z"));
    QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
}

void LogTest::lines_data() {
    QTest::addColumn<QString>("format");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << QStringLiteral("Searching for services...") << QVariant()
                           << QStringLiteral("Searching for services...");
    QTest::newRow("format is trimmed") << QStringLiteral("\n  Found %@ \n") << QVariant(QStringLiteral("mac"))
                                       << QStringLiteral("Found mac");
    QTest::newRow("value is not") << QStringLiteral("<%@>") << QVariant(QStringLiteral(" a "))
                                  << QStringLiteral("< a >");
    QTest::newRow("percent in plain text")
        << QStringLiteral("100%@ %i %%") << QVariant() << QStringLiteral("100%@ %i %%");
    QTest::newRow("a line of its own")
        << QStringLiteral("From %@.") << QVariant(QStringLiteral("a\r\nLog started: b"))
        << QStringLiteral("From a  Log started: b.");
    QTest::newRow("terminal sequences")
        << QStringLiteral("<%@>") << QVariant(QStringLiteral("\x1b]0;x\x07\x7f\u009b2J"))
        << QStringLiteral("<?]0;x???2J>");
    QTest::newRow("direction of writing")
        << QStringLiteral("<%@>") << QVariant(QStringLiteral("a\u202eb\u2028c\u2066"))
        << QStringLiteral("<a?b c?>");
    QTest::newRow("not Latin") << QStringLiteral("Größe: %@") << QVariant(QStringLiteral("日本"))
                               << QStringLiteral("Größe: 日本");
}

void LogTest::lines() {
    QFETCH(QString, format);
    QFETCH(QVariant, value);
    QFETCH(QString, expected);
    if (value.isValid())
        VLLog::appendLog(format, value);
    else
        VLLog::appendLogAndPrint(format);
    VLLog::finishWriting();
    const QString text = QString::fromUtf8(content(VLLog::currentLogPath()));
    const QString line = text.section(QLatin1Char('\n'), -2, -2);
    const QRegularExpression dated(
        QStringLiteral("\\A\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4} - "));
    QVERIFY2(dated.match(line).hasMatch(), qPrintable(line));
    QCOMPARE(QString(line).remove(dated), expected);
}

void LogTest::rotation() {
    for (int number = 1; number <= 5; ++number)
        write(numbered(number), QByteArray::number(number));
    VLLog::createNewLog();
    for (int number = 2; number <= 5; ++number)
        QCOMPARE(content(numbered(number)), QByteArray::number(number - 1));
    QVERIFY(!QFile::exists(numbered(6)));
    QVERIFY(content(numbered(1)).startsWith("Log started: "));
    QCOMPARE(messages(), QStringList());
}

void LogTest::rotationLeavesGaps() {
    write(numbered(1), "1");
    write(numbered(3), "3");
    VLLog::createNewLog();
    QCOMPARE(content(numbered(2)), QByteArray("1"));
    QVERIFY(!QFile::exists(numbered(3)));
    QCOMPARE(content(numbered(4)), QByteArray("3"));

    QVERIFY(QFile::remove(numbered(1)));  // without a current file nothing is shifted
    VLLog::createNewLog();
    QCOMPARE(content(numbered(2)), QByteArray("1"));
    QCOMPARE(content(numbered(4)), QByteArray("3"));
}

void LogTest::failedMoveEndsTheRotation() {
    QVERIFY(QDir().mkpath(numbered(5) + QStringLiteral("/occupied")));  // cannot be deleted as a file
    for (int number = 1; number <= 4; ++number)
        write(numbered(number), QByteArray::number(number));
    VLLog::createNewLog();
    for (int number = 2; number <= 4; ++number)
        QCOMPARE(content(numbered(number)), QByteArray::number(number));
    QVERIFY(content(numbered(1)).startsWith("Log started: "));
}

void LogTest::sizeLimit_data() {
    QTest::addColumn<int>("bytes");
    QTest::addColumn<bool>("isFull");
    QTest::newRow("one below") << 499'999 << false;
    QTest::newRow("reached") << 500'000 << true;
    QTest::newRow("far above") << 1'200'000 << true;
}

// The header does not count; the date, the separator and the line feed do, and bytes rather than characters.
void LogTest::sizeLimit() {
    QFETCH(int, bytes);
    QFETCH(bool, isFull);
    constexpr int frame = 25 + 3 + 1;
    constexpr int first = 300'000;
    VLLog::appendLog(QStringLiteral("ä").repeated((first - frame - 1) / 2) + QLatin1Char('x'));
    VLLog::appendLog(QStringLiteral("y").repeated(bytes - first - frame));
    VLLog::finishWriting();
    QCOMPARE(QFile::exists(numbered(2)), isFull);
    QCOMPARE(messages().first() == QLatin1String(truncationNote), isFull);
    const QByteArray full = content(numbered(isFull ? 2 : 1));
    const qsizetype header = full.indexOf("32-bit mode\n") + 12;
    QCOMPARE(full.size() - header, bytes);
}

void LogTest::noteComesBeforeWaitingLines() {
    for (int i = 0; i < 2000; ++i)
        VLLog::appendLog(QStringLiteral("%i %@"), i, QString(600, QLatin1Char('x')));
    VLLog::finishWriting();
    QStringList all;
    for (int number = 5; number >= 1; --number) {
        const QList<QByteArray> lines = content(numbered(number)).split('\n');
        const qsizetype header = lines.indexOf("Running in 32-bit mode");
        const QList<QByteArray> body = header < 0 ? QList<QByteArray>() : lines.mid(header + 1);
        const bool isFirst = all.isEmpty();
        if (!isFirst && !body.isEmpty()) QVERIFY(body.first().endsWith(truncationNote));
        for (const QByteArray& line : body)
            if (!line.isEmpty() && !line.endsWith(truncationNote)) all << QString::fromUtf8(line.mid(28));
    }
    QCOMPARE(all.size(), 2000);
    for (int i = 0; i < 2000; ++i)
        QVERIFY(all[i].startsWith(QString::number(i) + QLatin1Char(' ')));
}

/// Somebody who logs without end keeps nobody waiting.
void LogTest::finishWritingHeedsNoLaterLines() {
    constexpr int most = 400'000;  // the flood ends by itself, so that a failure is one and not a hang
    std::atomic<bool> stop{false};
    std::atomic<int> logged{0};
    std::thread flood([&] {
        while (!stop && logged < most)
            VLLog::appendLog(QStringLiteral("%i"), ++logged);
    });
    while (logged < 1000)
        std::this_thread::yield();
    VLLog::finishWriting();
    const int loggedThen = logged;
    stop = true;
    flood.join();
    QVERIFY(loggedThen < most);
    VLLog::finishWriting();
}

void LogTest::unusableFolder() {
    const QTemporaryDir folder;
    const QString obstacle = folder.filePath(QStringLiteral("file"));
    write(obstacle, "x");
    VLLocalPaths::setTestRoot(obstacle);
    VLLog::createNewLog();
    VLLog::appendLog(QStringLiteral("lost"));
    VLLog::finishWriting();
    QCOMPARE(content(obstacle), QByteArray("x"));

    VLLocalPaths::setTestRoot(m_root->path());  // usable again: the next write finds the file
    VLLog::appendLog(QStringLiteral("kept"));
    QCOMPARE(messages(), QStringList{QStringLiteral("kept")});
}

void LogTest::deletedFolder() {
    QVERIFY(QDir(m_root->path()).removeRecursively());
    VLLog::appendLog(QStringLiteral("into the deleted file"));
    VLLog::finishWriting();
    VLLog::createNewLog();
    VLLog::appendLog(QStringLiteral("new"));
    QCOMPARE(messages(), QStringList{QStringLiteral("new")});
}

void LogTest::manyThreads() {
    constexpr int workers = 4;
    constexpr int count = 300;
    std::vector<std::thread> threads;
    for (int worker = 0; worker < workers; ++worker)
        threads.emplace_back([worker] {
            for (int i = 0; i < count; ++i) {
                VLLog::appendLog(QStringLiteral("%i %i"), worker, i);
                if (i % 100 == worker) VLLog::finishWriting();
                if (i == 150 && worker == 0) VLLog::createNewLog();
            }
        });
    for (auto& thread : threads)
        thread.join();
    VLLog::finishWriting();
    std::vector<int> next(workers, 0);
    for (const QString& path : {numbered(2), numbered(1)}) {
        for (const QByteArray& line : content(path).split('\n')) {
            const QRegularExpression numbers(QStringLiteral(" - (\\d) (\\d+)\\z"));
            const auto match = numbers.match(QString::fromUtf8(line));
            if (!match.hasMatch()) continue;
            int& expected = next.at(match.captured(1).toUInt());
            QCOMPARE(match.captured(2).toInt(), expected++);
        }
    }
    QCOMPARE(next, std::vector<int>(workers, count));
}

// A program that returns from main, or exits on the spot, without finishWriting().
void LogTest::linesOfTheLastMomentAreWritten() {
    const QTemporaryDir root;
    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--write-and-exit"), root.path()});
    QVERIFY(program.waitForFinished(60'000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 3);
    VLLocalPaths::setTestRoot(root.path());
    const QStringList written = messages();
    QCOMPARE(written.size(), 1001);
    QCOMPARE(written.last(), QStringLiteral("after the end"));
    VLLocalPaths::setTestRoot(m_root->path());
}

// Last, as a name can be set only once in a process.
void LogTest::givenNameCountsOnce() {
    VLLog::createNewLog(QStringLiteral("Named"));
    QVERIFY(VLLog::currentLogPath().endsWith(QStringLiteral("/Named.1.log")));
    VLLog::createNewLog(QStringLiteral("Other"));
    QVERIFY(VLLog::currentLogPath().endsWith(QStringLiteral("/Named.1.log")));
    QVERIFY(QFile::exists(numbered(2)));
}

namespace {

/// Destroyed after the log's queue has ended.
struct LateLogger {
    bool isArmed = false;
    ~LateLogger() {
        if (isArmed) VLLog::appendLog(QStringLiteral("after the end"));
    }
};
LateLogger lateLogger;

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && qstrcmp(argv[1], "--write-and-exit") == 0) {
        VLLocalPaths::setTestRoot(QString::fromLocal8Bit(argv[2]));
        lateLogger.isArmed = true;
        VLLog::createNewLog();
        for (int i = 0; i < 1000; ++i)
            VLLog::appendLog(QStringLiteral("line %i"), i);
        std::exit(3);
    }
    const QCoreApplication application(argc, argv);
    const TestEnvironment environment;
    LogTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "LogTest.moc"
