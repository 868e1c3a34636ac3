#pragma once

#include "base/VLLocalPaths.h"
#include "foundation/MainThread.h"
#include "foundation/VLThread.h"
#include "foundation/VLUserDefaults.h"
#include "logs/VLLog.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

/// What a test program stands on: every folder and the standard settings lie in a temporary folder, a log is
/// open, the main thread is adopted. Made after the application object, before anything else.
class TestEnvironment {
public:
    TestEnvironment() {
        // One time zone everywhere. Without any, every local time makes the C library read the machine's anew
        // under a lock that ThreadSanitizer cannot see.
        if (!qEnvironmentVariableIsSet("TZ")) qputenv("TZ", "UTC");
        VLLocalPaths::setTestRoot(m_root.path());
        VLUserDefaults::setStandardPath(m_root.filePath(QStringLiteral("defaults.plist")));
        MainThread::adopt();
        VLLog::createNewLog();
    }
    ~TestEnvironment() {
        VLThread::cancelAll();
        if (!VLThread::joinAll(std::chrono::seconds(30))) qWarning("a worker thread is left behind");
        VLLog::finishWriting();
    }
    TestEnvironment(const TestEnvironment&) = delete;
    TestEnvironment& operator=(const TestEnvironment&) = delete;

    [[nodiscard]] QString root() const { return m_root.path(); }

private:
    QTemporaryDir m_root;
};

/// A new log, without lines that are still on their way.
inline void startNewLog() {
    VLLog::finishWriting();
    VLLog::createNewLog();
}

/// Every line that was logged since the current log was started, header included, without its date.
inline QStringList logLines() {
    VLLog::finishWriting();
    QFile file(VLLog::currentLogPath());
    if (!file.open(QIODevice::ReadOnly)) return {};
    QStringList lines;
    const QString text = QString::fromUtf8(file.readAll());
    for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const qsizetype dateLength = QStringLiteral("2001-01-01 00:00:00 +0000 - ").size();
        const bool isDated = line.size() >= dateLength &&
                             line.mid(dateLength - 3, 3) == QLatin1String(" - ") &&
                             line[4] == QLatin1Char('-') && line[13] == QLatin1Char(':');
        lines << (isDated ? line.mid(dateLength) : line);
    }
    return lines;
}

#define ORLENDO_TEST_MAIN_WITH(Application, Class) \
    int main(int argc, char** argv) {              \
        Application application(argc, argv);       \
        const TestEnvironment environment;         \
        Class test;                                \
        return QTest::qExec(&test, argc, argv);    \
    }

/// `main` of a test of `Class`. The other two are for tests that need fonts and pictures, or widgets; they
/// include <QGuiApplication> or <QApplication> themselves.
#define ORLENDO_TEST_MAIN(Class) ORLENDO_TEST_MAIN_WITH(QCoreApplication, Class)
#define ORLENDO_GUI_TEST_MAIN(Class) ORLENDO_TEST_MAIN_WITH(QGuiApplication, Class)
#define ORLENDO_WIDGETS_TEST_MAIN(Class) ORLENDO_TEST_MAIN_WITH(QApplication, Class)
