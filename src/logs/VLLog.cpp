#include "logs/VLLog.h"

#include "base/RegularFile.h"
#include "base/VLBundle.h"
#include "base/VLLocalPaths.h"
#include "logs/PrintableText.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSysInfo>

#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

constexpr quint32 lastByteCount = 499'999;  // a file with more than this is full
constexpr int oldestNumber = 5;
constexpr std::chrono::milliseconds gatherTime(5);

QString executableName() {
    return QFileInfo(VLLocalPaths::executablePath()).completeBaseName();
}

QString pathOf(const QString& appName, int number) {
    const QString library = VLLocalPaths::libraryDirectory(::geteuid() != 0);
    return library + vlFormat(QStringLiteral("/Logs/Velmora/%@.%i.log"), appName, number);
}

void createFolderOf(const QString& path) {
    const QString folder = QFileInfo(path).path();
    if (!QDir().mkpath(folder))
        VLLog::printToSystemLog(vlFormat(QStringLiteral("Unable to create folder %@."), folder));
}

void rotate(const QString& appName) {
    QFile::remove(pathOf(appName, oldestNumber));
    for (int number = oldestNumber - 1; number >= 1; --number) {
        const QString from = pathOf(appName, number);
        const QString to = pathOf(appName, number + 1);
        if (!QFile::exists(from) || QFile::rename(from, to)) continue;
        VLLog::printToSystemLog(vlFormat(QStringLiteral("Unable to move file %@ to %@"), from, to));
        return;
    }
}

QString header() {
    const long processors = ::sysconf(_SC_NPROCESSORS_ONLN);
    const double bytes =
        static_cast<double>(::sysconf(_SC_PHYS_PAGES)) * static_cast<double>(::sysconf(_SC_PAGE_SIZE));
    QString text = vlFormat(QStringLiteral("Log started: %@\n"), QDateTime::currentDateTime());
    const QVariant version =
        VLBundle::mainBundle().objectForInfoDictionaryKey(QStringLiteral("CFBundleVersion"));
    if (version.isValid()) text += vlFormat(QStringLiteral("Version: %@\n"), version);
    text += vlFormat(QStringLiteral("System: OS X %@, %i CPU(s), %0.2f GB RAM\n"),
                     QSysInfo::prettyProductName(), static_cast<int>(processors), bytes / 1024 / 1024 / 1024);
    return text + QStringLiteral("Running in 32-bit mode\n");
}

/// The error's description, or nothing when all went well.
QString writeAtomically(const QString& path, const QByteArray& data) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.flush() && file.commit())
        return {};
    return file.errorString();
}

}  // namespace

struct VLLog::Private {
    // The file and what belongs to it. A real lock: a new log may be started while the queue writes.
    std::mutex fileMutex;
    QString appName;
    std::unique_ptr<QFile> fileHandle;
    quint32 bytesWritten = 0;
    std::atomic<bool> copiesToSyslog{false};

    // The serial queue.
    std::mutex queueMutex;
    std::condition_variable queueChanged;
    struct Line {
        qint64 milliseconds;  ///< since 1970, when it was queued
        QString text;
    };
    std::vector<Line> writeQueue;
    quint64 queuedLines = 0;   // since the start of the program
    quint64 writtenLines = 0;  // of those; a lost line counts
    int waiters = 0;           // for what is queued to be written
    bool isStopped = false;
    std::thread worker;

    // The writer's: a time in words, for the lines of one second.
    qint64 wordedSecond = -1;
    QString wordedTime;

    [[nodiscard]] QString baseName() const { return appName.isEmpty() ? executableName() : appName; }
    [[nodiscard]] QString currentPath() const { return pathOf(baseName(), 1); }

    void startNewLog(const QString& name);
    bool openFile(const QString& message);
    void write(const std::vector<Line>& lines);
    bool flush(QByteArray& lines);
    [[nodiscard]] QByteArray formatted(const Line& line);
    void queue(const QString& text);
    bool hasWorker();
    void workLoop();
    void stop();
};

/// Called with the file's lock held.
void VLLog::Private::startNewLog(const QString& name) {
    fileHandle.reset();
    if (appName.isEmpty()) appName = name;
    bytesWritten = 0;
    const QString path = currentPath();
    createFolderOf(path);
    if (QFile::exists(path)) rotate(baseName());
    if (const QString error = writeAtomically(path, header().toUtf8()); !error.isEmpty()) {
        printToSystemLog(vlFormat(QStringLiteral("Unable to create log file %@ - %@"), path, error));
        return;
    }
    auto file = std::make_unique<QFile>();
    if (RegularFile::openForAppending(*file, path)) fileHandle = std::move(file);
}

/// Called with the file's lock held.
bool VLLog::Private::openFile(const QString& message) {
    if (fileHandle) return true;
    auto file = std::make_unique<QFile>();
    if (RegularFile::openForAppending(*file, currentPath())) {
        fileHandle = std::move(file);
        return true;
    }
    printToSystemLog(vlFormat(QStringLiteral("Unable to log the following information: %@"), message));
    printToSystemLog(QStringLiteral("Unable to open log for output"));
    return false;
}

