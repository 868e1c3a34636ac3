#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"

namespace {

using Versions = PerMachine<const char*>;  // null: not installed

struct Application {
    const char* folder;
    const char* name;
    const char* identifier;
    Versions versions;
    Versions builds = {};
};

constexpr char applications[] = "/Applications";
constexpr char utilities[] = "/Applications/Utilities";
constexpr char suite[] = "/Applications/Corvalin Tools";

constexpr Application software[] = {
    {applications, "Final Cut Pro", "com.apple.FinalCutPro", {"7.0.3", "7.0.2", "7.0.3", nullptr}},
    {applications, "Motion", "com.apple.motion", {"4.0.3", "4.0.3", "4.0.3", nullptr}},
    {applications, "Soundtrack Pro", "com.apple.soundtrackpro", {"3.0.1", "3.0", "3.0.1", nullptr}},
    {applications, "DVD Studio Pro", "com.apple.dvdstudiopro", {"4.2.2", "4.2.2", nullptr, nullptr}},
    {applications, "Color", "com.apple.color", {"1.5.3", nullptr, "1.5.3", nullptr}},
    {applications, "LiveType", "com.apple.LiveType", {"2.1.4", "2.1.4", nullptr, nullptr}},
    {applications, "Compressor", "com.apple.Compressor", {"3.5.3", "3.5.2", "3.5.3", "3.5.1"}},
    {applications, "Cinema Tools", "com.apple.CinemaTools", {"4.5.1", "4.5.1", "4.5.1", nullptr}},
    {applications, "Final Cut Server", "com.apple.FinalCutServer", {nullptr, nullptr, nullptr, "1.5.2"}},
    {applications, "QuickTime Player", "com.apple.QuickTimePlayerX", {"10.0", "10.0", "10.0", "7.6.4"}},
    {utilities, "Batch Monitor", "com.apple.BatchMonitor", {"1.5.3", "1.5.2", "1.5.3", "1.5.1"}},
    {utilities, "Apple Qmaster", "com.apple.Qmaster", {"3.5.3", "3.5.2", "3.5.3", "3.5.1"}},
    {applications,
     "Corvalin",
     "com.velmora.Corvalin",
     {"2.1.2", "2.1.2", "2.1.2", "2.1.0"},
     {"312", "312", "312", "308"}},
    {suite, "Settlekeep", "com.velmora.settlekeep", {"2.1.1", "2.1.1", "2.1.1", "2.1.0"}},
    {suite, "Addonry", "com.velmora.Addonry", {"1.4", "1.4", "1.4", "1.4"}},
    {suite, "Cronwell", "com.velmora.Cronwell", {"1.2.3", "1.2.3", "1.2.2", "1.2.3"}},
    {suite, "Faultscope", "com.velmora.Faultscope", {"2.0.5", "2.0.4", "2.0.5", "2.0.5"}},
    {suite, "Tidyhand", "com.velmora.Tidyhand", {"1.9", "1.9", "1.9", "1.9"}},
    {suite, "Encodemend", "com.velmora.Encodemend", {"1.1", "1.1", "1.1", "1.1"}},
    {suite, "Snapmend", "com.velmora.Snapmend", {"1.0.2", "1.0.2", "1.0.2", nullptr}},
    {suite, "Routemark", "com.velmora.Routemark", {"1.3", "1.3", "1.3", "1.3"}},
};

/// What the suite's applications offer for scheduling.
struct OfferedTask {
    const char* identifier;
    const char* id;
    const char* description;
};

constexpr OfferedTask offeredTasks[] = {
    {"com.velmora.Corvalin", "checkUpdates", "Check for updates"},
    {"com.velmora.settlekeep", "quickBackup", "Back up preferences"},
    {"com.velmora.Faultscope", "collect", "Collect crash logs"},
    {"com.velmora.Tidyhand", "cleanEveryday", "Clean caches"},
    {"com.velmora.Tidyhand", "cleanAll", "Clean everything"},
    {"com.velmora.Snapmend", "repairPermissions", "Repair disk permissions"},
    {"com.velmora.Routemark", "check", "Check scratch disks"},
};

struct Component {
    const char* path;
    const char* name;
    Versions versions;
};

constexpr Component frameworks[] = {
    {"/Library/Frameworks/ProEffects.framework", "ProEffects", {"1.7.2", "1.7.2", "1.8.0", "1.7.2"}},
    {"/Library/Frameworks/TimecodeKit.framework", "TimecodeKit", {"2.0", "2.0", "2.0", "2.0"}},
    {"/Library/Frameworks/GradeControl.framework", "GradeControl", {nullptr, nullptr, "1.1.3", nullptr}},
    {"/System/Library/Frameworks/QuickTime.framework", "QuickTime", {"7.6.6", "7.6.6", "7.6.6", "7.6.4"}},
};

constexpr Component kernelExtensions[] = {
    {"/System/Library/Extensions/CaptureIO.kext", "CaptureIO", {"7.5.1", "7.1", "7.5.1", nullptr}},
    {"/System/Library/Extensions/FibreLink.kext", "FibreLink", {nullptr, nullptr, "3.2", "3.2"}},
    {"/System/Library/Extensions/RAIDMonitor.kext", "RAIDMonitor", {"1.0.4", "1.0.4", "1.0.4", "1.0.4"}},
};

constexpr Component codecs[] = {
    {"/Library/QuickTime/BroadcastCodec.component", "BroadcastCodec", {"2.3", "2.3", "2.4", "2.3"}},
    {"/System/Library/QuickTime/ProCodec.component", "ProCodec", {"1.0.3", "1.0.2", "1.0.3", "1.0.2"}},
};

void writeOfferedTasks(const SampleWriter& disk, const QString& bundle, const char* identifier) {
    QVariantList tasks;
    for (const OfferedTask& task : offeredTasks) {
        if (QLatin1String(task.identifier) != QLatin1String(identifier)) continue;
        tasks.append(QVariantMap{{QStringLiteral("taskID"), QString::fromUtf8(task.id)},
                                 {QStringLiteral("taskDescription"), QString::fromUtf8(task.description)}});
    }
    if (!tasks.isEmpty())
        disk.propertyList(bundle + QStringLiteral("/Contents/Resources/ScheduledTasks.plist"),
                          {{QStringLiteral("tasks"), tasks}});
}

SampleWriter::Bundle describe(const Component& component, const char* version, const char* packageType) {
    const QString name = QString::fromUtf8(component.name);
    return {.name = name,
            .identifier = QStringLiteral("example.components.") + name,
            .version = QString::fromUtf8(version),
            .build = {},
            .packageType = QString::fromUtf8(packageType)};
}

}  // namespace

