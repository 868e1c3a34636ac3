#include "agent/addonry/PluginCatalog.h"
#include "agent/sample/SampleProfile.h"
#include "agent/sample/SampleWriter.h"

namespace {

enum class Place { Missing, User, Machine, UserDisabled, MachineDisabled };
using enum Place;

struct Copy {
    Place place = Missing;
    const char* version = "";
    int ageInDays = 200;
};

struct Plugin {
    const char* name;
    const char* type;
    PerMachine<Copy> copies;
};

// Between them the rows show every way in which machines can disagree about a plug-in; the comment says
// which.
constexpr Plugin plugins[] = {
    // FxPlug
    {"Aurora Glow",
     "FxPlug",
     {{{Machine, "2.1.0"}, {Machine, "2.1.0"}, {Machine, "2.1.0"}, {Machine, "2.1.0"}}}},
    {"Chroma Fringe",
     "FxPlug",  // version
     {{{Machine, "1.4.2"}, {Machine, "1.4.2"}, {Machine, "1.5.0", 40}, {Machine, "1.4.2"}}}},
    {"Halftone Press",
     "FxPlug",  // enabled state
     {{{Machine, "3.0"}, {MachineDisabled, "3.0"}, {Machine, "3.0"}, {Machine, "3.0"}}}},
    {"Lens Breath",
     "FxPlug",  // access
     {{{User, "1.2.1"}, {Machine, "1.2.1"}, {Machine, "1.2.1"}, {Machine, "1.2.1"}}}},
    {"Paper Grain", "FxPlug", {{{User, "0.9.4"}, {}, {User, "0.9.4"}, {}}}},  // missing on two
    {"Skyline Key",
     "FxPlug",
     {{{Machine, "4.0.1"}, {Machine, "4.0.1"}, {Machine, "4.0.1"}, {Machine, "4.0.1"}}}},
    {"Film Bloom", "FxPlug", {{{}, {}, {MachineDisabled, "2.0.0", 12}, {}}}},  // on one only
    // FxScript
    {"Matte Choker HD",
     "FxScript",
     {{{Machine, "1.0.3"}, {Machine, "1.0.3"}, {Machine, "1.0.3"}, {Machine, "1.0.3"}}}},
    {"Split Wipe",
     "FxScript",
     {{{Machine, "2.0"}, {Machine, "2.0"}, {Machine, "2.1", 30}, {}}}},  // missing on one
    {"Film Flash",
     "FxScript",  // enabled state
     {{{Machine, "1.1"}, {Machine, "1.1"}, {MachineDisabled, "1.1"}, {Machine, "1.1"}}}},
    {"Bleach Bypass",
     "FxScript",  // access
     {{{User, "1.6"}, {User, "1.6"}, {Machine, "1.6"}, {Machine, "1.6"}}}},
    {"Title Safe Guides",
     "FxScript",  // a single file, without a version
     {{{Machine}, {Machine}, {Machine}, {Machine}}}},
    // Audio Unit
    {"Dialog Leveler",
     "Audio Unit",  // version
     {{{Machine, "1.8.4", 90}, {Machine, "1.8.4", 90}, {Machine, "1.8.4", 90}, {Machine, "1.8.2", 400}}}},
    {"Room Tone Match",
     "Audio Unit",
     {{{Machine, "2.2"}, {Machine, "2.2"}, {Machine, "2.2"}, {Machine, "2.2"}}}},
    {"Tape Hiss Filter",
     "Audio Unit",
     {{{Machine, "1.3"}, {Machine, "1.3"}, {Machine, "1.3"}, {}}}},                         // missing
    {"Surround Panner", "Audio Unit", {{{}, {}, {Machine, "3.4.1"}, {Machine, "3.4.0"}}}},  // missing on two
    {"Voice De-Esser",
     "Audio Unit",  // enabled state
     {{{UserDisabled, "1.0.9"}, {User, "1.0.9"}, {User, "1.0.9"}, {User, "1.0.9"}}}},
    {"Loudness Meter",
     "Audio Unit",
     {{{Machine, "5.1"}, {Machine, "5.1"}, {Machine, "5.1"}, {Machine, "5.1"}}}},
};

QString folderFor(const PluginCatalog::Folder& folder, Place place) {
    return place == UserDisabled || place == MachineDisabled ? PluginCatalog::disabledPath(folder.path)
                                                             : folder.path;
}

QByteArray scriptText(const QString& name) {
    return QStringLiteral(
               "scriptid \"%1\"\nfilter \"%1\"\ngroup \"Video\"\n\ncode\n\texposedbuffer = src1;\n")
        .arg(name)
        .toUtf8();
}

void writePlugin(const SampleWriter& disk, const QString& folder, const QString& extension,
                 const Plugin& plugin, const Copy& copy) {
    const QString name = QString::fromUtf8(plugin.name);
    const QString path = folder + u'/' + name + u'.' + extension;
    const QDateTime date = sampleDate(copy.ageInDays);
    if (*copy.version == '\0') {
        disk.file(path, scriptText(name), date);
        return;
    }
    QString identifier = name;
    identifier.removeIf([](QChar c) { return !c.isLetterOrNumber(); });
    disk.bundle(path, {.name = name,
                       .identifier = QStringLiteral("example.plugins.") + identifier,
                       .version = QString::fromUtf8(copy.version),
                       .build = QString::fromUtf8(copy.version),
                       .packageType = QStringLiteral("BNDL"),
                       .date = date});
}

}  // namespace

void writeSamplePlugins(const SampleWriter& disk, const SampleProfile& profile) {
    const auto folders = PluginCatalog::folders(QString::fromUtf8(profile.user));
    for (const auto& folder : folders)
        disk.folder(folder.path);
    for (const Plugin& plugin : plugins) {
        const Copy& copy = plugin.copies.at(static_cast<std::size_t>(profile.index));
        if (copy.place == Missing) continue;
        const auto access = copy.place == User || copy.place == UserDisabled ? PluginCatalog::CurrentUser
                                                                             : PluginCatalog::AllUsers;
        for (const auto& folder : folders) {
            if (folder.type == QLatin1String(plugin.type) && folder.accessType == access)
                writePlugin(disk, folderFor(folder, copy.place), folder.extension, plugin, copy);
        }
    }
}
