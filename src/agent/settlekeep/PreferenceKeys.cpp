#include "agent/settlekeep/PreferenceKeys.h"

#include "system/VLException.h"

#include <algorithm>

namespace {

using PreferenceKeys::Group;

struct Application {
    QString key;
    QList<Group> groups;
};

QString preference(const char* file) {
    return QStringLiteral("Preferences/") + QLatin1String(file);
}

/// The two editors keep the same things under different names.
Application editor(const char* key, const char* name, const char* propertyList) {
    const auto keyed = [key](const char* group) { return QLatin1String(key) + QLatin1String(group); };
    const QString folder = QStringLiteral("Preferences/%1 User Data/").arg(QLatin1String(name));
    const QString cache = folder + QLatin1String(name);
    Application application{QLatin1String(key), {}};
    application.groups.append({keyed("Prefs"),
                               {cache + QStringLiteral(" Prof Cache.fcpch"),
                                cache + QStringLiteral(" Obj Cache.fcmch"), preference(propertyList)},
                               true});
    application.groups.append({keyed("Boris"),
                               {preference("com.borisfx.Vector Shape"), preference("com.borisfx.Title Crawl"),
                                preference("com.borisfx.Title 3D"), preference("com.borisfx.Text Scrambler")},
                               true});
    constexpr std::pair<const char*, const char*> folders[] = {
        {"Button", "Button Bars"},    {"Keyboard", "Keyboard Layouts"}, {"Window", "Window Layouts"},
        {"Column", "Column Layouts"}, {"Track", "Track Layouts"},       {"Custom", "Custom Settings"},
        {"Plugins", "Plugins"},
    };
    for (const auto& [group, file] : folders)
        application.groups.append({keyed(group), {folder + QLatin1String(file)}, false});
    return application;
}

Application plain(const char* key, QStringList files) {
    return {QLatin1String(key), {{QLatin1String(key) + QStringLiteral("Prefs"), std::move(files), true}}};
}

Application compressor() {
    const QString support = QStringLiteral("Application Support/Compressor/");
    return {QStringLiteral("compressor"),
            {{QStringLiteral("compressorPrefs"), {preference("com.apple.Compressor.plist")}, true},
             {QStringLiteral("compressorSettings"), {support + QStringLiteral("Settings")}, false},
             {QStringLiteral("compressorDestinations"), {support + QStringLiteral("Destinations")}, false}}};
}

const QList<Application>& applications() {
    static const QList<Application> all{
        editor("fcp", "Final Cut Pro", "com.apple.FinalCutPro.plist"),
        editor("fce", "Final Cut Express", "com.apple.FinalCutExpress.plist"),
        plain("stp", {preference("com.apple.soundtrackpro.plist")}),
        plain("motion", {preference("com.apple.motion.plist")}),
        plain("color", {preference("Color/Preferences.prf"), preference("com.apple.color.plist")}),
        plain("dvdsp", {preference("com.apple.dvdstudiopro.plist")}),
        plain("livetype", {preference("com.apple.LiveType.plist")}),
        compressor(),
        plain("batchmon", {preference("com.apple.BatchMonitor.plist")}),
        plain("ct", {preference("com.apple.CinemaTools.plist")}),
    };
    return all;
}

template <typename Wanted>
QList<Group> groupsThat(const Wanted& wanted) {
    QList<Group> found;
    for (const Application& application : applications())
        std::copy_if(application.groups.begin(), application.groups.end(), std::back_inserter(found),
                     [&](const Group& group) { return wanted(application, group); });
    return found;
}

bool isKnown(const QString& key) {
    return std::any_of(applications().begin(), applications().end(), [&](const Application& application) {
        return application.key == key || std::any_of(application.groups.begin(), application.groups.end(),
                                                     [&](const Group& group) { return group.key == key; });
    });
}

}  // namespace

QList<Group> PreferenceKeys::groups(const QString& keys) {
    const QStringList wanted = keys.split(u',', Qt::SkipEmptyParts);
    for (const QString& key : wanted) {
        if (isKnown(key)) continue;
        throw VLException(VLException::refused,
                          QStringLiteral("There are no preferences “%1”.").arg(key.left(100)));
    }
    return knownGroups(wanted);
}

QList<Group> PreferenceKeys::knownGroups(const QStringList& keys) {
    return groupsThat([&](const Application& application, const Group& group) {
        return keys.contains(application.key) || keys.contains(group.key);
    });
}

QList<Group> PreferenceKeys::mainGroups() {
    return groupsThat([](const Application&, const Group& group) { return group.isMain; });
}

QList<Group> PreferenceKeys::allGroups() {
    return groupsThat([](const Application&, const Group&) { return true; });
}

QStringList PreferenceKeys::files(const QList<Group>& groups) {
    QStringList all;
    for (const Group& group : groups)
        all.append(group.files);
    all.removeDuplicates();  // both editors share some
    return all;
}