void writeSampleSoftware(const SampleWriter& disk, const SampleProfile& profile) {
    const auto column = static_cast<std::size_t>(profile.index);
    for (const Application& application : software) {
        const char* version = application.versions.at(column);
        if (version == nullptr) continue;
        const QString name = QString::fromUtf8(application.name);
        const QString bundle = QStringLiteral("%1/%2.app").arg(QLatin1String(application.folder), name);
        disk.bundle(bundle, {.name = name,
                             .identifier = QString::fromUtf8(application.identifier),
                             .version = QString::fromUtf8(version),
                             .build = QString::fromUtf8(application.builds.at(column)),
                             .packageType = QStringLiteral("APPL")});
        writeOfferedTasks(disk, bundle, application.identifier);
    }
    for (const Component& component : frameworks) {
        if (const char* version = component.versions.at(column))
            disk.framework(QString::fromUtf8(component.path), describe(component, version, "FMWK"));
    }
    for (const Component& component : kernelExtensions) {
        if (const char* version = component.versions.at(column))
            disk.bundle(QString::fromUtf8(component.path), describe(component, version, "KEXT"));
    }
    for (const Component& component : codecs) {
        if (const char* version = component.versions.at(column))
            disk.bundle(QString::fromUtf8(component.path), describe(component, version, "thng"));
    }
    disk.propertyList(QStringLiteral("/System/Library/CoreServices/SystemVersion.plist"),
                      {{QStringLiteral("ProductName"), QStringLiteral("Mac OS X")},
                       {QStringLiteral("ProductVersion"), QString::fromUtf8(profile.systemVersion)},
                       {QStringLiteral("ProductBuildVersion"), QString::fromUtf8(profile.systemBuild)}});
}