QByteArray VLLog::Private::formatted(const Line& line) {
    if (const qint64 second = line.milliseconds / 1'000; second != wordedSecond) {
        wordedSecond = second;
        wordedTime = vlFormat(QStringLiteral("%@"), QDateTime::fromMSecsSinceEpoch(second * 1'000));
    }
    return (wordedTime + QStringLiteral(" - ") + printableLine(line.text) + u'\n').toUtf8();
}

/// Empties it. False when it could not be written.
bool VLLog::Private::flush(QByteArray& lines) {
    const QByteArray bytes = std::exchange(lines, {});
    if (bytes.isEmpty() || fileHandle->write(bytes) == bytes.size()) return true;
    printToSystemLog(vlFormat(QStringLiteral("Exception writing to log: %@"), fileHandle->errorString()));
    fileHandle.reset();  // the next write tries again
    return false;
}

/// Those that are there together go out together.
void VLLog::Private::write(const std::vector<Line>& lines) {
    const std::lock_guard lock(fileMutex);
    QByteArray gathered;
    for (const Line& line : lines) {
        if (!openFile(line.text)) continue;
        const QByteArray bytes = formatted(line);
        gathered += bytes;
        bytesWritten += static_cast<quint32>(bytes.size());
        if (bytesWritten <= lastByteCount || !flush(gathered)) continue;
        startNewLog(appName);
        gathered += formatted({line.milliseconds, QStringLiteral("Log truncated at 500KB")});
        bytesWritten += static_cast<quint32>(gathered.size());
    }
    if (fileHandle) flush(gathered);
}

void VLLog::Private::queue(const QString& text) {
    const Line line{QDateTime::currentMSecsSinceEpoch(), text};
    {
        const std::lock_guard lock(queueMutex);
        if (!isStopped && hasWorker()) {
            writeQueue.push_back(line);
            ++queuedLines;
            if (writeQueue.size() > 1) return;  // it is awake already
            queueChanged.notify_all();
            return;
        }
    }
    write({line});  // the process is ending and the queue is gone, or there is no thread to be had
}

/// Called with the queue's lock held.
bool VLLog::Private::hasWorker() {
    if (worker.joinable()) return true;
    try {
        worker = std::thread([this] { workLoop(); });
    } catch (const std::system_error&) {  // whoever logs must not fail for it
    }
    return worker.joinable();
}

void VLLog::Private::workLoop() {
    std::unique_lock lock(queueMutex);
    for (;;) {
        queueChanged.wait(lock, [this] { return !writeQueue.empty() || isStopped; });
        if (writeQueue.empty()) return;
        // What comes in quick succession is written at one go.
        queueChanged.wait_for(lock, gatherTime, [this] { return waiters > 0 || isStopped; });
        const std::vector<Line> lines = std::exchange(writeQueue, {});
        lock.unlock();
        write(lines);
        lock.lock();
        writtenLines += lines.size();
        if (waiters > 0) queueChanged.notify_all();
    }
}

/// Waits for what is queued, then closes the file.
void VLLog::Private::stop() {
    {
        const std::lock_guard lock(queueMutex);
        isStopped = true;
        queueChanged.notify_all();
    }
    if (worker.joinable()) worker.join();
    const std::lock_guard lock(fileMutex);
    fileHandle.reset();
}

VLLog::VLLog() : d(std::make_unique<Private>()) {}

VLLog::~VLLog() {
    d->stop();
}

VLLog& VLLog::sharedController() {
    // Never freed, only stopped at exit: other static objects may still log while they are destroyed.
    static VLLog* const shared = new VLLog;
    struct Stopper {
        ~Stopper() { shared->d->stop(); }
    };
    static const Stopper stopper;
    return *shared;
}

void VLLog::createNewLog(const QString& name) {
    Private& log = *sharedController().d;
    const std::lock_guard lock(log.fileMutex);
    log.startNewLog(name);
}

void VLLog::queueLine(const QString& line) {
    sharedController().d->queue(line);
}

void VLLog::appendLogAndPrint(const QString& text) {
    appendLog(text);
    printToSystemLog(text);
}

void VLLog::printToSystemLog(const QString& text) {
    const QByteArray line = printableLine(text).toUtf8() + '\n';
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr);
    if (sharedController().d->copiesToSyslog) ::syslog(LOG_USER | LOG_NOTICE, "%s", line.constData());
}

void VLLog::copySystemLogToSyslog() {
    sharedController().d->copiesToSyslog = true;
}

void VLLog::finishWriting() {
    Private& log = *sharedController().d;
    std::unique_lock lock(log.queueMutex);
    const quint64 last = log.queuedLines;
    ++log.waiters;
    log.queueChanged.notify_all();
    log.queueChanged.wait(lock, [&log, last] { return log.writtenLines >= last; });
    --log.waiters;
}

QString VLLog::currentLogPath() {
    Private& log = *sharedController().d;
    const std::lock_guard lock(log.fileMutex);
    return log.currentPath();
}
