#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"

namespace {

struct Crash {
    const char* application;
    const char* identifier;
    const char* version;
    int daysBefore;
    int hour;
    const char* exceptionType;
    const char* exceptionCodes;
    int crashedThread;
    const char* image;  ///< the code that the crashed thread was in
    const char* frame;
};

constexpr char busError[] = "EXC_BAD_ACCESS (SIGBUS)";
constexpr char segmentFault[] = "EXC_BAD_ACCESS (SIGSEGV)";
constexpr char nullAccess[] = "KERN_PROTECTION_FAILURE at 0x0000000000000000";
constexpr char invalidAddress[] = "KERN_INVALID_ADDRESS at 0x00000000bf7fffe0";
constexpr char fcp[] = "Final Cut Pro";
constexpr char fcpId[] = "com.apple.FinalCutPro";

const QList<Crash>& crashesOf(int index) {
    static const PerMachine<QList<Crash>> crashes{
        QList<Crash>{
            {fcp, fcpId, "7.0.3", 20, 10, busError, nullAccess, 0, "example.plugins.LensBreath",
             "-[LensBreathEffect renderOutput:withInput:withInfo:] + 418"},
            {"Motion", "com.apple.motion", "4.0.3", 3, 16, segmentFault, invalidAddress, 4,
             "com.apple.motion", "OZRenderGraph::evaluate(OZNode const*) + 92"},
        },
        QList<Crash>{
            {fcp, fcpId, "7.0.2", 31, 9, busError, nullAccess, 0, "example.plugins.HalftonePress",
             "-[HalftonePress frameSetup:inputInfo:hardware:software:] + 77"},
            {fcp, fcpId, "7.0.2", 30, 11, busError, nullAccess, 0, "example.plugins.HalftonePress",
             "-[HalftonePress frameSetup:inputInfo:hardware:software:] + 77"},
            {fcp, fcpId, "7.0.2", 6, 14, segmentFault, invalidAddress, 2,
             "com.apple.QuickTimeComponents.component", "DecodeFrame + 1204"},
            {"Soundtrack Pro", "com.apple.soundtrackpro", "3.0", 2, 18, "EXC_CRASH (SIGABRT)",
             "0x0000000000000000, 0x0000000000000000", 7, "com.apple.audio.units.Components",
             "AUBase::DoRender(unsigned long&, AudioTimeStamp const&, unsigned long) + 310"},
        },
        QList<Crash>{
            {"Color", "com.apple.color", "1.5.3", 1, 22, segmentFault, invalidAddress, 0,
             "com.apple.NVDAResman", "gldFinish + 188"},
        },
        QList<Crash>{
            {"Compressor", "com.apple.Compressor", "3.5.1", 12, 2, "EXC_CRASH (SIGABRT)",
             "0x0000000000000000, 0x0000000000000000", 3, "com.apple.Qmaster",
             "CSegmentWriter::writeSegment(char const*, unsigned long long) + 645"},
        },
    };
    return crashes.at(static_cast<std::size_t>(index));
}

QString threadText(int number, bool crashed, const Crash& crash) {
    const QString queue = number == 0 ? QStringLiteral("  Dispatch queue: com.apple.main-thread") : QString();
    QString text = QStringLiteral("\nThread %1%2:%3\n")
                       .arg(number)
                       .arg(crashed ? QStringLiteral(" Crashed") : QString(), queue);
    int frame = 0;
    const auto add = [&text, &frame](const QString& image, quint32 address, const QString& symbol) {
        text += QStringLiteral("%1 %2 0x%3 %4\n")
                    .arg(frame++, -3)
                    .arg(image, -33)
                    .arg(address, 8, 16, QLatin1Char('0'))
                    .arg(symbol);
    };
    if (crashed) {
        add(QString::fromUtf8(crash.image), 0x1a2b3c40U, QString::fromUtf8(crash.frame));
        add(QString::fromUtf8(crash.identifier), 0x00412d10U, QStringLiteral("0x1000 + 4267280"));
    } else {
        add(QStringLiteral("libSystem.B.dylib"), 0x9611d0faU, QStringLiteral("mach_msg_trap + 10"));
        add(QStringLiteral("libSystem.B.dylib"), 0x9611d867U, QStringLiteral("mach_msg + 68"));
    }
    add(QStringLiteral("com.apple.CoreFoundation"), 0x93c5f37fU, QStringLiteral("__CFRunLoopRun + 2079"));
    add(QString::fromUtf8(crash.identifier), 0x00002b0eU, QStringLiteral("0x1000 + 6926"));
    return text;
}

QString crashReport(const SampleProfile& profile, const Crash& crash, const QDateTime& date) {
    const QString application = QString::fromUtf8(crash.application);
    QString text = QStringLiteral(
                       "Process:         %1 [%2]\n"
                       "Path:            /Applications/%1.app/Contents/MacOS/%1\n"
                       "Identifier:      %3\n"
                       "Version:         %4 (%4)\n"
                       "Code Type:       X86 (Native)\n"
                       "Parent Process:  launchd [118]\n\n")
                       .arg(application)
                       .arg(400 + 17 * crash.daysBefore)
                       .arg(QString::fromUtf8(crash.identifier), QString::fromUtf8(crash.version));
    text += QStringLiteral(
                "Date/Time:       %1.412 +0000\n"
                "OS Version:      Mac OS X %2 (%3)\n"
                "Report Version:  6\n\n"
                "Exception Type:  %4\n"
                "Exception Codes: %5\n"
                "Crashed Thread:  %6\n")
                .arg(date.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
                     QString::fromUtf8(profile.systemVersion), QString::fromUtf8(profile.systemBuild),
                     QString::fromUtf8(crash.exceptionType), QString::fromUtf8(crash.exceptionCodes))
                .arg(crash.crashedThread);
    for (int thread = 0; thread <= crash.crashedThread + 1; ++thread)
        text += threadText(thread, thread == crash.crashedThread, crash);
    text += QStringLiteral(
                "\nBinary Images:\n"
                "    0x1000 -   0x9d8fe3 +%1 %2 (%2) /Applications/%3.app/Contents/MacOS/%3\n"
                "0x1a2b0000 - 0x1a2bfff7 +%4 ??? (1.0)\n\n"
                "Model: %5, %6 processors, %7, %8\n")
                .arg(QString::fromUtf8(crash.identifier), QString::fromUtf8(crash.version), application,
                     QString::fromUtf8(crash.image), QString::fromUtf8(profile.model))
                .arg(profile.processorCount)
                .arg(QString::fromUtf8(profile.processor), QString::fromUtf8(profile.graphics));
    return text;
}

void writeCrashes(const SampleWriter& disk, const SampleProfile& profile) {
    for (const Crash& crash : crashesOf(profile.index)) {
        const QDateTime date = sampleDate(crash.daysBefore, crash.hour, 15);
        const QString path = QStringLiteral("%1/Library/Logs/CrashReporter/%2_%3_%4.crash")
                                 .arg(profile.home(), QString::fromUtf8(crash.application),
                                      date.toString(QStringLiteral("yyyy-MM-dd-HHmmss")),
                                      QString::fromUtf8(profile.hostName).section(u'.', 0, 0));
        disk.file(path, crashReport(profile, crash, date).toUtf8(), date);
    }
}

QByteArray logText(const QDateTime& start, const QStringList& messages) {
    QString text = QStringLiteral("Log started: %1\n").arg(start.toString(Qt::ISODate));
    QDateTime time = start;
    for (const QString& message : messages) {
        time = time.addSecs(7 + message.size());
        text += QStringLiteral("%1 - %2\n").arg(time.toString(Qt::ISODate), message);
    }
    return text.toUtf8();
}

void writeSuiteLogs(const SampleWriter& disk, const SampleProfile& profile) {
    const QString ofUser = profile.home() + QStringLiteral("/Library/Logs/Velmora/");
    const QDateTime today = sampleDate();
    const QDateTime yesterday = sampleDate(1);
    disk.file(ofUser + QStringLiteral("Corvalin.1.log"),
              logText(today, {QStringLiteral("Corvalin is ready."), QStringLiteral("Checking for updates..."),
                              QStringLiteral("Updates found: %1").arg(profile.index)}));
    disk.file(ofUser + QStringLiteral("Corvalin.2.log"),
              logText(yesterday, {QStringLiteral("Corvalin is ready.")}));
    disk.file(ofUser + QStringLiteral("Settlekeep.1.log"),
              logText(yesterday,
                      {QStringLiteral("Backing up preferences of %1...").arg(QString::fromUtf8(profile.user)),
                       QStringLiteral("Backup finished.")}));
    disk.file(
        QStringLiteral("/Library/Logs/Velmora/Corvalin Network Client.1.log"),
        logText(today, {QStringLiteral("Network client started on %1.").arg(QString::fromUtf8(profile.model)),
                        QStringLiteral("Waiting for an administrator.")}));
    disk.file(QStringLiteral("/Library/Logs/Velmora/Cronwell.1.log"),
              logText(yesterday, {QStringLiteral("Running scheduled tasks."), QStringLiteral("Finished.")}));
}

}  // namespace

void writeSampleLogs(const SampleWriter& disk, const SampleProfile& profile) {
    writeCrashes(disk, profile);
    writeSuiteLogs(disk, profile);
}
