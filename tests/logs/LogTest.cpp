#include "logs/VLLog.h"
#include "support/TestEnvironment.h"
#include "support/TestFiles.h"

#include <QProcess>
#include <QRegularExpression>

#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr auto truncationNote = "Log truncated at 500KB";

/// The path of the log with that number, beside the current one.
QString numbered(int number) {
    return VLLog::currentLogPath().replace(u".1.log"_s, u".%1.log"_s.arg(number));
}

QStringList messages() {
    return logLines().mid(logLines().indexOf(u"Running in 32-bit mode"_s) + 1);
}

}  // namespace

class LogTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        VLLog::finishWriting();
        m_root = std::make_unique<QTemporaryDir>();
        VLLocalPaths::setTestRoot(m_root->path());
        VLLog::createNewLog();
    }

    void header() {
        QVERIFY(VLLog::currentLogPath().endsWith(u"/Logs/Velmora/LogTest.1.log"_s));
        const QString text = QString::fromUtf8(contentsOf(VLLog::currentLogPath()));
        const QRegularExpression expected(
            QStringLiteral("\\ALog started: \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4}\\n"
                           "(Version: .+\\n)?"
                           "System: OS X .+, \\d+ CPU\\(s\\), \\d+\\.\\d\\d GB RAM\\n"
                           "Running in 32-bit mode\\n\\z"));
        QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
    }

    void lines() {
        const struct {
            QString format;
            QVariant value;
            QString expected;
        } rows[] = {{u"100%@ %i %%"_s, {}, u"100%@ %i %%"_s},
                    {u"\n  Größe: %@ \n"_s, u"日本"_s, u"Größe: 日本"_s},
                    {u"<%@>"_s, u" a "_s, u"< a >"_s},
                    {u"From %@."_s, u"a\r\nLog started: b"_s, u"From a  Log started: b."_s},
                    {u"<%@>"_s, u"\x1b]0;x\x07\x7f\u009b2J"_s, u"<?]0;x???2J>"_s},
                    {u"<%@>"_s, u"a\u202eb\u2028c\u2066"_s, u"<a?b c?>"_s}};
        for (const auto& [format, value, expected] : rows) {
            if (value.isValid())
                VLLog::appendLog(format, value);
            else
                VLLog::appendLogAndPrint(format);
            VLLog::finishWriting();
            const QString text = QString::fromUtf8(contentsOf(VLLog::currentLogPath()));
            const QString line = text.section(QLatin1Char('\n'), -2, -2);
            const QRegularExpression dated(u"\\A\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4} - "_s);
            QVERIFY2(dated.match(line).hasMatch(), qPrintable(line));
            QCOMPARE(QString(line).remove(dated), expected);
        }
    }

    void rotation() {
        for (const int number : {1, 2, 4, 5})
            QVERIFY(writeFile(numbered(number), QByteArray::number(number)));
        VLLog::createNewLog();
        for (const int number : {2, 3, 5})
            QCOMPARE(contentsOf(numbered(number)), QByteArray::number(number - 1));
        QVERIFY(!QFile::exists(numbered(4)) && !QFile::exists(numbered(6)));
        QVERIFY(contentsOf(numbered(1)).startsWith("Log started: "));
        QCOMPARE(messages(), QStringList());

        QVERIFY(QFile::remove(numbered(1)));  // without a current file nothing is shifted
        VLLog::createNewLog();
        QCOMPARE(contentsOf(numbered(2)), QByteArray("1"));
    }

    void failedMoveEndsTheRotation() {
        QVERIFY(QDir().mkpath(numbered(5) + u"/occupied"_s));  // cannot be deleted as a file
        for (int number = 1; number <= 4; ++number)
            QVERIFY(writeFile(numbered(number), QByteArray::number(number)));
        VLLog::createNewLog();
        for (int number = 2; number <= 4; ++number)
            QCOMPARE(contentsOf(numbered(number)), QByteArray::number(number));
        QVERIFY(contentsOf(numbered(1)).startsWith("Log started: "));
    }

    // The header does not count; the date, the separator and the line feed do, and bytes rather than
    // characters.
    void sizeLimit() {
        constexpr int frame = 25 + 3 + 1, first = 300'000;
        for (const int bytes : {499'999, 500'000}) {
            startNewLog();
            const bool isFull = bytes == 500'000;
            VLLog::appendLog(u"ä"_s.repeated((first - frame - 1) / 2) + QLatin1Char('x'));
            VLLog::appendLog(u"y"_s.repeated(bytes - first - frame));
            VLLog::finishWriting();
            QCOMPARE(messages().first() == QLatin1String(truncationNote), isFull);
            const QByteArray full = contentsOf(numbered(isFull ? 2 : 1));
            QCOMPARE(full.size() - full.indexOf("32-bit mode\n") - 12, bytes);
        }
    }

    void noteComesBeforeWaitingLines() {
        for (int i = 0; i < 2000; ++i)
            VLLog::appendLog(u"%i %@"_s, i, QString(600, QLatin1Char('x')));
        VLLog::finishWriting();
        QStringList all;
        for (int number = 5; number >= 1; --number) {
            const QList<QByteArray> lines = contentsOf(numbered(number)).split('\n');
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
    void finishWritingHeedsNoLaterLines() {
        constexpr int most = 400'000;  // the flood ends by itself, so that a failure is one and not a hang
        std::atomic<bool> stop{false};
        std::atomic<int> logged{0};
        std::thread flood([&] {
            while (!stop && logged < most)
                VLLog::appendLog(u"%i"_s, ++logged);
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

    void unusableFolder() {
        const QTemporaryDir folder;
        const QString obstacle = folder.filePath(u"file"_s);
        QVERIFY(writeFile(obstacle, "x"));
        VLLocalPaths::setTestRoot(obstacle);
        VLLog::createNewLog();
        VLLog::appendLog(u"lost"_s);
        VLLog::finishWriting();
        QCOMPARE(contentsOf(obstacle), QByteArray("x"));

        VLLocalPaths::setTestRoot(m_root->path());  // usable again: the next write finds the file
        VLLog::appendLog(u"kept"_s);
        QCOMPARE(messages(), QStringList{u"kept"_s});
    }

    void manyThreads() {
        constexpr int workers = 4;
        constexpr int count = 300;
        std::vector<std::thread> threads;
        for (int worker = 0; worker < workers; ++worker)
            threads.emplace_back([worker] {
                for (int i = 0; i < count; ++i) {
                    VLLog::appendLog(u"%i %i"_s, worker, i);
                    if (i % 100 == worker) VLLog::finishWriting();
                    if (i == 150 && worker == 0) VLLog::createNewLog();
                }
            });
        for (auto& thread : threads)
            thread.join();
        VLLog::finishWriting();
        std::vector<int> next(workers, 0);
        for (const QString& path : {numbered(2), numbered(1)}) {
            for (const QByteArray& line : contentsOf(path).split('\n')) {
                const QRegularExpression numbers(u" - (\\d) (\\d+)\\z"_s);
                const auto match = numbers.match(QString::fromUtf8(line));
                if (!match.hasMatch()) continue;
                int& expected = next.at(match.captured(1).toUInt());
                QCOMPARE(match.captured(2).toInt(), expected++);
            }
        }
        QCOMPARE(next, std::vector<int>(workers, count));
    }

    // A program that returns from main, or exits on the spot, without finishWriting().
    void linesOfTheLastMomentAreWritten() {
        const QTemporaryDir root;
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(QCoreApplication::applicationFilePath(), {u"--write-and-exit"_s, root.path()});
        QVERIFY(program.waitForFinished(60'000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 3);
        VLLocalPaths::setTestRoot(root.path());
        const QStringList written = messages();
        QCOMPARE(written.size(), 1001);
        QCOMPARE(written.last(), u"after the end"_s);
        VLLocalPaths::setTestRoot(m_root->path());
    }

    // Last, as a name can be set only once in a process.
    void givenNameCountsOnce() {
        VLLog::createNewLog(u"Named"_s);
        QVERIFY(VLLog::currentLogPath().endsWith(u"/Named.1.log"_s));
        VLLog::createNewLog(u"Other"_s);
        QVERIFY(VLLog::currentLogPath().endsWith(u"/Named.1.log"_s));
        QVERIFY(QFile::exists(numbered(2)));
    }

private:
    std::unique_ptr<QTemporaryDir> m_root;
};

namespace {

/// Destroyed after the log's queue has ended.
struct LateLogger {
    bool isArmed = false;
    ~LateLogger() {
        if (isArmed) VLLog::appendLog(u"after the end"_s);
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
            VLLog::appendLog(u"line %i"_s, i);
        std::exit(3);
    }
    const QCoreApplication application(argc, argv);
    const TestEnvironment environment;
    LogTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "LogTest.moc"
