#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"

namespace {

enum class Form { PropertyList, Binary, Layouts };
enum class On { All, EditingMachines };

struct Preference {
    const char* path;  ///< below the user's Preferences folder
    Form form;
    On on = On::EditingMachines;
};

constexpr Preference preferences[] = {
    {"Final Cut Pro User Data/Final Cut Pro Prof Cache.fcpch", Form::Binary},
    {"Final Cut Pro User Data/Final Cut Pro Obj Cache.fcmch", Form::Binary},
    {"com.apple.FinalCutPro.plist", Form::PropertyList},
    {"com.borisfx.Vector Shape", Form::Binary},
    {"com.borisfx.Title Crawl", Form::Binary},
    {"com.borisfx.Title 3D", Form::Binary},
    {"com.borisfx.Text Scrambler", Form::Binary},
    {"Final Cut Pro User Data/Button Bars", Form::Layouts},
    {"Final Cut Pro User Data/Keyboard Layouts", Form::Layouts},
    {"Final Cut Pro User Data/Window Layouts", Form::Layouts},
    {"Final Cut Pro User Data/Column Layouts", Form::Layouts},
    {"Final Cut Pro User Data/Track Layouts", Form::Layouts},
    {"Final Cut Pro User Data/Custom Settings", Form::Layouts},
    {"com.apple.soundtrackpro.plist", Form::PropertyList},
    {"com.apple.motion.plist", Form::PropertyList},
    {"Color/Preferences.prf", Form::Binary},
    {"com.apple.color.plist", Form::PropertyList},
    {"com.apple.dvdstudiopro.plist", Form::PropertyList},
    {"com.apple.LiveType.plist", Form::PropertyList},
    {"com.apple.Compressor.plist", Form::PropertyList, On::All},
    {"com.apple.BatchMonitor.plist", Form::PropertyList, On::All},
    {"com.apple.CinemaTools.plist", Form::PropertyList},
    {"com.apple.Qmaster.plist", Form::PropertyList, On::All},
    {"com.apple.quicktimeplayer.plist", Form::PropertyList, On::All},
    {"com.apple.QuickTimePlayerX.plist", Form::PropertyList, On::All},
    {"com.apple.HIToolbox.plist", Form::PropertyList, On::All},
};

/// What an application remembers between two runs, among it what cleaning is about.
QVariantMap rememberedState(const SampleProfile& profile, const QString& application) {
    const QString project = QStringLiteral("/Volumes/%1/Projects/Harbour Lights/%2")
                                .arg(QString::fromUtf8(profile.volume), application);
    return {
        {QStringLiteral("NSNavLastRootDirectory"), project},
        {QStringLiteral("NSRecentDocuments"),
         QVariantList{project + QStringLiteral("/Scene 12"), project + QStringLiteral("/Trailer v3")}},
        {QStringLiteral("NSWindow Frame Main"), QStringLiteral("0 22 1920 1156 0 0 1920 1178 ")},
        {QStringLiteral("LastRun"), sampleDate(1, 17, 40)},
        {QStringLiteral("AutosaveInterval"), qlonglong(10 + 5 * profile.index)},
        {QStringLiteral("ShowTips"), false},
    };
}

void writePreference(const SampleWriter& disk, const SampleProfile& profile, const Preference& preference) {
    const QString path =
        profile.home() + QStringLiteral("/Library/Preferences/") + QLatin1String(preference.path);
    const QString fileName = path.section(u'/', -1);
    switch (preference.form) {
        case Form::PropertyList:
            disk.propertyList(path, rememberedState(profile, fileName.section(u'.', -2, -2)));
            break;
        case Form::Binary:
            disk.filler(path, 3000 + 257 * profile.index);
            break;
        case Form::Layouts:
            disk.filler(path + QStringLiteral("/Standard.layout"), 900);
            disk.filler(path + QStringLiteral("/%1.layout").arg(QString::fromUtf8(profile.user)), 1100);
            break;
    }
}

/// Where the editing applications keep their media, as their own preferences say it.
void writeScratchPaths(const SampleWriter& disk, const SampleProfile& profile) {
    const QString media =
        QStringLiteral("/Volumes/%1/Final Cut Pro Documents").arg(QString::fromUtf8(profile.volume));
    disk.propertyList(
        profile.home() + QStringLiteral("/Library/Preferences/com.velmora.routemark.plist"),
        {{QStringLiteral("captureScratch"), media + QStringLiteral("/Capture Scratch")},
         {QStringLiteral("renderScratch"), media + QStringLiteral("/Render Files")},
         {QStringLiteral("waveformCache"), media + QStringLiteral("/Waveform Cache Files")},
         {QStringLiteral("thumbnailCache"), media + QStringLiteral("/Thumbnail Cache Files")},
         {QStringLiteral("autosaveVault"),
          profile.home() + QStringLiteral("/Documents/Final Cut Pro Documents/Autosave Vault")}});
}

/// What only some of the editing machines have: plug-ins of the user's own, and the small editor.
void writeEditorExtras(const SampleWriter& disk, const SampleProfile& profile) {
    const QString folder = profile.home() + QStringLiteral("/Library/Preferences/");
    const bool hasExpress = profile.index == 1;
    if (!hasExpress) {
        disk.filler(folder + QStringLiteral("Final Cut Pro User Data/Plugins/Guide Templates.txt"), 2100);
        return;
    }
    disk.propertyList(folder + QStringLiteral("com.apple.FinalCutExpress.plist"),
                      rememberedState(profile, QStringLiteral("FinalCutExpress")));
    disk.filler(folder + QStringLiteral("Final Cut Express User Data/Keyboard Layouts/%1.fcexpresskeys")
                             .arg(QString::fromUtf8(profile.user)),
                1200);
}

void writeNetworkSettings(const SampleWriter& disk, const SampleProfile& profile) {
    const auto column = static_cast<std::size_t>(profile.index);
    constexpr PerMachine<int> autoCheck{1, 1, 1, 0};
    constexpr PerMachine<int> preventMessages{0, 0, 1, 1};
    constexpr PerMachine<int> showIcon{1, 1, 1, 0};
    constexpr PerMachine<int> allowMaintenance{1, 1, 1, 1};
    disk.propertyList(
        QStringLiteral("/Library/Preferences/com.velmora.corvalinnetclient.plist"),
        {{QStringLiteral("autoUpdateCheck"), qlonglong(autoCheck.at(column))},
         {QStringLiteral("globalUpdateCheck"), qlonglong(preventMessages.at(column))},
         {QStringLiteral("showMenuBarIcon"), qlonglong(showIcon.at(column))},
         {QStringLiteral("enableMaintenanceRequests"), qlonglong(allowMaintenance.at(column))}});
    const QVariantMap names{
        {QStringLiteral("ComputerName"), QString::fromUtf8(profile.name)},
        {QStringLiteral("LocalHostName"), QString::fromUtf8(profile.hostName).section(u'.', 0, 0)},
    };
    disk.propertyList(QStringLiteral("/Library/Preferences/SystemConfiguration/preferences.plist"),
                      {{QStringLiteral("Model"), QString::fromUtf8(profile.model)},
                       {QStringLiteral("System"), QVariantMap{{QStringLiteral("System"), names}}}});
}

}  // namespace

void writeSamplePreferences(const SampleWriter& disk, const SampleProfile& profile) {
    for (const Preference& preference : preferences) {
        if (preference.on == On::All || !profile.isRenderNode()) writePreference(disk, profile, preference);
    }
    const QString support = profile.home() + QStringLiteral("/Library/Application Support/Compressor");
    disk.filler(support + QStringLiteral("/Settings/Web delivery.setting"), 1500);
    disk.filler(support + QStringLiteral("/Destinations/Review server.destination"), 700);
    if (!profile.isRenderNode()) {
        writeScratchPaths(disk, profile);
        writeEditorExtras(disk, profile);
    }
    writeNetworkSettings(disk, profile);
}
